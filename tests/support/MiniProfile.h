// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

// The smallest profiles that an engine accepts: a blank header, a tag table and A2B tables of three channels.
namespace hueweave::test {

using Curve = std::vector<std::uint16_t>;

/// A table of three input and three output channels.
struct MiniLut {
    std::array<Curve, 3> input;   ///< equally long
    unsigned points = 2;          ///< grid points on each axis
    std::vector<unsigned> grid;   ///< points cubed x 3, third axis fastest
    std::array<Curve, 3> output;  ///< equally long
};

inline Curve ConstantCurve(std::size_t entries, unsigned value) {
    return Curve(entries, static_cast<std::uint16_t>(value));
}

/// 0 to 65535 in equal steps.
inline Curve RampCurve(std::size_t entries) {
    Curve curve(entries);
    for (std::size_t i = 0; i < entries; ++i) curve[i] = static_cast<std::uint16_t>(i * 65535 / (entries - 1));
    return curve;
}

/// Nodes of scattered values, the same on every machine.
inline std::vector<unsigned> ScatteredGrid(unsigned points, std::uint32_t seed) {
    std::vector<unsigned> grid(std::size_t{points} * points * points * 3);
    Lcg random(seed);
    for (unsigned& value : grid) value = random.Next() >> 8;
    return grid;
}

/// L* rises along every axis, a* from the second to the first, b* from the third to the second; |a*|, |b*| <= 50.
inline std::vector<unsigned> LabGrid(unsigned points) {
    std::vector<unsigned> grid;
    const unsigned top = points - 1;
    for (unsigned n = 0; n < points * points * points; ++n) {
        const unsigned i = n / points / points, j = n / points % points, k = n % points;
        grid.push_back((i + j + k) * 65280 / (3 * top));
        grid.push_back(32768 - 12800 + (i + top - j) * 12800 / top);
        grid.push_back(32768 - 12800 + (j + top - k) * 12800 / top);
    }
    return grid;
}

/// L* 0 and neutral everywhere: linear RGB 0, 0, 0 in every output space.
inline std::vector<unsigned> BlackGrid() {
    std::vector<unsigned> grid;
    for (int node = 0; node < 8; ++node) grid.insert(grid.end(), {0, 32768, 32768});
    return grid;
}

/// Straight curves around a smooth grid.
inline MiniLut SmoothLut(unsigned points = 5) {
    const Curve in = RampCurve(5);
    const Curve out = RampCurve(257);
    return {{in, in, in}, points, LabGrid(points), {out, out, out}};
}

/// A table that can be identified: its input curves give `mark`, `mark` + 1 and `mark` + 2 for every sample, its output
/// curves 100 x index + `mark` + 3, + 4 and + 5. `mark` is at most 39000.
inline MiniLut MarkedLut(unsigned mark) {
    MiniLut lut{{}, 3, ScatteredGrid(3, mark), {}};
    for (unsigned c = 0; c < 3; ++c) {
        lut.input[c] = ConstantCurve(5, mark + c);
        for (unsigned i = 0; i < 257; ++i) lut.output[c].push_back(static_cast<std::uint16_t>(100 * i + mark + 3 + c));
    }
    return lut;
}

/// The block of type "mft2".
inline Bytes Mft2(const MiniLut& lut) {
    const auto size = [](const Curve& curve) { return static_cast<int>(curve.size()); };
    const auto points = static_cast<int>(lut.points);
    ByteWriter out = TableHead("mft2", {3, 3, points, size(lut.input[0]), size(lut.output[0])}, 0x10000);
    for (const Curve& curve : lut.input) out.Big16s(curve);
    out.Big16s(lut.grid);
    for (const Curve& curve : lut.output) out.Big16s(curve);
    return out.Done();
}

/// The same table as a block of type "mAB ": B curves are the output, A curves the input side. `withGrid` = false omits
/// the grid, and no engine accepts that.
inline Bytes MftAB(const MiniLut& lut, bool withGrid = true) {
    CurvedLutSpec curved;
    std::fill_n(curved.gridPoints.begin(), 3, static_cast<std::uint8_t>(lut.points));
    for (const unsigned value : lut.grid) curved.grid.push_back(static_cast<std::uint16_t>(value));
    curved.aCurves.assign(lut.input.begin(), lut.input.end());
    curved.bCurves.assign(lut.output.begin(), lut.output.end());
    curved.hasGrid = withGrid;
    return EncodeCurved(curved);
}

/// A block that is parsed as an 8-bit table, which no engine accepts.
inline Bytes Mft1() {
    ByteWriter out = TableHead("mft1", {.points = 2, .inputEntries = 4, .outputEntries = 4}, 0);
    return out.Fill(4 * 3 + 8 * 3 + 4 * 3, 0x40).Done();
}

using MiniTags = std::vector<std::pair<std::string_view, Bytes>>;

/// Without a header.
inline Bytes MiniProfile(const MiniTags& tags) { return Container(Bytes(128), tags); }

}  // namespace hueweave::test
