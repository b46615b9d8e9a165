// SPDX-License-Identifier: MIT
#include <algorithm>

#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 266,   273,   274,   277,   278,
                                   279, 282, 283, 284, 296, 301, 305,   317,   322,   323,   324,
                                   325, 330, 338, 339, 347, 530, 34377, 34665, 34675, 34853, 40965};

struct TiffFile {
    Block& file;
    bool wide = false;          ///< BigTIFF
    std::size_t directory = 0;  ///< offset of the directory to change; 0 for none

    explicit TiffFile(Block& block) : file(block) {
        file.little = file.Get(0, 1) != 'M';
        wide = file.Get(file.little ? 2 : 3, 1) == '+';
        Choose();
    }
    std::size_t Width() const { return wide ? 8 : 4; }   ///< bytes of an offset or a count
    std::size_t Each() const { return wide ? 20 : 12; }  ///< bytes of an entry
    std::size_t Before() const { return wide ? 8 : 2; }  ///< bytes of the number of entries
    std::size_t FirstAt() const { return wide ? 8 : 4; }

    bool Holds(std::size_t at) const { return at >= 8 && at <= file.size && file.size - at >= Before(); }
    std::size_t Entries() const {
        if (!Holds(directory)) return 0;
        return std::min<std::size_t>(file.Get(directory, Before()), (file.size - directory - Before()) / Each());
    }
    std::size_t Entry(std::size_t n) const { return directory + Before() + Each() * n; }
    std::size_t AnyEntry() const { return Entry(file.scatter.Below(Entries())); }
    std::size_t ValueAt(std::size_t entry) const { return entry + 4 + Width(); }
    std::size_t Value(std::size_t entry) const { return file.Get(ValueAt(entry), Width()); }

    /// Picks a directory of the chain, or one that an entry of it points to.
    void Choose() {
        std::size_t next = file.Get(FirstAt(), Width());
        for (std::size_t steps = 1 + file.scatter.Below(4); steps > 0 && Holds(next); --steps) {
            directory = next;
            next = file.Get(Entry(Entries()), Width());
            for (std::size_t n = 0; n < Entries() && file.OneIn(2); ++n) {
                const auto tag = file.Get(Entry(n), 2);
                if (tag == 330 || tag == 34665 || tag == 34853) next = Value(Entry(n));
            }
        }
    }
};

}  // namespace

Layout TiffLayout(Block& file) {
    const TiffFile tiff(file);
    const std::size_t entries = tiff.Entries(), width = tiff.Width();
    if (entries == 0 || file.OneIn(32)) {
        const auto mark = static_cast<std::uint8_t>("II*\0MM+"[file.scatter.Below(7)]);
        return {.fields = {{tiff.FirstAt(), width, file.size}, {file.scatter.Below(4), 1, 0, mark}}};
    }
    const std::size_t entry = tiff.AnyEntry(), value = tiff.ValueAt(entry), next = tiff.Entry(entries);
    Layout layout{.fields = {{entry, 2, 0, file.AnyOf(kTags)},
                             {entry + 2, 2, 18},  // the type
                             {entry + 4, width, 1 + file.scatter.Below(8)},
                             // Sets the product of width and count to its limit.
                             {entry + 4, width, 0x7fffffffU >> file.scatter.Below(4)},
                             {value, width, file.size},
                             // Sizes, strips, samples, depths; and 16 bits, like most tags that control decoding.
                             {value, width, 1 + file.scatter.Below(34)},
                             {value, 2, 1 + file.scatter.Below(9)},
                             {next, width, file.size},
                             // The library reads at most 29 entries.
                             {tiff.directory, tiff.Before(), file.OneIn(2) ? 29 : entries}},
                  .begin = 8,
                  .end = file.size,
                  .offsets = {tiff.FirstAt(), next},
                  .width = width,
                  .entry = entry,
                  .each = tiff.Each(),
                  .entries = {tiff.directory, tiff.Before(), 0}};
    // A number in the data of an entry: strip offsets and byte counts, resolutions, samples, depths.
    const std::size_t item = file.OneIn(2) ? 2 : width, data = tiff.Value(tiff.AnyEntry());
    if (data >= 8 && data < file.size) layout.fields.push_back({data + item * file.scatter.Below(4), item, file.size});
    for (std::size_t n = 0; n < entries; ++n) {
        // Small values are not taken for offsets; a wrong guess is one more mutation.
        if (tiff.Value(tiff.Entry(n)) > 64) layout.offsets.push_back(tiff.ValueAt(tiff.Entry(n)));
    }
    // The whole entry, its value, or the offset of the first directory to make a loop.
    const std::size_t other = tiff.AnyEntry(), what = file.scatter.Below(3);
    layout.to = what == 0 ? entry : what == 1 ? value : next;
    layout.from = what == 0 ? other : what == 1 ? tiff.ValueAt(other) : tiff.FirstAt();
    layout.copied = what == 0 ? tiff.Each() : width;
    return layout;
}

}  // namespace hueweave::fuzz
