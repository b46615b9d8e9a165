// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <cstring>
#include <iterator>

#include "Mutation.h"
#include "base/ByteOrder.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kCount = 128, kTable = 132, kTagEntry = 12;
constexpr const char* kNames[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "wtpt", "bkpt", "rXYZ", "gXYZ",
                                  "bXYZ", "rTRC", "gTRC", "bTRC", "chad", "desc", "cprt", "A2B3", "none"};
constexpr const char* kTagTypes[] = {"mft2", "mft1", "mAB ", "mBA ", "curv", "para", "XYZ ", "text", "desc", "sf32"};

/// A profile that lies in the fuzzer's block.
struct Profile {
    std::uint8_t* data;
    std::size_t size;
    std::size_t maxSize;
    Scatter& scatter;

    std::size_t Entries() const {
        return size < kTable ? 0 : std::min<std::size_t>(LoadBig32(data + kCount), (size - kTable) / kTagEntry);
    }
    std::uint8_t* Entry(std::size_t n) const { return data + kTable + kTagEntry * n; }
    std::size_t Offset(std::size_t n) const { return LoadBig32(Entry(n) + 4); }
    std::size_t Bytes(std::size_t n) const { return LoadBig32(Entry(n) + 8); }
    /// Bytes of the entry's block that are there.
    std::size_t Held(std::size_t n) const { return Offset(n) >= size ? 0 : std::min(Bytes(n), size - Offset(n)); }
};

void Put32(Profile& profile, std::size_t at, std::uint32_t limit) {
    if (at + 4 <= profile.size) StoreBig32(profile.data + at, EdgeOf(limit, profile.scatter));
}

/// A word of the table: the count, or a field of an entry.
void ChangeTable(Profile& profile) {
    const std::size_t entries = profile.Entries();
    if (entries == 0 || profile.scatter.Below(8) == 0) {
        const std::size_t room = profile.size > kTable ? (profile.size - kTable) / kTagEntry : 0;
        Put32(profile, kCount, static_cast<std::uint32_t>(room));
        return;
    }
    const std::size_t n = profile.scatter.Below(entries);
    std::uint8_t* entry = profile.Entry(n);
    const auto size = static_cast<std::uint32_t>(profile.size);
    switch (profile.scatter.Below(4)) {
        case 0:
            std::memcpy(entry, kNames[profile.scatter.Below(std::size(kNames))], 4);
            break;
        case 1:
            StoreBig32(entry + 4, EdgeOf(size, profile.scatter));
            break;
        case 2: {
            const std::uint32_t offset = LoadBig32(entry + 4);
            StoreBig32(entry + 8, EdgeOf(offset < size ? size - offset : 0, profile.scatter));
            break;
        }
        default:
            std::memcpy(entry, profile.Entry(profile.scatter.Below(entries)), kTagEntry);
            break;
    }
}

/// A count of a table in a block of the "mft2" layout.
void ChangeTableCounts(Profile& profile, std::uint8_t* block, std::size_t held) {
    static constexpr std::uint8_t kChannels[] = {0, 1, 2, 3, 4, 7, 8, 16, 17, 255};
    static constexpr std::uint8_t kPointCounts[] = {0, 1, 2, 3, 9, 16, 17, 18, 33, 34, 255};
    static constexpr std::uint16_t kEntries[] = {0, 1, 2, 3, 255, 256, 257, 4095, 4096, 4097, 65535};
    const std::size_t field = profile.scatter.Below(5);
    if (field < 2 && held > 9) block[8 + field] = kChannels[profile.scatter.Below(std::size(kChannels))];
    if (field == 2 && held > 10) block[10] = kPointCounts[profile.scatter.Below(std::size(kPointCounts))];
    if (field > 2 && held > 51) {
        StoreBig16(block + 42 + 2 * field, kEntries[profile.scatter.Below(std::size(kEntries))]);
    }
}

/// An offset, a curve's count or a grid's shape in a block of curves and a grid.
void ChangeCurvedTable(Profile& profile, std::uint8_t* block, std::size_t held) {
    if (held < 32) return;
    const std::size_t place = 12 + 4 * profile.scatter.Below(5);
    const std::size_t target = LoadBig32(block + place);
    switch (profile.scatter.Below(4)) {
        case 0:
            StoreBig32(block + place, EdgeOf(static_cast<std::uint32_t>(held), profile.scatter));
            return;
        case 1:
            block[8 + profile.scatter.Below(2)] = static_cast<std::uint8_t>(profile.scatter.Below(19));
            return;
        default:
            break;
    }
    if (place == 24) {
        const std::size_t at = target + profile.scatter.Below(17);
        if (at < held) block[at] = static_cast<std::uint8_t>(EdgeOf(2, profile.scatter));
        return;
    }
    if (target < held && held - target >= 12) {
        const auto room = static_cast<std::uint32_t>((held - target - 12) / 2);
        StoreBig32(block + target + 8, EdgeOf(room, profile.scatter));
    }
}

void ChangeBlock(Profile& profile) {
    const std::size_t entries = profile.Entries();
    if (entries == 0) return;
    const std::size_t n = profile.scatter.Below(entries);
    const std::size_t held = profile.Held(n);
    if (held < 4) return;
    std::uint8_t* block = profile.data + profile.Offset(n);
    switch (profile.scatter.Below(5)) {
        case 0:
            std::memcpy(block, kTagTypes[profile.scatter.Below(std::size(kTagTypes))], 4);
            return;
        case 1: {
            const std::size_t at = profile.scatter.Below(held) & ~std::size_t{3};
            if (at + 4 <= held) StoreBig32(block + at, EdgeOf(static_cast<std::uint32_t>(held), profile.scatter));
            return;
        }
        default:
            break;
    }
    if (std::memcmp(block, "mAB ", 4) == 0 || std::memcmp(block, "mBA ", 4) == 0) {
        ChangeCurvedTable(profile, block, held);
    } else {
        ChangeTableCounts(profile, block, held);
    }
}

/// Makes a block longer or shorter; the offsets of what lies behind it follow.
void ResizeBlock(Profile& profile) {
    const std::size_t entries = profile.Entries();
    if (entries == 0) return;
    const std::size_t n = profile.scatter.Below(entries);
    const std::size_t offset = profile.Offset(n);
    if (offset > profile.size || offset < kTable) return;
    const std::size_t held = profile.Held(n), before = profile.size;
    const std::size_t at = offset + profile.scatter.Below(held + 1);
    const std::size_t step = 1 + profile.scatter.Below(12);
    const bool grows = profile.scatter.Below(2) == 0;
    profile.size = grows ? Stretch(profile.data, profile.size, profile.maxSize, at, step)
                         : Shorten(profile.data, profile.size, at, step);
    const std::size_t change = profile.size - before;  // wraps for a shorter one, and back again below
    for (std::size_t i = 0; i < profile.Entries(); ++i) {
        if (profile.Offset(i) > at) {
            StoreBig32(profile.Entry(i) + 4, static_cast<std::uint32_t>(profile.Offset(i) + change));
        }
    }
    if (n < profile.Entries()) StoreBig32(profile.Entry(n) + 8, static_cast<std::uint32_t>(profile.Bytes(n) + change));
}

/// One entry more, a copy of another; the blocks move on.
void AddEntry(Profile& profile) {
    const std::size_t entries = profile.Entries();
    if (entries == 0 || profile.size + kTagEntry > profile.maxSize) return;
    const std::size_t from = profile.scatter.Below(entries);
    profile.size = Stretch(profile.data, profile.size, profile.maxSize, kTable + kTagEntry * entries, kTagEntry);
    std::memcpy(profile.Entry(entries), profile.Entry(from), kTagEntry);
    StoreBig32(profile.data + kCount, static_cast<std::uint32_t>(entries + 1));
    for (std::size_t i = 0; i <= entries; ++i) {
        StoreBig32(profile.Entry(i) + 4, static_cast<std::uint32_t>(profile.Offset(i) + kTagEntry));
    }
    if (profile.scatter.Below(2) == 0) {
        std::memcpy(profile.Entry(entries), kNames[profile.scatter.Below(std::size(kNames))], 4);
    }
}

}  // namespace

std::size_t MutateIcc(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter) {
    Profile profile{data, size, maxSize, scatter};
    const std::size_t changes = 1 + scatter.Below(3);
    for (std::size_t n = 0; n < changes; ++n) {
        switch (scatter.Below(8)) {
            case 0:
            case 1:
                ChangeTable(profile);
                break;
            case 2:
                ResizeBlock(profile);
                break;
            case 3:
                AddEntry(profile);
                break;
            case 4:
                if (profile.size > 1 && scatter.Below(4) == 0) profile.size -= scatter.Below(profile.size);
                break;
            default:
                ChangeBlock(profile);
                break;
        }
    }
    return profile.size;
}

}  // namespace hueweave::fuzz
