// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tone curves of the caller's, from the exported call to the pixels that come out.
#include "abi/Twin.h"

namespace hueweave::test {
namespace {

/// The input encoding: 0 or 1.
class AdjustedPixelsTest : public testing::TestWithParam<int> {
protected:
    int input() const { return GetParam(); }
    /// An output space of the width of the input encoding.
    int Space(int even) const { return even + input(); }
    void Bind(const std::string& name, int space) { twin_.SetProfile(name, 0, input(), space); }

    Library library_;
    Twin twin_{library_, kAllThree, TwinProfiles()};
};

TEST_P(AdjustedPixelsTest, EveryCountOfPointsGivesTheReferencePixels) {
    Bind("plain.icc", Space(22));
    const ToneCurves curves = SomeCurves(4096);
    std::vector<Bytes> results;
    for (const int count : {256, 255, 129, 128, 127, 2, 1}) {
        SCOPED_TRACE("count " + std::to_string(count));
        twin_.Adjust(0, 0, 0, curves, count);
        results.push_back(twin_.Convert());
        // Each of them counts, so that none could pass for its neighbour.
        for (std::size_t before = 0; before + 1 < results.size(); ++before) {
            EXPECT_NE(results[before], results.back()) << before;
        }
    }
}

TEST_P(AdjustedPixelsTest, PointsBehindThe256thPlayNoPart) {
    Bind("plain.icc", Space(22));
    const ToneCurves curves = SomeCurves(5000);
    twin_.Adjust(0, 0, 0, curves, 256);
    const Bytes whole = twin_.Convert();
    for (const int count : {257, 300, 4095, 4096}) {
        twin_.Adjust(0, 0, 0, SomeCurves(4096, 9), count);
        EXPECT_NE(twin_.Convert(), whole);
        twin_.Adjust(0, 0, 0, curves, count);
        EXPECT_EQ(twin_.Convert(), whole) << count;
    }
}

TEST_P(AdjustedPixelsTest, ANegativeCountStretchesTheProfilesOwnCurves) {
    Bind("plain.icc", Space(22));
    const Bytes before = twin_.Convert();
    Bytes stretched;
    for (const int count : {-1, -256, -4096, kLeast}) {
        twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
        twin_.Adjust(0, 0, 0, SomeCurves(1), count);
        const Bytes after = twin_.Convert();
        EXPECT_NE(after, before);
        if (stretched.empty()) stretched = after;
        EXPECT_EQ(after, stretched) << count;
    }
    // No point at all is something else than a count of 0, which leaves the curves that were there.
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes curved = twin_.Convert();
    twin_.Adjust(0, 0, 0, SomeCurves(256, 8), 0);
    EXPECT_EQ(twin_.Convert(), curved);
}

TEST_P(AdjustedPixelsTest, ANullArrayLeavesTheOutputStageWhateverTheCount) {
    Bind("plain.icc", Space(22));
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes curved = twin_.Convert();
    const ToneCurves other = SomeCurves(256, 9);
    const ToneCurves rows[] = {{{}, other.green, other.blue},
                               {other.red, {}, other.blue},
                               {other.red, other.green, {}},
                               {other.red, {}, {}},
                               {{}, other.green, {}},
                               {{}, {}, other.blue},
                               {{}, {}, {}}};
    for (const ToneCurves& row : rows) {
        for (const int count : {256, 1, 0, -1, kLeast, kMost}) {
            twin_.Adjust(0, 0, 0, row, count);
            EXPECT_EQ(twin_.Convert(), curved) << count;
        }
    }
}

TEST_P(AdjustedPixelsTest, NullArraysAreTheWayToShiftColoursAlone) {
    Bind("plain.icc", Space(22));
    const Bytes plain = twin_.Convert();
    twin_.Adjust(-12.5, 8.25, 30.0, {}, 256);
    const Bytes shifted = twin_.Convert();
    EXPECT_NE(shifted, plain);
    // Over curves of the caller's the shift is made in the grid below, and the curves stay.
    twin_.Adjust(-12.5, 8.25, 30.0, SomeCurves(256), 256);
    const Bytes both = twin_.Convert();
    EXPECT_NE(both, shifted);
    twin_.Adjust(0, 0, 0, {}, 0);
    EXPECT_NE(twin_.Convert(), both);
    twin_.Adjust(-12.5, 8.25, 30.0, {}, 0);
    EXPECT_EQ(twin_.Convert(), both);
}

TEST_P(AdjustedPixelsTest, TwoCallsDoNotAddUp) {
    Bind("plain.icc", Space(22));
    for (const int count : {256, 100, 1, -1}) {
        twin_.Adjust(0, 0, 0, SomeCurves(256, 3), count);
        const Bytes once = twin_.Convert();
        twin_.Adjust(0, 0, 0, SomeCurves(256, 3), count);
        EXPECT_EQ(twin_.Convert(), once) << count << ", twice the same";
        twin_.Adjust(0, 0, 0, SomeCurves(256, 11), 256);
        EXPECT_NE(twin_.Convert(), once) << count;
        twin_.Adjust(0, 0, 0, SomeCurves(256, 3), count);
        EXPECT_EQ(twin_.Convert(), once) << count << ", over others";
    }
}

TEST_P(AdjustedPixelsTest, CurvesStayUntilTheNextRebuild) {
    Bind("plain.icc", Space(22));
    const Bytes plain = twin_.Convert();
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes curved = twin_.Convert();
    ASSERT_NE(curved, plain);
    twin_.SetIntent(0, input(), Space(22));
    EXPECT_EQ(twin_.Convert(), curved) << "the same job";
    Bind("plain.icc", Space(22));
    EXPECT_EQ(twin_.Convert(), curved) << "the same profile";
    twin_.Convert();
    EXPECT_EQ(twin_.Convert(), curved) << "converting changes nothing";

    twin_.SetIntent(1, input(), Space(22));
    twin_.SetIntent(0, input(), Space(22));
    EXPECT_EQ(twin_.Convert(), plain) << "another intent and back";
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Convert(), curved);
    Bind("plain.icc", Space(26));
    Bind("plain.icc", Space(22));
    EXPECT_EQ(twin_.Convert(), plain) << "another output space and back";
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    twin_.SetIntent(0, 1 - input(), Space(22));
    twin_.SetIntent(0, input(), Space(22));
    EXPECT_EQ(twin_.Convert(), plain) << "the other width and back";
}

TEST_P(AdjustedPixelsTest, NothingOfTheToneCurveRemains) {
    // All with the primaries of sRGB, for which alone the grid is the same.
    Bytes first;
    for (const int even : {8, 10, 12, 34, 36, 38}) {
        // Each in the width of the input encoding and in the other one.
        for (const int space : {even, even + 1}) {
            Bind("plain.icc", space);
            twin_.Adjust(0, 0, 0, SomeCurves(256), 200);
            const Bytes curved = twin_.Convert();
            if (first.empty()) first = curved;
            EXPECT_EQ(curved, first) << space;
        }
    }
    Bind("plain.icc", Space(20));
    twin_.Adjust(0, 0, 0, SomeCurves(256), 200);
    EXPECT_NE(twin_.Convert(), first) << "the primaries stay";
}

TEST_P(AdjustedPixelsTest, ACurvedTableIsTakenThroughATemporary) {
    Bind("curved.icc", Space(8));
    for (const int count : {256, 128, 1, -1, 0}) {
        twin_.Adjust(2.5, -3.0, 14.0, SomeCurves(256), count);
        twin_.Convert();
    }
    twin_.SetIntent(1, input(), Space(8));
    twin_.Convert();
    twin_.Adjust(0, 0, 0, SomeCurves(256, 7), 60);
    twin_.Convert();
}

TEST_P(AdjustedPixelsTest, ARefusedSpaceStaysRefusedAndTheNextOneHasItsOwnCurve) {
    Bind("plain.icc", 14);
    twin_.Adjust(4, 0, 0, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Reference().outputSpace, 65535);
    twin_.Convert();
    twin_.SetIntent(0, input(), Space(22));
    EXPECT_EQ(twin_.Reference().outputSpace, Space(22));
    twin_.Convert();
}

TEST_P(AdjustedPixelsTest, WithoutATableTheSpaceStays) {
    Bind("none.icc", Space(22));
    for (const int count : {256, 0, -1}) twin_.Adjust(5, 6, 7, SomeCurves(256), count);
    EXPECT_EQ(twin_.Reference().outputSpace, Space(22));
    twin_.Convert();
    // A table for another intent alone: what was built for it stays as it is.
    twin_.SetProfile("other.icc", 2, input(), Space(8));
    const Bytes before = twin_.Convert();
    twin_.SetIntent(0, input(), Space(10));
    twin_.Adjust(5, 6, 7, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Convert(), before);
}

TEST_P(AdjustedPixelsTest, AnEngineWithoutAProfileChangesNothing) {
    twin_.Adjust(1, 2, 3, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Reference().outputSpace, 65535);
    twin_.Convert();
    // It stores the shift, but no profile takes it over; nor does any take the curves.
    Bind("plain.icc", Space(22));
    EXPECT_EQ(twin_.Reference().lightness, 0);
    const Bytes plain = twin_.Convert();
    twin_.Adjust(0, 0, 0);
    EXPECT_EQ(twin_.Convert(), plain);
    // A failed call leaves such an engine, a stored job makes it look bound.
    twin_.SetProfile("absent.icc", 0, input(), Space(22));
    twin_.Adjust(1, 2, 3, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Reference().outputSpace, 65535);
    twin_.SetIntent(0, input(), Space(22));
    twin_.Adjust(4, 2, 3, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Reference().outputSpace, Space(22));
    twin_.Convert();
}

INSTANTIATE_TEST_SUITE_P(Widths, AdjustedPixelsTest, testing::Values(0, 1),
                         [](const auto& param) { return std::string(param.param == 1 ? "Words" : "Bytes"); });

}  // namespace
}  // namespace hueweave::test
