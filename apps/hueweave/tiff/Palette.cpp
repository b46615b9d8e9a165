// SPDX-License-Identifier: MIT
#include "tiff/Palette.h"

#include <algorithm>

namespace hueweave::tool {

Palette MakePalette(const std::vector<std::uint64_t>& map) {
    const auto all = [&](auto is) { return std::all_of(map.begin(), map.end(), is); };
    unsigned factor = 0;  // from a sample of 8 bits to an entry
    if (all([](std::uint64_t entry) { return entry < 256; })) {
        factor = 1;
    } else if (all([](std::uint64_t entry) { return entry % 257 == 0; })) {
        factor = 257;
    } else if (all([](std::uint64_t entry) { return entry % 256 == 0; })) {
        factor = 256;
    }
    Palette palette{factor != 0 ? 8U : 16U, {}};
    for (const std::uint64_t entry : map) {
        palette.samples.push_back(static_cast<std::uint16_t>(factor != 0 ? entry / factor : entry));
    }
    return palette;
}

}  // namespace hueweave::tool
