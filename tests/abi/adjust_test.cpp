// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Shifts and tone curves of the caller's, from the exported call to the pixels that come out.
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

/// The input encoding: 0 or 1.
class ExportedAdjust : public ExportTest, public testing::WithParamInterface<int> {
protected:
    int input() const { return GetParam(); }
    /// An output space of the width of the input encoding.
    int Space(int even) const { return even + input(); }
    void Bind(const std::string& name, int space) { engines_.SetProfile(name, 0, input(), space); }
    /// The pixels after curves alone.
    Bytes Curved(const ToneCurves& curves, int count = 256) {
        engines_.Adjust(0, 0, 0, curves, count);
        return engines_.Convert();
    }
    /// The pixels after a shift alone.
    Bytes Shifted(double lightness, double chroma, double hue) {
        engines_.Adjust(lightness, chroma, hue, {}, 0);
        return engines_.Convert();
    }
};

TEST_P(ExportedAdjust, LaysAnyCountOfPoints) {
    Bind("plain.icc", Space(22));
    const ToneCurves curves = SomeCurves(4096);
    std::vector<Bytes> results;
    for (const int count : {256, 255, 129, 128, 127, 2, 1}) {
        SCOPED_TRACE("count " + std::to_string(count));
        results.push_back(Curved(curves, count));
        // Each of them counts, so that none could pass for its neighbour.
        for (std::size_t before = 0; before + 1 < results.size(); ++before) {
            EXPECT_NE(results[before], results.back()) << before;
        }
    }
    for (const int count : {257, 300, 4095, 4096}) {
        EXPECT_NE(Curved(SomeCurves(4096, 9), count), results[0]);
        EXPECT_THAT(Curved(curves, count), EqualsBytes(results[0])) << "points behind the 256th play no part";
    }
}

TEST_P(ExportedAdjust, StretchesTheProfilesOwnCurvesByANegativeCount) {
    Bind("plain.icc", Space(22));
    const Bytes before = engines_.Convert();
    Bytes stretched;
    for (const int count : {-1, -256, -4096, kLeast}) {
        Curved(SomeCurves(256));
        const Bytes after = Curved(SomeCurves(1), count);
        EXPECT_NE(after, before);
        if (stretched.empty()) stretched = after;
        EXPECT_THAT(after, EqualsBytes(stretched)) << count;
    }
}

TEST_P(ExportedAdjust, LeavesTheCurvesWithoutPointsOrAnArray) {
    Bind("plain.icc", Space(22));
    const Bytes curved = Curved(SomeCurves(256));
    const ToneCurves other = SomeCurves(256, 9);
    EXPECT_THAT(Curved(other, 0), EqualsBytes(curved));
    const ToneCurves rows[] = {{{}, other.green, other.blue},
                               {other.red, {}, other.blue},
                               {other.red, other.green, {}},
                               {other.red, {}, {}},
                               {{}, other.green, {}},
                               {{}, {}, other.blue},
                               {{}, {}, {}}};
    for (const ToneCurves& row : rows) {
        for (const int count : {256, 1, 0, -1, kLeast, kMost}) {
            EXPECT_THAT(Curved(row, count), EqualsBytes(curved)) << count;
        }
    }
}

TEST_P(ExportedAdjust, GivesEveryPixelTheValueOfLevelCurves) {
    engines_.SetProfile("black.icc", 0, 0, 10);
    engines_.Adjust(0, 0, 0, {Bytes(256, 9), Bytes(256, 8), Bytes(256, 7)});
    Bytes expected;
    for (int pixel = 0; pixel < 600; ++pixel) expected.insert(expected.end(), {9, 8, 7});
    EXPECT_THAT(engines_.Convert(), EqualsBytes(expected));
}

TEST_P(ExportedAdjust, TakesLightnessChromaAndHueInThisOrder) {
    for (const int intent : {0, 3}) {
        engines_.SetProfile("plain.icc", intent, input(), Space(20));
        const Bytes lighter = Shifted(20, 0, 0), stronger = Shifted(0, 20, 0), turned = Shifted(0, 0, 20);
        EXPECT_NE(lighter, stronger);
        EXPECT_NE(lighter, turned);
        EXPECT_NE(stronger, turned);
    }
}

TEST_P(ExportedAdjust, ShiftsColoursAloneBelowTheCurves) {
    Bind("plain.icc", Space(22));
    const Bytes plain = engines_.Convert();
    const Bytes shifted = Shifted(-12.5, 8.25, 30.0);
    EXPECT_NE(shifted, plain);
    engines_.Adjust(-12.5, 8.25, 30.0, SomeCurves(256), 256);
    const Bytes both = engines_.Convert();
    EXPECT_NE(both, shifted);
    EXPECT_NE(Shifted(0, 0, 0), both);
    EXPECT_THAT(Shifted(-12.5, 8.25, 30.0), EqualsBytes(both)) << "the curves stay";
}

TEST_P(ExportedAdjust, LastsUntilTheNextRebuild) {
    Bind("plain.icc", Space(22));
    const Bytes plain = engines_.Convert();
    const Bytes curved = Curved(SomeCurves(256));
    ASSERT_NE(curved, plain);
    engines_.SetIntent(0, input(), Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(curved)) << "the same job";
    Bind("plain.icc", Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(curved)) << "the same profile";
    EXPECT_THAT(engines_.Convert(), EqualsBytes(curved)) << "converting changes nothing";

    engines_.SetIntent(1, input(), Space(22));
    engines_.SetIntent(0, input(), Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(plain)) << "another intent and back";
    EXPECT_THAT(Curved(SomeCurves(256)), EqualsBytes(curved));
    Bind("plain.icc", Space(26));
    Bind("plain.icc", Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(plain)) << "another output space and back";
    Curved(SomeCurves(256));
    engines_.SetIntent(0, 1 - input(), Space(22));
    engines_.SetIntent(0, input(), Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(plain)) << "the other width and back";
}

TEST_P(ExportedAdjust, LeavesNothingOfTheToneCurve) {
    // All with the primaries of sRGB, for which alone the grid is the same.
    Bytes first;
    for (const int even : {8, 10, 12, 34, 36, 38}) {
        // Each in the width of the input encoding and in the other one.
        for (const int space : {even, even + 1}) {
            Bind("plain.icc", space);
            const Bytes curved = Curved(SomeCurves(256), 200);
            if (first.empty()) first = curved;
            EXPECT_THAT(curved, EqualsBytes(first)) << space;
        }
    }
    Bind("plain.icc", Space(20));
    EXPECT_NE(Curved(SomeCurves(256), 200), first) << "the primaries stay";
}

TEST_P(ExportedAdjust, LeavesARefusedSpaceRefusedAndTheNextOneItsOwnCurve) {
    Bind("plain.icc", 14);
    EXPECT_EQ(engines_.Adjust(4, 0, 0, SomeCurves(256), 256), 65535);
    engines_.Convert();
    EXPECT_EQ(engines_.SetIntent(0, input(), Space(22)), Space(22));
    engines_.Convert();
}

TEST_P(ExportedAdjust, OfAnEngineWithoutAProfileChangesNothing) {
    EXPECT_EQ(engines_.Adjust(1, 2, 3, SomeCurves(256), 256), 65535);
    engines_.Convert();
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    for (const EngineApi& api : engines_.Apis()) {
        EXPECT_EQ(api.Adjust(nan, inf, -1e300, nullptr, nullptr, nullptr, -1), 65535);
    }
    engines_.Convert();
}

TEST_P(ExportedAdjust, OfAnEngineWithoutAProfileIsForgottenByTheNextProfile) {
    engines_.Adjust(1, 2, 3, SomeCurves(256), 256);
    Bind("plain.icc", Space(22));
    EXPECT_EQ(engines_.Reference().lightness, 0);
    const Bytes plain = engines_.Convert();
    engines_.Adjust(0, 0, 0);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(plain));
    // A failed call leaves such an engine, a stored job makes it look bound.
    engines_.SetProfile("absent.icc", 0, input(), Space(22));
    EXPECT_EQ(engines_.Adjust(1, 2, 3, SomeCurves(256), 256), 65535);
    EXPECT_EQ(engines_.SetIntent(0, input(), Space(22)), Space(22));
    EXPECT_EQ(engines_.Adjust(4, 2, 3, SomeCurves(256), 256), Space(22)) << "the space, and not the result of a build";
    engines_.Convert();
    Bind("plain.icc", Space(24));
    Bind("plain.icc", Space(22));
    EXPECT_THAT(engines_.Convert(), EqualsBytes(plain));
}

INSTANTIATE_TEST_SUITE_P(Widths, ExportedAdjust, testing::Values(0, 1),
                         [](const auto& param) { return std::string(param.param == 1 ? "Words" : "Bytes"); });

using ExportedCurves = ExportTest;

TEST_F(ExportedCurves, UnderAnEncodingOfNeitherWidthKeepTheirLowByte) {
    engines_.SetProfile("plain.icc", 0, 0, 22);
    engines_.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes bytes = engines_.Convert();
    engines_.SetIntent(0, 5, 22);
    // Tables of 16 bits under pixels of 8.
    engines_.Adjust(0, 0, 0, SomeCurves(256), 256);
    EXPECT_NE(engines_.Convert(), bytes);
    engines_.SetIntent(0, 0, 22);
    engines_.Adjust(0, 0, 0, SomeCurves(256), 256);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(bytes));
}

}  // namespace
}  // namespace hueweave::test
