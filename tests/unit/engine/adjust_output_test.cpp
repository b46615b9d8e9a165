// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// What three curves of 256 points on the 16-bit scale expand to; `to8` cuts them to bytes.
std::vector<std::uint32_t> Expand(const std::vector<int>& points, bool to8) {
    std::vector<std::uint32_t> table(65536, 65535);
    for (int v = 0; v < 65535; ++v) {
        const int i = v / 257;
        const double f = (v - 257.0 * i) / 256.0;
        const auto at = static_cast<std::size_t>(i);
        table[static_cast<std::size_t>(v)] =
            static_cast<std::uint32_t>(points[at + 1] * f + (1 - f) * points[at] + 0.5);
    }
    if (to8) {
        for (std::uint32_t& entry : table) entry >>= 8;
    }
    return table;
}

class AdjustOutputTest : public EngineTest {
protected:
    AdjustOutputTest() {
        for (std::size_t i = 0; i < 256; ++i) {
            identity_[i] = static_cast<unsigned char>(i);
            falling_[i] = static_cast<unsigned char>(255 - i);
            folded_[i] = static_cast<unsigned char>(i * 37 + 11);
        }
    }
    /// The three curves on the 16-bit scale: `count` points of the caller's, the rest from the profile's curves.
    std::vector<int> Points(const unsigned char* curve, int count, std::size_t channel, const MiniLut& lut) {
        std::vector<int> points(lut.output[channel].begin(), lut.output[channel].end());
        for (int i = 0; i < count; ++i) points[static_cast<std::size_t>(i)] = curve[i] * 256;
        return points;
    }
    Tables Expected(int count, const MiniLut& lut, bool to8) {
        return {Expand(Points(identity_, count, 0, lut), to8), Expand(Points(falling_, count, 1, lut), to8),
                Expand(Points(folded_, count, 2, lut), to8)};
    }

    unsigned char identity_[256];
    unsigned char falling_[256];
    unsigned char folded_[256];
};

TEST_F(AdjustOutputTest, ReplacesTheOutputStageAlone) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    const Stages before = StagesOf(engine());
    EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 256), 8);
    EXPECT_TRUE(InputOf(engine()) == before.input);
    EXPECT_TRUE(GridOf(engine()) == before.grid);
    EXPECT_TRUE(OutputOf(engine()) == Expected(256, SmoothLut(), true));
    EXPECT_EQ(Status(), "8/8");
}

TEST_F(AdjustOutputTest, IdentityCurvesOnTheWayOfEightBits) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    ASSERT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 256), 8);
    for (std::uint32_t v = 0; v < 65536; ++v) {
        ASSERT_LE(engine().Lut1DOutR[v], (v >> 8) + 1) << v;
        ASSERT_GE(engine().Lut1DOutR[v] + 1, v >> 8) << v;
    }
    for (std::uint32_t point = 0; point < 255; ++point) ASSERT_EQ(engine().Lut1DOutG[257 * point], point);
    EXPECT_EQ(engine().Lut1DOutB[65535], 255U);
}

TEST_F(AdjustOutputTest, IdentityCurvesOnTheWayOfSixteenBits) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 1, 9), 0);
    ASSERT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 256), 9);
    // 256 units of the curve over 257 of the index: a step of 1 for each of the first 256, and none for the last.
    for (std::uint32_t v = 0; v < 65535; ++v) ASSERT_EQ(engine().Lut1DOutR[v], v / 257 * 256 + v % 257) << v;
    EXPECT_EQ(engine().Lut1DOutR[65535], 65535U);
}

TEST_F(AdjustOutputTest, TheScaleFollowsTheInputEncodingAndNotTheOutputSpace) {
    // Input encoding, output space, and whether the tables hold bytes.
    const struct {
        int input, output;
        bool bytes;
    } rows[] = {{0, 8, true}, {0, 9, true}, {1, 8, false}, {1, 9, false}, {5, 8, false}, {65535, 10, false}};
    for (const auto& row : rows) {
        ASSERT_EQ(Bind(PutSmooth(), 0, 0, 20), 0);
        ASSERT_EQ(Rebind(0, row.input, row.output), row.output);
        engine().Unit.BuildResult = 4711;
        EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 256), row.output);
        EXPECT_TRUE(OutputOf(engine()) == Expected(256, SmoothLut(), row.bytes)) << row.input << " " << row.output;
        EXPECT_EQ(engine().Unit.BuildResult, row.bytes ? row.output : 4711) << row.input << " " << row.output;
    }
}

TEST_F(AdjustOutputTest, AliasesKeepTheirOwnNumber) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    ASSERT_EQ(Rebind(0, 0, 12), 12);
    ASSERT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 256), 12);
    EXPECT_EQ(Status(), "12/12");
}

TEST_F(AdjustOutputTest, ACountOfZeroOrANullArrayChangesNothing) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    FillTables(engine(), 7);
    EXPECT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 0), 8);
    EXPECT_EQ(engine().Adjust_Output(nullptr, identity_, identity_, 256), 8);
    EXPECT_EQ(engine().Adjust_Output(identity_, nullptr, identity_, 256), 8);
    EXPECT_EQ(engine().Adjust_Output(identity_, identity_, nullptr, 256), 8);
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(7));
}

TEST_F(AdjustOutputTest, FewerPointsAreCompletedFromTheProfile) {
    const MiniLut lut = MarkedLut(0x4321);
    ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", Mft2(lut)}}), 0, 1, 9), 0);
    for (const int count : {1, 2, 128, 255}) {
        EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, count), 9);
        EXPECT_TRUE(OutputOf(engine()) == Expected(count, lut, false)) << count;
    }
}

TEST_F(AdjustOutputTest, EachCallStartsFromTheProfile) {
    const MiniLut lut = MarkedLut(0x4321);
    ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", Mft2(lut)}}), 0, 1, 9), 0);
    ASSERT_EQ(engine().Adjust_Output(folded_, folded_, folded_, 256), 9);
    ASSERT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 128), 9);
    EXPECT_TRUE(OutputOf(engine()) == Expected(128, lut, false));
}

TEST_F(AdjustOutputTest, ANegativeCountLaysNoPointAndStretchesTheProfilesCurves) {
    const MiniLut lut = MarkedLut(0x4321);
    ASSERT_EQ(Bind(Put("mark.icc", {{"A2B0", Mft2(lut)}}), 0, 1, 9), 0);
    EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, -1), 9);
    EXPECT_TRUE(OutputOf(engine()) == Expected(0, lut, false));
}

TEST_F(AdjustOutputTest, PointsBeyondTwoHundredFiftySixPlayNoPart) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 1, 9), 0);
    std::vector<unsigned char> longer(identity_, identity_ + 256);
    longer.resize(300, 99);
    EXPECT_EQ(engine().Adjust_Output(longer.data(), longer.data(), longer.data(), 300), 9);
    const Tables output = OutputOf(engine());
    EXPECT_TRUE(output[0] == Expected(256, SmoothLut(), false)[0]);
    EXPECT_TRUE(output[1] == output[0]);
    EXPECT_TRUE(output[2] == output[0]);
}

TEST_F(AdjustOutputTest, ATableOfTheOtherTypeGivesTheSame) {
    const MiniLut lut = MarkedLut(0x4321);
    ASSERT_EQ(Bind(Put("ab.icc", {{"A2B0", MftAB(lut)}}), 0, 1, 9), 0);
    const auto* tag = engine().File.GetTag(TagName("A2B0"));
    EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 100), 9);
    EXPECT_TRUE(OutputOf(engine()) == Expected(100, lut, false));
    EXPECT_EQ(engine().File.GetTag(TagName("A2B0")), tag);
}

TEST_F(AdjustOutputTest, LastsUntilTheOutputStageIsRebuilt) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    const Tables own = OutputOf(engine());
    ASSERT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 256), 8);
    const Tables adjusted = OutputOf(engine());
    ASSERT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 8);
    EXPECT_EQ(Rebind(0, 0, 8), 8) << "no change";
    EXPECT_EQ(Bind(path, 0, 0, 8), 0) << "no change";
    EXPECT_TRUE(OutputOf(engine()) == adjusted);
    ASSERT_EQ(Rebind(1, 0, 8), 8);
    EXPECT_TRUE(OutputOf(engine()) == own);
}

TEST_F(AdjustOutputTest, OnAnEmptyEngineNothingChanges) {
    FillTables(engine(), 7);
    EXPECT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 256), 65535);
    EXPECT_EQ(engine().Adjust_Output(nullptr, nullptr, nullptr, 0), 65535);
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(7));
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(AdjustOutputTest, WithoutATagTheOutputSpaceStays) {
    ASSERT_EQ(Bind(Put("none.icc", {}), 0, 0, 8), 0);
    FillTables(engine(), 7);
    EXPECT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 0), 8);
    EXPECT_EQ(engine().Adjust_Output(identity_, identity_, identity_, 256), 65535);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(7));
}

TEST_F(AdjustOutputTest, ARefusedEngineTakesTheCurvesAllTheSame) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 14), 0);
    EXPECT_EQ(engine().Adjust_Output(identity_, falling_, folded_, 256), 65535);
    EXPECT_TRUE(OutputOf(engine()) == Expected(256, SmoothLut(), true));
    EXPECT_EQ(Status(), "65535/65535");
}

}  // namespace
}  // namespace hueweave::test
