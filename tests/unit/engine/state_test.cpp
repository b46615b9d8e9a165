// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class EngineStateTest : public EngineTest {};

void ExpectEmptyJob(const CIccEngineS& engine) {
    EXPECT_EQ(engine.Unit.ProfileState, 65535);
    EXPECT_EQ(engine.Unit.Spare, 65535);
    EXPECT_EQ(engine.Unit.InputSpace, 65535);
    EXPECT_EQ(engine.Unit.OutputSpace, 65535);
    EXPECT_EQ(engine.Unit.FormatCode, 65534);
    EXPECT_EQ(engine.Unit.WorkBuf, nullptr);
    EXPECT_EQ(engine.Unit.Source, nullptr);
    EXPECT_EQ(engine.Unit.Dest, nullptr);
    EXPECT_EQ(engine.Unit.PixelCount, 0);
    EXPECT_EQ(engine.Unit.WorkCount, 0);
    EXPECT_EQ(engine.Unit.Lightness, 0);
    EXPECT_EQ(engine.Unit.Chroma, 0);
    EXPECT_EQ(engine.Unit.Hue, 0);
    EXPECT_EQ(engine.Lut1DInR, nullptr);
    EXPECT_EQ(engine.Lut1DInG, nullptr);
    EXPECT_EQ(engine.Lut1DInB, nullptr);
    EXPECT_EQ(engine.Shift, 12);
}

TEST_F(EngineStateTest, ConstructionLeavesAnEmptyEngine) {
    ExpectEmptyJob(engine());
    EXPECT_EQ(engine().Unit.BuildResult, 65535);
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_TRUE(engine().File.tagList.empty());
}

TEST_F(EngineStateTest, ResetDropsInputTablesAndJobAndKeepsTheRest) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 1, 0, 10), 0);
    engine().Adjust_Lch(3.0, 4.0, 5.0);
    engine().Unit.FormatCode = 258;
    unsigned char pixels[6] = {};
    engine().Unit.CheckWorkingBuf(pixels, pixels, 2);
    const Stages before = StagesOf(engine());

    engine().Reset();

    ExpectEmptyJob(engine());
    EXPECT_EQ(engine().Unit.BuildResult, 10);
    EXPECT_EQ(engine().Unit.Intent, 1);
    EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
    EXPECT_EQ(engine().File.tagList.size(), 2U);
    EXPECT_TRUE(GridOf(engine()) == before.grid);
    EXPECT_TRUE(OutputOf(engine()) == before.output);
}

TEST_F(EngineStateTest, ResetOfAnEmptyEngineTouchesNoTable) {
    FillTables(engine(), 0x1234567);
    engine().Reset();
    engine().Reset();
    ExpectEmptyJob(engine());
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(0x1234567));
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(0x1234567));
}

TEST_F(EngineStateTest, OperationsThatAreNotImplementedSaySoAndDoNothing) {
    for (const bool bound : {false, true}) {
        if (bound) {
            ASSERT_EQ(Bind(PutSmooth(), 0, 1, 9), 0);
        }
        const Stages before = StagesOf(engine());
        const std::string status = Status();
        for (const int argument : {0, 1, 258, -1, 65535}) EXPECT_EQ(engine().Initial(argument), 65533);
        EXPECT_EQ(engine().DeleteWorkingBuf(), 65533);
        EXPECT_EQ(Status(), status);
        EXPECT_TRUE(StagesOf(engine()) == before);
    }
}

TEST_F(EngineStateTest, DeleteWorkingBufOfTheEngineLeavesTheWorkingBuffer) {
    engine().Unit.FormatCode = 257;
    unsigned char pixels[3] = {};
    engine().Unit.CheckWorkingBuf(pixels, pixels, 1);
    EXPECT_EQ(engine().DeleteWorkingBuf(), 65533);
    EXPECT_NE(engine().Unit.WorkBuf, nullptr);
}

TEST_F(EngineStateTest, GetMft2LendsTheTagThatTheIntentSelects) {
    EXPECT_EQ(engine().GetMft2(), nullptr);
    ASSERT_EQ(Bind(Put("all.icc", {{"A2B2", Mft2(MarkedLut(0x300))},
                                   {"A2B1", MftAB(MarkedLut(0x200))},
                                   {"A2B0", Mft2(MarkedLut(0x100))}}),
                   0, 0, 8),
              0);
    EXPECT_EQ(engine().GetMft2(), engine().File.GetTag(TagName("A2B0")));
    // It reads the intent as it stands in the job.
    engine().Unit.Intent = IntentOf(1);
    EXPECT_EQ(engine().GetMft2(), engine().File.GetTag(TagName("A2B1")));
    engine().Unit.Intent = IntentOf(2);
    EXPECT_EQ(engine().GetMft2(), engine().File.GetTag(TagName("A2B2")));
    engine().File.Reset();
    EXPECT_EQ(engine().GetMft2(), nullptr);
}

TEST_F(EngineStateTest, ConstructEngineNeedsAProfileThatWasAskedFor) {
    FillTables(engine(), 77);
    EXPECT_EQ(engine().ConstructEngine(1.0, 2.0, 3.0), 65535);
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(77));

    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 12), 0);
    const Stages built = StagesOf(engine());
    FillTables(engine(), 77);
    EXPECT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 12);
    EXPECT_TRUE(StagesOf(engine()) == built);
    // The stage itself reports the encoding that it made, of which 12 is only another name.
    EXPECT_EQ(Status(), "12/8");

    engine().Reset();
    EXPECT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 65535);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(EngineStateTest, ConstructEngineAfterAFailedReadFindsNoTable) {
    ASSERT_EQ(Bind(dir_.File("absent.icc"), 0, 0, 8), 65531);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 65535);
}

TEST_F(EngineStateTest, ConstructEngineTakesTheAdjustment) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    EXPECT_EQ(engine().ConstructEngine(7.5, -3.0, 20.0), 10);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 7.5, -3.0, 20.0, 10));
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

TEST_F(EngineStateTest, InputColorSpace2RGBBuildsAllThreeStagesOrNothing) {
    FillTables(engine(), 5);
    EXPECT_EQ(engine().InputColorSpace2RGB(0.0, 0.0, 0.0), 65535);
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(5));

    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const Stages built = StagesOf(engine());
    FillTables(engine(), 5);
    engine().Lut1DInR.reset();
    EXPECT_EQ(engine().InputColorSpace2RGB(0.0, 0.0, 0.0), 10);
    EXPECT_TRUE(StagesOf(engine()) == built);
    engine().Unit.OutputSpace = Space(14);
    EXPECT_EQ(engine().InputColorSpace2RGB(0.0, 0.0, 0.0), 65535);
    EXPECT_EQ(Status(), "65535/65535");
}

}  // namespace
}  // namespace hueweave::test
