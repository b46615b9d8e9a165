// SPDX-License-Identifier: MIT
#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::uint16_t kTags[] = {254, 256, 257, 258, 259, 262, 266,   273,   274,   277,   278,
                                   279, 282, 283, 284, 296, 301, 305,   317,   322,   323,   324,
                                   325, 330, 338, 339, 347, 530, 34377, 34665, 34675, 34853, 40965};

constexpr std::uint64_t kTagsOfDirectories[] = {330, 34665, 34853};

}  // namespace

Layout TiffLayout(Block& file) {
    file.little = file.Get(0, 1) != 'M';
    const bool isBig = file.Get(file.little ? 2 : 3, 1) == '+';
    // Bytes of an offset, of an entry and of their number; and the place of the first offset.
    const std::size_t width = isBig ? 8 : 4, each = isBig ? 20 : 12, before = isBig ? 8 : 2, first = isBig ? 8 : 4;
    const auto holds = [&](std::size_t at) { return at >= 8 && at <= file.size && file.size - at >= before; };
    const auto valueAt = [&](std::size_t entry) { return entry + 4 + width; };
    const auto value = [&](std::size_t entry) { return std::size_t{file.Get(valueAt(entry), width)}; };

    std::size_t directory = 0, begin = 0, entries = 0, next = first;
    for (std::size_t steps = 1 + file.scatter.Below(4); steps > 0 && holds(file.Get(next, width)); --steps) {
        directory = file.Get(next, width);
        begin = directory + before;
        entries = std::min<std::size_t>(file.Get(directory, before), (file.size - begin) / each);
        next = begin + each * entries;
        for (std::size_t n = 0; n < entries && file.OneIn(2); ++n) {
            const std::size_t entry = begin + each * n;
            const bool leads =
                std::ranges::find(kTagsOfDirectories, file.Get(entry, 2)) != std::end(kTagsOfDirectories);
            if (leads) next = valueAt(entry);
        }
    }
    if (entries == 0 || file.OneIn(32)) {
        const auto mark = static_cast<std::uint8_t>("II*\0MM+"[file.scatter.Below(7)]);
        return {.fields = {{first, width, file.size}, {file.scatter.Below(4), 1, 0, mark}}};
    }
    const auto anyEntry = [&] { return begin + each * file.scatter.Below(entries); };
    const std::size_t entry = anyEntry(), other = anyEntry(), link = begin + each * entries;
    Layout layout{.fields = {{entry, 2, 0, file.AnyOf(kTags)},
                             {entry + 2, 2, 18},  // the type
                             {entry + 4, width, 1 + file.scatter.Below(8)},
                             // Sets the product of width and count to its limit.
                             {entry + 4, width, 0x7fffffffU >> file.scatter.Below(4)},
                             {valueAt(entry), width, file.size},
                             // Sizes, strips, samples, depths; and 16 bits, like most tags that control decoding.
                             {valueAt(entry), width, 1 + file.scatter.Below(34)},
                             {valueAt(entry), 2, 1 + file.scatter.Below(9)},
                             {link, width, file.size},
                             // The library reads at most 29 entries.
                             {directory, before, file.OneIn(2) ? 29 : entries}},
                  .offsets = {first, link},
                  .width = width,
                  .table = {entry, each, {directory, before, 0}}};
    layout.begin = 8, layout.end = file.size;
    // A number in the data of an entry: strip offsets and byte counts, resolutions, samples, depths.
    const std::size_t item = file.OneIn(2) ? 2 : width, data = value(anyEntry());
    if (data >= 8 && data < file.size) layout.fields.push_back({data + item * file.scatter.Below(4), item, file.size});
    for (std::size_t n = 0; n < entries; ++n) {
        // Small values are not taken for offsets; a wrong guess is one more mutation.
        if (value(begin + each * n) > 64) layout.offsets.push_back(valueAt(begin + each * n));
    }
    // The whole entry, its value, or the offset of the first directory to make a loop.
    const std::size_t what = file.scatter.Below(3);
    layout.copy = what == 0   ? Layout::Copy{entry, other, each}
                  : what == 1 ? Layout::Copy{valueAt(entry), valueAt(other), width}
                              : Layout::Copy{link, first, width};
    return layout;
}

}  // namespace hueweave::fuzz
