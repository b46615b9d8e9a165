// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The grid's way from Lab to linear RGB of 8 bits, node by node, compared with the plain colour arithmetic.
#include <gtest/gtest.h>

#include <optional>

#include "support/ReferenceUnits.h"
#include "unit/color/NaiveLch.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CXYZType;

/// Primaries by the range of the space: 0 sRGB, 1 AdobeRGB, 2 AppleRGB, 3 ColorMatchRGB.
int PrimariesOf(int space) {
    if (space >= 20 && space <= 23) return 1;
    if (space >= 24 && space <= 27) return 2;
    if (space >= 28 && space <= 31) return 3;
    return 0;
}

int ResultOf(int space) {
    const int results[] = {space, 21, 25, 31};
    return results[PrimariesOf(space)];
}

/// Lab of three 16-bit values.
Triple LabOfWords(int t0, int t1, int t2) {
    return {(t0 & 0xffff) * 100.0 / 65280.0, ((t1 & 0xffff) - 32768) * 0.00390625,
            ((t2 & 0xffff) - 32768) * 0.00390625};
}

/// A node's red, green and blue.
std::array<int, 3> Converted(const Triple& lab, const Triple& white, int space) {
    const Triple rgb = NaiveLabToRGB(lab, white, PrimariesOf(space));
    std::array<int, 3> node{};
    for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
    return node;
}

Triple UsualWhite() { return {63195.0, 65535.0, 54073.0}; }

/// Every node of the grid by the rows of `tables`; channels 3 to 6 as before.
Nodes ExpectedNodes(const Nodes& nodes, const std::array<std::vector<int>, 7>& tables, const Triple& white, int space) {
    Nodes result = nodes;
    for (auto& node : result) {
        const auto entry = [&](std::size_t c) { return tables[c][static_cast<std::size_t>(node[c])]; };
        const std::array<int, 3> rgb = Converted(LabOfWords(entry(0), entry(1), entry(2)), white, space);
        std::copy(rgb.begin(), rgb.end(), node.begin());
    }
    return result;
}

TEST(LabToRgb, EveryNodeGoesThroughTheTablesAndTheTriple) {
    for (int space : {8, 9, 20, 27, 30}) {
        for (int points : {2, 9}) {
            const Nodes nodes = ScatteredNodes(points, 1);
            const auto grid = MakeGrid(points, nodes);
            const auto table = std::make_unique<OutputTable33>();
            ReferenceOutputs plain;
            Scatter scatter(2);
            for (std::size_t c = 0; c < 7; ++c) {
                for (std::size_t i = 0; i < 65536; ++i) {
                    // Entries below 0 and above 65535 too: the low 16 bits count.
                    plain.table[c][i] = table->Lut16[c][i] = scatter.Next() * 4 - 100000;
                }
            }
            EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), ResultOf(space));
            ExpectNodes(*grid, points, ExpectedNodes(nodes, plain.table, UsualWhite(), space));
        }
    }
}

TEST(LabToRgb, PrimariesAndResultFollowTheRangeOfTheSpace) {
    const auto table = std::make_unique<OutputTable33>();
    const ReferenceOutputs plain;
    std::vector<int> spaces = {-1, 64, 255, 65534, 65535};
    for (int space = 0; space <= 40; ++space) spaces.push_back(space);
    // Colours within every space, so that the primaries tell.
    const Nodes nodes = {{30000, 34000, 33500}, {52000, 30500, 35000}, {40000, 36500, 36000}, {20000, 33000, 30000},
                         {45000, 32768, 32768}, {35000, 31000, 33000}, {25000, 34500, 31500}, {60000, 32000, 33333}};
    for (int space : spaces) {
        const auto grid = MakeGrid(2, nodes);
        EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), ResultOf(space)) << space;
        ExpectNodes(*grid, 2, ExpectedNodes(nodes, plain.table, UsualWhite(), space));
    }
}

TEST(LabToRgb, TheLutsOutputCurvesComeFirst) {
    for (int entries : {2, 3, 17, 256}) {
        LutShape shape;
        shape.points = 9;
        shape.outputEntries = entries;
        const auto lut = MakeLut(shape, 3);
        PlainLut plainLut;
        plainLut.outputs = 3;
        plainLut.outputEntries = entries;
        plainLut.output.assign(lut->outputTable.get(), lut->outputTable.get() + std::ptrdiff_t{3} * entries);
        ReferenceOutputs plain;
        plain.Load(plainLut);
        const auto grid = std::make_unique<ColorTable33>();
        grid->Initial(lut.get());
        const Nodes nodes = GetNodes(*grid, 9);
        EXPECT_EQ(grid->Lab2RGB100_16(lut.get(), Space(28), nullptr), 31);
        ExpectNodes(*grid, 9, ExpectedNodes(nodes, plain.table, UsualWhite(), 28));
    }
}

TEST(LabToRgb, AWhiteIsTakenAsThreeUnsignedWords) {
    const auto table = std::make_unique<OutputTable33>();
    const ReferenceOutputs plain;
    const Nodes nodes = ScatteredNodes(9, 4);
    const std::array<std::uint32_t, 3> whites[] = {{0xf6d6, 0x10000, 0xd32d},
                                                   {1, 2, 3},
                                                   {0, 0, 0},
                                                   {0xffffffffU, 0x80000000U, 0x7fffffffU},
                                                   {70000, 60000, 50000}};
    for (const auto& words : whites) {
        for (int space : {8, 21}) {
            CXYZType white;
            white.rawXYZ = words;
            const auto grid = MakeGrid(9, nodes);
            EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), &white), space);
            const Triple plainWhite = {static_cast<double>(words[0]), static_cast<double>(words[1]),
                                       static_cast<double>(words[2])};
            ExpectNodes(*grid, 9, ExpectedNodes(nodes, plain.table, plainWhite, space));
            EXPECT_EQ(white.rawXYZ, words);
        }
    }
}

TEST(LabToRgb, AWhiteOfTheLutFormCountsToo) {
    LutShape shape;
    shape.points = 9;
    const auto lut = MakeLut(shape, 5);
    CXYZType white;
    white.rawXYZ = {60000, 65000, 40000};
    const auto usual = std::make_unique<ColorTable33>(), whited = std::make_unique<ColorTable33>();
    usual->Initial(lut.get());
    whited->Initial(lut.get());
    const Nodes nodes = GetNodes(*usual, 9);
    ReferenceOutputs plain;
    PlainLut plainLut;
    plainLut.outputs = 3;
    plainLut.outputEntries = 2;
    plain.Load(plainLut);
    EXPECT_EQ(usual->Lab2RGB100_16(lut.get(), Space(34), nullptr), 34);
    EXPECT_EQ(whited->Lab2RGB100_16(lut.get(), Space(34), &white), 34);
    ExpectNodes(*usual, 9, ExpectedNodes(nodes, plain.table, UsualWhite(), 34));
    ExpectNodes(*whited, 9, ExpectedNodes(nodes, plain.table, {60000.0, 65000.0, 40000.0}, 34));
}

TEST(LabToRgb, ValuesAreCutToBytesAndShifted) {
    const auto table = std::make_unique<OutputTable33>();
    // Neutrals of rising lightness: whole numbers of 0 to 255 in the high byte, the low byte 0.
    bool seen[256] = {};
    for (int first = 0; first < 65536; first += 8 * 17) {
        Nodes nodes(8);
        for (int n = 0; n < 8; ++n)
            nodes[static_cast<std::size_t>(n)] = {std::min(first + 17 * n, 65535), 32768, 32768};
        const auto grid = MakeGrid(2, nodes);
        grid->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
        for (std::size_t n = 0; n < 8; ++n) {
            const Triple rgb = NaiveLabToRGB(LabOfWords(nodes[n][0], 32768, 32768), UsualWhite(), 0);
            const int value = grid->Color[n / 4][n / 2 % 2][n % 2][0];
            ASSERT_EQ(value, static_cast<int>(rgb[0]) * 256);
            ASSERT_LE(value, 65280);
            seen[value / 256] = true;
        }
    }
    EXPECT_EQ(std::count(seen, seen + 256, true), 256);
}

TEST(LabToRgb, JustBelowWhiteIs254AndWhiteIs255) {
    const auto table = std::make_unique<OutputTable33>();
    // The highest lightness whose red lies below 255, and the next, whose red is cut at 255.
    int lightness = 65535;
    while (NaiveLabToRGB(LabOfWords(lightness, 32768, 32768), UsualWhite(), 0)[0] >= 255.0) --lightness;
    ASSERT_GT(NaiveLabToRGB(LabOfWords(lightness, 32768, 32768), UsualWhite(), 0)[0], 254.9);
    Nodes nodes(8);
    for (auto& node : nodes) node = {lightness, 32768, 32768};
    nodes[7][0] = lightness + 1;
    const auto grid = MakeGrid(2, nodes);
    grid->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
    EXPECT_EQ(grid->Color[0][0][0][0], 65024);
    EXPECT_EQ(grid->Color[1][1][1][0], 65280);
}

TEST(LabToRgb, OnlyTheGridInUseChanges) {
    const auto table = std::make_unique<OutputTable33>();
    const auto grid = MakeGrid(5, ScatteredNodes(5, 6));
    for (int c = 0; c < 7; ++c) {
        grid->Color[5][0][0][c] = 10000 + c;
        grid->Color[4][5][4][c] = 20000 + c;
        grid->Color[0][4][5][c] = 30000 + c;
    }
    const std::vector<int> positions(grid->LUT_Pos.get(), grid->LUT_Pos.get() + 5);
    grid->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
    for (int c = 0; c < 7; ++c) {
        EXPECT_EQ(grid->Color[5][0][0][c], 10000 + c);
        EXPECT_EQ(grid->Color[4][5][4][c], 20000 + c);
        EXPECT_EQ(grid->Color[0][4][5][c], 30000 + c);
    }
    EXPECT_EQ(grid->LUT_Size, 5);
    EXPECT_EQ(grid->LUT_Step, 16384.0);
    EXPECT_EQ(positions, std::vector<int>(grid->LUT_Pos.get(), grid->LUT_Pos.get() + 5));
    for (int i = 0; i < 65536; ++i) ASSERT_EQ(table->Lut16[0][i], i) << "the output table is read only";
}

TEST(LabToRgb, TakesNodesBeyondSixteenBitsByTheirLowBits) {
    Scatter scatter(9);
    const auto table = std::make_unique<OutputTable33>();
    for (auto& row : table->Lut16) {
        for (int& entry : row) entry = scatter.Next();
    }
    const auto lut = MakeLut({.outputEntries = 17}, 9);
    Nodes wide(5 * 5 * 5), low(wide.size());
    for (std::size_t n = 0; n < wide.size(); ++n) {
        for (std::size_t c = 0; c < 7; ++c) {
            low[n][c] = scatter.Next();
            wide[n][c] = (scatter.Next() - 32768) * 65536 + low[n][c];
        }
    }
    for (const bool curves : {false, true}) {
        const auto expected = MakeGrid(5, low), grid = MakeGrid(5, wide);
        for (ColorTable33* each : {expected.get(), grid.get()}) {
            if (curves) {
                each->Lab2RGB100_16(lut.get(), Space(8), nullptr);
            } else {
                each->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
            }
        }
        for (int node = 0; node < 5 * 5 * 5; ++node) {
            for (int c = 0; c < 3; ++c) {
                const int i = node / 25, j = node / 5 % 5, k = node % 5;
                ASSERT_EQ(grid->Color[i][j][k][c], expected->Color[i][j][k][c]) << node;
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test
