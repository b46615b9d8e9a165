// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <limits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class AdjustLchTest : public EngineTest {
protected:
    /// A bound engine whose tables are a pattern, so that a rebuild shows.
    void BindAndFill(int output = 10) {
        ASSERT_EQ(Bind(PutSmooth(), 0, 0, output), 0);
        FillTables(engine(), 6);
    }
    bool GridWasRebuilt() {
        const bool rebuilt = GridOf(engine()) != PatternGrid(6);
        FillTables(engine(), 6);
        return rebuilt;
    }
};

TEST_F(AdjustLchTest, RebuildsTheGridAloneFromTheFullValues) {
    BindAndFill();
    const Tables input = InputOf(engine());
    engine().Unit.BuildResult = 4711;
    EXPECT_EQ(engine().Adjust_Lch(6.75, -7.5, 33.25), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 6.75, -7.5, 33.25, 10));
    EXPECT_TRUE(InputOf(engine()) == input);
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(6));
    EXPECT_EQ(Status(), "10/4711");
    EXPECT_EQ(engine().Unit.Lightness, 6);
    EXPECT_EQ(engine().Unit.Chroma, -7);
    EXPECT_EQ(engine().Unit.Hue, 33);
}

TEST_F(AdjustLchTest, OffsetsReplaceEachOther) {
    BindAndFill();
    ASSERT_EQ(engine().Adjust_Lch(20.0, 5.0, 5.0), 10);
    ASSERT_EQ(engine().Adjust_Lch(2.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 2.0, 0, 0, 10));
}

TEST_F(AdjustLchTest, TheProfilesOwnGridIsAdjustedBeforeItIsResampled) {
    for (const unsigned points : {2U, 9U, 17U, 33U}) {
        ASSERT_EQ(Bind(Put(std::to_string(points), {{"A2B0", Mft2(SmoothLut(points))}}), 0, 0, 10), 0);
        ASSERT_EQ(engine().Adjust_Lch(0.0, 40.0, 77.0), 10);
        EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 0, 40.0, 77.0, 10)) << points;
    }
}

TEST_F(AdjustLchTest, OnlyWholePartsCount) {
    BindAndFill();
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 10);
    EXPECT_EQ(engine().Adjust_Lch(0.999, -0.999, 0.5), 10);
    EXPECT_FALSE(GridWasRebuilt()) << "cut toward zero from both sides";
    EXPECT_EQ(engine().Adjust_Lch(1.9, 0.0, 0.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(1.2, 0.0, 0.0), 10);
    EXPECT_EQ(engine().Adjust_Lch(1.0, 0.9, -0.9), 10);
    EXPECT_FALSE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(-1.9, 0.0, 0.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Unit.Lightness, -1);
    EXPECT_EQ(engine().Adjust_Lch(0.4, 0.0, 0.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
}

TEST_F(AdjustLchTest, AChangeBackToAFractionBelowOneStillUsesTheFraction) {
    BindAndFill();
    ASSERT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 10);
    ASSERT_EQ(engine().Adjust_Lch(0.75, 0.0, 0.0), 10);
    const Grid expected = ExpectedGrid(Table(TagName("A2B0")), 0.75, 0, 0, 10);
    ASSERT_FALSE(expected == ExpectedGrid(Table(TagName("A2B0")), 0, 0, 0, 10));
    EXPECT_TRUE(GridOf(engine()) == expected);
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

TEST_F(AdjustLchTest, EachOfTheThreeRebuildsAlone) {
    BindAndFill();
    EXPECT_EQ(engine().Adjust_Lch(0.0, 2.0, 0.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(0.0, 2.0, 3.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(4.0, 2.0, 3.0), 10);
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(4.5, 2.5, 3.5), 10);
    EXPECT_FALSE(GridWasRebuilt());
}

TEST_F(AdjustLchTest, ValuesThatAreNotFiniteCountAsZero) {
    BindAndFill();
    EXPECT_EQ(engine().Adjust_Lch(kNaN, kInfinity, -kInfinity), 10);
    EXPECT_FALSE(GridWasRebuilt());
    for (const double odd : {kInfinity, -kInfinity, kNaN}) {
        EXPECT_EQ(engine().Adjust_Lch(odd, 0.0, 0.0), 10);
        EXPECT_EQ(engine().Adjust_Lch(0.0, odd, 0.0), 10);
        EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, odd), 10);
        EXPECT_FALSE(GridWasRebuilt()) << odd;
    }
    EXPECT_EQ(engine().Adjust_Lch(kNaN, 3.0, kInfinity), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 0, 3.0, 0, 10));
    EXPECT_EQ(engine().Unit.Lightness, 0);
    EXPECT_EQ(engine().Unit.Hue, 0);
}

TEST_F(AdjustLchTest, HugeValuesAreStoredAsTheLimitsOfAnInt) {
    BindAndFill();
    EXPECT_EQ(engine().Adjust_Lch(1e300, -1e300, 2147483647.5), 10);
    EXPECT_EQ(engine().Unit.Lightness, std::numeric_limits<int>::max());
    EXPECT_EQ(engine().Unit.Chroma, std::numeric_limits<int>::min());
    EXPECT_EQ(engine().Unit.Hue, std::numeric_limits<int>::max());
    EXPECT_TRUE(GridWasRebuilt());
    EXPECT_EQ(engine().Adjust_Lch(1e200, -1e200, 1e100), 10);
    EXPECT_FALSE(GridWasRebuilt());
}

TEST_F(AdjustLchTest, OnAnEmptyEngineTheValuesAreStoredAndNothingIsBuilt) {
    FillTables(engine(), 6);
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 65535) << "no change: the output space, which is unset";
    EXPECT_EQ(engine().Adjust_Lch(1.0, 2.0, 3.0), 65535);
    EXPECT_EQ(engine().Unit.Lightness, 1);
    EXPECT_EQ(engine().Unit.Chroma, 2);
    EXPECT_EQ(engine().Unit.Hue, 3);
    EXPECT_FALSE(GridWasRebuilt());
}

TEST_F(AdjustLchTest, WithoutATagTheValuesStayChangedAndTheOutputSpaceStays) {
    ASSERT_EQ(Bind(Put("none.icc", {}), 0, 0, 8), 0);
    EXPECT_EQ(engine().Adjust_Lch(0.5, 0.0, 0.0), 8) << "no change";
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 65535);
    EXPECT_EQ(engine().Unit.Lightness, 5);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 8) << "no change any more";
}

TEST_F(AdjustLchTest, ARefusedEngineRebuildsItsGridAllTheSame) {
    BindAndFill(14);
    EXPECT_EQ(engine().Adjust_Lch(5.0, 0.0, 0.0), 65535);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 5.0, 0, 0, 65535));
    EXPECT_EQ(Status(), "65535/65535");
}

}  // namespace
}  // namespace hueweave::test
