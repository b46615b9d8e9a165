// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ICC40::ICC_ENG_S4 {
class CIccEngineS;
}

namespace hueweave::colour {

/// The tables of an engine for 8-bit samples, packed to fit into the inner caches of a processor: the nodes of the grid
/// in place of six records for each cell, and bytes in place of 32-bit numbers. They are a tenth as large.
struct PackedTables {
    static constexpr std::uint32_t kPoints = 17;  ///< of the grid, on each axis
    /// The distance, in nodes, from one node to the next on each axis.
    static constexpr std::array<std::uint32_t, 3> kStrides{kPoints * kPoints, kPoints, 1};

    /// `engine` must be ready to convert 8-bit samples. It is only read.
    explicit PackedTables(const ICC40::ICC_ENG_S4::CIccEngineS& engine);

    /// For each sample: its position in the cell, 0 to 4095, << 16 | what the channel adds to the index of the cell's
    /// first node.
    std::array<std::array<std::uint32_t, 256>, 3> in;
    /// For each node, linear light of 0 to 255 as red | green << 8 | blue << 16, and << 32 that of the opposite corner
    /// of the cell that begins there, which is loaded with it.
    std::array<std::uint64_t, std::size_t{kPoints} * kPoints * kPoints> nodes;
    /// The samples for interpolated values, 0 to 255 * 256. Equal tables are stored once.
    std::array<std::vector<std::uint8_t>, 3> curves;
    std::array<const std::uint8_t*, 3> out;  ///< by channel, in `curves`
};

/// Converts interleaved 8-bit RGB pixels in place, with the results of the engine.
using PackedLoop = void (*)(const PackedTables& tables, unsigned char* rgb, std::size_t pixels);

/// The loop for this processor; null if it has none that is faster than those of the engine.
PackedLoop FindPackedLoop();

}  // namespace hueweave::colour
