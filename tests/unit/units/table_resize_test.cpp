// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Resampling a grid to another number of points.
#include <gtest/gtest.h>

#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

struct SizeRow {
    int from, to;
};

class Resize : public testing::TestWithParam<SizeRow> {};

TEST_P(Resize, SamplesEveryNewNodeAndDescribesTheNewSize) {
    const auto [from, to] = GetParam();
    const Nodes nodes = ScatteredNodes(from, static_cast<std::uint32_t>(from * 40 + to));
    const auto table = MakeGrid(from, nodes);
    table->InChannels = 3;
    table->OutChannels = 5;
    EXPECT_EQ(table->TableResize(to), 0);
    ExpectNodes(*table, to, NaiveResize(nodes, from, 65536, to));
    EXPECT_EQ(table->LUT_Size, to);
    EXPECT_EQ(table->LUT_Shift, ShiftOf(to));
    EXPECT_EQ(table->LUT_Mask, (1 << ShiftOf(to)) - 1);
    EXPECT_EQ(table->LUT_Step, 65536.0 / (to - 1));
    ExpectRow(table->LUT_Pos.get(), Positions(to, 65535), "LUT_Pos");
    EXPECT_EQ(table->InChannels, 3);
    EXPECT_EQ(table->OutChannels, 5);
}

std::vector<SizeRow> SizeRows() {
    std::vector<SizeRow> rows;
    for (int from = 2; from <= 33; ++from) {
        if (from != 17) rows.push_back({from, 17});
    }
    for (int to : {2, 3, 5, 8, 9, 10, 16, 18, 31, 32, 33}) rows.push_back({17, to});
    for (int to : {2, 9, 31, 32}) rows.push_back({33, to});
    for (int to : {5, 25, 33}) rows.push_back({9, to});
    rows.push_back({2, 33});
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Every, Resize, testing::ValuesIn(SizeRows()), [](const auto& row) {
    return std::to_string(row.param.from) + "to" + std::to_string(row.param.to);
});

TEST(TableResize, OfTheSameSizeChangesNothing) {
    const auto lut = MakeLut({.points = 17});
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(lut.get());
    const Nodes before = GetNodes(*table, 17);
    const int* const positions = table->LUT_Pos.get();
    EXPECT_EQ(table->TableResize(17), 0);
    EXPECT_EQ(table->LUT_Pos.get(), positions);
    EXPECT_EQ(table->LUT_Pos[16], 65536);
    ExpectNodes(*table, 17, before);
}

TEST(TableResize, From33To17SetsTheseFields) {
    const auto table = MakeGrid(33, ScatteredNodes(33, 1));
    table->TableResize(17);
    EXPECT_EQ(table->LUT_Pos[15], 61440);
    EXPECT_EQ(table->LUT_Pos[16], 65535);
    EXPECT_EQ(table->LUT_Step, 4096.0);
    EXPECT_EQ(table->LUT_Shift, 12);
    EXPECT_EQ(table->LUT_Mask, 4095);
}

TEST(TableResize, From33To17KeepsEverySecondNodeBelowTheTop) {
    const Nodes nodes = ScatteredNodes(33, 2);
    const auto table = MakeGrid(33, nodes);
    table->TableResize(17);
    for (int i = 0; i < 16; ++i) {
        for (int j = 0; j < 16; ++j) {
            for (int k = 0; k < 16; ++k) {
                for (std::size_t c = 0; c < 7; ++c) {
                    ASSERT_EQ(table->Color[i][j][k][c], nodes[NodeAt(33, 2 * i, 2 * j, 2 * k)][c]);
                }
            }
        }
    }
}

TEST(TableResize, From33To17TakesTheTopNodeJustBelowTheOldOne) {
    Nodes nodes = ScatteredNodes(33, 3);
    nodes[NodeAt(33, 31, 31, 31)] = {0, 65535, 2048, 100, 0, 4096, 9};
    nodes[NodeAt(33, 32, 32, 32)] = {2048, 0, 0, 100, -2048, 65535, 10};
    const auto table = MakeGrid(33, nodes);
    table->TableResize(17);
    // Equal fractions of 2047 / 2048 take the first tetrahedron, whose two other corners cancel out here: the sum is
    // that of the main diagonal, cut toward zero before the low node is added.
    const std::array<int, 7> low = nodes[NodeAt(33, 31, 31, 31)], high = nodes[NodeAt(33, 32, 32, 32)];
    for (std::size_t c = 0; c < 7; ++c) {
        const double slope = (high[c] - low[c]) * (2047.0 / 2048.0);
        EXPECT_EQ(table->Color[16][16][16][c], static_cast<int>(slope) + low[c]) << c;
    }
    EXPECT_EQ(table->Color[16][16][16][0], 2047);
    EXPECT_EQ(table->Color[16][16][16][1], 32);  // 65535 - 65503.0004 cut: the slope goes up
    EXPECT_EQ(table->Color[16][16][16][2], 1);
    EXPECT_EQ(table->Color[16][16][16][3], 100);
    EXPECT_EQ(table->Color[16][16][16][4], -2047);
    EXPECT_EQ(table->Color[16][16][16][6], 9);
}

TEST(TableResize, From9To17TakesOddNodesHalfway) {
    const Nodes nodes = ScatteredNodes(9, 4);
    const auto table = MakeGrid(9, nodes);
    table->TableResize(17);
    for (int i = 0; i < 8; ++i) {
        for (std::size_t c = 0; c < 7; ++c) {
            const int low = nodes[NodeAt(9, i, 2, 3)][c], high = nodes[NodeAt(9, i + 1, 2, 3)][c];
            ASSERT_EQ(table->Color[2 * i][4][6][c], low);
            ASSERT_EQ(table->Color[2 * i + 1][4][6][c], low + (high - low) / 2);  // cut toward zero
        }
    }
}

TEST(TableResize, KeepsTheNodesOutsideTheNewSize) {
    const auto table = MakeGrid(33, ScatteredNodes(33, 5));
    const Nodes before = GetNodes(*table, 33);
    table->TableResize(9);
    for (int i = 0; i < 33; ++i) {
        for (int j = 0; j < 33; ++j) {
            for (int k = 0; k < 33; ++k) {
                if (i < 9 && j < 9 && k < 9) continue;
                for (std::size_t c = 0; c < 7; ++c) ASSERT_EQ(table->Color[i][j][k][c], before[NodeAt(33, i, j, k)][c]);
            }
        }
    }
}

TEST(TableResize, AgainStartsFromTheShortenedTopPosition) {
    const Nodes nodes = ScatteredNodes(33, 6);
    const auto table = MakeGrid(33, nodes);
    table->TableResize(17);
    table->TableResize(9);
    table->TableResize(17);
    Nodes expected = NaiveResize(nodes, 33, 65536, 17);
    expected = NaiveResize(expected, 17, 65535, 9);
    expected = NaiveResize(expected, 9, 65535, 17);
    ExpectNodes(*table, 17, expected);
}

TEST(TableResize, CarriesAllSevenChannelsOfNegativeAndLargeNodes) {
    const Nodes nodes = ScatteredNodes(6, 7, -1000000, 1000000);
    const auto table = MakeGrid(6, nodes);
    table->TableResize(17);
    ExpectNodes(*table, 17, NaiveResize(nodes, 6, 65536, 17));
}

TEST(TableResize, ToASizeOutside2To33ChangesNothing) {
    const Nodes nodes = ScatteredNodes(17, 8);
    for (int size : {-1, 0, 1, 34, 1000}) {
        const auto table = MakeGrid(17, nodes);
        EXPECT_EQ(table->TableResize(size), 0);
        EXPECT_EQ(table->LUT_Size, 17) << size;
        EXPECT_EQ(table->LUT_Shift, 12) << size;
        EXPECT_EQ(table->LUT_Step, 4096.0) << size;
        EXPECT_EQ(table->LUT_Pos[16], 65536) << size;
        ExpectNodes(*table, 17, nodes);
    }
}

}  // namespace
}  // namespace hueweave::test
