// SPDX-License-Identifier: MIT
// The steps from the grid of a profile to the grid of an engine: the shift in LCh, and the conversion from Lab to
// linear RGB of 8 bits, compared with the plain colour arithmetic; and the fast conversion that replaces it where its
// result is certain.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <set>

#include "support/NaiveLch.h"
#include "unit/units/UnitTables.h"
#include "units/NearRgb.h"

namespace hueweave::test {
namespace {

using ColorLch::CLCH;

/// Curves that give every value itself.
ReferenceCurves Identity() {
    ReferenceCurves curves;
    curves.curve.fill(Ramp(4096, 17));
    curves.step = curves.span = 17.0;
    curves.last.fill(65535);
    return curves;
}

/// A grid of two points in which all nodes are equal.
ReferenceGrid Flat(const std::array<int, 3>& color) {
    ReferenceGrid plain = RandomGrid(2, 1);
    for (ReferenceNode& node : plain.nodes) node = {color[0], color[1], color[2]};
    return plain;
}

/// Kept: the node is read as Lab before the output curves, and C* is cut to 100 even by a shift of zero.
TEST(AdjustLch, ShiftsEveryNode) {
    const Triple shifts[] = {{0, 0, 0},     {10, 0, 0},      {-10.5, 0, 0},    {0, 15, 0},      {0, -15.25, 0},
                             {0, 0, 30},    {0, 0, -30},     {0, 0, 720},      {0, 0, -720},    {0, 0, 360},
                             {200, 200, 0}, {-200, -200, 0}, {5, -7, 123.456}, {1e6, -1e6, 1e4}};
    for (const Triple& shift : shifts) {
        for (const int points : {2, 5, 9}) {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(shift) << ", " << points << " points");
            ReferenceGrid plain = RandomGrid(points, static_cast<std::uint32_t>(points), -60000, 150000);
            const auto grid = MakeGrid(plain);
            EXPECT_EQ(grid->Adjust_Lch(shift[0], shift[1], shift[2]), 0);
            plain.Shift(shift);
            ExpectGrid(*grid, plain);
        }
    }
}

/// Node values and table entries may exceed 16 bits: only their low 16 bits count.
TEST(Lab2RGB100, AppliesTheTablesToEveryNode) {
    const auto table = std::make_unique<OutputTable33>();
    ReferenceCurves curves;
    Scatter(table->Curve, curves.curve);
    curves.step = 16.25;
    curves.span = 15.0;
    curves.last.fill(-70000);
    for (std::size_t c = 0; c < 7; ++c) {
        for (int v = 0; v < 65536; ++v) table->Lut16[c][v] = curves.At(c, v);
    }
    for (const int space : {8, 9, 20, 27, 30}) {
        SCOPED_TRACE(space);
        ReferenceGrid plain = RandomGrid(9, 1, -8000000, 8000000);
        const auto grid = MakeGrid(plain);
        grid->OutChannels = 7;
        grid->Color[9][0][0][0] = grid->Color[8][9][8][1] = grid->Color[0][8][9][2] = 4242;  // outside the grid
        const int results[] = {space, 21, 25, 31};
        EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), results[PrimariesOf(space)]);
        plain.ToRgb(curves, kUsualWhite, PrimariesOf(space));
        ExpectGrid(*grid, plain);
        // Another step starts from the present nodes.
        grid->Adjust_Lch(-4.5, 6.25, 100.0);
        plain.Shift({-4.5, 6.25, 100.0});
        ExpectGrid(*grid, plain);
        EXPECT_EQ(grid->OutChannels, 7);
        EXPECT_EQ(grid->Color[9][0][0][0] + grid->Color[8][9][8][1] + grid->Color[0][8][9][2], 3 * 4242);
    }
}

/// Kept: the ColorMatchRGB family gives 31 and not 29.
TEST(Lab2RGB100, SelectsThePrimariesByTheSpace) {
    const auto table = std::make_unique<OutputTable33>();
    std::vector<int> spaces = {255, 65534, 65535};
    for (int space = -1; space <= 64; ++space) spaces.push_back(space);
    for (const int space : spaces) {
        SCOPED_TRACE(space);
        // A colour inside every family, so that the primaries show.
        ReferenceGrid plain = Flat({30000, 34000, 33500});
        const auto grid = MakeGrid(plain);
        const int results[] = {space, 21, 25, 31};
        EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), results[PrimariesOf(space)]);
        plain.ToRgb(Identity(), kUsualWhite, PrimariesOf(space));
        ExpectGrid(*grid, plain);
    }
}

/// The words of a white as the reference takes them.
Triple Plain(const std::array<std::uint32_t, 3>& words) {
    return {static_cast<double>(words[0]), static_cast<double>(words[1]), static_cast<double>(words[2])};
}

/// Kept: fixed-point words of scale 65536, read as unsigned, are divided by 65535.
TEST(Lab2RGB100, ReadsTheWhitePointAsThreeUnsignedWords) {
    const TestLut lut = RandomLut({.points = 2, .outputEntries = 2});
    const auto table = std::make_unique<OutputTable33>();
    ReferenceCurves curves;
    curves.Load(lut.plain);
    const std::array<std::uint32_t, 3> whites[] = {{0xf6d6, 0x10000, 0xd32d},
                                                   {1, 2, 3},
                                                   {0, 0, 0},
                                                   {0xffffffffU, 0x80000000U, 0x7fffffffU},
                                                   {60000, 0x80000000U, 50000},
                                                   {70000, 60000, 50000}};
    for (const auto& words : whites) {
        SCOPED_TRACE(testing::PrintToString(words));
        CXYZType white;
        white.rawXYZ = words;
        for (const bool ofTheLut : {false, true}) {
            ReferenceGrid plain = RandomGrid(5, 4);
            const auto grid = MakeGrid(plain);
            EXPECT_EQ(ofTheLut ? grid->Lab2RGB100_16(&lut.tag, Space(21), &white)
                               : grid->Lab2RGB100_16_1D(table.get(), Space(21), &white),
                      21);
            plain.ToRgb(ofTheLut ? curves : Identity(), Plain(words), 1);
            ExpectGrid(*grid, plain);
            EXPECT_EQ(white.rawXYZ, words);
        }
    }
}

/// Kept: nodes are 8-bit linear RGB, stored in the high byte.
TEST(Lab2RGB100, StoresEveryByteTimes256) {
    ReferenceGrid plain = RandomGrid(16, 1);
    for (int n = 0; n < 16 * 16 * 16; ++n) {
        // Over the whole range, and in steps of one around white.
        plain.nodes[AsIndex(n)] = {n < 3856 ? 17 * n : n - 3856 + 65200, 32768, 32768};
    }
    const auto table = std::make_unique<OutputTable33>();
    const auto grid = MakeGrid(plain);
    grid->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
    plain.ToRgb(Identity(), kUsualWhite, 0);
    ExpectGrid(*grid, plain);
    std::set<int> seen;
    for (const ReferenceNode& node : NodesOf(*grid, 16)) seen.insert(node[0]);
    const std::vector<int> every = Ramp(256, 256);
    EXPECT_EQ(seen, std::set<int>(every.begin(), every.end()));
}

/// A colour in which a channel is a whole number except for the last digits of a double.
struct EdgeColor {
    std::array<int, 3> node;  ///< 16-bit Lab
    int primaries;            ///< 0 sRGB, 1 AdobeRGB, 3 ColorMatchRGB
    std::size_t channel;      ///< the channel that is nearly a whole number
    std::array<std::uint32_t, 3> white;
    int whole;
};

/// Found by lattice reduction: with `f * f * f` in place of pow(), each of them is truncated to the other side.
const EdgeColor kEdgeColors[] = {
    {{36740, 32937, 35656}, 3, 2, {63872, 121256, 225051}, 205},
    {{36340, 30107, 35989}, 0, 1, {199854, 160665, 20935}, 121},
    {{29094, 35062, 35058}, 1, 0, {38144, 67062, 84375}, 11},
    {{30869, 31363, 32369}, 1, 0, {165899, 142130, 83123}, 120},
    {{55338, 35552, 35125}, 0, 0, {63912, 92488, 77811}, 86},
    {{32902, 33139, 32447}, 0, 1, {3849, 176372, 123930}, 247},
    {{40695, 31513, 33942}, 1, 2, {154711, 119373, 30900}, 30},
    {{43438, 33311, 30148}, 3, 1, {5641, 84544, 32561}, 236},
    {{23062, 35797, 31482}, 3, 0, {108268, 168622, 7654}, 42},
    {{27800, 32015, 33786}, 1, 2, {26185, 157818, 24636}, 4},
    {{40065, 31453, 30640}, 3, 0, {55710, 4120, 140437}, 80},
};

/// Truncation to bytes must use the exact value of the stated operations, pow() among them and not a product.
TEST(Lab2RGB100, UsesTheExactPowerNearAWholeNumber) {
    const auto table = std::make_unique<OutputTable33>();
    for (const auto& [node, primaries, channel, words, whole] : kEdgeColors) {
        SCOPED_TRACE(whole);
        const Triple lab = {node[0] * 100.0 / 65280.0, (node[1] - 32768) * 0.00390625, (node[2] - 32768) * 0.00390625};
        EXPECT_NEAR(NaiveLabToRGB(lab, Plain(words), primaries)[channel], whole, 1e-12);
        CXYZType white;
        white.rawXYZ = words;
        ReferenceGrid plain = Flat(node);
        const auto grid = MakeGrid(plain);
        grid->Lab2RGB100_16_1D(table.get(), Space(primaries == 0 ? 8 : 16 + 4 * primaries), &white);
        plain.ToRgb(Identity(), Plain(words), primaries);
        ExpectGrid(*grid, plain);
    }
}

/// The fast conversion, with matrices that give a channel a chosen value.
struct LabColor {
    double L, a, b;
};

/// The roots of X, Y and Z divided by the white.
Triple RootsOf(const LabColor& c) {
    const double y = c.L <= 7.9996 ? c.L / 903.3 * 7.787 + 0.137931 : (c.L + 16.0) / 116.0;
    return {y + c.a / 500.0, y, y - c.b / 200.0};
}

constexpr double kWhite[3] = {0.96, 1.0, 0.82};

/// The distance to a step within which it is not certain.
double MarginOf(const LabColor& c) {
    const auto [x, y, z] = RootsOf(c);
    const double white = kWhite[0] + kWhite[1] + kWhite[2];
    return 1e-8 * (1.0 + white * (1.0 + x * x + y * y + z * z));
}

/// A matrix by which Y alone gives `value` on one channel; the two others are far from any step.
CLCH WithValue(const LabColor& c, double value, std::size_t channel) {
    CLCH color(65535.0 * kWhite[0], 65535.0 * kWhite[1], 65535.0 * kWhite[2]);
    const double root = RootsOf(c)[1];
    const double y = c.L <= 7.9996 ? c.L / 903.3 : root * root * root;
    color.toRGB = {};
    for (std::size_t i = 0; i < 3; ++i)
        color.toRGB[3 * i + 1] = (i == channel ? value : 100.5) / (255.0 * kWhite[1] * y);
    return color;
}

/// The channel, or nothing if it is not certain.
std::optional<int> Told(const LabColor& c, double value, std::size_t channel) {
    int rgb[3] = {-1, -1, -1};
    if (!NearRgb(WithValue(c, value, channel)).Convert(c.L, c.a, c.b, rgb)) return std::nullopt;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(i == channel || rgb[i] == 100);
    return rgb[channel];
}

/// The fifth and sixth lie on either side of the point where the formula of Y changes.
constexpr LabColor kLabColors[] = {{100, 0, 0},    {50, 60, -70},   {30, -20, 90},    {5, 3, -2},
                                   {7.9996, 0, 0}, {7.99965, 0, 0}, {99.6, -127, 127}};

TEST(NearRgb, ReturnsTheIntegerPartOutsideTheMarginOfEachStep) {
    for (const LabColor& c : kLabColors) {
        const double beyond = 1.02 * MarginOf(c), within = 0.98 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (int step = 1; step <= 255; ++step) {
                EXPECT_EQ(Told(c, step - beyond, channel), step - 1);
                for (const double near : {-within, 0.0, within}) EXPECT_EQ(Told(c, step + near, channel), std::nullopt);
                EXPECT_EQ(Told(c, step + beyond, channel), step);
            }
            // Cut to the range.
            for (const double dark : {-1e6, -beyond, 0.0, beyond}) EXPECT_EQ(Told(c, dark, channel), 0);
            for (const double light : {256.0, 1e6}) EXPECT_EQ(Told(c, light, channel), 255);
        }
    }
}

TEST(NearRgb, ReturnsNothingNearTheThresholdOfItsFormulas) {
    constexpr double kThreshold = 0.2069, kRoot = (50.0 + 16.0) / 116.0;
    for (const double off : {-1.02e-9, -0.98e-9, 0.0, 0.98e-9, 1.02e-9}) {
        const auto expected = std::abs(off) < 1e-9 ? std::nullopt : std::optional<int>(77);
        EXPECT_EQ(Told({50, (kThreshold + off - kRoot) * 500.0, 0}, 77.5, 0), expected) << "X " << off;
        EXPECT_EQ(Told({50, 0, (kRoot - kThreshold - off) * 200.0}, 77.5, 0), expected) << "Z " << off;
    }
}

/// A certain result equals the channels of the exact conversion, on both sides of both thresholds and of zero.
TEST(NearRgb, MatchesTheExactConversion) {
    CLCH color(63195.0, 65535.0, 54073.0);
    const NearRgb quick(color);
    int sure = 0, all = 0;
    for (double lightness = 0; lightness <= 100; lightness += 0.37) {
        for (double aStar = -128; aStar < 128; aStar += 6.3) {
            for (double bStar = -128; bStar < 128; bStar += 7.1) {
                int rgb[3];
                ++all;
                if (!quick.Convert(lightness, aStar, bStar, rgb)) continue;
                ++sure;
                color.L = lightness, color.a = aStar, color.b = bStar;
                color.LAB2RGB();
                ASSERT_THAT(rgb, testing::ElementsAre(static_cast<int>(color.R), static_cast<int>(color.G),
                                                      static_cast<int>(color.B)))
                    << lightness << " " << aStar << " " << bStar;
            }
        }
    }
    EXPECT_GE(sure, all - all / 1000) << "of " << all;
}

}  // namespace
}  // namespace hueweave::test
