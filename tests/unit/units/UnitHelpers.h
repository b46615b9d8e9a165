// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "iccfile/LutTags.h"
#include "units/ColorTable33.h"
#include "units/Info.h"

// Tables built by hand for the tests of the pipeline units, and plain evaluations to compare the units with. The
// evaluations are written for being read beside the rules; they share no line with the library.
namespace hueweave::test {

using ICC40::ICC_UNIT::Base;
using ICC40::ICC_UNIT::ColorTable33;
using ICC40::ICC_UNIT::Info;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::ColorSpaceSignature;

constexpr ColorSpaceSignature Space(int value) { return static_cast<ColorSpaceSignature>(value); }

/// Any numbers, the same on every machine.
class Scatter {
public:
    explicit Scatter(std::uint32_t seed) : state_(seed * 2654435761U + 12345U) {}
    /// 0 to 65535.
    int Next() {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<int>(state_ >> 16);
    }
    /// From `low` to `high`, both possible.
    int Between(int low, int high) { return low + Next() % (high - low + 1); }

private:
    std::uint32_t state_;
};

struct LutShape {
    int inputs = 3;
    int outputs = 3;
    int points = 2;
    int inputEntries = 2;
    int outputEntries = 2;
};

/// A table of the given shape, all its entries scattered over 0 to 65535.
inline std::unique_ptr<CLut16Type> MakeLut(const LutShape& shape, std::uint32_t seed = 1) {
    auto lut = std::make_unique<CLut16Type>();
    lut->inputChan = static_cast<std::uint8_t>(shape.inputs);
    lut->outputChan = static_cast<std::uint8_t>(shape.outputs);
    lut->clutPoints = static_cast<std::uint8_t>(shape.points);
    lut->inputEnt = static_cast<std::uint16_t>(shape.inputEntries);
    lut->outputEnt = static_cast<std::uint16_t>(shape.outputEntries);
    Scatter scatter(seed);
    const auto filled = [&scatter](int count) {
        const auto size = static_cast<std::size_t>(std::max(count, 1));
        auto table = std::make_unique<std::uint16_t[]>(size);
        for (std::size_t i = 0; i < size; ++i) table[i] = static_cast<std::uint16_t>(scatter.Next());
        return table;
    };
    lut->inputTable = filled(shape.inputs * shape.inputEntries);
    lut->clutTable = filled(shape.points * shape.points * shape.points * shape.outputs);
    lut->outputTable = filled(shape.outputs * shape.outputEntries);
    return lut;
}

/// Entry `entry` of curve `channel` in a table of curves that stand one after the other.
inline int CurveEntry(const std::unique_ptr<std::uint16_t[]>& table, int entries, int channel, int entry) {
    return table[static_cast<std::size_t>(channel * entries + entry)];
}

/// Compares a row of a unit's table with what it should hold; tells the first difference alone.
inline void ExpectRow(const int* row, const std::vector<int>& expected, const std::string& what) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (row[i] != expected[i]) {
            ADD_FAILURE() << what << ", entry " << i << ": " << row[i] << " instead of " << expected[i];
            return;
        }
    }
}

inline std::vector<int> RowOf(const int* row, std::size_t count) { return std::vector<int>(row, row + count); }

inline std::vector<int> ConstantRow(std::size_t count, int value) { return std::vector<int>(count, value); }

/// 0, step, 2 x step ...
inline std::vector<int> Ramp(std::size_t count, int step = 1) {
    std::vector<int> row(count);
    for (std::size_t i = 0; i < count; ++i) row[i] = static_cast<int>(i) * step;
    return row;
}

/// A run of pixels with its buffers. Buffers are filled with `kMark` bytes, so that what was not written shows.
struct Job {
    static constexpr unsigned char kMark = 0xa5;
    static constexpr unsigned short kMark16 = 0xa5a5;

    /// Room for `pixels` pixels of 7 samples of 16 bits on every side, whatever the code says.
    Job(int code, int pixels) : source(Room(pixels) * 2, kMark), dest(Room(pixels) * 2, kMark) {
        info.FormatCode = code;
        info.Source = source.data();
        info.Dest = dest.data();
        info.PixelCount = pixels;
        info.WorkCount = static_cast<int>(Room(pixels));
        info.WorkBuf = std::make_unique<unsigned short[]>(Room(pixels));
        std::fill_n(info.WorkBuf.get(), Room(pixels), kMark16);
    }
    static std::size_t Room(int pixels) { return static_cast<std::size_t>(std::max(pixels, 1) + 1) * 7; }

    void Source16(const std::vector<unsigned short>& samples) {
        std::memcpy(source.data(), samples.data(), samples.size() * 2);
    }
    void Source8(const std::vector<unsigned char>& samples) {
        std::copy(samples.begin(), samples.end(), source.begin());
    }
    void Work(const std::vector<unsigned short>& samples) {
        std::copy(samples.begin(), samples.end(), info.WorkBuf.get());
    }
    std::vector<unsigned short> Work() const {
        return std::vector<unsigned short>(info.WorkBuf.get(), info.WorkBuf.get() + info.WorkCount);
    }
    /// Destination as 16-bit samples in the machine's byte order.
    std::vector<unsigned short> Dest16() const {
        std::vector<unsigned short> samples(dest.size() / 2);
        std::memcpy(samples.data(), dest.data(), dest.size());
        return samples;
    }

    Info info;
    std::vector<unsigned char> source;
    std::vector<unsigned char> dest;
};

/// `expected` followed by marks up to the size of `all`.
template <typename Sample>
std::vector<Sample> WithMarks(std::vector<Sample> expected, std::size_t size, Sample mark) {
    expected.resize(size, mark);
    return expected;
}

/// The seven-slot nodes of a grid of `points` points an axis, third axis fastest.
using Nodes = std::vector<std::array<int, 7>>;

inline std::size_t NodeAt(int points, int i, int j, int k) {
    return static_cast<std::size_t>((i * points + j) * points + k);
}

/// Nodes from `low` to `high` in all seven slots.
inline Nodes ScatteredNodes(int points, std::uint32_t seed, int low = 0, int high = 65535) {
    Nodes nodes(static_cast<std::size_t>(points * points * points));
    Scatter scatter(seed);
    for (auto& node : nodes) {
        for (int& value : node) value = low + static_cast<int>(scatter.Next() / 65535.0 * (high - low));
    }
    return nodes;
}

inline void PutNodes(ColorTable33& table, int points, const Nodes& nodes) {
    for (int i = 0; i < points; ++i) {
        for (int j = 0; j < points; ++j) {
            for (int k = 0; k < points; ++k) {
                const auto& node = nodes[NodeAt(points, i, j, k)];
                std::copy(node.begin(), node.end(), table.Color[i][j][k]);
            }
        }
    }
}

inline Nodes GetNodes(const ColorTable33& table, int points) {
    Nodes nodes(static_cast<std::size_t>(points * points * points));
    for (int i = 0; i < points; ++i) {
        for (int j = 0; j < points; ++j) {
            for (int k = 0; k < points; ++k) {
                std::copy_n(table.Color[i][j][k], 7, nodes[NodeAt(points, i, j, k)].begin());
            }
        }
    }
    return nodes;
}

/// Tells the first node that differs.
inline void ExpectNodes(const ColorTable33& table, int points, const Nodes& expected) {
    const Nodes nodes = GetNodes(table, points);
    ASSERT_EQ(nodes.size(), expected.size());
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        if (nodes[n] != expected[n]) {
            ADD_FAILURE() << points << " points, node " << n << ": " << testing::PrintToString(nodes[n])
                          << " instead of " << testing::PrintToString(expected[n]);
            return;
        }
    }
}

/// Bits of the fraction in a 16-bit position.
inline int ShiftOf(int points) { return points == 17 ? 12 : points == 9 ? 13 : 11; }

/// A grid of any size as loading would leave it: step 65536.0 / (points - 1), positions cut to whole numbers.
inline std::unique_ptr<ColorTable33> MakeGrid(int points, const Nodes& nodes) {
    auto table = std::make_unique<ColorTable33>();
    table->LUT_Size = points;
    table->LUT_Shift = ShiftOf(points);
    table->LUT_Mask = (1 << table->LUT_Shift) - 1;
    table->LUT_Step = 65536.0 / (points - 1);
    table->LUT_Pos = std::make_unique<int[]>(static_cast<std::size_t>(points));
    for (int n = 0; n < points; ++n) {
        table->LUT_Pos[static_cast<std::size_t>(n)] = static_cast<int>(n * table->LUT_Step);
    }
    PutNodes(*table, points, nodes);
    return table;
}

/// One of the six tetrahedra: for the first, second and third axis the corners whose difference counts, each corner
/// written as its steps on the three axes in decimal digits.
struct NaiveCase {
    int xTo, xFrom, yTo, yFrom, zTo, zFrom;
};

/// The six rows, by case number 1 to 6.
inline constexpr NaiveCase kCases[6] = {
    {111, 11, 11, 1, 1, 0},        // fx <= fy <= fz
    {111, 11, 10, 0, 11, 10},      // fx <= fz < fy
    {110, 10, 10, 0, 111, 110},    // fz < fx <= fy
    {101, 1, 111, 101, 1, 0},      // fy < fx <= fz
    {100, 0, 111, 101, 101, 100},  // fy <= fz < fx
    {100, 0, 110, 100, 111, 110},  // fz < fy < fx
};

template <typename Fraction>
const NaiveCase& CaseOf(Fraction fx, Fraction fy, Fraction fz) {
    if (fx <= fy && fy <= fz) return kCases[0];
    if (fx <= fz && fz < fy) return kCases[1];
    if (fz < fx && fx <= fy) return kCases[2];
    if (fy < fx && fx <= fz) return kCases[3];
    if (fy <= fz && fz < fx) return kCases[4];
    return kCases[5];
}

/// Channel c of the corner that `digits` names of the cell at (i, j, k).
inline int Corner(const Nodes& nodes, int points, const std::array<int, 3>& cell, int digits, std::size_t c) {
    return nodes[NodeAt(points, cell[0] + digits / 100, cell[1] + digits / 10 % 10, cell[2] + digits % 10)][c];
}

/// Floating interpolation of all seven channels: step and positions as given, slopes cut toward zero.
inline std::array<int, 7> NaiveFloating(const Nodes& nodes, int points, double step, const std::vector<int>& positions,
                                        const std::array<int, 3>& at) {
    std::array<int, 3> cell{};
    std::array<double, 3> f{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double value = at[axis];
        cell[axis] = static_cast<int>(value / step);
        f[axis] = (value - positions[static_cast<std::size_t>(cell[axis])]) / step;
    }
    const NaiveCase& row = CaseOf(f[0], f[1], f[2]);
    std::array<int, 7> result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto difference = [&](int to, int from) {
            return static_cast<double>(Corner(nodes, points, cell, to, c) - Corner(nodes, points, cell, from, c));
        };
        const double sum = difference(row.xTo, row.xFrom) * f[0] + difference(row.yTo, row.yFrom) * f[1] +
                           difference(row.zTo, row.zFrom) * f[2];
        result[c] = static_cast<int>(sum) + Corner(nodes, points, cell, 0, c);
    }
    return result;
}

/// Positions 0, step, 2 x step ... cut to whole numbers; `last` takes the place of the last one.
inline std::vector<int> Positions(int points, int last) {
    std::vector<int> positions(static_cast<std::size_t>(points));
    for (int n = 0; n < points; ++n) {
        positions[static_cast<std::size_t>(n)] = static_cast<int>(n * (65536.0 / (points - 1)));
    }
    positions.back() = last;
    return positions;
}

/// The nodes of a grid of `from` points, last position `last`, resampled to `to` points.
inline Nodes NaiveResize(const Nodes& nodes, int from, int last, int to) {
    const std::vector<int> oldPositions = Positions(from, last);
    const std::vector<int> positions = Positions(to, 65535);
    Nodes result;
    for (int i : positions) {
        for (int j : positions) {
            for (int k : positions) {
                result.push_back(NaiveFloating(nodes, from, 65536.0 / (from - 1), oldPositions, {i, j, k}));
            }
        }
    }
    return result;
}

/// A row of the output stage's tables from a curve: `step` apart, fractions of `span`, rounded to nearest. Entries 0
/// to 65534; the last one is the caller's.
template <typename CurveValue>
std::vector<int> NaiveOutputRow(const CurveValue& curve, double step, double span, int last) {
    std::vector<int> row(65536);
    for (int v = 0; v < 65535; ++v) {
        const double x = v;
        const int i = static_cast<int>(x / step);
        const double f = (x - step * i) / span;
        row[static_cast<std::size_t>(v)] = static_cast<int>(curve(i + 1) * f + (1 - f) * curve(i) + 0.5);
    }
    row[65535] = last;
    return row;
}

}  // namespace hueweave::test
