// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <tuple>
#include <vector>

#include "iccfile/LutTags.h"
#include "support/Matchers.h"
#include "support/ProfileBuilder.h"
#include "support/ReferenceUnits.h"
#include "support/Units.h"
#include "units/OutputTable33.h"

// Short names for the units, tables for them to load, jobs for them to run, and grids of any size and content.
namespace hueweave::test {

using namespace ICC40::ICC_UNIT;
using namespace ICC40::ICCFILE;

constexpr ColorSpaceSignature Space(int value) { return static_cast<ColorSpaceSignature>(value); }

/// One sample for each channel that a unit can have.
using Seven = std::array<unsigned short, 7>;

/// One table in two forms: the tag that a unit loads, and what a reference loads.
struct TestLut {
    explicit TestLut(const LutContents& lut) : plain(lut) {
        Fill(tag, plain);
        // No unit applies the matrix, and no reference has one.
        for (std::uint32_t n = 0; n < 9; ++n) tag.matrix[n] = 0x12345 * (n + 1);
    }

    CLut16Type tag;
    LutContents plain;
};

/// A table of random entries in the given shape.
inline TestLut RandomLut(LutShape shape) {
    shape.inputKind = shape.outputKind = CurveKind::Random;
    shape.grid = GridKind::Random;
    return TestLut(MakeLut(shape));
}

/// 0, step, 2 x step ...
inline std::vector<int> Ramp(std::size_t count, int step = 1) {
    std::vector<int> row(count);
    for (std::size_t i = 0; i < count; ++i) row[i] = static_cast<int>(i) * step;
    return row;
}

/// Gives the rows of a unit and those of its reference the same random entries, also below 0 and above 65535.
template <typename Rows, typename PlainRows>
void Scatter(Rows& rows, PlainRows& plain) {
    Lcg random(14);
    for (std::size_t c = 0; c < std::size(rows); ++c) {
        for (int& entry : plain[c]) entry = random.Sample() * 7 - 200000;
        std::ranges::copy(plain[c], rows[c]);
    }
}

template <typename Rows, typename PlainRows>
void ExpectRows(const Rows& rows, const PlainRows& plain) {
    for (std::size_t c = 0; c < std::size(rows); ++c) EXPECT_THAT(rows[c], EqualTo(std::span(plain[c]))) << "row " << c;
}

/// Checks curves and tables.
inline void ExpectTables(const OutputTable33& unit, const ReferenceOutputs& plain) {
    ExpectRows(unit.Curve, plain.curve);
    ExpectRows(unit.Lut16, plain.table);
}

/// The fields besides curves and tables, in the order step, span, channels, entries and mode, to be read or set.
inline auto FieldsOf(OutputTable33& unit) {
    return std::tie(unit.Step, unit.Span, unit.Channels, unit.Entries, unit.OutputMode);
}
/// Values that no operation produces.
inline constexpr std::tuple kOddFields{1.5, 2.5, 9, 10, 11};

/// Source, destination, pixels, and samples in the working buffer.
inline auto RunOf(const Info& info) { return std::tuple(info.Source, info.Dest, info.PixelCount, info.WorkCount); }

/// Primaries by the range of the space: 0 sRGB, 1 AdobeRGB, 2 AppleRGB, 3 ColorMatchRGB.
constexpr int PrimariesOf(int space) { return space >= 20 && space <= 31 ? (space - 16) / 4 : 0; }

/// All valid codes, their neighbours, some distant values, and some that share the low bits of a code.
inline std::vector<int> FormatCodes() {
    std::vector<int> codes = {INT_MIN, -65536 + 257, -257,  -1,    0,     1,     3,          769,     1281,
                              4097,    65534,        65535, 65793, 66049, 65536, 0x01010101, 1 << 24, INT_MAX};
    for (int code = 250; code <= 530; ++code) codes.push_back(code);
    return codes;
}

inline Seven RandomSeven(Lcg& random) {
    Seven samples;
    for (auto& sample : samples) sample = random.Sample();
    return samples;
}

/// Three byte curves of exactly `count` points: an address checker detects a read past their end.
inline std::array<Bytes, 3> RandomPoints(std::size_t count) {
    std::array<Bytes, 3> points{Bytes(count), Bytes(count), Bytes(count)};
    Lcg random(11);
    for (Bytes& curve : points) {
        curve.reserve(1);  // never null
        for (unsigned char& point : curve) point = static_cast<unsigned char>(random.Below(256));
    }
    return points;
}

/// Converts one colour through a unit.
template <typename Unit>
Seven Through(Unit& unit, Seven s) {
    unit.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    return s;
}

/// A run of pixels with its buffers. Buffers are filled with `kMark` bytes, so that unwritten bytes show.
struct Job {
    static constexpr unsigned char kMark = 0xa5;
    static constexpr unsigned short kMark16 = 0xa5a5;

    /// Room for one pixel more than `pixels`, with 7 samples of 16 bits in source and destination, whatever the code.
    Job(int code, int pixels) : source(Room(pixels) * 2, kMark), dest(Room(pixels) * 2, kMark) {
        info.FormatCode = code;
        info.Source = source.data();
        info.Dest = dest.data();
        info.PixelCount = pixels;
        info.WorkCount = static_cast<int>(Room(pixels));
        info.WorkBuf = std::make_unique<unsigned short[]>(Room(pixels));
        std::fill_n(info.WorkBuf.get(), Room(pixels), kMark16);
    }
    static std::size_t Room(int pixels) { return AsIndex(pixels + 1) * 7; }

    void SetWork(const Words& samples) { std::ranges::copy(samples, info.WorkBuf.get()); }
    Words Work() const { return {info.WorkBuf.get(), info.WorkBuf.get() + info.WorkCount}; }

    Info info;
    Bytes source;
    Bytes dest;
};

using Nodes = std::vector<ReferenceNode>;

inline std::size_t NodeAt(int points, int i, int j, int k) { return AsIndex((i * points + j) * points + k); }

/// A grid as it is after loading, with all seven channels between `low` and `high`.
inline ReferenceGrid RandomGrid(int points, std::uint32_t seed, int low = 0, int high = 65535) {
    ReferenceGrid grid;
    grid.SetSize(points);
    grid.step = points > 1 ? 65536.0 / (points - 1) : 0.0;
    for (int n = 0; n < points; ++n) grid.positions.push_back(static_cast<int>(n * grid.step));
    Lcg random(seed);
    grid.nodes.resize(AsIndex(points * points * points));
    for (ReferenceNode& node : grid.nodes) {
        for (int& value : node)
            value = low + static_cast<int>(random.Below(static_cast<std::uint32_t>(high - low + 1)));
    }
    return grid;
}

inline Nodes NodesOf(const ColorTable33& table, int points) {
    Nodes nodes(AsIndex(points * points * points));
    for (int i = 0; i < points; ++i) {
        for (int j = 0; j < points; ++j) {
            for (int k = 0; k < points; ++k) {
                std::ranges::copy(table.Color[i][j][k], nodes[NodeAt(points, i, j, k)].begin());
            }
        }
    }
    return nodes;
}

/// The packed form of nodes, with seven values each.
inline const int* Packed(const Nodes& nodes) { return reinterpret_cast<const int*>(nodes.data()); }

/// The same grid in a unit.
inline std::unique_ptr<ColorTable33> MakeGrid(const ReferenceGrid& plain) {
    auto table = std::make_unique<ColorTable33>();
    table->SetColorTable(Packed(plain.nodes), plain.points);
    table->LUT_Step = plain.step;
    table->LUT_Pos = std::make_unique<int[]>(plain.positions.size());
    std::ranges::copy(plain.positions, table->LUT_Pos.get());
    return table;
}

/// Checks size, positions and nodes.
inline void ExpectGrid(const ColorTable33& table, const ReferenceGrid& plain) {
    EXPECT_EQ(table.LUT_Size, plain.points);
    EXPECT_EQ(table.LUT_Shift, plain.shift);
    EXPECT_EQ(table.LUT_Mask, plain.mask);
    EXPECT_EQ(table.LUT_Step, plain.step);
    ASSERT_NE(table.LUT_Pos, nullptr);
    const std::vector<int> positions(table.LUT_Pos.get(), table.LUT_Pos.get() + plain.points);
    EXPECT_THAT(positions, EqualTo(plain.positions));
    EXPECT_THAT(NodesOf(table, plain.points), EqualTo(plain.nodes));
}

}  // namespace hueweave::test
