// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The shift of a grid in lightness, chroma and hue, compared with the plain colour arithmetic.
#include <gtest/gtest.h>

#include "unit/color/NaiveLch.h"
#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

struct Shift {
    double lightness, chroma, hue;
    friend std::ostream& operator<<(std::ostream& out, const Shift& shift) {
        return out << shift.lightness << " " << shift.chroma << " " << shift.hue;
    }
};

std::array<int, 7> Shifted(const std::array<int, 7>& node, const Shift& shift) {
    const double light = (node[0] & 0xffff) * 100.0 / 65280.0;
    const double a = ((node[1] & 0xffff) - 32768) * 0.00390625, b = ((node[2] & 0xffff) - 32768) * 0.00390625;
    const auto polar = NaiveChromaHue(a, b);
    const Triple lch = NaiveAdjust({light, polar[0], polar[1]}, shift.lightness, shift.chroma, shift.hue);
    const auto ab = NaiveAB(lch[1], lch[2]);
    std::array<int, 7> result = node;
    result[0] = lch[0] < 0 ? 0 : lch[0] > 100 ? 65280 : static_cast<int>(lch[0] * 65280.0 / 100.0) & 0xffff;
    result[1] = static_cast<int>(256.0 * ab[0] + 32768.0) & 0xffff;
    result[2] = static_cast<int>(256.0 * ab[1] + 32768.0) & 0xffff;
    return result;
}

Nodes Shifted(const Nodes& nodes, const Shift& shift) {
    Nodes result;
    for (const auto& node : nodes) result.push_back(Shifted(node, shift));
    return result;
}

/// A Lab value as a node's three channels, the nearest there is.
std::array<int, 7> NodeOf(double light, double a, double b) {
    return {static_cast<int>(light * 652.8 + 0.5), static_cast<int>(256.0 * a + 32768.5),
            static_cast<int>(256.0 * b + 32768.5)};
}

class GridShift : public testing::TestWithParam<Shift> {};

TEST_P(GridShift, MovesEveryNode) {
    for (int points : {2, 5, 9, 17}) {
        // Node values of more than 16 bits too: their low bits count.
        const Nodes nodes = ScatteredNodes(points, static_cast<std::uint32_t>(points), -60000, 150000);
        const auto grid = MakeGrid(points, nodes);
        EXPECT_EQ(grid->Adjust_Lch(GetParam().lightness, GetParam().chroma, GetParam().hue), 0);
        ExpectNodes(*grid, points, Shifted(nodes, GetParam()));
        for (const auto& node : GetNodes(*grid, points)) {
            ASSERT_TRUE(node[0] >= 0 && node[0] <= 65280);
            ASSERT_TRUE(node[1] >= 7168 && node[1] <= 58368);
            ASSERT_TRUE(node[2] >= 7168 && node[2] <= 58368);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Offsets, GridShift,
                         testing::Values(Shift{0, 0, 0}, Shift{10, 0, 0}, Shift{-10.5, 0, 0}, Shift{0, 15, 0},
                                         Shift{0, -15.25, 0}, Shift{0, 0, 30}, Shift{0, 0, -30}, Shift{0, 0, 720},
                                         Shift{0, 0, -720}, Shift{0, 0, 360}, Shift{5, -7, 123.456}, Shift{200, 200, 0},
                                         Shift{-200, -200, 0}, Shift{1e6, -1e6, 1e4}));

TEST(GridShiftHue, WrapsOnceAtEitherEnd) {
    // h = 350, 10 and 10, moved by 30, -30 and 720: 20, 340 and 370, which is as good as 10.
    struct Row {
        double from, by, to;
    };
    for (const Row& row : {Row{350, 30, 20}, Row{10, -30, 340}, Row{10, 720, 370}, Row{10, -360, 10}}) {
        const auto start = NaiveAB(50.0, row.from), end = NaiveAB(50.0, row.to);
        Nodes nodes(8);
        nodes.assign(8, NodeOf(50.0, start[0], start[1]));
        const auto grid = MakeGrid(2, nodes);
        grid->Adjust_Lch(0.0, 0.0, row.by);
        // A unit of a* and b* is 256; the node's own rounding, the cut and the five-digit factors are below 3.
        EXPECT_NEAR(grid->Color[1][0][1][1], 256.0 * end[0] + 32768.0, 3.0) << row.from;
        EXPECT_NEAR(grid->Color[1][0][1][2], 256.0 * end[1] + 32768.0, 3.0) << row.from;
        ExpectNodes(*grid, 2, Shifted(nodes, {0.0, 0.0, row.by}));
    }
}

TEST(GridShiftNeutral, StaysNeutralWithoutAChromaOffset) {
    for (int lightness = 0; lightness < 65536; lightness += 8 * 111) {
        Nodes nodes;
        for (int n = 0; n < 8; ++n) nodes.push_back({std::min(lightness + 111 * n, 65535), 32768, 32768});
        const auto grid = MakeGrid(2, nodes);
        grid->Adjust_Lch(3.0, 0.0, 45.0);
        for (const auto& node : GetNodes(*grid, 2)) {
            ASSERT_EQ(node[1], 32768);
            ASSERT_EQ(node[2], 32768);
        }
    }
}

TEST(GridShiftNone, RequantisesByAUnitAtMostAndCutsChromaAt100) {
    const Nodes nodes = ScatteredNodes(17, 3, 0, 65280);
    const auto grid = MakeGrid(17, nodes);
    grid->Adjust_Lch(0.0, 0.0, 0.0);
    const Nodes after = GetNodes(*grid, 17);
    int cut = 0, lost = 0;
    for (std::size_t n = 0; n < nodes.size(); ++n) {
        // L* is not touched, so that cutting loses one unit at most.
        ASSERT_TRUE(after[n][0] == nodes[n][0] || after[n][0] == nodes[n][0] - 1);
        if (after[n][0] < nodes[n][0]) ++lost;
        const double a = (nodes[n][1] - 32768) / 256.0, b = (nodes[n][2] - 32768) / 256.0;
        const double afterA = (after[n][1] - 32768) / 256.0, afterB = (after[n][2] - 32768) / 256.0;
        ASSERT_LE(std::sqrt(afterA * afterA + afterB * afterB), 100.0 + 2.0 / 256.0);
        if (a * a + b * b > 10100.0) {
            ASSERT_GE(std::sqrt(afterA * afterA + afterB * afterB), 100.0 - 2.0 / 256.0);
            ++cut;
        }
    }
    EXPECT_GT(cut, 500);
    EXPECT_GT(lost, 10);
}

TEST(GridShiftReach, IsTheGridInUse) {
    const Nodes nodes = ScatteredNodes(5, 4);
    const auto grid = MakeGrid(5, nodes);
    for (int c = 0; c < 7; ++c) {
        grid->Color[5][0][0][c] = 40000 + c;
        grid->Color[4][5][4][c] = 50000 + c;
        grid->Color[0][4][5][c] = 60000 + c;
    }
    const std::vector<int> positions(grid->LUT_Pos.get(), grid->LUT_Pos.get() + 5);
    grid->Adjust_Lch(9.0, -9.0, 9.0);
    for (int c = 0; c < 7; ++c) {
        EXPECT_EQ(grid->Color[5][0][0][c], 40000 + c);
        EXPECT_EQ(grid->Color[4][5][4][c], 50000 + c);
        EXPECT_EQ(grid->Color[0][4][5][c], 60000 + c);
    }
    EXPECT_EQ(grid->LUT_Size, 5);
    EXPECT_EQ(grid->LUT_Step, 16384.0);
    EXPECT_EQ(positions, std::vector<int>(grid->LUT_Pos.get(), grid->LUT_Pos.get() + 5));
}

}  // namespace
}  // namespace hueweave::test
