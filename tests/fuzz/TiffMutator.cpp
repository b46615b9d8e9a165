// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <cstring>
#include <iterator>

#include "ByteOrder.h"
#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kIfdEntry = 12;
constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 273,   277,  278,
                                   279, 282, 283, 284, 296, 305, 34665, 34675};
constexpr std::uint16_t kFieldTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 255, 32768, 65535};

/// A TIFF file that lies in the fuzzer's block.
struct File {
    std::uint8_t* data;
    std::size_t size;
    std::size_t maxSize;
    Scatter& scatter;

    std::size_t Directory() const { return size < 8 ? 0 : LoadLittle32(data + 4); }
    std::size_t Entries() const {
        const std::size_t at = Directory();
        if (at < 8 || at + 2 > size) return 0;
        return std::min<std::size_t>(LoadLittle16(data + at), (size - at - 2) / kIfdEntry);
    }
    std::uint8_t* Entry(std::size_t n) const { return data + Directory() + 2 + kIfdEntry * n; }
};

void ChangeHead(File& file) {
    if (file.size < 8) return;
    if (file.scatter.Below(4) == 0) {
        file.data[file.scatter.Below(4)] = static_cast<std::uint8_t>("II*\0MM+"[file.scatter.Below(7)]);
    } else {
        StoreLittle32(file.data + 4, EdgeOf(static_cast<std::uint32_t>(file.size), file.scatter));
    }
}

/// Up to 29 entries are read.
void ChangeCount(File& file) {
    const std::size_t at = file.Directory();
    if (at < 8 || at + 2 > file.size) return;
    const auto limit = static_cast<std::uint32_t>(file.scatter.Below(2) == 0 ? 29 : file.Entries());
    StoreLittle16(file.data + at, static_cast<std::uint16_t>(EdgeOf(limit, file.scatter)));
}

void ChangeEntry(File& file) {
    const std::size_t entries = file.Entries();
    if (entries == 0) return;
    std::uint8_t* entry = file.Entry(file.scatter.Below(entries));
    const auto size = static_cast<std::uint32_t>(file.size);
    switch (file.scatter.Below(7)) {
        case 0:
            StoreLittle16(entry, kTags[file.scatter.Below(std::size(kTags))]);
            break;
        case 1:
            StoreLittle16(entry + 2, kFieldTypes[file.scatter.Below(std::size(kFieldTypes))]);
            break;
        case 2:
            StoreLittle32(entry + 4, EdgeOf(static_cast<std::uint32_t>(1 + file.scatter.Below(8)), file.scatter));
            break;
        case 3:  // so that the product of width and count is at its limit
            StoreLittle32(entry + 4, EdgeOf(0x7fffffffU >> file.scatter.Below(4), file.scatter));
            break;
        case 4:
            StoreLittle32(entry + 8, EdgeOf(size, file.scatter));
            break;
        case 5:  // shapes: sizes, strips, samples, depths
            StoreLittle32(entry + 8, EdgeOf(static_cast<std::uint32_t>(1 + file.scatter.Below(34)), file.scatter));
            break;
        default:
            std::memcpy(entry, file.Entry(file.scatter.Below(entries)), kIfdEntry);
            break;
    }
}

/// Puts bytes in or takes some out, and moves every offset that points behind them.
void Refit(File& file) {
    if (file.size < 9) return;
    const std::size_t before = file.size;
    const std::size_t at = 8 + file.scatter.Below(file.size - 8);
    const std::size_t step = 1 + file.scatter.Below(24);
    const bool grows = file.scatter.Below(2) == 0;
    const std::size_t directory = file.Directory();
    file.size = grows ? Stretch(file.data, file.size, file.maxSize, at, step) : Shorten(file.data, file.size, at, step);
    const std::size_t change = file.size - before;
    if (directory > at) StoreLittle32(file.data + 4, static_cast<std::uint32_t>(directory + change));
    for (std::size_t n = 0; n < file.Entries(); ++n) {
        std::uint8_t* entry = file.Entry(n);
        const std::uint32_t value = LoadLittle32(entry + 8);
        // Small values are values and no offsets; a wrong guess is one more mutation.
        if (value > at && value > 64) StoreLittle32(entry + 8, static_cast<std::uint32_t>(value + change));
    }
}

/// One entry more or less; offsets keep pointing where they did.
void AddOrDropEntry(File& file) {
    const std::size_t entries = file.Entries();
    if (entries == 0) return;
    const std::size_t place = file.scatter.Below(entries);
    const std::size_t at = file.Directory() + 2 + kIfdEntry * place;
    const std::size_t before = file.size;
    const bool adds = file.scatter.Below(2) == 0;
    if (adds && file.size + kIfdEntry > file.maxSize) return;
    file.size = adds ? Stretch(file.data, file.size, file.maxSize, at, kIfdEntry)
                     : Shorten(file.data, file.size, at, kIfdEntry);
    if (adds) std::memcpy(file.data + at, file.data + at + kIfdEntry, kIfdEntry);
    const std::size_t now = adds ? entries + 1 : entries - 1;
    StoreLittle16(file.data + file.Directory(), static_cast<std::uint16_t>(now));
    if (adds) StoreLittle16(file.data + at, kTags[file.scatter.Below(std::size(kTags))]);
    for (std::size_t n = 0; n < file.Entries(); ++n) {
        std::uint8_t* entry = file.Entry(n);
        const std::uint32_t value = LoadLittle32(entry + 8);
        if (value > at && value > 64) StoreLittle32(entry + 8, static_cast<std::uint32_t>(value + file.size - before));
    }
}

/// A word of the data of an entry: strips' offsets and counts, resolutions, samples.
void ChangeData(File& file) {
    const std::size_t entries = file.Entries();
    if (entries == 0) return;
    const std::size_t offset = LoadLittle32(file.Entry(file.scatter.Below(entries)) + 8);
    const std::size_t at = offset + 4 * file.scatter.Below(4);
    if (offset < 8 || at + 4 > file.size) return;
    StoreLittle32(file.data + at, EdgeOf(static_cast<std::uint32_t>(file.size), file.scatter));
}

}  // namespace

std::size_t MutateTiff(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter) {
    File file{data, size, maxSize, scatter};
    const std::size_t changes = 1 + scatter.Below(3);
    for (std::size_t n = 0; n < changes; ++n) {
        switch (scatter.Below(10)) {
            case 0:
                if (scatter.Below(3) == 0) ChangeHead(file);
                break;
            case 1:
                ChangeCount(file);
                break;
            case 2:
                Refit(file);
                break;
            case 3:
                AddOrDropEntry(file);
                break;
            case 4:
                ChangeData(file);
                break;
            case 5:
                if (file.size > 1 && scatter.Below(4) == 0) file.size -= scatter.Below(file.size);
                break;
            default:
                ChangeEntry(file);
                break;
        }
    }
    return file.size;
}

}  // namespace hueweave::fuzz
