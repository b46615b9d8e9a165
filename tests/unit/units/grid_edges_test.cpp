// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The shift in LCh and the road from Lab to RGB, node by node.
#include <gtest/gtest.h>

#include <memory>

#include "Luts.h"
#include "color/CLCH.h"
#include "units/ColorTable33.h"
#include "units/OutputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable33;
using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::CXYZType;

/// Two points an axis resampled to seventeen; every node of one Lab value.
LutMaker Flat(int lightness, int a, int b) {
    LutMaker maker;
    maker.points = 9;
    maker.node = [=](int, int, int, int c) { return c == 0 ? lightness : c == 1 ? a : b; };
    return maker;
}

std::unique_ptr<ColorTable33> LoadedGrid(const LutMaker& maker) {
    CLut16Type lut;
    maker.Fill(lut);
    auto unit = std::make_unique<ColorTable33>();
    unit->Initial(&lut);
    return unit;
}

TEST(GridShiftEdges, AZeroShiftCutsChromaAndRequantises) {
    const auto unit = LoadedGrid(Flat(32640, 65000, 32768));
    EXPECT_EQ(unit->Adjust_Lch(0.0, 0.0, 0.0), 0);
    EXPECT_EQ(unit->Color[3][4][5][0], 32640);
    EXPECT_EQ(unit->Color[3][4][5][1], 58368);  // a* of 100
    EXPECT_EQ(unit->Color[3][4][5][2], 32768);
}

TEST(GridShiftEdges, EveryNodeGoesThroughTheTriple) {
    LutMaker maker = Flat(0, 0, 0);
    maker.outputs = 4;
    maker.node = [](int i, int j, int k, int c) { return (i * 6007 + j * 7919 + k * 104729 + c * 30011) & 0xffff; };
    const auto unit = LoadedGrid(maker);
    EXPECT_EQ(unit->Adjust_Lch(7.25, -3.5, 200.0), 0);
    ColorLch::CLCH color(63195.0, 65535.0, 54073.0);
    for (int i = 0; i < 9; ++i) {
        for (int j = 0; j < 9; ++j) {
            for (int k = 0; k < 9; ++k) {
                const auto was = [&](int c) { return maker.node(i, j, k, c); };
                color.PutData_Lab(was(0) * 100.0 / 65280.0, (was(1) - 32768) * 0.00390625,
                                  (was(2) - 32768) * 0.00390625);
                color.Adjust(7.25, -3.5, 200.0);
                ASSERT_EQ(unit->Color[i][j][k][0], static_cast<int>(color.L * 65280.0 / 100.0));
                ASSERT_EQ(unit->Color[i][j][k][1], static_cast<int>(256.0 * color.a + 32768.0));
                ASSERT_EQ(unit->Color[i][j][k][2], static_cast<int>(256.0 * color.b + 32768.0));
                ASSERT_EQ(unit->Color[i][j][k][3], was(3));
            }
        }
    }
}

TEST(GridShiftEdges, LightnessEndsBetweenBlackAndWhite) {
    EXPECT_EQ(LoadedGrid(Flat(65535, 32768, 32768))->Adjust_Lch(1.0, 0.0, 0.0), 0);
    const auto bright = LoadedGrid(Flat(65000, 32768, 32768));
    bright->Adjust_Lch(50.0, 0.0, 0.0);
    EXPECT_EQ(bright->Color[0][0][0][0], 65280);
    EXPECT_EQ(bright->Color[0][0][0][1], 32768);
    const auto dark = LoadedGrid(Flat(1000, 32768, 32768));
    dark->Adjust_Lch(-50.0, 0.0, 0.0);
    EXPECT_EQ(dark->Color[8][8][8][0], 0);
}

TEST(GridToRgbEdges, ResultsFollowTheFamilyOfTheSpace) {
    struct Row {
        int space, result;
        ColorLch::ColorSpace primaries;
    };
    for (const Row& row : {Row{8, 8, ColorLch::ColorSpace_sRGB}, Row{19, 19, ColorLch::ColorSpace_sRGB},
                           Row{20, 21, ColorLch::ColorSpace_AdobeRGB}, Row{23, 21, ColorLch::ColorSpace_AdobeRGB},
                           Row{24, 25, ColorLch::ColorSpace_AppleRGB}, Row{27, 25, ColorLch::ColorSpace_AppleRGB},
                           Row{28, 31, ColorLch::ColorSpace_ColorMatchRGB},
                           Row{31, 31, ColorLch::ColorSpace_ColorMatchRGB}, Row{32, 32, ColorLch::ColorSpace_sRGB},
                           Row{34, 34, ColorLch::ColorSpace_sRGB}, Row{65535, 65535, ColorLch::ColorSpace_sRGB}}) {
        CLut16Type lut;
        Flat(30000, 34000, 33500).Fill(lut);
        auto unit = std::make_unique<ColorTable33>();
        unit->Initial(&lut);
        EXPECT_EQ(unit->Lab2RGB100_16(&lut, static_cast<ColorSpaceSignature>(row.space), nullptr), row.result);
        // The output curves of two entries are not quite the identity, see the output table.
        const auto table = std::make_unique<OutputTable33>();
        table->Initial(&lut);
        ColorLch::CLCH color(63195.0, 65535.0, 54073.0);
        color.SetColorSpace(row.primaries);
        color.PutData_Lab(table->Lut16[0][30000] * 100.0 / 65280.0, (table->Lut16[1][34000] - 32768) * 0.00390625,
                          (table->Lut16[2][33500] - 32768) * 0.00390625);
        EXPECT_EQ(unit->Color[8][0][4][0], static_cast<int>(color.R) * 256);
        EXPECT_EQ(unit->Color[8][0][4][1], static_cast<int>(color.G) * 256);
        EXPECT_EQ(unit->Color[8][0][4][2], static_cast<int>(color.B) * 256);
    }
}

TEST(GridToRgbEdges, TheWhiteIsTakenRawAndWithoutSign) {
    const auto table = std::make_unique<OutputTable33>();
    CXYZType white;
    white.rawXYZ = {60000, 0x80000000U, 50000};
    const auto unit = LoadedGrid(Flat(30000, 34000, 33500));
    unit->Lab2RGB100_16_1D(table.get(), CssRGB_16, &white);
    ColorLch::CLCH color(1, 1, 1);
    color.SetColorSpace(ColorLch::ColorSpace_sRGB);
    color.SetWhite(60000.0, 2147483648.0, 50000.0);
    color.PutData_Lab(30000 * 100.0 / 65280.0, (34000 - 32768) * 0.00390625, (33500 - 32768) * 0.00390625);
    EXPECT_EQ(unit->Color[0][0][0][0], static_cast<int>(color.R) * 256);
    EXPECT_EQ(unit->Color[0][0][0][1], static_cast<int>(color.G) * 256);
    EXPECT_EQ(unit->Color[0][0][0][2], static_cast<int>(color.B) * 256);
}

TEST(GridToRgbEdges, WhiteIsTheTopOfAnEightBitScale) {
    const auto table = std::make_unique<OutputTable33>();
    const auto unit = LoadedGrid(Flat(65535, 32768, 32768));  // above L* 100: clipped
    unit->Lab2RGB100_16_1D(table.get(), CssRGB_16, nullptr);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(unit->Color[4][4][4][c], 65280);
    const auto black = LoadedGrid(Flat(0, 32768, 32768));
    black->Lab2RGB100_16_1D(table.get(), CssRGB_16, nullptr);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(black->Color[4][4][4][c], 0);
}

}  // namespace
}  // namespace hueweave::test
