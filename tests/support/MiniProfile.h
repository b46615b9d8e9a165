// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ByteWriter.h"

// The smallest profiles that an engine can work with: a blank header, a tag table and A2B tables of three channels.
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

/// Nodes of any values, the same on every machine.
inline std::vector<unsigned> ScatteredGrid(unsigned points, std::uint32_t seed) {
    std::vector<unsigned> grid(std::size_t{points} * points * points * 3);
    std::uint32_t state = seed;
    for (unsigned& value : grid) {
        state = state * 1664525U + 1013904223U;
        value = state >> 16;
    }
    return grid;
}

/// Light rises along every axis, a* from the second to the first, b* from the third to the second; |a*|, |b*| <= 50.
inline std::vector<unsigned> LabGrid(unsigned points) {
    std::vector<unsigned> grid;
    const unsigned top = points - 1;
    for (unsigned i = 0; i < points; ++i) {
        for (unsigned j = 0; j < points; ++j) {
            for (unsigned k = 0; k < points; ++k) {
                grid.push_back((i + j + k) * 65280 / (3 * top));
                grid.push_back(32768 - 12800 + (i + top - j) * 12800 / top);
                grid.push_back(32768 - 12800 + (j + top - k) * 12800 / top);
            }
        }
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

/// A table that can be told from others: its input curves give `mark`, `mark` + 1 and `mark` + 2 for every sample,
/// its output curves 100 x place + `mark` + 3, + 4 and + 5. `mark` is at most 39000.
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
    ByteWriter out;
    out.Text("mft2").Big32(0).U8(3).U8(3).U8(lut.points).U8(0);
    for (int i = 0; i < 9; ++i) out.Big32(i % 4 == 0 ? 0x10000 : 0);
    out.Big16(static_cast<unsigned>(lut.input[0].size())).Big16(static_cast<unsigned>(lut.output[0].size()));
    for (const Curve& curve : lut.input) {
        for (const std::uint16_t entry : curve) out.Big16(entry);
    }
    for (const unsigned value : lut.grid) out.Big16(value);
    for (const Curve& curve : lut.output) {
        for (const std::uint16_t entry : curve) out.Big16(entry);
    }
    return out.Done();
}

namespace detail {
/// Curves with an odd number of entries, so that each fills a multiple of 4 bytes with its two bytes of padding.
inline std::uint32_t PlaceCurves(ByteWriter& out, const std::array<Curve, 3>& curves) {
    const auto offset = static_cast<std::uint32_t>(out.Size());
    for (const Curve& curve : curves) {
        out.Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(curve.size()));
        for (const std::uint16_t entry : curve) out.Big16(entry);
        out.Align(4);
    }
    return offset;
}
}  // namespace detail

/// The same table as a block of type "mAB ": B curves are the output, A curves the input side. All curves must have
/// an odd number of entries. `withGrid` false leaves the grid out, which no engine can use.
inline Bytes MftAB(const MiniLut& lut, bool withGrid = true) {
    ByteWriter out;
    out.Text("mAB ").Big32(0).U8(3).U8(3).Big16(0).Fill(20);
    out.PatchBig32(12, detail::PlaceCurves(out, lut.output));
    if (withGrid) {
        out.PatchBig32(24, static_cast<std::uint32_t>(out.Size()));
        for (int axis = 0; axis < 16; ++axis) out.U8(axis < 3 ? lut.points : 0);
        out.U8(2).Fill(3);
        for (const unsigned value : lut.grid) out.Big16(value);
        out.Align(4);
    }
    out.PatchBig32(28, detail::PlaceCurves(out, lut.input));
    return out.Done();
}

/// A block that reads as a table of bytes, which no engine can use.
inline Bytes Mft1() {
    ByteWriter out;
    out.Text("mft1").Big32(0).U8(3).U8(3).U8(2).U8(0).Fill(36).Big16(4).Big16(4);
    return out.Fill(4 * 3 + 8 * 3 + 4 * 3, 0x40).Done();
}

inline Bytes XyzBlock(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return ByteWriter().Text("XYZ ").Big32(0).Big32(x).Big32(y).Big32(z).Done();
}

using MiniTags = std::vector<std::pair<std::string_view, Bytes>>;

/// Header, table and blocks, each block at a multiple of 4.
inline Bytes MiniProfile(const MiniTags& tags) {
    ByteWriter out;
    out.Fill(128).Big32(static_cast<std::uint32_t>(tags.size()));
    std::size_t offset = 132 + 12 * tags.size();
    for (const auto& [name, block] : tags) {
        out.Text(name).Big32(static_cast<std::uint32_t>(offset)).Big32(static_cast<std::uint32_t>(block.size()));
        offset += (block.size() + 3) / 4 * 4;
    }
    for (const auto& [name, block] : tags) out.Append(block).Align(4);
    return out.Done();
}

}  // namespace hueweave::test
