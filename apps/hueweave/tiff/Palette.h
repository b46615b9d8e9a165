// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace hueweave::tool {

/// The colour map of a page whose pixels are indices.
struct Palette {
    unsigned bits = 0;                   ///< per sample: 8 or 16; 0 for no palette
    std::vector<std::uint16_t> samples;  ///< all red ones, then all green ones, then all blue ones

    std::size_t size() const { return samples.size() / 3; }  ///< colours
};

/// A colour map has entries of 16 bits, but many programs fill in samples of 8 bits: as they are, times 256, or times
/// 257. If all entries have one of these forms, the palette has 8 bits.
Palette MakePalette(const std::vector<std::uint64_t>& map);

}  // namespace hueweave::tool
