// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Colours whose red, green or blue falls on a whole number but for the last places of a double: the cut to bytes must
// see the very value that the stated operations give, a power among them and not a product.
#include <gtest/gtest.h>

#include "unit/color/NaiveLch.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CXYZType;

struct Edge {
    std::array<int, 3> node;  ///< 16-bit Lab
    int primaries;            ///< 0 sRGB, 1 AdobeRGB, 3 ColorMatchRGB
    std::size_t channel;      ///< the one that falls on a whole number
    std::array<std::uint32_t, 3> white;
    int whole;
};

// Found by lattice reduction: with `f * f * f` in place of the power, each of them is cut to the other side.
const Edge kEdges[] = {
    {{36740, 32937, 35656}, 3, 2, {63872, 121256, 225051}, 205},
    {{36340, 30107, 35989}, 0, 1, {199854, 160665, 20935}, 121},
    {{29094, 35062, 35058}, 1, 0, {38144, 67062, 84375}, 11},
    {{30869, 31363, 32369}, 1, 0, {165899, 142130, 83123}, 120},
    {{55338, 35552, 35125}, 0, 0, {63912, 92488, 77811}, 86},
    {{32902, 33139, 32447}, 0, 1, {3849, 176372, 123930}, 247},
    {{47191, 31359, 31193}, 1, 0, {101788, 204087, 147395}, 17},
    {{59058, 35553, 35797}, 1, 0, {56160, 11031, 194359}, 172},
    {{40695, 31513, 33942}, 1, 2, {154711, 119373, 30900}, 30},
    {{43438, 33311, 30148}, 3, 1, {5641, 84544, 32561}, 236},
    {{43998, 33083, 34739}, 0, 1, {187554, 144930, 14420}, 134},
    {{23062, 35797, 31482}, 3, 0, {108268, 168622, 7654}, 42},
    {{27800, 32015, 33786}, 1, 2, {26185, 157818, 24636}, 4},
    {{43251, 34298, 32055}, 1, 0, {68001, 47438, 275790}, 16},
    {{58650, 33008, 32423}, 0, 1, {9780, 19803, 161487}, 100},
    {{43765, 31214, 32784}, 1, 2, {138312, 3057, 31320}, 65},
    {{40065, 31453, 30640}, 3, 0, {55710, 4120, 140437}, 80},
    {{40270, 33963, 31323}, 3, 0, {110862, 217386, 63560}, 13},
    {{47640, 31192, 30456}, 3, 0, {172824, 176392, 201248}, 220},
    {{56965, 31087, 35164}, 1, 0, {74382, 83479, 272633}, 26},
    {{31094, 34277, 33715}, 1, 2, {82369, 80983, 80216}, 57},
    {{46462, 31200, 30922}, 1, 2, {172276, 14380, 79402}, 208},
    {{31756, 35136, 34090}, 1, 0, {161636, 79183, 45394}, 194},
    {{52953, 32959, 30516}, 1, 2, {205128, 110912, 75212}, 248},
};

/// A space with these primaries.
int SpaceOf(int primaries) { return primaries == 0 ? 8 : 16 + 4 * primaries; }

Triple PlainRgb(const std::array<int, 3>& node, const std::array<std::uint32_t, 3>& white, int primaries) {
    const Triple lab = {node[0] * 100.0 / 65280.0, (node[1] - 32768) * 0.00390625, (node[2] - 32768) * 0.00390625};
    return NaiveLabToRGB(
        lab, {static_cast<double>(white[0]), static_cast<double>(white[1]), static_cast<double>(white[2])}, primaries);
}

/// A grid of this colour through the unit; channels 0 to 2 of its last node.
std::array<int, 3> UnitRgb(const OutputTable33& table, const std::array<int, 3>& node,
                           const std::array<std::uint32_t, 3>& words, int primaries) {
    CXYZType white;
    white.rawXYZ = words;
    Nodes nodes(8);
    for (auto& each : nodes) std::copy(node.begin(), node.end(), each.begin());
    const auto grid = MakeGrid(2, nodes);
    grid->Lab2RGB100_16_1D(&table, Space(SpaceOf(primaries)), &white);
    return {grid->Color[1][1][1][0], grid->Color[1][1][1][1], grid->Color[1][1][1][2]};
}

std::array<int, 3> Cut(const Triple& rgb) {
    std::array<int, 3> node{};
    for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
    return node;
}

TEST(LabToRgbLimits, ThePowerDecidesBesideAWholeNumber) {
    const auto table = std::make_unique<OutputTable33>();
    for (const Edge& edge : kEdges) {
        const Triple rgb = PlainRgb(edge.node, edge.white, edge.primaries);
        EXPECT_NEAR(rgb[edge.channel], edge.whole, 1e-12);
        EXPECT_EQ(UnitRgb(*table, edge.node, edge.white, edge.primaries), Cut(rgb)) << edge.whole;
    }
}

TEST(LabToRgbLimits, WhitesOfAWholeNumberAreCutWhereTheSumFalls) {
    // At L* 100 the three ratios are 1, so that a channel is a sum of four-decimal factors times the white's words over
    // 257. Words are chosen for the sum to be whole in exact arithmetic; in doubles it may fall just below.
    const int factors[3] = {-9788, 19163, 334};  // green of sRGB and of AdobeRGB, times 10000
    const auto table = std::make_unique<OutputTable33>();
    Scatter scatter(1);
    int below = 0, atLeast = 0;
    for (int round = 0; below + atLeast < 400 && round < 1000; ++round) {
        const std::uint32_t x = static_cast<std::uint32_t>(scatter.Next() % 40000) * 2;
        const std::uint32_t z = static_cast<std::uint32_t>(scatter.Next() % 40000) * 2;
        const int whole = scatter.Between(1, 254);
        // factors[1] * y = whole * 2570000 - factors[0] * x - factors[2] * z; walk x until y comes out whole.
        for (std::uint32_t step = 0; step < 19163; ++step) {
            const std::int64_t sum =
                std::int64_t{whole} * 2570000 - std::int64_t{factors[0]} * (x + step) - std::int64_t{factors[2]} * z;
            if (sum < 0 || sum % factors[1] != 0) continue;
            const std::array<std::uint32_t, 3> white = {x + step, static_cast<std::uint32_t>(sum / factors[1]), z};
            const Triple rgb = PlainRgb({65280, 32768, 32768}, white, 0);
            ASSERT_NEAR(rgb[1], whole, 1e-10);
            ++(rgb[1] < whole ? below : atLeast);
            ASSERT_EQ(UnitRgb(*table, {65280, 32768, 32768}, white, 0), Cut(rgb)) << whole;
            break;
        }
    }
    EXPECT_GT(below, 50);
    EXPECT_GT(atLeast, 50);
}

}  // namespace
}  // namespace hueweave::test
