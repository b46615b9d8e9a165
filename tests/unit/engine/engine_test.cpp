// SPDX-License-Identifier: MIT
// An engine's state: what a reset keeps, what SetIntent and the operations that build all stages
// make of a bound profile, and the fields of the job that the engine never uses.
#include <climits>
#include <filesystem>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class Engine : public EngineTest {
protected:
    /// Puts a run of two pixels of six channels into the job, which no operation of the engine needs.
    void Occupy() {
        engine().Unit.FormatCode = 262;
        ASSERT_EQ(engine().Unit.CheckWorkingBuf(nullptr, nullptr, 2), 0);
        engine().Unit.Spare = 7;
        ExpectRun({262, 1, 2, 12, 7});
    }
    /// Format code, whether there is a working buffer, its counts, and the spare field.
    void ExpectRun(const std::array<int, 5>& expected) {
        const auto& unit = engine().Unit;
        EXPECT_EQ(
            (std::array{unit.FormatCode, int{unit.WorkBuf != nullptr}, unit.PixelCount, unit.WorkCount, unit.Spare}),
            expected);
    }
    static constexpr std::array<int, 5> kNoRun{65534, 0, 0, 0, 65535};
};

TEST_F(Engine, ResetClearsOnlyInputTablesAndJob) {
    pair_.SetProfile("smooth.icc", 1, 0, 10);
    pair_.AdjustLch(3.0, 4.0, 5.0);
    Occupy();
    for (int call = 0; call < 2; ++call) {
        pair_.Reset();
        ExpectRun(kNoRun);
        EXPECT_STREQ(engine().Unit.ProfileName.get(), pair_.Path("smooth.icc").c_str());
        EXPECT_EQ(engine().File.tagList.size(), 2U);
    }
}

// SetIntent does not check whether a profile was bound: `ProfileState` stays unset.
TEST_F(Engine, SetIntentUsesTheProfileInMemoryAfterAReset) {
    pair_.SetProfile("smooth.icc", 1, 0, 10);
    pair_.Reset();
    FillTables(pair_, 5);
    EXPECT_EQ(pair_.SetIntent(1, 0, 10), 10);
    EXPECT_EQ(pair_.Construct(&CIccEngineS::ConstructEngine, 0.0, 0.0, 0.0), 65535) << "here it is asked";
}

TEST_F(Engine, AdjustmentsReturnNoSpaceAfterAReset) {
    pair_.SetProfile("smooth.icc", 1, 0, 10);
    pair_.Reset();
    EXPECT_EQ(pair_.AdjustLch(0.5, 0.0, 0.0), 65535) << "no change";
    EXPECT_EQ(pair_.AdjustLch(4.0, 0.0, 0.0), 65535) << "an unset space has the primaries of sRGB";
    EXPECT_EQ(pair_.AdjustOutput(Bytes{9}, Bytes{9}, Bytes{9}, 1), 65535);
    EXPECT_EQ(engine().Lut1DOutR[0], 9U * 256) << "an input encoding that is not chosen is not that of bytes";
}

TEST_F(Engine, ClearsTheRunWhenAProfileIsReadAndWhenThatFails) {
    const struct {
        const char* name;
        int intent, input, output, result;
    } rows[] = {{"smooth.icc", 1, 0, 8, 0},
                {"smooth.icc", 0, 0, 14, 0},
                {"smooth.icc", 0, 2, 8, 65530},
                {"absent.icc", 0, 0, 8, 65531}};
    for (const auto& [name, intent, input, output, result] : rows) {
        pair_.SetProfile("smooth.icc", 0, 0, 8);
        Occupy();
        pair_.SetProfile("smooth.icc", 0, 0, 8);  // no change
        pair_.SetIntent(1, 1, 9);
        pair_.AdjustLch(4.0, 5.0, 6.0);
        pair_.AdjustOutput({3, 200}, {3, 200}, {3, 200}, 2);
        pair_.Construct(&CIccEngineS::ConstructEngine, 0.0, 0.0, 0.0);
        pair_.Convert();
        engine().DeleteWorkingBuf();
        pair_.SetIntent(0, 0, 8);
        ExpectRun({262, 1, 2, 12, 7});
        EXPECT_EQ(pair_.SetProfile(name, intent, input, output), result);
        ExpectRun(kNoRun);
    }
}

TEST_F(Engine, RefusesOperationsThatAreNotImplemented) {
    for (const bool bound : {false, true}) {
        if (bound) pair_.SetProfile("smooth.icc", 0, 1, 9);
        FillTables(pair_, 3);
        for (const int argument : {0, 1, 258, -1, 65535}) EXPECT_EQ(engine().Initial(argument), 65533);
        EXPECT_EQ(engine().DeleteWorkingBuf(), 65533);
        pair_.ExpectSame();
        ExpectRun(kNoRun);
    }
}

// The operations that the exports call print nothing either: see the suite abi.
TEST_F(Engine, PrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    auto engine = std::make_unique<CIccEngineS>();
    for (const char* name : {"smooth.icc", "bytes.icc", "absent.icc"}) {
        engine->SetProfile(pair_.Path(name).c_str(), IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0);
        engine->ConstructEngine(1.0, 2.0, 3.0);
        engine->InputColorSpace2RGB(1.0, 2.0, 3.0);
        engine->GetMft2();
    }
    engine->Initial(0);
    engine->DeleteWorkingBuf();
    for (const int code : {265, 257}) {
        engine->Unit.FormatCode = code;
        for (const int count : {-1, 2}) engine->Unit.CheckWorkingBuf(nullptr, nullptr, count);
    }
    engine->Unit.DeleteWorkingBuf();
    engine->Reset();
    engine.reset();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

class ConstructEngine : public EngineTest {};

TEST_F(ConstructEngine, BuildsAllStagesOrNothing) {
    for (const auto build : {&CIccEngineS::ConstructEngine, &CIccEngineS::InputColorSpace2RGB}) {
        SCOPED_TRACE(build == &CIccEngineS::ConstructEngine ? "ConstructEngine" : "InputColorSpace2RGB");
        EnginePair pair(Profiles());
        CIccEngineS& engine = pair.Real();
        EXPECT_EQ(pair.Construct(build, 1.0, 2.0, 3.0), 65535);
        for (const auto& [input, space] : {std::pair{0, 8}, {0, 37}, {1, 9}, {1, 20}}) {
            pair.SetProfile("smooth.icc", 0, input, space);
            FillTables(pair, 5);
            engine.Lut1DInR.reset();
            engine.Lut1DInB.reset();
            EXPECT_EQ(pair.Construct(build, 0.0, 0.0, 0.0), space);
        }
        EXPECT_EQ(pair.Construct(build, 7.5, -3.0, 20.0), 20) << "nothing is stored";
        pair.SetIntent(0, 1, 12);
        EXPECT_EQ(pair.Construct(build, 0.0, 0.0, 0.0), 12);
        EXPECT_EQ(engine.Unit.BuildResult, 8) << "the encoding that it built, of which 12 is only an alias";
        for (const int space : {14, 65535}) {
            pair.SetIntent(0, 1, space);
            EXPECT_EQ(pair.Construct(build, 0.0, 0.0, 0.0), 65535);
        }
        pair.SetProfile("absent.icc", 0, 0, 8);
        EXPECT_EQ(pair.Construct(build, 0.0, 0.0, 0.0), 65535) << "no table after a failed read";
    }
}

class SetIntent : public EngineTest {};

TEST_F(SetIntent, StoresTheJobOnAnEmptyEngineAndFindsNoTable) {
    pair_.SetIntent(0, 65535, 65535);  // the job of an empty engine already
    EXPECT_EQ(pair_.SetIntent(2, 1, 21), 65535);
    EXPECT_EQ(engine().Unit.OutputSpace, 21);
    EXPECT_EQ(pair_.SetIntent(2, 1, 21), 21) << "unchanged";
    for (const int output : {0, 14, 32, 40, -5, 65534}) EXPECT_EQ(pair_.SetIntent(0, 0, output), 65535);
}

TEST_F(SetIntent, FindsNoTableOnAFailedEngineOrOneBoundWithoutTables) {
    for (const auto& [name, input] : {std::pair{"absent.icc", 0}, {"smooth.icc", 7}, {"none.icc", 0}}) {
        pair_.SetProfile("zero.icc", 0, 0, 8);
        pair_.SetProfile(name, 0, input, 8);
        EXPECT_EQ(pair_.SetIntent(1, 0, 10), 65535) << "the profile before is gone";
    }
}

TEST_F(SetIntent, RebuildsAllStagesFromMemoryForEachArgumentAlone) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    std::filesystem::remove(pair_.Path("smooth.icc"));
    const Bytes curve(256, 40);
    for (const auto& [intent, input, output] :
         {std::array{1, 0, 10}, {0, 1, 10}, {0, 0, 11}, {1, 1, 21}, {2, 1, 22}, {3, 1, 20}, {3, 0, 20}}) {
        SCOPED_TRACE(testing::Message() << intent << " " << input << " " << output);
        pair_.SetIntent(0, 0, 10);
        FillTables(pair_, 8);
        engine().Lut1DInG.reset();
        EXPECT_EQ(pair_.SetIntent(intent, input, output), output);
        // The same job rebuilds nothing.
        pair_.AdjustOutput(curve, curve, curve, 256);
        pair_.AdjustLch(1.5, 0.0, 0.0);
        pair_.SetIntent(intent, input, output);
        pair_.AdjustLch(0.0, 0.0, 0.0);
    }
}

TEST_F(SetIntent, IgnoresTheGivenAdjustmentAndTruncatesTheStoredOne) {
    pair_.SetProfile("smooth.icc", 0, 0, 10);
    pair_.SetIntent(1, 0, 10);
    pair_.AdjustLch(3.9, -4.9, 5.9);
    pair_.SetIntent(0, 0, 10);
    pair_.SetIntent(1, 0, 10);
}

TEST_F(SetIntent, TreatsAnyInputEncodingButOneAs8Bit) {
    pair_.SetProfile("smooth.icc", 0, 1, 8);
    for (const int encoding : {5, 4, 7, 8, 9, 65534, 65535, -1, INT_MIN, INT_MAX}) {
        SCOPED_TRACE(encoding);
        EXPECT_EQ(pair_.SetIntent(0, encoding, 8), 8);
        EXPECT_EQ(engine().InEntries, 256);
        pair_.Convert();
    }
}

TEST_F(SetIntent, RetriesARefusedSpaceAndAcceptsAnother) {
    const Bytes curve(256, 40);
    pair_.SetProfile("smooth.icc", 0, 0, 8);
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(pair_.SetIntent(0, 0, 14), 65535);
        FillTables(pair_, 2);
    }
    EXPECT_EQ(pair_.SetIntent(0, 0, 14), 65535);
    // Unlike `SetProfile`, it treats the space of an engine that cannot convert as unchanged.
    pair_.AdjustOutput(curve, curve, curve, 256);
    EXPECT_EQ(pair_.SetIntent(0, 0, 65535), 65535);
    EXPECT_EQ(pair_.SetIntent(0, 0, 8), 8);
}

}  // namespace
}  // namespace hueweave::test
