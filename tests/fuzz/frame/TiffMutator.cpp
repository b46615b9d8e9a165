// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 266,   273,   274,   277,   278,
                                   279, 282, 283, 284, 296, 301, 305,   317,   322,   323,   324,
                                   325, 330, 338, 339, 347, 530, 34377, 34665, 34675, 34853, 40965};
constexpr std::uint16_t kFieldTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 18, 255, 32768, 65535};

/// A TIFF file of either byte order, classic or BigTIFF.
struct TiffFile {
    Block& file;
    std::size_t directory = 0;  ///< offset of the directory to change; 0 for none

    explicit TiffFile(Block& block) : file(block) {
        file.little = file.Get(0, 1) != 'M';
        Choose();
    }
    bool Wide() const { return file.data[file.little ? 2 : 3] == '+'; }
    std::size_t Field() const { return Wide() ? 8 : 4; }   ///< bytes of an offset or a count
    std::size_t Each() const { return Wide() ? 20 : 12; }  ///< bytes of an entry
    std::size_t Before() const { return Wide() ? 8 : 2; }  ///< bytes of the number of entries
    std::size_t FirstAt() const { return Wide() ? 8 : 4; }

    bool Holds(std::size_t at) const { return at >= 8 && at <= file.size && file.size - at >= Before(); }
    std::size_t Entries() const {
        if (!Holds(directory)) return 0;
        return std::min<std::size_t>(file.Get(directory, Before()), (file.size - directory - Before()) / Each());
    }
    std::size_t Entry(std::size_t n) const { return directory + Before() + Each() * n; }
    std::size_t ValueAt(std::size_t entry) const { return entry + 4 + Field(); }
    std::size_t Value(std::size_t entry) const { return file.Get(ValueAt(entry), Field()); }
    std::size_t AnyEntry() const { return Entry(file.scatter.Below(Entries())); }

    /// Picks a directory of the chain, or one that an entry of it points to.
    void Choose() {
        std::size_t next = file.Get(FirstAt(), Field());
        for (std::size_t steps = 1 + file.scatter.Below(4); steps > 0 && Holds(next); --steps) {
            directory = next;
            next = file.Get(Entry(Entries()), Field());
            for (std::size_t n = 0; n < Entries() && file.OneIn(2); ++n) {
                const auto tag = file.Get(Entry(n), 2);
                if (tag == 330 || tag == 34665 || tag == 34853) next = Value(Entry(n));
            }
        }
    }
    /// Adjusts every offset of the directory, and the header's own, that points after `at` by `change`. Small values
    /// are not taken for offsets; a wrong guess is one more mutation.
    void Follow(std::size_t at, std::size_t change) const {
        const auto follow = [&](std::size_t place) {
            const std::size_t value = file.Get(place, Field());
            if (value > at && value > 64) file.Put(place, Field(), value + change);
        };
        follow(FirstAt());
        for (std::size_t n = 0; n < Entries(); ++n) follow(ValueAt(Entry(n)));
    }
};

void ChangeHead(const TiffFile& tiff) {
    const Block& file = tiff.file;
    if (file.OneIn(4)) {
        file.Put(file.scatter.Below(4), 1, static_cast<std::uint8_t>("II*\0MM+"[file.scatter.Below(7)]));
    } else {
        file.Put(tiff.FirstAt(), tiff.Field(), file.Edge(file.size));
    }
}

void ChangeEntry(const TiffFile& tiff) {
    const Block& file = tiff.file;
    const std::size_t entry = tiff.AnyEntry(), value = tiff.ValueAt(entry), field = tiff.Field();
    switch (file.scatter.Below(8)) {
        case 0:
            return file.Put(entry, 2, file.AnyOf(kTags));
        case 1:
            return file.Put(entry + 2, 2, file.AnyOf(kFieldTypes));
        case 2:
            return file.Put(entry + 4, field, file.Edge(1 + file.scatter.Below(8)));
        case 3:  // sets the product of width and count to its limit
            return file.Put(entry + 4, field, file.Edge(0x7fffffffU >> file.scatter.Below(4)));
        case 4:
            return file.Put(value, field, file.Edge(file.size));
        case 5:  // shape: sizes, strips, samples, depths
            return file.Put(value, field, file.Edge(1 + file.scatter.Below(34)));
        case 6:  // a small 16-bit number, like most tags that control decoding
            return file.Put(value, 2, file.Edge(1 + file.scatter.Below(9)));
        default:
            return file.Copy(entry, tiff.AnyEntry(), tiff.Each());
    }
}

/// Inserts or removes bytes, and adjusts every offset that points past them.
void Refit(TiffFile& tiff) {
    const std::size_t at = 8 + tiff.file.scatter.Below(tiff.file.size - 8), change = tiff.file.Move(at, 24);
    if (tiff.directory > at) tiff.directory += change;
    tiff.Follow(at, change);
}

/// Adds or removes an entry; offsets keep their targets.
void AddOrDropEntry(TiffFile& tiff) {
    Block& file = tiff.file;
    const std::size_t at = tiff.AnyEntry(), each = tiff.Each(), entries = tiff.Entries(), before = file.size;
    const bool adds = file.OneIn(2);
    if (adds && file.size + each > file.maxSize) return;
    adds ? file.Stretch(at, each) : file.Shorten(at, each);
    if (adds) file.Copy(at, at + each, each);
    if (adds) file.Put(at, 2, file.AnyOf(kTags));
    file.Put(tiff.directory, tiff.Before(), adds ? entries + 1 : entries - 1);
    tiff.Follow(at, file.size - before);
}

/// Changes a number in the data of an entry: strip offsets and byte counts, resolutions, samples, depths.
void ChangeData(const TiffFile& tiff) {
    const Block& file = tiff.file;
    const std::size_t width = file.OneIn(2) ? 2 : tiff.Field(), offset = tiff.Value(tiff.AnyEntry());
    if (offset >= 8 && offset < file.size)
        file.Put(offset + width * file.scatter.Below(4), width, file.Edge(file.size));
}

/// Links a directory to another one, or back to the first one; or copies the value of one entry to another.
void Lead(const TiffFile& tiff) {
    const Block& file = tiff.file;
    const std::size_t next = tiff.Entry(tiff.Entries()), field = tiff.Field();
    switch (file.scatter.Below(3)) {
        case 0:
            return file.Copy(next, tiff.FirstAt(), field);
        case 1:
            return file.Copy(tiff.ValueAt(tiff.AnyEntry()), tiff.ValueAt(tiff.AnyEntry()), field);
        default:
            return file.Put(next, field, file.Edge(file.size));
    }
}

}  // namespace

void MutateTiff(Block& file) {
    const std::size_t changes = 1 + file.scatter.Below(3);
    for (std::size_t n = 0; n < changes && file.size > 8; ++n) {
        TiffFile tiff(file);
        const std::size_t how = file.scatter.Below(33);
        if (how == 0 || tiff.Entries() == 0) {
            ChangeHead(tiff);
        } else if (how < 4) {
            // The library reads at most 29 entries.
            file.Put(tiff.directory, tiff.Before(), file.Edge(file.OneIn(2) ? 29 : tiff.Entries()));
        } else if (how < 7) {
            Refit(tiff);
        } else if (how < 10) {
            AddOrDropEntry(tiff);
        } else if (how < 13) {
            ChangeData(tiff);
        } else if (how < 16) {
            Lead(tiff);
        } else if (how < 19) {
            file.Cut();
        } else {
            ChangeEntry(tiff);
        }
    }
}

}  // namespace hueweave::fuzz
