// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <cstring>
#include <iterator>

#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 266,   273,   274,   277,   278,
                                   279, 282, 283, 284, 296, 301, 305,   317,   322,   323,   324,
                                   325, 330, 338, 339, 347, 530, 34377, 34665, 34675, 34853, 40965};
constexpr std::uint16_t kFieldTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 18, 255, 32768, 65535};

/// A TIFF file that lies in the fuzzer's block: of either order of bytes, classic or with offsets of 8 bytes.
struct File {
    std::uint8_t* data;
    std::size_t size;
    std::size_t maxSize;
    Scatter& scatter;
    std::size_t directory = 0;  ///< the one that is changed; 0 for none

    bool big() const { return size > 0 && data[0] == 'M'; }
    bool wide() const { return size > 3 && (big() ? data[3] : data[2]) == '+'; }
    std::size_t Field() const { return wide() ? 8 : 4; }   ///< bytes of an offset and of a count
    std::size_t Each() const { return wide() ? 20 : 12; }  ///< of an entry
    std::size_t Before() const { return wide() ? 8 : 2; }  ///< of the number of entries
    std::size_t FirstAt() const { return wide() ? 8 : 4; }

    std::uint64_t Get(std::size_t at, std::size_t count) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) value = value << 8 | data[at + (big() ? i : count - 1 - i)];
        return value;
    }
    void Put(std::size_t at, std::size_t count, std::uint64_t value) const {
        for (std::size_t i = 0; i < count; ++i) {
            data[at + (big() ? count - 1 - i : i)] = static_cast<std::uint8_t>(value >> 8 * i);
        }
    }
    bool Holds(std::size_t at) const { return at >= 8 && at <= size && size - at >= Before(); }
    std::size_t EntriesOf(std::size_t at) const {
        if (!Holds(at)) return 0;
        const auto room = (size - at - Before()) / Each();
        return static_cast<std::size_t>(std::min<std::uint64_t>(Get(at, Before()), room));
    }
    std::size_t Entries() const { return EntriesOf(directory); }
    std::size_t Entry(std::size_t n) const { return directory + Before() + Each() * n; }
    std::size_t ValueAt(std::size_t n) const { return Entry(n) + 4 + Field(); }

    /// One directory of the chain, or one that an entry of it leads to.
    void Choose() {
        directory = size < FirstAt() + Field() ? 0 : static_cast<std::size_t>(Get(FirstAt(), Field()));
        if (!Holds(directory)) directory = 0;
        for (std::size_t steps = scatter.Below(4); steps > 0 && directory != 0; --steps) {
            const std::size_t entries = Entries(), after = Entry(entries);
            std::size_t next = after + Field() <= size ? static_cast<std::size_t>(Get(after, Field())) : 0;
            for (std::size_t n = 0; n < entries && scatter.Below(2) == 0; ++n) {
                const auto tag = Get(Entry(n), 2);
                if (tag == 330 || tag == 34665 || tag == 34853)
                    next = static_cast<std::size_t>(Get(ValueAt(n), Field()));
            }
            if (!Holds(next)) break;
            directory = next;
        }
    }
};

/// Small values are values and no offsets; a wrong guess is one more mutation.
bool IsOffset(std::uint64_t value, std::size_t behind) { return value > behind && value > 64; }

/// Every offset of the chosen directory, and the header's own, follows what was moved by `change` behind `at`.
void Follow(File& file, std::size_t at, std::size_t change) {
    if (file.size < file.FirstAt() + file.Field()) return;
    const std::uint64_t first = file.Get(file.FirstAt(), file.Field());
    if (IsOffset(first, at) && first != 0) file.Put(file.FirstAt(), file.Field(), first + change);
    for (std::size_t n = 0; n < file.Entries(); ++n) {
        const std::uint64_t value = file.Get(file.ValueAt(n), file.Field());
        if (IsOffset(value, at)) file.Put(file.ValueAt(n), file.Field(), value + change);
    }
}

void ChangeHead(File& file) {
    if (file.size < 8) return;
    if (file.scatter.Below(4) == 0) {
        file.data[file.scatter.Below(4)] = static_cast<std::uint8_t>("II*\0MM+"[file.scatter.Below(7)]);
    } else if (file.FirstAt() + file.Field() <= file.size) {
        file.Put(file.FirstAt(), file.Field(), EdgeOf(static_cast<std::uint32_t>(file.size), file.scatter));
    }
}

/// The library reads up to 29 entries.
void ChangeCount(File& file) {
    if (!file.Holds(file.directory)) return;
    const auto limit = static_cast<std::uint32_t>(file.scatter.Below(2) == 0 ? 29 : file.Entries());
    file.Put(file.directory, file.Before(), EdgeOf(limit, file.scatter));
}

void ChangeEntry(File& file) {
    const std::size_t entries = file.Entries();
    if (entries == 0) return;
    const std::size_t chosen = file.scatter.Below(entries), entry = file.Entry(chosen), value = file.ValueAt(chosen);
    const auto edge = [&](std::size_t limit) { return EdgeOf(static_cast<std::uint32_t>(limit), file.scatter); };
    switch (file.scatter.Below(8)) {
        case 0:
            file.Put(entry, 2, kTags[file.scatter.Below(std::size(kTags))]);
            break;
        case 1:
            file.Put(entry + 2, 2, kFieldTypes[file.scatter.Below(std::size(kFieldTypes))]);
            break;
        case 2:
            file.Put(entry + 4, file.Field(), edge(1 + file.scatter.Below(8)));
            break;
        case 3:  // so that the product of width and count is at its limit
            file.Put(entry + 4, file.Field(), edge(0x7fffffffU >> file.scatter.Below(4)));
            break;
        case 4:
            file.Put(value, file.Field(), edge(file.size));
            break;
        case 5:  // shapes: sizes, strips, samples, depths
            file.Put(value, file.Field(), edge(1 + file.scatter.Below(34)));
            break;
        case 6:  // a small number of two bytes, as most tags that tell how to decode
            file.Put(value, 2, edge(1 + file.scatter.Below(9)) & 0xffffU);
            break;
        default:
            std::memcpy(file.data + entry, file.data + file.Entry(file.scatter.Below(entries)), file.Each());
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
    file.size = grows ? Stretch(file.data, file.size, file.maxSize, at, step) : Shorten(file.data, file.size, at, step);
    const std::size_t change = file.size - before;  // wraps for fewer bytes, and back again where it is added
    if (file.directory > at) file.directory += change;
    if (!file.Holds(file.directory)) file.directory = 0;
    Follow(file, at, change);
}

/// One entry more or less; offsets keep pointing where they did.
void AddOrDropEntry(File& file) {
    const std::size_t entries = file.Entries(), each = file.Each();
    if (entries == 0) return;
    const std::size_t at = file.Entry(file.scatter.Below(entries));
    const std::size_t before = file.size;
    const bool adds = file.scatter.Below(2) == 0;
    if (adds && file.size + each > file.maxSize) return;
    file.size = adds ? Stretch(file.data, file.size, file.maxSize, at, each) : Shorten(file.data, file.size, at, each);
    if (adds) std::memcpy(file.data + at, file.data + at + each, each);
    file.Put(file.directory, file.Before(), adds ? entries + 1 : entries - 1);
    if (adds) file.Put(at, 2, kTags[file.scatter.Below(std::size(kTags))]);
    Follow(file, at, file.size - before);
}

/// A number in the data of an entry: strips' offsets and counts, resolutions, samples, depths.
void ChangeData(File& file) {
    const std::size_t entries = file.Entries();
    if (entries == 0) return;
    const std::size_t width = file.scatter.Below(2) == 0 ? 2 : file.Field();
    const std::uint64_t offset = file.Get(file.ValueAt(file.scatter.Below(entries)), file.Field());
    if (offset < 8 || offset > file.size) return;
    const std::size_t at = static_cast<std::size_t>(offset) + width * file.scatter.Below(4);
    if (at + width > file.size) return;
    file.Put(at, width, EdgeOf(static_cast<std::uint32_t>(file.size), file.scatter));
}

/// A directory leads to another one, or back; the value of one entry becomes that of another.
void Lead(File& file) {
    const std::size_t entries = file.Entries();
    const std::size_t after = file.Entry(entries);
    if (entries == 0 || after + file.Field() > file.size) return;
    const std::size_t first = file.FirstAt();
    const std::size_t from = file.ValueAt(file.scatter.Below(entries)), to = file.ValueAt(file.scatter.Below(entries));
    switch (file.scatter.Below(3)) {
        case 0:
            file.Put(after, file.Field(), file.Get(first, file.Field()));
            break;
        case 1:
            file.Put(to, file.Field(), file.Get(from, file.Field()));
            break;
        default:
            file.Put(after, file.Field(), EdgeOf(static_cast<std::uint32_t>(file.size), file.scatter));
            break;
    }
}

}  // namespace

std::size_t MutateTiff(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter) {
    File file{data, size, maxSize, scatter};
    const std::size_t changes = 1 + scatter.Below(3);
    for (std::size_t n = 0; n < changes; ++n) {
        file.Choose();
        switch (scatter.Below(11)) {
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
            case 6:
                Lead(file);
                break;
            default:
                ChangeEntry(file);
                break;
        }
    }
    return file.size;
}

}  // namespace hueweave::fuzz
