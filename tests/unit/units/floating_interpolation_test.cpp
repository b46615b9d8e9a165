// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Floating interpolation of all seven channels, for grids of any size.
#include <gtest/gtest.h>

#include <limits>

#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

std::array<int, 7> InterpolateFloating(const ColorTable33& table, const std::array<int, 3>& at) {
    std::array<int, 7> v = {at[0], at[1], at[2], -7, 70000, 5, 6};  // the last four are replaced, never read
    table.Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    return v;
}

class FloatingGrid : public testing::TestWithParam<int> {
protected:
    std::array<int, 7> Naive(const std::array<int, 3>& at) const {
        return NaiveFloating(nodes_, points_, 65536.0 / (points_ - 1), Positions(points_, 65536), at);
    }
    int points_ = GetParam();
    Nodes nodes_ = ScatteredNodes(points_, 23, -65535, 131071);
    std::unique_ptr<ColorTable33> table_ = MakeGrid(points_, nodes_);
};

TEST_P(FloatingGrid, AgreesAllOverTheCube) {
    Scatter scatter(4);
    for (int n = 0; n < 8000; ++n) {
        const std::array<int, 3> at = {scatter.Next(), scatter.Next(), scatter.Next()};
        ASSERT_EQ(InterpolateFloating(*table_, at), Naive(at)) << testing::PrintToString(at);
    }
}

TEST_P(FloatingGrid, FollowsTheRowOfEveryOrderOfFractions) {
    const double step = 65536.0 / (points_ - 1);
    Scatter scatter(5);
    for (int round = 0; round < 20; ++round) {
        const std::array<int, 3> level = {scatter.Between(0, static_cast<int>(step) - 1),
                                          scatter.Between(0, static_cast<int>(step) - 1), 0};
        for (int pattern = 0; pattern < 27; ++pattern) {
            std::array<int, 3> at{};
            int rest = pattern;
            for (int& value : at) {
                const int cell = scatter.Between(0, points_ - 2);
                value = static_cast<int>(cell * step) + level[static_cast<std::size_t>(rest % 3)];
                rest /= 3;
            }
            ASSERT_EQ(InterpolateFloating(*table_, at), Naive(at)) << testing::PrintToString(at);
        }
    }
}

TEST_P(FloatingGrid, AtTheEndsOfEveryAxis) {
    for (int a : {0, 65535}) {
        for (int b : {0, 65535}) {
            for (int c : {0, 65535}) EXPECT_EQ(InterpolateFloating(*table_, {a, b, c}), Naive({a, b, c}));
        }
    }
    EXPECT_EQ(InterpolateFloating(*table_, {0, 0, 0}), nodes_[0]);
}

TEST_P(FloatingGrid, TakesPositionsOutsideTheAxesForTheirEnds) {
    constexpr int kLowest = std::numeric_limits<int>::min(), kHighest = std::numeric_limits<int>::max();
    for (const int low : {kLowest, -65536, -1}) {
        for (const int high : {65536, 65537, 131071, kHighest}) {
            EXPECT_EQ(InterpolateFloating(*table_, {low, high, 1000}), Naive({0, 65535, 1000})) << low << " " << high;
            EXPECT_EQ(InterpolateFloating(*table_, {high, 2000, low}), Naive({65535, 2000, 0})) << low << " " << high;
            EXPECT_EQ(InterpolateFloating(*table_, {high, high, high}), Naive({65535, 65535, 65535})) << high;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FloatingGrid, testing::Values(2, 3, 4, 5, 6, 7, 9, 11, 16, 17, 18, 21, 25, 29, 32, 33));

/// A grid of 9 points, all nodes 0 but one; cells are 8192 wide, so that all fractions are exact.
std::unique_ptr<ColorTable33> OneNode(int i, int j, int k, const std::array<int, 7>& value) {
    Nodes nodes(9 * 9 * 9);
    nodes[NodeAt(9, i, j, k)] = value;
    return MakeGrid(9, nodes);
}

/// A grid that rises by a million from node to node: a value tells the cell and the fraction that it was taken from.
class CellOfPosition : public testing::TestWithParam<int> {
protected:
    static constexpr int kRise = 1000000;
    static Nodes RisingNodes(int points) {
        Nodes nodes(static_cast<std::size_t>(points * points * points));
        for (int i = 0; i < points; ++i) {
            for (int j = 0; j < points; ++j) {
                for (int k = 0; k < points; ++k) {
                    nodes[NodeAt(points, i, j, k)] = {kRise * i, kRise * j, kRise * k, 0, 0, 0, 0};
                }
            }
        }
        return nodes;
    }
    /// In millionths of a step, how far behind the first node of its cell a position is taken, on all three axes.
    int Fraction(int position) const {
        const auto values = InterpolateFloating(*table_, {position, position, position});
        EXPECT_EQ(values[1], values[0]) << position;
        EXPECT_EQ(values[2], values[0]) << position;
        return values[0] - kRise * (position * (points_ - 1) / 65536);
    }
    int points_ = GetParam();
    std::unique_ptr<ColorTable33> table_ = MakeGrid(points_, RisingNodes(points_));
};

/// Kept: nodes stand at positions that are cut to whole numbers, so that the last position of a cell can lie behind its
/// end: by less than the cut.
TEST_P(CellOfPosition, IsItsOwnAtEveryPosition) {
    const int most = kRise + (points_ - 1) * kRise / 65536;
    for (int position = 0; position <= 65535; ++position) {
        const int fraction = Fraction(position);
        ASSERT_GE(fraction, 0) << position;
        ASSERT_LE(fraction, 65536 % (points_ - 1) == 0 ? kRise - 1 : most) << position;
    }
}

/// The positions that an engine asks for.
TEST_P(CellOfPosition, HoldsEveryNodeOfSeventeen) {
    for (int node = 0; node < 17; ++node) {
        const int fraction = Fraction(node < 16 ? 4096 * node : 65535);
        EXPECT_GE(fraction, 0) << node;
        EXPECT_LT(fraction, kRise) << node;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, CellOfPosition, testing::Range(2, 34));

TEST(FloatingInterpolation, CutsRisingSlopesDownAndFallingSlopesUp) {
    const auto table = OneNode(1, 0, 0, {10, -10, 1, -1, 3, -3, 0});
    // A fraction of 0.5625: 5.6, -5.6, 0.6, -0.6, 1.7, -1.7.
    EXPECT_EQ(InterpolateFloating(*table, {4608, 0, 0}), (std::array<int, 7>{5, -5, 0, 0, 1, -1, 0}));
}

TEST(FloatingInterpolation, AddsTheBaseNodeAfterTheCut) {
    auto table = OneNode(1, 0, 0, {110, 90, 0, 0, 0, 0, 0});
    for (int c = 0; c < 7; ++c) table->Color[0][0][0][c] = 100;
    const auto result = InterpolateFloating(*table, {4608, 0, 0});
    EXPECT_EQ(result[0], 105);
    EXPECT_EQ(result[1], 95);  // 94.4 were the cut of the whole sum
    EXPECT_EQ(result[2], 44);  // 100 - 56.25
}

TEST(FloatingInterpolation, CutsTheSumOfTheThreeTermsOnce) {
    auto table = OneNode(1, 0, 0, {});
    // Along 000, 100, 110, 111 every piece rises by 1: three fractions add up before the cut.
    table->Color[1][0][0][0] = 1;
    table->Color[1][1][0][0] = 2;
    table->Color[1][1][1][0] = 3;
    // 0.75 + 0.625 + 0.625 = 2.
    EXPECT_EQ(InterpolateFloating(*table, {6144, 5121, 5119})[0], 2);
    // 0.75 + 0.625 + 0.5 = 1.875.
    EXPECT_EQ(InterpolateFloating(*table, {6144, 5120, 4096})[0], 1);
}

TEST(FloatingInterpolation, DoesNotClamp) {
    const auto table = OneNode(2, 2, 2, {1000000, -1000000, 65536, -1, 0, 0, 0});
    EXPECT_EQ(InterpolateFloating(*table, {16384, 16384, 16384}),
              (std::array<int, 7>{1000000, -1000000, 65536, -1, 0, 0, 0}));
}

TEST(FloatingInterpolation, UsesThePositionTable) {
    auto table = OneNode(2, 0, 0, {8192, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(InterpolateFloating(*table, {8292, 0, 0})[0], 100);
    table->LUT_Pos[1] = 8202;  // the cell is found by the step, the fraction from the position
    EXPECT_EQ(InterpolateFloating(*table, {8292, 0, 0})[0], 90);
}

TEST(FloatingInterpolation, UsesNeitherShiftNorMask) {
    const Nodes nodes = ScatteredNodes(9, 31);
    const auto table = MakeGrid(9, nodes);
    const auto before = InterpolateFloating(*table, {12345, 23456, 34567});
    table->LUT_Shift = 0;
    table->LUT_Mask = 0;
    EXPECT_EQ(InterpolateFloating(*table, {12345, 23456, 34567}), before);
}

TEST(FloatingInterpolation, TakesEachTetrahedronsCorners) {
    // In each of the six orders, the four corners of the tetrahedron alone decide: the corners take turns in being 1.
    struct Row {
        std::array<int, 3> at;           // fractions of 0.25, 0.5 and 0.75 in a cell of 8192
        std::array<double, 8> expected;  // weight of each corner, the first axis the highest bit
    };
    constexpr double kQuarter = 0.25;
    const Row rows[] = {
        {{2048, 4096, 6144}, {kQuarter, kQuarter, 0, kQuarter, 0, 0, 0, kQuarter}},
        {{2048, 6144, 4096}, {kQuarter, 0, kQuarter, kQuarter, 0, 0, 0, kQuarter}},
        {{4096, 6144, 2048}, {kQuarter, 0, kQuarter, 0, 0, 0, kQuarter, kQuarter}},
        {{4096, 2048, 6144}, {kQuarter, kQuarter, 0, 0, 0, kQuarter, 0, kQuarter}},
        {{6144, 2048, 4096}, {kQuarter, 0, 0, 0, kQuarter, kQuarter, 0, kQuarter}},
        {{6144, 4096, 2048}, {kQuarter, 0, 0, 0, kQuarter, 0, kQuarter, kQuarter}},
    };
    for (const Row& row : rows) {
        for (int corner = 0; corner < 8; ++corner) {
            const auto table = OneNode(corner >> 2, corner >> 1 & 1, corner & 1, {4000, 0, 0, 0, 0, 0, -4000});
            const auto result = InterpolateFloating(*table, row.at);
            const int expected = static_cast<int>(4000 * row.expected[static_cast<std::size_t>(corner)]);
            EXPECT_EQ(result[0], expected) << testing::PrintToString(row.at) << ", corner " << corner;
            EXPECT_EQ(result[6], -expected) << testing::PrintToString(row.at) << ", corner " << corner;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
