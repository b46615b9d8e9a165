// SPDX-License-Identifier: MIT
// An engine's state: its initial state, what a reset keeps, what SetIntent and the operations that build all stages
// make of a bound profile, and the fields of the job that the engine never uses.
#include <climits>
#include <filesystem>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class Engine : public EngineTest {
protected:
    void ExpectEmptyJob() {
        const auto& unit = engine().Unit;
        EXPECT_EQ(unit.ProfileState, 65535);
        EXPECT_EQ(unit.InputSpace, 65535);
        EXPECT_EQ(unit.OutputSpace, 65535);
        ExpectRun(kNoRun);
        EXPECT_EQ(Lch(), (std::array{0, 0, 0}));
        EXPECT_EQ(InputOf(engine()), Tables());
        EXPECT_EQ(engine().Shift, 12);
    }

    /// The parts of the job that no operation of the engine needs: format code, whether there is a working buffer, its
    /// counts, and the spare field.
    using Run = std::array<int, 5>;
    static constexpr Run kNoRun{65534, 0, 0, 0, 65535}, kRun{262, 1, 2, 12, 7};
    /// Puts a run of two pixels of six channels into the job.
    void Occupy() {
        engine().Unit.FormatCode = 262;
        ASSERT_EQ(engine().Unit.CheckWorkingBuf(nullptr, nullptr, 2), 0);
        engine().Unit.Spare = 7;
        ExpectRun(kRun);
    }
    void ExpectRun(const Run& expected) {
        const auto& unit = engine().Unit;
        EXPECT_EQ((Run{unit.FormatCode, unit.WorkBuf != nullptr, unit.PixelCount, unit.WorkCount, unit.Spare}),
                  expected);
    }
};

TEST_F(Engine, StartsEmpty) {
    ExpectEmptyJob();
    EXPECT_EQ(engine().Unit.BuildResult, 65535);
    EXPECT_EQ(engine().Unit.Intent, 0);
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_TRUE(engine().File.tagList.empty());
}

TEST_F(Engine, KeepsAllButInputTablesAndJobInAReset) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 1, 0, 10), 0);
    engine().Adjust_Lch(3.0, 4.0, 5.0);
    Occupy();
    const Stages before = StagesOf(engine());
    for (int call = 0; call < 2; ++call) {
        engine().Reset();
        ExpectEmptyJob();
        EXPECT_EQ(engine().Unit.BuildResult, 10);
        EXPECT_EQ(engine().Unit.Intent, 1);
        EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
        EXPECT_EQ(engine().File.tagList.size(), 2U);
        ExpectStages(StagesOf(engine()), {{}, before.grid, before.output});
    }
}

TEST_F(Engine, ServesSetIntentFromTheProfileInMemoryAfterAReset) {
    // SetIntent does not check whether a profile was bound: `ProfileState` stays unset.
    ASSERT_EQ(Bind(PutSmooth(), 1, 0, 10), 0);
    const Stages built = StagesOf(engine());
    engine().Reset();
    Fill(5);
    EXPECT_NE(engine().GetMft2(), nullptr);
    EXPECT_EQ(Rebind(1, 0, 10), 10);
    EXPECT_EQ(Status(), "10/10");
    EXPECT_EQ(engine().Unit.ProfileState, 65535);
    ExpectStages(StagesOf(engine()), built);
    EXPECT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 65535) << "here it is asked";
}

TEST_F(Engine, AnswersAdjustmentsWithNoSpaceAfterAReset) {
    ASSERT_EQ(Bind(PutSmooth(), 1, 0, 10), 0);
    engine().Reset();
    Fill(5);
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 65535);
    ExpectFilled(5);  // zero offsets change nothing after a reset
    EXPECT_EQ(engine().Adjust_Lch(4.0, 0.0, 0.0), 65535);
    ExpectGrid(ExpectedGrid(kA2B1, 10, {4.0, 0, 0}));  // an unset space has the primaries of sRGB
    unsigned char curve[1] = {9};
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 1), 65535);
    EXPECT_EQ(engine().Lut1DOutR[0], 9U * 256) << "an input encoding that is not chosen is not that of bytes";
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(Engine, ClearsTheRunWhenAProfileIsReadAndWhenThatFails) {
    const std::string path = PutSmooth(), absent = dir_.File("absent.icc");
    const struct {
        const std::string& path;
        int intent, input, output, result;
    } rows[] = {{path, 1, 0, 8, 0}, {path, 0, 0, 14, 0}, {path, 0, 2, 8, 65530}, {absent, 0, 0, 8, 65531}};
    for (const auto& row : rows) {
        ASSERT_EQ(Bind(path, 0, 0, 8), 0);
        Occupy();
        ASSERT_EQ(Bind(path, 0, 0, 8), 0) << "no change";
        Rebind(1, 1, 9);
        engine().Adjust_Lch(4.0, 5.0, 6.0);
        unsigned char bytes[6] = {3, 200};
        engine().Adjust_Output(bytes, bytes, bytes, 2);
        engine().ConstructEngine(0.0, 0.0, 0.0);
        engine().Conversion(bytes, bytes, 1);
        engine().DeleteWorkingBuf();
        Rebind(0, 0, 8);
        ExpectRun(kRun);
        ASSERT_EQ(Bind(row.path, row.intent, row.input, row.output), row.result);
        ExpectRun(kNoRun);
    }
}

TEST_F(Engine, RefusesOperationsThatAreNotImplemented) {
    for (const bool bound : {false, true}) {
        if (bound) {
            ASSERT_EQ(Bind(PutSmooth(), 0, 1, 9), 0);
        }
        const Stages before = StagesOf(engine());
        const std::string status = Status();
        for (const int argument : {0, 1, 258, -1, 65535}) EXPECT_EQ(engine().Initial(argument), 65533);
        EXPECT_EQ(engine().DeleteWorkingBuf(), 65533);
        EXPECT_EQ(Status(), status);
        ExpectStages(StagesOf(engine()), before);
    }
}

// The operations that the exports call print nothing either: see the suite abi.
TEST_F(Engine, PrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    unsigned char pixels[6] = {};
    for (const std::string& path : {PutSmooth(), Put("bytes.icc", {{"A2B0", Mft1()}}), dir_.File("absent.icc")}) {
        Bind(path, 0, 0, 8);
        engine().ConstructEngine(1.0, 2.0, 3.0);
        engine().InputColorSpace2RGB(1.0, 2.0, 3.0);
        engine().GetMft2();
    }
    engine().Initial(0);
    engine().DeleteWorkingBuf();
    for (const int code : {265, 257}) {
        engine().Unit.FormatCode = code;
        for (const int count : {-1, 2}) engine().Unit.CheckWorkingBuf(pixels, pixels, count);
    }
    engine().Unit.DeleteWorkingBuf();
    engine().Reset();
    engine_.reset();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// ConstructEngine and InputColorSpace2RGB.

TEST_F(Engine, ConstructsAllStagesOrNothing) {
    for (const bool construct : {true, false}) {
        SCOPED_TRACE(construct ? "ConstructEngine" : "InputColorSpace2RGB");
        engine_ = MakeEngine();
        const auto build = [&](const Offsets& by) {
            return construct ? engine().ConstructEngine(by[0], by[1], by[2])
                             : engine().InputColorSpace2RGB(by[0], by[1], by[2]);
        };
        Fill(5);
        EXPECT_EQ(build({1.0, 2.0, 3.0}), 65535);
        ExpectFilled(5);
        for (const auto& [input, space] : {std::pair{0, 8}, {0, 37}, {1, 9}, {1, 20}}) {
            ASSERT_EQ(Bind(PutSmooth(), 0, input, space), 0);
            const Stages built = StagesOf(engine());
            Fill(5);
            engine().Lut1DInR.reset();
            engine().Lut1DInB.reset();
            EXPECT_EQ(build({}), space);
            ExpectStages(StagesOf(engine()), built);
        }
        EXPECT_EQ(build({7.5, -3.0, 20.0}), 20);
        ExpectGrid(ExpectedGrid(kA2B0, 20, {7.5, -3.0, 20.0}));
        EXPECT_EQ(Lch(), (std::array{0, 0, 0})) << "nothing is stored";
        // The stage itself reports the encoding that it built, of which 12 is only an alias.
        engine().Unit.OutputSpace = Space(12);
        EXPECT_EQ(build({}), 12);
        EXPECT_EQ(Status(), "12/8");
        engine().Unit.OutputSpace = Space(14);
        EXPECT_EQ(build({}), 65535);
        EXPECT_EQ(Status(), "65535/65535");
        // After a failed read there is no table.
        ASSERT_EQ(Bind(dir_.File("absent.icc"), 0, 0, 8), 65531);
        EXPECT_EQ(engine().Unit.ProfileState, 0);
        EXPECT_EQ(build({}), 65535);
        EXPECT_EQ(engine().Lut1DInR, nullptr);
    }
}

class SetIntent : public EngineTest {};

TEST_F(SetIntent, StoresTheJobOnAnEmptyEngineAndFindsNoTable) {
    Fill(9);
    EXPECT_EQ(Rebind(0, 65535, 65535), 65535) << "the job of an empty engine already";
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(Rebind(2, 1, 21), 65535);
    EXPECT_EQ(Status(), "21/65535");
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().Unit.Intent, 2);
    EXPECT_EQ(engine().Unit.ProfileState, 65535);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    ExpectFilled(9);
    EXPECT_EQ(Rebind(2, 1, 21), 21) << "unchanged";
    for (const int output : {0, 14, 32, 40, -5, 65534}) {
        EXPECT_EQ(Rebind(0, 0, output), 65535);
        EXPECT_EQ(engine().Unit.OutputSpace, output);
    }
}

TEST_F(SetIntent, FindsNoTableOnAFailedEngineOrOneBoundWithoutTables) {
    const struct {
        std::string path;
        int input, result;
    } rows[] = {{dir_.File("absent.icc"), 0, 65531},
                {PutSmooth(), 7, 65530},
                {Put("none.icc", {{"wtpt", WhiteBlock()}}), 0, 0}};
    for (const auto& row : rows) {
        ASSERT_EQ(Bind(PutSmooth("before.icc"), 0, 0, 8), 0);
        ASSERT_EQ(Bind(row.path, 0, row.input, 8), row.result);
        EXPECT_EQ(Rebind(1, 0, 10), 65535) << "the profile before is gone";
        EXPECT_EQ(Status(), "10/65535");
        EXPECT_EQ(engine().Lut1DInR, nullptr);
    }
}

TEST_F(SetIntent, RebuildsAllStagesFromMemoryForEachArgumentAlone) {
    const std::string path = PutSmooth();
    const int jobs[][3] = {{1, 0, 10}, {0, 1, 10}, {0, 0, 11}, {1, 1, 21}, {2, 1, 22}, {3, 1, 20}, {3, 0, 20}};
    std::vector<Stages> direct;
    for (const auto& job : jobs) direct.push_back(Bound(path, job[0], job[1], job[2]));
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    std::filesystem::remove(path);
    for (std::size_t i = 0; i < direct.size(); ++i) {
        const auto& [intent, input, output] = jobs[i];
        SCOPED_TRACE(testing::Message() << intent << " " << input << " " << output);
        Rebind(0, 0, 10);
        Fill(8);
        engine().Lut1DInG.reset();
        EXPECT_EQ(Rebind(intent, input, output), output);
        EXPECT_EQ(Status(), std::to_string(output) + "/" + std::to_string(output));
        ExpectStages(StagesOf(engine()), direct[i]);
        EXPECT_EQ(engine().Unit.ProfileState, 0);
        // The same job rebuilds nothing.
        Fill(8);
        engine().Unit.BuildResult = 4711;
        EXPECT_EQ(Rebind(intent, input, output), output);
        EXPECT_EQ(engine().Unit.BuildResult, 4711);
        ExpectFilled(8);
    }
}

TEST_F(SetIntent, NamesTheEncodingThatWasMadeAsTheResult) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    for (const auto& [space, status] : {std::pair{12, "12/8"}, {13, "13/9"}}) {
        EXPECT_EQ(Rebind(0, 0, space), space);
        EXPECT_EQ(Status(), status);
    }
}

TEST_F(SetIntent, IgnoresTheGivenAdjustment) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    EXPECT_EQ(engine().SetIntent(IntentOf(1), Space(0), Space(10), 20.0, 30.0, 40.0), 10);
    ExpectGrid(ExpectedGrid(kA2B1, 10));
    EXPECT_EQ(Lch(), (std::array{0, 0, 0}));
}

TEST_F(SetIntent, LosesTheFractionOfTheStoredAdjustment) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    ASSERT_EQ(engine().Adjust_Lch(3.9, -4.9, 5.9), 10);
    const Grid whole = ExpectedGrid(kA2B1, 10, {3.0, -4.0, 5.0});
    ASSERT_NE(whole, ExpectedGrid(kA2B1, 10, {3.9, -4.9, 5.9}));
    ASSERT_EQ(Rebind(1, 0, 10), 10);
    ExpectGrid(whole);
    EXPECT_EQ(Lch(), (std::array{3, -4, 5}));
}

TEST_F(SetIntent, TakesAnyInputEncodingButOneForBytes) {
    const std::string path = PutSmooth();
    const Tables bytes = Bound(path, 0, 0, 8).input;
    ASSERT_EQ(Bind(path, 0, 1, 8), 0);
    for (const int encoding : {5, 4, 7, 8, 9, 65534, 65535, -1, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(encoding);
        EXPECT_EQ(Rebind(0, encoding, 8), 8);
        EXPECT_EQ(engine().Unit.InputSpace, encoding);
        EXPECT_EQ(engine().InEntries, 256);
        ExpectTables(InputOf(engine()), bytes);
        Bytes pixels = SomePixels(2, false), untouched(6, 7);
        const Bytes expected = ReferenceRun(engine(), pixels);
        EXPECT_EQ(engine().Conversion(pixels.data(), untouched.data(), 2), 0);
        EXPECT_THAT(pixels, EqualsBytes(expected));
        EXPECT_EQ(untouched, Bytes(6, 7));
    }
}

TEST_F(SetIntent, TriesARefusedSpaceAgainAndCanLeaveIt) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    EXPECT_EQ(Rebind(0, 0, 14), 65535);
    EXPECT_EQ(Status(), "65535/65535");
    Fill(2);
    EXPECT_EQ(Rebind(0, 0, 14), 65535);
    EXPECT_NE(OutputOf(engine()), PatternOutput(2));
    // Unlike `SetProfile`, it treats the space of an engine that cannot convert as unchanged.
    Fill(2);
    engine().Unit.BuildResult = 4711;
    EXPECT_EQ(Rebind(0, 0, 65535), 65535);
    EXPECT_EQ(Status(), "65535/4711");
    ExpectFilled(2);
    EXPECT_EQ(Rebind(0, 0, 8), 8);
    EXPECT_EQ(Status(), "8/8");
}

TEST_F(SetIntent, LeavesTheTablesBeforeWithoutATable) {
    ASSERT_EQ(Bind(Put("zero.icc", {{"A2B0", kA2B0}}), 0, 0, 10), 0);
    const Stages before = StagesOf(engine());
    EXPECT_EQ(Rebind(2, 1, 9), 65535);
    EXPECT_EQ(Status(), "9/10");
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().InEntries, 256);
    ExpectStages(StagesOf(engine()), before);
}

}  // namespace
}  // namespace hueweave::test
