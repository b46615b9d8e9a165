// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class SetIntentTest : public EngineTest {};

TEST_F(SetIntentTest, OnAnEmptyEngineItStoresTheJobAndFindsNoTable) {
    FillTables(engine(), 9);
    EXPECT_EQ(Rebind(2, 1, 21), 65535);
    EXPECT_EQ(Status(), "21/65535");
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().Unit.Intent, 2);
    EXPECT_EQ(engine().Unit.ProfileState, 65535);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(9));
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(9));
    // The same job again counts as unchanged.
    EXPECT_EQ(Rebind(2, 1, 21), 21);
}

TEST_F(SetIntentTest, OnAnEmptyEngineAnySpaceIsStored) {
    for (const int output : {0, 14, 32, 40, -5, 65534}) {
        EXPECT_EQ(Rebind(0, 0, output), 65535);
        EXPECT_EQ(engine().Unit.OutputSpace, output);
    }
}

TEST_F(SetIntentTest, TheJobOfAnEmptyEngineIsAlreadyTheUnsetOne) {
    EXPECT_EQ(Rebind(0, 65535, 65535), 65535);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(SetIntentTest, OnAFailedEngineTheProfileBeforeIsGone) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    ASSERT_EQ(Bind(dir_.File("absent.icc"), 0, 0, 8), 65531);
    EXPECT_EQ(Rebind(0, 0, 8), 65535);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().Lut1DInR, nullptr);

    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    ASSERT_EQ(Bind(PutSmooth(), 0, 7, 8), 65530);
    EXPECT_EQ(Rebind(1, 0, 10), 65535);
    EXPECT_EQ(Status(), "10/65535");
}

TEST_F(SetIntentTest, OnAnEngineBoundWithoutTablesItStoresAndFindsNoTable) {
    ASSERT_EQ(Bind(Put("none.icc", {{"wtpt", XyzBlock(1, 2, 3)}}), 0, 0, 8), 0);
    EXPECT_EQ(Rebind(0, 0, 8), 8) << "unchanged";
    EXPECT_EQ(Rebind(1, 0, 9), 65535);
    EXPECT_EQ(Status(), "9/65535");
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(SetIntentTest, OnAReadyEngineItRebuildsFromMemory) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    std::filesystem::remove(path);
    EXPECT_EQ(Rebind(1, 1, 21), 21);
    EXPECT_EQ(Status(), "21/21");
    EXPECT_EQ(engine().InEntries, 65536);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    const auto direct = MakeEngine();
    ASSERT_EQ(direct->SetProfile(PutSmooth().c_str(), IntentOf(1), Space(1), Space(21), 0.0, 0.0, 0.0), 0);
    EXPECT_TRUE(StagesOf(engine()) == StagesOf(*direct));
}

TEST_F(SetIntentTest, TheSameJobRebuildsNothing) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 12), 0);
    FillTables(engine(), 8);
    engine().Unit.BuildResult = 4711;
    EXPECT_EQ(Rebind(0, 0, 12), 12);
    EXPECT_EQ(engine().Unit.BuildResult, 4711);
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(8));
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(8));
}

TEST_F(SetIntentTest, EachArgumentAloneRebuildsAllStages) {
    for (const auto& job : {std::array{1, 0, 10}, std::array{0, 1, 10}, std::array{0, 0, 11}}) {
        ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
        FillTables(engine(), 8);
        engine().Lut1DInG.reset();
        EXPECT_EQ(Rebind(job[0], job[1], job[2]), job[2]);
        EXPECT_FALSE(GridOf(engine()) == PatternGrid(8));
        EXPECT_FALSE(OutputOf(engine()) == PatternOutput(8));
        EXPECT_NE(engine().Lut1DInG, nullptr);
    }
}

TEST_F(SetIntentTest, BuildResultNamesTheEncodingThatWasMade) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    EXPECT_EQ(Rebind(0, 0, 12), 12);
    EXPECT_EQ(Status(), "12/8");
    EXPECT_EQ(Rebind(0, 0, 13), 13);
    EXPECT_EQ(Status(), "13/9");
}

TEST_F(SetIntentTest, TheGivenAdjustmentIsIgnored) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    EXPECT_EQ(engine().SetIntent(IntentOf(1), Space(0), Space(10), 20.0, 30.0, 40.0), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10));
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

TEST_F(SetIntentTest, AFractionOfTheAdjustmentIsLost) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    ASSERT_EQ(engine().Adjust_Lch(3.9, -4.9, 5.9), 10);
    const CLut16Type& table = Table(TagName("A2B1"));
    const Grid whole = ExpectedGrid(table, 3.0, -4.0, 5.0, 10);
    ASSERT_FALSE(whole == ExpectedGrid(table, 3.9, -4.9, 5.9, 10));
    ASSERT_EQ(Rebind(1, 0, 10), 10);
    EXPECT_TRUE(GridOf(engine()) == whole);
    EXPECT_EQ(engine().Unit.Lightness, 3);
    EXPECT_EQ(engine().Unit.Chroma, -4);
    EXPECT_EQ(engine().Unit.Hue, 5);
}

TEST_F(SetIntentTest, AnyInputEncodingButOneGoesTheWayOfEightBits) {
    const std::string path = PutSmooth();
    const auto eight = MakeEngine();
    ASSERT_EQ(eight->SetProfile(path.c_str(), IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    const Tables input = InputOf(*eight);
    ASSERT_EQ(Bind(path, 0, 1, 8), 0);
    for (const int encoding : {5, 4, 8, 9, 65535, -1}) {
        EXPECT_EQ(Rebind(0, encoding, 8), 8) << encoding;
        EXPECT_EQ(engine().Unit.InputSpace, encoding);
        EXPECT_EQ(engine().InEntries, 256);
        EXPECT_TRUE(InputOf(engine()) == input) << encoding;
        unsigned char ours[6] = {0, 17, 80, 255, 128, 3};
        unsigned char theirs[6] = {0, 17, 80, 255, 128, 3};
        unsigned char untouched[6] = {1, 2, 3, 4, 5, 6};
        EXPECT_EQ(engine().Conversion(ours, untouched, 2), 0);
        EXPECT_EQ(eight->Conversion(theirs, theirs, 2), 0);
        EXPECT_TRUE(std::equal(ours, ours + 6, theirs));
        EXPECT_EQ(untouched[0], 1);
        EXPECT_EQ(untouched[5], 6);
    }
}

TEST_F(SetIntentTest, ARefusedOutputSpaceIsTriedAgainAndCanBeLeft) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    EXPECT_EQ(Rebind(0, 0, 14), 65535);
    EXPECT_EQ(Status(), "65535/65535");
    FillTables(engine(), 2);
    EXPECT_EQ(Rebind(0, 0, 14), 65535);
    EXPECT_FALSE(OutputOf(engine()) == PatternOutput(2));
    EXPECT_EQ(Rebind(0, 0, 8), 8);
    EXPECT_EQ(Status(), "8/8");
}

TEST_F(SetIntentTest, AMissingTableLeavesTheTablesBefore) {
    ASSERT_EQ(Bind(Put("zero.icc", {{"A2B0", Mft2(SmoothLut())}}), 0, 0, 10), 0);
    const Stages before = StagesOf(engine());
    EXPECT_EQ(Rebind(2, 1, 9), 65535);
    EXPECT_EQ(Status(), "9/10");
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().InEntries, 256);
    EXPECT_TRUE(StagesOf(engine()) == before);
}

}  // namespace
}  // namespace hueweave::test
