// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// How a grid is made and loaded: its name, what loading sets, and which sizes are resampled.
#include <gtest/gtest.h>

#include <type_traits>

#include "unit/units/UnitHelpers.h"
#include "units/WiderColorTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable34;
using ICC40::ICC_UNIT::ColorTable36;
using ICC40::ICC_UNIT::ColorTable37;

static_assert(std::is_base_of_v<Base, ColorTable33>);
static_assert(ColorTable33::LUT_Size33 == 33 && ColorTable33::LUT_Cell == 2048);

constexpr int kUntouched = -123456;

std::unique_ptr<ColorTable33> Marked() {
    auto table = std::make_unique<ColorTable33>();
    std::fill_n(&table->Color[0][0][0][0], 33 * 33 * 33 * 7, kUntouched);
    return table;
}

/// The nodes that loading leaves: the channels of the profile, the rest as before.
Nodes LoadedNodes(const CLut16Type& lut) {
    const int points = lut.clutPoints;
    Nodes nodes(static_cast<std::size_t>(points * points * points));
    std::size_t at = 0;
    for (auto& node : nodes) {
        node.fill(kUntouched);
        for (std::size_t c = 0; c < lut.outputChan; ++c) node[c] = lut.clutTable[at++];
    }
    return nodes;
}

TEST(ColorTable, IsNamedAndHasNoPositions) {
    const auto table = std::make_unique<ColorTable33>();
    EXPECT_STREQ(table->UnitName, "ColorTable33");
    EXPECT_EQ(table->LUT_Pos, nullptr);
}

TEST(ColorTable, WiderMembersAreNamedByTheirChannels) {
    EXPECT_STREQ(std::make_unique<ColorTable34>()->UnitName, "ColorTable34");
    EXPECT_STREQ(std::make_unique<ColorTable36>()->UnitName, "ColorTable36");
    EXPECT_STREQ(std::make_unique<ColorTable37>()->UnitName, "ColorTable37");
}

class ColorTableSize : public testing::TestWithParam<int> {};

TEST_P(ColorTableSize, IsLoadedOrResampledTo17) {
    const int points = GetParam();
    const auto lut = MakeLut({.points = points}, static_cast<std::uint32_t>(points));
    const auto table = Marked();
    EXPECT_EQ(table->Initial(lut.get()), 0);
    EXPECT_EQ(table->InChannels, 3);
    EXPECT_EQ(table->OutChannels, 3);
    const bool kept = points == 9 || points == 17 || points == 33;
    const int size = kept ? points : 17;
    EXPECT_EQ(table->LUT_Size, size);
    EXPECT_EQ(table->LUT_Shift, ShiftOf(size));
    EXPECT_EQ(table->LUT_Mask, (1 << ShiftOf(size)) - 1);
    EXPECT_EQ(table->LUT_Step, 65536.0 / (size - 1));
    const Nodes loaded = LoadedNodes(*lut);
    ExpectNodes(*table, size, kept ? loaded : NaiveResize(loaded, points, 65536, 17));
    // The last position is 65536 as loaded, 65535 once resampled.
    const std::vector<int> positions = Positions(size, kept ? 65536 : 65535);
    ASSERT_NE(table->LUT_Pos, nullptr);
    ExpectRow(table->LUT_Pos.get(), positions, "LUT_Pos");
}

INSTANTIATE_TEST_SUITE_P(Every, ColorTableSize, testing::Range(2, 34));

TEST(ColorTable, At33PointsTheLastPositionIs65536) {
    const auto lut = MakeLut({.points = 33});
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(lut.get());
    EXPECT_EQ(table->LUT_Step, 2048.0);
    EXPECT_EQ(table->LUT_Pos[0], 0);
    EXPECT_EQ(table->LUT_Pos[31], 63488);
    EXPECT_EQ(table->LUT_Pos[32], 65536);
    EXPECT_EQ(table->LUT_Shift, 11);
    EXPECT_EQ(table->LUT_Mask, 2047);
}

TEST(ColorTable, At17And9PointsTheMaskFollowsTheShift) {
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(MakeLut({.points = 17}).get());
    EXPECT_EQ(table->LUT_Shift, 12);
    EXPECT_EQ(table->LUT_Mask, 4095);
    EXPECT_EQ(table->LUT_Pos[16], 65536);
    table->Initial(MakeLut({.points = 9}).get());
    EXPECT_EQ(table->LUT_Shift, 13);
    EXPECT_EQ(table->LUT_Mask, 8191);
    EXPECT_EQ(table->LUT_Pos[8], 65536);
}

TEST(ColorTable, SizesOf5And16And25ComeOutWith17Points) {
    for (int points : {5, 16, 25}) {
        const auto table = std::make_unique<ColorTable33>();
        table->Initial(MakeLut({.points = points}).get());
        EXPECT_EQ(table->LUT_Size, 17) << points;
        EXPECT_EQ(table->LUT_Pos[15], 61440) << points;
        EXPECT_EQ(table->LUT_Pos[16], 65535) << points;
        EXPECT_EQ(table->LUT_Step, 4096.0) << points;
    }
}

TEST(ColorTable, TheFirstAxisVariesSlowest) {
    const auto lut = MakeLut({.points = 9});
    for (int n = 0; n < 9 * 9 * 9 * 3; ++n) {
        lut->clutTable[static_cast<std::size_t>(n)] = static_cast<std::uint16_t>(n);
    }
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(lut.get());
    EXPECT_EQ(table->Color[0][0][0][2], 2);
    EXPECT_EQ(table->Color[0][0][1][0], 3);
    EXPECT_EQ(table->Color[0][1][0][0], 27);
    EXPECT_EQ(table->Color[1][0][0][0], 243);
    EXPECT_EQ(table->Color[8][8][8][2], 2186);
}

TEST(ColorTable, ValuesAreWidenedWithoutSign) {
    const auto lut = MakeLut({.points = 9});
    lut->clutTable[0] = 65535;
    lut->clutTable[1] = 32768;
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(lut.get());
    EXPECT_EQ(table->Color[0][0][0][0], 65535);
    EXPECT_EQ(table->Color[0][0][0][1], 32768);
}

class ColorTableChannels : public testing::TestWithParam<int> {};

TEST_P(ColorTableChannels, FillTheirSlotsAlone) {
    const auto lut = MakeLut({.inputs = 2, .outputs = GetParam(), .points = 9});
    const auto table = Marked();
    EXPECT_EQ(table->Initial(lut.get()), 0);
    EXPECT_EQ(table->InChannels, 2);
    EXPECT_EQ(table->OutChannels, GetParam());
    ExpectNodes(*table, 9, LoadedNodes(*lut));
}

TEST_P(ColorTableChannels, AreAllResampledWithTheSlotsBehindThem) {
    const auto lut = MakeLut({.outputs = GetParam(), .points = 6});
    const auto table = Marked();
    table->Initial(lut.get());
    ExpectNodes(*table, 17, NaiveResize(LoadedNodes(*lut), 6, 65536, 17));
    for (int c = GetParam(); c < 7; ++c) EXPECT_EQ(table->Color[3][4][5][c], kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Every, ColorTableChannels, testing::Range(1, 8));

TEST(ColorTable, NodesBeyondTheSizeKeepTheirValues) {
    for (int points : {9, 17, 5}) {
        const auto table = Marked();
        table->Initial(MakeLut({.points = points}).get());
        const int size = table->LUT_Size;
        for (int i = 0; i < 33; ++i) {
            for (int j = 0; j < 33; ++j) {
                for (int k = 0; k < 33; ++k) {
                    if (i < size && j < size && k < size) continue;
                    for (int value : table->Color[i][j][k]) ASSERT_EQ(value, kUntouched);
                }
            }
        }
    }
}

TEST(ColorTable, ASecondLoadReplacesPositionsAndTheNodesItReaches) {
    const auto table = std::make_unique<ColorTable33>();
    const auto large = MakeLut({.outputs = 7, .points = 33}, 1);
    const auto small = MakeLut({.outputs = 3, .points = 9}, 2);
    table->Initial(large.get());
    const int slot3 = table->Color[8][8][8][3];
    const int beyond = table->Color[9][0][0][0];
    table->Initial(small.get());
    EXPECT_EQ(table->LUT_Size, 9);
    EXPECT_EQ(table->OutChannels, 3);
    ExpectRow(table->LUT_Pos.get(), Positions(9, 65536), "LUT_Pos");
    EXPECT_EQ(table->Color[8][8][8][0], small->clutTable[(8 * 81 + 8 * 9 + 8) * 3]);
    EXPECT_EQ(table->Color[8][8][8][3], slot3);
    EXPECT_EQ(table->Color[9][0][0][0], beyond);
}

TEST(ColorTable, TheLutIsLeftAlone) {
    const auto lut = MakeLut({.points = 5});
    const auto twin = MakeLut({.points = 5});
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(lut.get());
    for (std::size_t n = 0; n < 5 * 5 * 5 * 3; ++n) ASSERT_EQ(lut->clutTable[n], twin->clutTable[n]);
    EXPECT_EQ(lut->clutPoints, 5);
}

class PackedNodes : public testing::TestWithParam<int> {};

TEST_P(PackedNodes, AreSpreadOverTheStridesOfTheCube) {
    const int points = GetParam();
    const Nodes nodes = ScatteredNodes(points, 3, -70000, 70000);
    std::vector<int> packed;
    for (const auto& node : nodes) packed.insert(packed.end(), node.begin(), node.end());
    const auto table = Marked();
    table->LUT_Step = 12.5;
    table->InChannels = 41;
    table->OutChannels = 42;
    EXPECT_EQ(table->SetColorTable(packed.data(), points), 0);
    ExpectNodes(*table, points, nodes);
    EXPECT_EQ(table->LUT_Size, points);
    EXPECT_EQ(table->LUT_Shift, ShiftOf(points));
    EXPECT_EQ(table->LUT_Mask, (1 << ShiftOf(points)) - 1);
    // Neither step, positions nor channel counts.
    EXPECT_EQ(table->LUT_Step, 12.5);
    EXPECT_EQ(table->LUT_Pos, nullptr);
    EXPECT_EQ(table->InChannels, 41);
    EXPECT_EQ(table->OutChannels, 42);
    if (points < 33) {
        EXPECT_EQ(table->Color[points][0][0][0], kUntouched);
        EXPECT_EQ(table->Color[0][points][0][0], kUntouched);
        EXPECT_EQ(table->Color[0][0][points][0], kUntouched);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, PackedNodes, testing::Values(1, 2, 5, 8, 9, 10, 16, 17, 18, 32, 33));

TEST(PackedNodes, OfASizeOutsideTheCubeAreNotLoaded) {
    const std::vector<int> packed(7, 5);
    for (int size : {-1, 34, 100000}) {
        const auto table = Marked();
        EXPECT_EQ(table->SetColorTable(packed.data(), size), 0);
        ExpectRow(&table->Color[0][0][0][0], ConstantRow(33 * 33 * 33 * 7, kUntouched), "Color");
    }
}

TEST(PackedNodes, WithoutPositionsAreNotResampled) {
    const std::vector<int> packed(5 * 5 * 5 * 7, 5);
    const auto table = Marked();
    table->SetColorTable(packed.data(), 5);
    for (int size : {2, 9, 17, 33}) {
        EXPECT_EQ(table->TableResize(size), 0);
        EXPECT_EQ(table->LUT_Size, 5);
        EXPECT_EQ(table->LUT_Pos, nullptr);
        EXPECT_EQ(table->Color[4][4][4][6], 5);
        EXPECT_EQ(table->Color[5][0][0][0], kUntouched);
    }
}

TEST(PackedNodes, KeepThePositionsOfAnEarlierLoad) {
    const auto table = std::make_unique<ColorTable33>();
    table->Initial(MakeLut({.points = 9}).get());
    const std::vector<int> packed(17 * 17 * 17 * 7, 5);
    table->SetColorTable(packed.data(), 17);
    EXPECT_EQ(table->LUT_Step, 8192.0);
    EXPECT_EQ(table->LUT_Pos[8], 65536);
    EXPECT_EQ(table->LUT_Size, 17);
}

}  // namespace
}  // namespace hueweave::test
