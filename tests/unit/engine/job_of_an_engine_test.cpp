// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The parts of the job that no conversion needs: which call clears them, and which leaves them as they are.

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class EngineJobTest : public EngineTest {
protected:
    /// A run of two pixels of six channels in the job, and a mark in the field that nobody reads.
    void Occupy() {
        engine().Unit.Reset();
        engine().Unit.FormatCode = 262;
        ASSERT_EQ(engine().Unit.CheckWorkingBuf(pixels_, pixels_ + 1, 2), 0);
        engine().Unit.Spare = 7;
    }
    /// Binds `path` as it was bound before `Occupy` cleared it.
    void BindOccupied(const std::string& path, int intent, int input, int output) {
        ASSERT_EQ(Bind(path, intent, input, output), 0);
        const auto& unit = engine().Unit;
        const int state = unit.ProfileState;
        Occupy();
        engine().Unit.ProfileState = state;
        engine().Unit.InputSpace = Space(input);
        engine().Unit.OutputSpace = Space(output);
    }
    void ExpectOccupied() {
        const auto& unit = engine().Unit;
        EXPECT_EQ(unit.FormatCode, 262);
        EXPECT_NE(unit.WorkBuf, nullptr);
        EXPECT_EQ(unit.Source, pixels_);
        EXPECT_EQ(unit.Dest, pixels_ + 1);
        EXPECT_EQ(unit.PixelCount, 2);
        EXPECT_EQ(unit.WorkCount, 12);
        EXPECT_EQ(unit.Spare, 7);
    }
    void ExpectCleared() {
        const auto& unit = engine().Unit;
        EXPECT_EQ(unit.FormatCode, 65534);
        EXPECT_EQ(unit.WorkBuf, nullptr);
        EXPECT_EQ(unit.Source, nullptr);
        EXPECT_EQ(unit.Dest, nullptr);
        EXPECT_EQ(unit.PixelCount, 0);
        EXPECT_EQ(unit.WorkCount, 0);
        EXPECT_EQ(unit.Spare, 65535);
    }

    unsigned char pixels_[12] = {};
};

TEST_F(EngineJobTest, AProfileThatIsReadClearsTheRun) {
    const std::string path = PutSmooth();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(path, 1, 0, 8), 0);
    ExpectCleared();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(path, 0, 0, 14), 0);
    ExpectCleared();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(Put("none.icc", {}), 0, 0, 8), 0);
    ExpectCleared();
}

TEST_F(EngineJobTest, ACallThatFailsClearsTheRunToo) {
    const std::string path = PutSmooth();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(path, 0, 2, 8), 65530);
    ExpectCleared();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(dir_.File("absent.icc"), 0, 0, 8), 65531);
    ExpectCleared();
}

TEST_F(EngineJobTest, EveryOtherCallLeavesTheRun) {
    const std::string path = PutSmooth();
    BindOccupied(path, 0, 0, 8);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0) << "no change";
    ExpectOccupied();
    ASSERT_EQ(Rebind(1, 1, 9), 9);
    ExpectOccupied();
    ASSERT_EQ(Rebind(1, 1, 14), 65535);
    ASSERT_EQ(Rebind(0, 0, 8), 8);
    ExpectOccupied();
    ASSERT_EQ(engine().Adjust_Lch(4.0, 5.0, 6.0), 8);
    unsigned char curve[2] = {3, 200};
    ASSERT_EQ(engine().Adjust_Output(curve, curve, curve, 2), 8);
    ASSERT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 8);
    unsigned char pixel[3] = {1, 2, 3};
    ASSERT_EQ(engine().Conversion(pixel, pixel, 1), 0);
    ExpectOccupied();
}

TEST_F(EngineJobTest, AStoredSecondNameIsDroppedWhichIsAChange) {
    const std::string path = Put("a.icc", {{"A2B0", Mft2(MarkedLut(0x1111))}});
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    ASSERT_EQ(engine().Unit.CheckCurrentProfile(path.c_str(), "second"), 1);
    Put("a.icc", {{"A2B0", Mft2(MarkedLut(0x2222))}});
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_EQ(InputOf(engine())[0].at(0), Packed(0x2222));
    Put("a.icc", {{"A2B0", Mft2(MarkedLut(0x3333))}});
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(InputOf(engine())[0].at(0), Packed(0x2222)) << "from here on nothing changes";
}

TEST_F(EngineJobTest, ANullPathIsNoChangeWhereThereIsNoName) {
    // The three fields stored from elsewhere: the call finds nothing to do, and so looks at no file.
    ASSERT_EQ(Rebind(1, 0, 8), 65535);
    EXPECT_EQ(engine().SetProfile(nullptr, IntentOf(1), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().Unit.ProfileState, 65535);
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
    EXPECT_EQ(engine().SetProfile(nullptr, nullptr, IntentOf(1), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().SetProfile(nullptr, IntentOf(1), Space(0), Space(10), 0.0, 0.0, 0.0), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(EngineJobTest, AnUnchangedSetProfileLeavesTheResultOfTheBuild) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    ASSERT_EQ(Rebind(0, 0, 12), 12);
    ASSERT_EQ(Status(), "12/8");
    EXPECT_EQ(Bind(path, 0, 0, 12), 0);
    EXPECT_EQ(Status(), "12/8");
    engine().Unit.ProfileState = 4711;
    EXPECT_EQ(Bind(path, 0, 0, 12), 0);
    EXPECT_EQ(engine().Unit.ProfileState, 4711) << "nothing is stored at all";
}

TEST_F(EngineJobTest, ARefusedSpaceIsNoChangeForSetIntent) {
    // Unlike `SetProfile` it does not ask whether the engine can convert.
    ASSERT_EQ(Bind(PutSmooth(), 0, 1, 14), 0);
    ASSERT_EQ(Status(), "65535/65535");
    const Tables input = InputOf(engine());
    FillTables(engine(), 8);
    engine().Unit.BuildResult = 4711;
    EXPECT_EQ(Rebind(0, 1, 65535), 65535);
    EXPECT_EQ(Status(), "65535/4711");
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(8));
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(8));
    EXPECT_TRUE(InputOf(engine()) == input);
}

TEST_F(EngineJobTest, ACallThatFailsLeavesGridAndOutputTables) {
    const std::string path = PutSmooth();
    for (const int input : {0, 1}) {
        ASSERT_EQ(Bind(path, 0, input, 8), 0);
        FillTables(engine(), 8);
        EXPECT_EQ(Bind(path, 0, 7, 8), 65530);
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(8));
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(8));
        EXPECT_TRUE(InputOf(engine()) == Tables());
        ASSERT_EQ(Bind(path, 0, input, 8), 0);
        FillTables(engine(), 9);
        EXPECT_EQ(Bind(dir_.File("absent.icc"), 0, input, 8), 65531);
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(9));
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(9));
        EXPECT_TRUE(InputOf(engine()) == Tables());
    }
}

TEST_F(EngineJobTest, NoCallPrintsAnything) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    unsigned char pixels[6] = {};
    const std::string paths[] = {PutSmooth(), Put("none.icc", {}), Put("bytes.icc", {{"A2B0", Mft1()}}),
                                 dir_.File("absent.icc")};
    for (const std::string& path : paths) {
        for (const int input : {0, 1, 2}) {
            for (const int output : {8, 9, 14}) {
                Bind(path, 0, input, output);
                Rebind(1, input, output);
                engine().ConstructEngine(1.0, 2.0, 3.0);
                engine().InputColorSpace2RGB(1.0, 2.0, 3.0);
                engine().Adjust_Lch(4.0, 5.0, 6.0);
                engine().Adjust_Output(pixels, pixels, pixels, 6);
                engine().Conversion(pixels, pixels, 1);
            }
        }
    }
    engine().GetMft2();
    engine().Initial(0);
    engine().DeleteWorkingBuf();
    engine().Unit.FormatCode = 265;
    engine().Unit.CheckWorkingBuf(pixels, pixels, 2);
    engine().Unit.FormatCode = 257;
    engine().Unit.CheckWorkingBuf(pixels, pixels, -1);
    engine().Unit.CheckWorkingBuf(pixels, pixels, 2);
    engine().Unit.DeleteWorkingBuf();
    engine().Unit.CheckCurrentProfile(nullptr, nullptr);
    engine().Reset();
    engine_.reset();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(EngineJobTest, OffsetsThatAreNotFiniteCountAsZeroInEveryCall) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const CLut16Type& table = Table(TagName("A2B0"));
    const Grid plain = ExpectedGrid(table, 0, 0, 0, 10);
    const Grid turned = ExpectedGrid(table, 0, 0, 50.0, 10);
    for (const double odd : {kInfinity, -kInfinity, kNaN}) {
        FillTables(engine(), 8);
        EXPECT_EQ(engine().ConstructEngine(odd, odd, odd), 10);
        EXPECT_TRUE(GridOf(engine()) == plain) << odd;
        EXPECT_EQ(engine().ConstructEngine(odd, 0.0, 50.0), 10);
        EXPECT_TRUE(GridOf(engine()) == turned) << odd;
        EXPECT_EQ(engine().InputColorSpace2RGB(odd, odd, odd), 10);
        EXPECT_TRUE(GridOf(engine()) == plain) << odd;
        EXPECT_EQ(engine().InputColorSpace2RGB(0.0, odd, 50.0), 10);
        EXPECT_TRUE(GridOf(engine()) == turned) << odd;
        engine().Set3DLut(&table, odd, odd, odd);
        EXPECT_TRUE(GridOf(engine()) == plain) << odd;
        engine().Set3DLut(&table, odd, odd, 50.0);
        EXPECT_TRUE(GridOf(engine()) == turned) << odd;
    }
}

}  // namespace
}  // namespace hueweave::test
