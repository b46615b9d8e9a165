// SPDX-License-Identifier: MIT
// The steps from the grid of a profile to the grid of an engine: the shift in LCh, and the conversion from Lab to
// linear RGB of 8 bits, compared with the plain colour arithmetic; and the fast conversion that replaces it where its
// result is certain.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "support/NaiveLch.h"
#include "unit/units/UnitTables.h"
#include "units/NearRgb.h"

namespace hueweave::test {
namespace {

using ColorLch::CLCH;
using ICC40::ICC_UNIT::NearRgb;
using ICC40::ICCFILE::CXYZType;

/// Lab from three 16-bit values, of which only the low 16 bits count.
Triple LabOf(int t0, int t1, int t2) {
    return {(t0 & 0xffff) * 100.0 / 65280.0, ((t1 & 0xffff) - 32768) * 0.00390625,
            ((t2 & 0xffff) - 32768) * 0.00390625};
}

/// A node shifted in L*, C* and h.
ReferenceNode ShiftedNode(ReferenceNode node, const Triple& by) {
    const Triple lab = LabOf(node[0], node[1], node[2]);
    const auto polar = NaiveChromaHue(lab[1], lab[2]);
    const Triple lch = NaiveAdjust({lab[0], polar[0], polar[1]}, by[0], by[1], by[2]);
    const auto ab = NaiveAB(lch[1], lch[2]);
    node[0] = static_cast<int>(lch[0] * 65280.0 / 100.0) & 0xffff;
    node[1] = static_cast<int>(256.0 * ab[0] + 32768.0) & 0xffff;
    node[2] = static_cast<int>(256.0 * ab[1] + 32768.0) & 0xffff;
    return node;
}

/// A node converted by output tables and to linear RGB with some primaries.
ReferenceNode RgbNode(ReferenceNode node, const ReferenceOutputs& tables, const Triple& white, int primaries) {
    const auto entry = [&](std::size_t c) { return tables.table[c][AsIndex(node[c] & 0xffff)]; };
    const Triple rgb = NaiveLabToRGB(LabOf(entry(0), entry(1), entry(2)), white, primaries);
    for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
    return node;
}

template <typename Change>
Nodes Changed(Nodes nodes, Change change) {
    for (ReferenceNode& node : nodes) node = change(node);
    return nodes;
}

/// A grid of two points in which all nodes are equal.
std::unique_ptr<ColorTable33> Flat(int lightness, int a, int b) {
    ReferenceGrid plain = RandomGrid(2, 1);
    for (ReferenceNode& node : plain.nodes) node = {lightness, a, b};
    return MakeGrid(plain);
}

/// Its first three channels.
std::array<int, 3> ColorOf(const ColorTable33& grid) {
    return {grid.Color[1][0][1][0], grid.Color[1][0][1][1], grid.Color[1][0][1][2]};
}

TEST(AdjustLch, ShiftsEveryNode) {
    const Triple shifts[] = {{0, 0, 0},     {10, 0, 0},      {-10.5, 0, 0},    {0, 15, 0},      {0, -15.25, 0},
                             {0, 0, 30},    {0, 0, -30},     {0, 0, 720},      {0, 0, -720},    {0, 0, 360},
                             {200, 200, 0}, {-200, -200, 0}, {5, -7, 123.456}, {1e6, -1e6, 1e4}};
    for (const Triple& shift : shifts) {
        for (const int points : {2, 5, 9}) {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(shift) << ", " << points << " points");
            const ReferenceGrid plain = RandomGrid(points, static_cast<std::uint32_t>(points), -60000, 150000);
            const auto grid = MakeGrid(plain);
            EXPECT_EQ(grid->Adjust_Lch(shift[0], shift[1], shift[2]), 0);
            const Nodes nodes = NodesOf(*grid, points);
            EXPECT_THAT(nodes,
                        EqualTo(Changed(plain.nodes, [&](const auto& node) { return ShiftedNode(node, shift); })));
            for (const ReferenceNode& node : nodes) {
                ASSERT_TRUE(node[0] >= 0 && node[0] <= 65280);
                ASSERT_TRUE(node[1] >= 7168 && node[1] <= 58368) << "C* of 100 at the most";
                ASSERT_TRUE(node[2] >= 7168 && node[2] <= 58368) << "C* of 100 at the most";
            }
        }
    }
}

/// Kept: the node is read as Lab before the output curves, and C* is cut to 100 even by a shift of zero.
TEST(AdjustLch, GivesTheseColors) {
    const struct {
        std::array<int, 3> from;
        double lightness, chroma, hue;
        std::array<int, 3> to;
    } rows[] = {{{32640, 65000, 32768}, 0, 0, 0, {32640, 58368, 32768}},
                {{65000, 32768, 32768}, 50, 0, 0, {65280, 32768, 32768}},
                {{65535, 32768, 32768}, 1, 0, 0, {65280, 32768, 32768}},
                {{1000, 32768, 32768}, -50, 0, 0, {0, 32768, 32768}},
                {{32640, 32768, 32768}, 0, 0, 45, {32640, 32768, 32768}}};
    for (const auto& [from, lightness, chroma, hue, to] : rows) {
        const auto grid = Flat(from[0], from[1], from[2]);
        EXPECT_EQ(grid->Adjust_Lch(lightness, chroma, hue), 0);
        EXPECT_EQ(ColorOf(*grid), to);
    }
}

/// Primaries by the range of the space: 0 sRGB, 1 AdobeRGB, 2 AppleRGB, 3 ColorMatchRGB.
int PrimariesOf(int space) { return space >= 20 && space <= 31 ? (space - 16) / 4 : 0; }

/// Node values and table entries may exceed 16 bits: only their low 16 bits count.
TEST(LabToRgb, TakesEveryNodeThroughTheTables) {
    Lcg random(2);
    const auto table = std::make_unique<OutputTable33>();
    ReferenceOutputs plainTable;
    for (std::size_t c = 0; c < 7; ++c) {
        for (int& entry : plainTable.table[c]) entry = random.Sample() * 4 - 100000;
        std::ranges::copy(plainTable.table[c], table->Lut16[c]);
    }
    for (const int space : {8, 9, 20, 27, 30}) {
        SCOPED_TRACE(space);
        ReferenceGrid plain = RandomGrid(9, 1, -8000000, 8000000);
        const auto grid = MakeGrid(plain);
        grid->OutChannels = 7;
        grid->Color[9][0][0][0] = grid->Color[8][9][8][1] = grid->Color[0][8][9][2] = 4242;  // outside the grid
        const int results[] = {space, 21, 25, 31};
        EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), results[PrimariesOf(space)]);
        plain.nodes = Changed(
            plain.nodes, [&](const auto& node) { return RgbNode(node, plainTable, kUsualWhite, PrimariesOf(space)); });
        ExpectGrid(*grid, plain);
        // Another step starts from the present nodes.
        grid->Adjust_Lch(-4.5, 6.25, 100.0);
        plain.nodes = Changed(plain.nodes, [](const auto& node) { return ShiftedNode(node, {-4.5, 6.25, 100.0}); });
        ExpectGrid(*grid, plain);
        EXPECT_EQ(grid->OutChannels, 7);
        EXPECT_EQ(grid->Color[9][0][0][0] + grid->Color[8][9][8][1] + grid->Color[0][8][9][2], 3 * 4242);
    }
}

TEST(LabToRgb, TakesTheOutputCurvesOfTheProfileFirst) {
    const int ends[] = {0, 1, 65279, 65280, 65533, 65534, 65535, 65536, -1};
    for (const int entries : {0, 2, 3, 17, 34, 256, 4096}) {
        for (const int outputs : {0, 1, 2, 3, 7}) {
            SCOPED_TRACE(testing::Message() << entries << " entries, " << outputs << " channels");
            const TestLut lut = RandomLut({.outputs = outputs, .points = 2, .outputEntries = entries});
            ReferenceOutputs plainTable;
            plainTable.Load(lut.plain);
            ReferenceGrid plain = RandomGrid(5, 56, -8000000, 8000000);
            for (std::size_t n = 0; n < std::size(ends); ++n) {
                plain.nodes[n] = {ends[n], 32768, 32768};
                plain.nodes[n + 10] = {40000, ends[n], 32768};
                plain.nodes[n + 20] = {40000, 32768, ends[n]};
                plain.nodes[n + 30] = {ends[n], ends[n], ends[n]};
            }
            const auto grid = MakeGrid(plain);
            EXPECT_EQ(grid->Lab2RGB100_16(&lut.tag, Space(28), nullptr), 31);
            plain.nodes =
                Changed(plain.nodes, [&](const auto& node) { return RgbNode(node, plainTable, kUsualWhite, 3); });
            ExpectGrid(*grid, plain);
        }
    }
}

/// Kept: the ColorMatchRGB family gives 31 and not 29.
TEST(LabToRgb, FollowsTheFamilyOfTheSpace) {
    const struct {
        int first, last, primaries, result;  // a result of -1: the space itself
    } families[] = {{-1, 19, 0, -1}, {20, 23, 1, 21},   {24, 27, 2, 25},      {28, 31, 3, 31},
                    {32, 64, 0, -1}, {255, 255, 0, -1}, {65534, 65535, 0, -1}};
    // A colour inside every family, so that the primaries show.
    const ReferenceNode color = {30000, 34000, 33500};
    const auto table = std::make_unique<OutputTable33>();
    const ReferenceOutputs identity;
    for (const auto& [first, last, primaries, result] : families) {
        for (int space = first; space <= last; ++space) {
            SCOPED_TRACE(space);
            const auto grid = Flat(color[0], color[1], color[2]);
            EXPECT_EQ(grid->Lab2RGB100_16_1D(table.get(), Space(space), nullptr), result < 0 ? space : result);
            const ReferenceNode expected = RgbNode(color, identity, kUsualWhite, primaries);
            EXPECT_EQ(ColorOf(*grid), (std::array{expected[0], expected[1], expected[2]}));
        }
    }
}

/// Kept: fixed-point words of scale 65536, read as unsigned, are divided by 65535.
TEST(LabToRgb, TakesAWhiteAsThreeUnsignedWords) {
    const TestLut lut = RandomLut({.points = 2, .outputEntries = 2});
    const auto table = std::make_unique<OutputTable33>();
    const ReferenceOutputs identity;
    ReferenceOutputs curves;
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
        const Triple plainWhite = {static_cast<double>(words[0]), static_cast<double>(words[1]),
                                   static_cast<double>(words[2])};
        for (const bool ofTheLut : {false, true}) {
            ReferenceGrid plain = RandomGrid(5, 4);
            const auto grid = MakeGrid(plain);
            EXPECT_EQ(ofTheLut ? grid->Lab2RGB100_16(&lut.tag, Space(21), &white)
                               : grid->Lab2RGB100_16_1D(table.get(), Space(21), &white),
                      21);
            plain.nodes = Changed(plain.nodes, [&](const auto& node) {
                return RgbNode(node, ofTheLut ? curves : identity, plainWhite, 1);
            });
            ExpectGrid(*grid, plain);
            EXPECT_EQ(white.rawXYZ, words);
        }
    }
}

/// Kept: nodes are 8-bit linear RGB, stored in the high byte.
TEST(LabToRgb, GivesEveryByteTimes256) {
    ReferenceGrid plain = RandomGrid(16, 1);
    for (int n = 0; n < 16 * 16 * 16; ++n) {
        // Over the whole range, and in steps of one around white.
        plain.nodes[AsIndex(n)] = {n < 3856 ? 17 * n : n - 3856 + 65200, 32768, 32768};
    }
    const auto table = std::make_unique<OutputTable33>();
    const ReferenceOutputs identity;
    const auto grid = MakeGrid(plain);
    grid->Lab2RGB100_16_1D(table.get(), Space(8), nullptr);
    plain.nodes = Changed(plain.nodes, [&](const auto& node) { return RgbNode(node, identity, kUsualWhite, 0); });
    const Nodes nodes = NodesOf(*grid, 16);
    EXPECT_THAT(nodes, EqualTo(plain.nodes));
    bool seen[256] = {};
    for (const ReferenceNode& node : nodes) {
        ASSERT_TRUE(node[0] >= 0 && node[0] <= 65280 && node[0] % 256 == 0) << node[0];
        seen[node[0] / 256] = true;
    }
    EXPECT_EQ(std::ranges::count(seen, true), 256);
    EXPECT_EQ(nodes.front(), (ReferenceNode{0, 0, 0}));
    EXPECT_EQ(nodes.back(), (ReferenceNode{65280, 65280, 65280})) << "above L* 100";
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
TEST(LabToRgb, TakesThePowerBesideAWholeNumber) {
    const auto identity = std::make_unique<OutputTable33>();
    for (const EdgeColor& edge : kEdgeColors) {
        const auto& [node, primaries, channel, words, whole] = edge;
        const Triple rgb = NaiveLabToRGB(
            LabOf(node[0], node[1], node[2]),
            {static_cast<double>(words[0]), static_cast<double>(words[1]), static_cast<double>(words[2])}, primaries);
        EXPECT_NEAR(rgb[channel], whole, 1e-12);
        CXYZType white;
        white.rawXYZ = words;
        const auto grid = Flat(node[0], node[1], node[2]);
        grid->Lab2RGB100_16_1D(identity.get(), Space(primaries == 0 ? 8 : 16 + 4 * primaries), &white);
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(ColorOf(*grid)[c], static_cast<int>(rgb[c]) << 8) << whole;
    }
}

/// The fast conversion, with matrices that give a channel a chosen value.
struct LabColor {
    double L, a, b;
};

/// The roots of X, Y and Z divided by the white.
struct Roots {
    double x, y, z;
};
Roots RootsOf(const LabColor& c) {
    const double y = c.L <= 7.9996 ? c.L / 903.3 * 7.787 + 0.137931 : (c.L + 16.0) / 116.0;
    return {y + c.a / 500.0, y, y - c.b / 200.0};
}

constexpr double kWhite[3] = {0.96, 1.0, 0.82};

/// The distance to a step within which it is not certain.
double MarginOf(const LabColor& c) {
    const Roots root = RootsOf(c);
    const double white = kWhite[0] + kWhite[1] + kWhite[2];
    return 1e-8 * (1.0 + white * (1.0 + root.x * root.x + root.y * root.y + root.z * root.z));
}

/// A matrix by which Y alone gives `value` on one channel; the two others are far from any step.
CLCH WithValue(const LabColor& c, double value, std::size_t channel) {
    CLCH color(65535.0 * kWhite[0], 65535.0 * kWhite[1], 65535.0 * kWhite[2]);
    const double root = RootsOf(c).y;
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

TEST(NearRgb, TellsTheWholePartBesideEveryStepAndCannotTellAtIt) {
    for (const LabColor& c : kLabColors) {
        const double beyond = 1.02 * MarginOf(c), within = 0.98 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (int step = 1; step <= 255; ++step) {
                EXPECT_EQ(Told(c, step - beyond, channel), step - 1);
                for (const double near : {-within, 0.0, within}) EXPECT_EQ(Told(c, step + near, channel), std::nullopt);
                EXPECT_EQ(Told(c, step + beyond, channel), step);
            }
        }
    }
}

TEST(NearRgb, CutsToTheRange) {
    for (const LabColor& c : kLabColors) {
        const double beyond = 1.02 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (const double dark : {-beyond, 0.0, beyond}) EXPECT_EQ(Told(c, dark, channel), 0);
            EXPECT_EQ(Told(c, -1e6, channel), 0);
            EXPECT_EQ(Told(c, 256.0, channel), 255);
            EXPECT_EQ(Told(c, 1e6, channel), 255);
        }
    }
}

TEST(NearRgb, CannotTellWhereARootStandsAtTheThresholdOfItsFormulas) {
    constexpr double kThreshold = 0.2069, kRoot = (50.0 + 16.0) / 116.0;
    for (const double off : {-1.02e-9, -0.98e-9, 0.0, 0.98e-9, 1.02e-9}) {
        const auto expected = std::abs(off) < 1e-9 ? std::nullopt : std::optional<int>(77);
        EXPECT_EQ(Told({50, (kThreshold + off - kRoot) * 500.0, 0}, 77.5, 0), expected) << "X " << off;
        EXPECT_EQ(Told({50, 0, (kRoot - kThreshold - off) * 200.0}, 77.5, 0), expected) << "Z " << off;
    }
}

/// A certain result equals the channels of the exact conversion, on both sides of both thresholds and of zero.
TEST(NearRgb, AgreesWithTheExactWay) {
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
                ASSERT_EQ(rgb[0], static_cast<int>(color.R)) << lightness << " " << aStar << " " << bStar;
                ASSERT_EQ(rgb[1], static_cast<int>(color.G)) << lightness << " " << aStar << " " << bStar;
                ASSERT_EQ(rgb[2], static_cast<int>(color.B)) << lightness << " " << aStar << " " << bStar;
            }
        }
    }
    EXPECT_GE(sure, all - all / 1000) << "of " << all;
}

}  // namespace
}  // namespace hueweave::test
