// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The grid at its edges: loading, both interpolations, resampling.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "Luts.h"
#include "units/ColorTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable33;
using ICC40::ICC_UNIT::Info;
using ICC40::ICCFILE::CLut16Type;

/// Values without a pattern, 0 to 65535.
int ScatteredValue(int i, int j, int k, int c) {
    const unsigned h = static_cast<unsigned>(i) * 2654435761U ^ static_cast<unsigned>(j) * 40503U * 977U ^
                       static_cast<unsigned>(k) * 2246822519U ^ static_cast<unsigned>(c) * 3266489917U;
    return static_cast<int>((h ^ h >> 15) * 2246822519U >> 16);
}

std::unique_ptr<ColorTable33> LoadedCube(int points, int outputs = 3) {
    LutMaker maker;
    maker.points = points;
    maker.outputs = outputs;
    maker.node = ScatteredValue;
    CLut16Type lut;
    maker.Fill(lut);
    auto unit = std::make_unique<ColorTable33>();
    EXPECT_EQ(unit->Initial(&lut), 0);
    return unit;
}

TEST(ColorTableEdges, NineSeventeenAndThirtyThreePointsKeepTheirSize) {
    struct Row {
        int points, shift, mask;
    };
    for (const Row& row : {Row{9, 13, 8191}, Row{17, 12, 4095}, Row{33, 11, 2047}}) {
        const auto unit = LoadedCube(row.points);
        EXPECT_EQ(unit->LUT_Size, row.points);
        EXPECT_EQ(unit->LUT_Shift, row.shift);
        EXPECT_EQ(unit->LUT_Mask, row.mask);
        EXPECT_EQ(unit->LUT_Step, 65536.0 / (row.points - 1));
        EXPECT_EQ(unit->InChannels, 3);
        EXPECT_EQ(unit->OutChannels, 3);
        for (int n = 0; n < row.points; ++n)
            EXPECT_EQ(unit->LUT_Pos[static_cast<std::size_t>(n)], n * 65536 / (row.points - 1));
        const int top = row.points - 1;
        EXPECT_EQ(unit->Color[top][1][0][2], ScatteredValue(top, 1, 0, 2));
        EXPECT_EQ(unit->Color[0][top][1][1], ScatteredValue(0, top, 1, 1));
        EXPECT_EQ(unit->Color[1][0][top][0], ScatteredValue(1, 0, top, 0));
        EXPECT_EQ(unit->Color[1][0][top][3], 0);
    }
    EXPECT_EQ(LoadedCube(33)->LUT_Pos[32], 65536);
}

TEST(ColorTableEdges, EveryOtherSizeComesOutWithSeventeenPoints) {
    for (int points : {2, 3, 5, 8, 10, 16, 18, 25, 32}) {
        const auto unit = LoadedCube(points);
        EXPECT_EQ(unit->LUT_Size, 17) << points;
        EXPECT_EQ(unit->LUT_Shift, 12);
        EXPECT_EQ(unit->LUT_Step, 4096.0);
        EXPECT_EQ(unit->LUT_Pos[15], 61440);
        EXPECT_EQ(unit->LUT_Pos[16], 65535);
        EXPECT_EQ(unit->Color[0][0][0][1], ScatteredValue(0, 0, 0, 1));
    }
}

TEST(ColorTableEdges, ResizingToTheSameSizeChangesNothing) {
    const auto unit = LoadedCube(17);
    EXPECT_EQ(unit->TableResize(17), 0);
    EXPECT_EQ(unit->LUT_Pos[16], 65536);
    for (int size : {1, 0, -3, 34, 1000}) {
        EXPECT_EQ(unit->TableResize(size), 0);
        EXPECT_EQ(unit->LUT_Size, 17);
    }
}

TEST(ColorTableEdges, ThirtyThreeToSeventeenTakesEverySecondNodeButTheTop) {
    const auto unit = LoadedCube(33, 7);
    EXPECT_EQ(unit->TableResize(17), 0);
    EXPECT_EQ(unit->LUT_Pos[15], 61440);
    EXPECT_EQ(unit->LUT_Pos[16], 65535);
    EXPECT_EQ(unit->LUT_Step, 4096.0);
    EXPECT_EQ(unit->LUT_Shift, 12);
    EXPECT_EQ(unit->LUT_Mask, 4095);
    for (int i = 0; i < 16; ++i) {
        for (int j = 0; j < 16; ++j) {
            for (int k = 0; k < 16; ++k) {
                for (int c = 0; c < 7; ++c) ASSERT_EQ(unit->Color[i][j][k][c], ScatteredValue(2 * i, 2 * j, 2 * k, c));
            }
        }
    }
    // The top node lies at 2047/2048 of the last cell on each axis: three equal fractions, along the diagonal.
    for (int c = 0; c < 7; ++c) {
        const double f = 2047.0 / 2048.0;
        const auto at = [c](int x, int y, int z) { return ScatteredValue(31 + x, 31 + y, 31 + z, c); };
        const double rise =
            (at(1, 1, 1) - at(0, 1, 1)) * f + (at(0, 1, 1) - at(0, 0, 1)) * f + (at(0, 0, 1) - at(0, 0, 0)) * f;
        EXPECT_EQ(unit->Color[16][16][16][c], static_cast<int>(rise) + at(0, 0, 0));
    }
}

TEST(ColorTableEdges, OddNodesOfANineToSeventeenResizeLieHalfway) {
    const auto unit = LoadedCube(9);
    unit->TableResize(17);
    EXPECT_EQ(unit->Color[2][4][6][0], ScatteredValue(1, 2, 3, 0));
    const int low = ScatteredValue(1, 2, 3, 0), high = ScatteredValue(2, 2, 3, 0);
    EXPECT_EQ(unit->Color[3][4][6][0], low + static_cast<int>((high - low) * 0.5));
}

/// The six paths by the order of the fractions, ties as stated.
int ExpectedValue(const ColorTable33& unit, const int (&at)[3], const int (&f)[3], int c) {
    const auto node = [&](int x, int y, int z) { return unit.Color[at[0] + x][at[1] + y][at[2] + z][c]; };
    const int c000 = node(0, 0, 0), c111 = node(1, 1, 1);
    int dx = 0, dy = 0, dz = 0;
    if (f[0] <= f[1] && f[1] <= f[2]) {
        dx = c111 - node(0, 1, 1), dy = node(0, 1, 1) - node(0, 0, 1), dz = node(0, 0, 1) - c000;
    } else if (f[0] <= f[2] && f[2] < f[1]) {
        dx = c111 - node(0, 1, 1), dy = node(0, 1, 0) - c000, dz = node(0, 1, 1) - node(0, 1, 0);
    } else if (f[2] < f[0] && f[0] <= f[1]) {
        dx = node(1, 1, 0) - node(0, 1, 0), dy = node(0, 1, 0) - c000, dz = c111 - node(1, 1, 0);
    } else if (f[1] < f[0] && f[0] <= f[2]) {
        dx = node(1, 0, 1) - node(0, 0, 1), dy = c111 - node(1, 0, 1), dz = node(0, 0, 1) - c000;
    } else if (f[1] <= f[2] && f[2] < f[0]) {
        dx = node(1, 0, 0) - c000, dy = c111 - node(1, 0, 1), dz = node(1, 0, 1) - node(1, 0, 0);
    } else {
        dx = node(1, 0, 0) - c000, dy = node(1, 1, 0) - node(1, 0, 0), dz = c111 - node(1, 1, 0);
    }
    const long long scale = 1LL << unit.LUT_Shift;
    const long long sum = c000 * scale + 1LL * dx * f[0] + 1LL * dy * f[1] + 1LL * dz * f[2];
    return static_cast<int>(sum >= 0 ? sum / scale : -((-sum + scale - 1) / scale));
}

TEST(ColorTableEdges, IntegerInterpolationFollowsTheSixPaths) {
    for (int points : {9, 17, 33}) {
        const auto unit = LoadedCube(points);
        const int width = 65536 / (points - 1), last = points - 2;
        const int fractions[] = {0, 1, width / 2, width - 2, width - 1};
        for (int cell : {0, 1, last}) {
            for (int fx : fractions) {
                for (int fy : fractions) {
                    for (int fz : fractions) {
                        unsigned short s[7] = {static_cast<unsigned short>(cell * width + fx),
                                               static_cast<unsigned short>(last * width + fy),
                                               static_cast<unsigned short>(cell * width + fz),
                                               4,
                                               5,
                                               6,
                                               7};
                        unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
                        for (int c = 0; c < 3; ++c)
                            ASSERT_EQ(s[c], ExpectedValue(*unit, {cell, last, cell}, {fx, fy, fz}, c));
                        for (int i = 3; i < 7; ++i) ASSERT_EQ(s[i], i + 1);
                    }
                }
            }
        }
    }
}

TEST(ColorTableEdges, TheCornersAreTheFirstNodeAndAHairBelowTheLast) {
    const auto unit = LoadedCube(33);
    unsigned short s[7] = {};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(s[c], ScatteredValue(0, 0, 0, c));
    s[0] = s[1] = s[2] = 65535;
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (int c = 0; c < 3; ++c) {
        const int low = ScatteredValue(31, 31, 31, c), high = ScatteredValue(32, 32, 32, c);
        EXPECT_EQ(s[c], (low * 2048 + (high - low) * 2047) >> 11);
    }
}

TEST(ColorTableEdges, FloatingInterpolationCutsTheRiseTowardZero) {
    const auto unit = LoadedCube(5);  // seventeen points, floating works on them all the same
    for (int position : {0, 1, 4095, 4096, 30000, 61439, 61440, 65535}) {
        int s[7] = {position, 12345, 54321, 9, 9, 9, 9};
        const int values[3] = {position, 12345, 54321};
        int at[3];
        double f[3];
        for (int axis = 0; axis < 3; ++axis) {
            at[axis] = static_cast<int>(values[axis] / 4096.0);
            f[axis] = (values[axis] - at[axis] * 4096) / 4096.0;
        }
        unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        // 12345 lies at 0.014 of its cell, 54321 at 0.262.
        for (int c = 0; c < 7; ++c) {
            const auto node = [&](int x, int y, int z) { return unit->Color[at[0] + x][at[1] + y][at[2] + z][c]; };
            double rise = 0;
            if (f[0] > f[2]) {
                rise = (node(1, 0, 0) - node(0, 0, 0)) * f[0] + (node(1, 1, 1) - node(1, 0, 1)) * f[1] +
                       (node(1, 0, 1) - node(1, 0, 0)) * f[2];
            } else if (f[0] > f[1]) {
                rise = (node(1, 0, 1) - node(0, 0, 1)) * f[0] + (node(1, 1, 1) - node(1, 0, 1)) * f[1] +
                       (node(0, 0, 1) - node(0, 0, 0)) * f[2];
            } else {
                rise = (node(1, 1, 1) - node(0, 1, 1)) * f[0] + (node(0, 1, 1) - node(0, 0, 1)) * f[1] +
                       (node(0, 0, 1) - node(0, 0, 0)) * f[2];
            }
            EXPECT_EQ(s[c], static_cast<int>(rise) + node(0, 0, 0)) << position << " " << c;
        }
    }
}

TEST(ColorTableEdges, APackedCubeSetsSizeAndNodesAlone) {
    std::vector<int> nodes;
    for (int n = 0; n < 9 * 9 * 9; ++n) {
        for (int c = 0; c < 7; ++c) nodes.push_back(n * 7 + c - 50);
    }
    const auto unit = std::make_unique<ColorTable33>();
    EXPECT_EQ(unit->SetColorTable(nodes.data(), 9), 0);
    EXPECT_EQ(unit->LUT_Size, 9);
    EXPECT_EQ(unit->LUT_Shift, 13);
    EXPECT_EQ(unit->LUT_Pos, nullptr);
    EXPECT_EQ(unit->LUT_Step, 0.0);
    EXPECT_EQ(unit->Color[1][2][3][4], (81 + 18 + 3) * 7 + 4 - 50);
    int s[7] = {1, 2, 3, 4, 5, 6, 7};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    EXPECT_EQ(s[0], 1) << "without positions there is nothing to interpolate";
    EXPECT_EQ(unit->SetColorTable(nodes.data(), 34), 0);
    EXPECT_EQ(unit->LUT_Size, 9);
}

TEST(ColorTableEdges, TheWorkingBufferIsConvertedInPlace) {
    const auto unit = LoadedCube(17);
    Info info;
    EXPECT_EQ(unit->Conversion(&info), 0);
    info.FormatCode = 257;
    info.CheckWorkingBuf(nullptr, nullptr, 2);
    const unsigned short in[6] = {1, 20000, 40000, 65535, 3, 30000};
    std::copy_n(in, 6, info.WorkBuf.get());
    EXPECT_EQ(unit->Conversion(&info), 0);
    for (int p = 0; p < 2; ++p) {
        unsigned short s[7] = {in[3 * p], in[3 * p + 1], in[3 * p + 2]};
        unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (int c = 0; c < 3; ++c) EXPECT_EQ(info.WorkBuf[static_cast<std::size_t>(3 * p + c)], s[c]);
    }
}

}  // namespace
}  // namespace hueweave::test
