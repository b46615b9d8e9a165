// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "support/ProfileBuilder.h"

// The smallest profiles that an engine accepts: a blank header, a tag table and A2B tables of three channels.
namespace hueweave::test {

/// Nodes of scattered values, the same on every machine.
inline std::vector<std::uint16_t> ScatteredGrid(int points, std::uint32_t seed) {
    std::vector<std::uint16_t> grid(AsIndex(points * points * points * 3));
    Lcg random(seed);
    for (std::uint16_t& value : grid) value = static_cast<std::uint16_t>(random.Next() >> 8);
    return grid;
}

/// L* rises along every axis, a* from the second to the first, b* from the third to the second; |a*|, |b*| <= 50.
inline std::vector<std::uint16_t> LabGrid(int points) {
    std::vector<std::uint16_t> grid;
    const int top = points - 1;
    for (int n = 0; n < points * points * points; ++n) {
        const int i = n / points / points, j = n / points % points, k = n % points;
        for (const int value : {(i + j + k) * 65280 / (3 * top), 32768 - 12800 + (i + top - j) * 12800 / top,
                                32768 - 12800 + (j + top - k) * 12800 / top}) {
            grid.push_back(static_cast<std::uint16_t>(value));
        }
    }
    return grid;
}

/// Straight curves around a grid.
inline LutContents StraightLut(int points, std::vector<std::uint16_t> grid, int inputEntries, int outputEntries) {
    LutContents lut = MakeLut({3, 3, points, inputEntries, outputEntries, CurveKind::Ramp, CurveKind::Ramp});
    lut.grid = std::move(grid);
    return lut;
}
inline LutContents SmoothLut(int points = 5) { return StraightLut(points, LabGrid(points), 5, 257); }

/// A table that can be identified: its input curves give `mark`, `mark` + 1 and `mark` + 2 for every sample, its output
/// curves 100 x index + `mark` + 3, + 4 and + 5. `mark` is at most 39000.
inline LutContents MarkedLut(unsigned mark) {
    LutContents lut = StraightLut(3, ScatteredGrid(3, mark), 5, 257);
    for (unsigned i = 0; i < 3 * 5; ++i) lut.input[i] = static_cast<std::uint16_t>(mark + i / 5);
    for (unsigned i = 0; i < 3 * 257; ++i) {
        lut.output[i] = static_cast<std::uint16_t>(100 * (i % 257) + mark + 3 + i / 257);
    }
    return lut;
}

/// The table as a block of type "mAB ": B curves are the output, A curves the input side. `withGrid` = false omits the
/// grid, and no engine accepts that.
inline Bytes MftAB(const LutContents& lut, bool withGrid = true) {
    CurvedLutSpec curved = Curved(lut, CurveLayout::Aligned);
    curved.hasGrid = withGrid;
    return EncodeCurved(curved);
}

/// A block that is parsed as an 8-bit table, which no engine accepts.
inline Bytes Mft1() {
    ByteWriter out = TableHead("mft1", {.points = 2, .inputEntries = 4, .outputEntries = 4}, 0);
    return out.Fill(4 * 3 + 8 * 3 + 4 * 3, 0x40).Done();
}

/// Without a header.
inline Bytes MiniProfile(const TagList& tags) { return Container(Bytes(128), tags); }

}  // namespace hueweave::test
