// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The order in which a job is looked at, and what a second call finds.
#include <cmath>
#include <limits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class BindingEdgesTest : public EngineTest {
protected:
    /// A profile of one table whose input curves tell its mark.
    std::string PutMarked(const std::string& name, unsigned mark) {
        return Put(name, {{"A2B0", Mft2(MarkedLut(mark))}});
    }
    /// Whether the engine took in the file anew: its input curves then are those of the later mark.
    bool SeesMark(unsigned mark) { return InputOf(engine())[0].at(0) == Packed(mark); }
};

TEST_F(BindingEdgesTest, ARefusedSpaceReadsTheFileEachTime) {
    for (const int space : {14, 65535}) {
        const std::string path = PutMarked("a.icc", 0x1111);
        ASSERT_EQ(Bind(path, 0, 0, space), 0);
        ASSERT_EQ(Status(), "65535/65535");
        EXPECT_TRUE(SeesMark(0x1111));
        PutMarked("a.icc", 0x2222);
        EXPECT_EQ(Bind(path, 0, 0, space), 0);
        EXPECT_TRUE(SeesMark(0x2222)) << space;
    }
}

TEST_F(BindingEdgesTest, AStoredEncodingThatSetProfileWouldRefuseCountsAsUnchanged) {
    const std::string path = PutMarked("a.icc", 0x1111);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    ASSERT_EQ(Rebind(0, 5, 8), 8);
    PutMarked("a.icc", 0x2222);
    // The test for a change comes before the test of the encoding.
    EXPECT_EQ(Bind(path, 0, 5, 8), 0);
    EXPECT_EQ(Status(), "8/8");
    EXPECT_TRUE(SeesMark(0x1111));
    // Any difference leads past it.
    EXPECT_EQ(Bind(path, 1, 5, 8), 65530);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(BindingEdgesTest, EachFieldOfTheJobAloneIsAChange) {
    const int jobs[][3] = {{1, 0, 8}, {0, 1, 8}, {0, 0, 9}, {0, 0, 12}};
    for (const auto& job : jobs) {
        const std::string path = PutMarked("a.icc", 0x1111);
        ASSERT_EQ(Bind(path, 0, 0, 8), 0);
        Put("a.icc", {{"A2B0", Mft2(MarkedLut(0x2222))}, {"A2B1", Mft2(MarkedLut(0x2222))}});
        EXPECT_EQ(Bind(path, job[0], job[1], job[2]), 0);
        EXPECT_TRUE(SeesMark(0x2222)) << job[0] << " " << job[1] << " " << job[2];
        // Back to the first job: a change again.
        PutMarked("a.icc", 0x3333);
        EXPECT_EQ(Bind(path, 0, 0, 8), 0);
        EXPECT_TRUE(SeesMark(0x3333));
    }
}

TEST_F(BindingEdgesTest, AnotherPathAndBackReadsTwice) {
    const std::string first = PutMarked("a.icc", 0x1111);
    const std::string second = PutMarked("b.icc", 0x2222);
    ASSERT_EQ(Bind(first, 0, 0, 8), 0);
    ASSERT_EQ(Bind(second, 0, 0, 8), 0);
    EXPECT_TRUE(SeesMark(0x2222));
    PutMarked("a.icc", 0x3333);
    ASSERT_EQ(Bind(first, 0, 0, 8), 0);
    EXPECT_TRUE(SeesMark(0x3333));
}

TEST_F(BindingEdgesTest, TheNameSurvivesAReset) {
    const std::string path = PutMarked("a.icc", 0x1111);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    engine().Reset();
    // The same path, but no output space any more: everything is built again.
    EXPECT_EQ(engine().Unit.CheckCurrentProfile(path.c_str(), nullptr), 0);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(Status(), "8/8");
    EXPECT_TRUE(SeesMark(0x1111));
}

TEST_F(BindingEdgesTest, AfterAResetTheProfileInMemoryStillServesSetIntent) {
    // Nobody asks there whether a profile was bound: `ProfileState` stays unset.
    ASSERT_EQ(Bind(PutSmooth(), 1, 0, 10), 0);
    const Stages built = StagesOf(engine());
    engine().Reset();
    FillTables(engine(), 5);
    EXPECT_NE(engine().GetMft2(), nullptr);
    EXPECT_EQ(Rebind(1, 0, 10), 10);
    EXPECT_EQ(Status(), "10/10");
    EXPECT_EQ(engine().Unit.ProfileState, 65535);
    EXPECT_TRUE(StagesOf(engine()) == built);
    EXPECT_EQ(engine().ConstructEngine(0.0, 0.0, 0.0), 65535) << "here it is asked";
}

TEST_F(BindingEdgesTest, AfterAResetTheAdjustmentsAnswerThatNoSpaceIsChosen) {
    ASSERT_EQ(Bind(PutSmooth(), 1, 0, 10), 0);
    engine().Reset();
    FillTables(engine(), 5);
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 65535);
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(5)) << "no change of what a reset leaves";
    EXPECT_EQ(engine().Adjust_Lch(4.0, 0.0, 0.0), 65535);
    // A space that is not chosen has the primaries of sRGB.
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 4.0, 0, 0, 10));
    unsigned char curve[1] = {9};
    EXPECT_EQ(engine().Adjust_Output(curve, curve, curve, 1), 65535);
    EXPECT_EQ(engine().Lut1DOutR[0], 9U * 256) << "an input encoding that is not chosen is not that of bytes";
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(BindingEdgesTest, ANullPathAfterAFailureIsRefusedAgain) {
    const auto bindNull = [&] { return engine().SetProfile(nullptr, IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0); };
    EXPECT_EQ(bindNull(), 65531);
    EXPECT_EQ(bindNull(), 65531);
    EXPECT_EQ(Bind(PutMarked("a.icc", 0x1111), 0, 0, 8), 0);
    EXPECT_EQ(bindNull(), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(BindingEdgesTest, InputEncodingsAreTakenWithoutSign) {
    const std::string path = PutMarked("a.icc", 0x1111);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(Bind(path, 0, 1, 8), 0);
    for (const int input : {2, 3, 5, 65535, std::numeric_limits<int>::max(), std::numeric_limits<int>::min(), -1}) {
        EXPECT_EQ(Bind(path, 0, input, 8), 65530) << input;
    }
}

TEST_F(BindingEdgesTest, SetIntentBuildsAllThreeStagesInEitherWidth) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    for (const int input : {1, 0, 7}) {
        for (const int intent : {0, 1, 2, 3}) {
            FillTables(engine(), 0x77);
            const int output = intent % 2 == 0 ? 22 : 20;
            ASSERT_EQ(Rebind(intent, input, output), output);
            const auto direct = MakeEngine();
            direct->SetProfile(PutSmooth().c_str(), IntentOf(intent), Space(input == 1 ? 1 : 0), Space(output), 0, 0,
                               0);
            EXPECT_TRUE(StagesOf(engine()) == StagesOf(*direct)) << input << " " << intent;
        }
    }
}

/// Which of the three offsets: 0 lightness, 1 chroma, 2 hue.
class OffsetLimitTest : public EngineTest, public testing::WithParamInterface<std::size_t> {
protected:
    bool Rebuilds(double value) {
        FillTables(engine(), 6);
        double offsets[3] = {};
        offsets[GetParam()] = value;
        EXPECT_EQ(engine().Adjust_Lch(offsets[0], offsets[1], offsets[2]), 10);
        const Grid grid = GridOf(engine());
        if (grid == PatternGrid(6)) return false;
        EXPECT_TRUE(grid == ExpectedGrid(Table(TagName("A2B0")), offsets[0], offsets[1], offsets[2], 10)) << value;
        return true;
    }
    int Stored() const {
        const auto& unit = engine_->Unit;
        return std::array{unit.Lightness, unit.Chroma, unit.Hue}[GetParam()];
    }
};

TEST_P(OffsetLimitTest, AWholeUnitIsAChangeAndWhatLiesBelowIsNone) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const double below = std::nextafter(1.0, 0.0);
    for (const double value : {below, -below, 0.0, -0.0, 0.5}) EXPECT_FALSE(Rebuilds(value)) << value;
    EXPECT_TRUE(Rebuilds(1.0));
    EXPECT_EQ(Stored(), 1);
    EXPECT_FALSE(Rebuilds(std::nextafter(2.0, 0.0)));
    EXPECT_TRUE(Rebuilds(2.0));
    EXPECT_TRUE(Rebuilds(-1.0));
    EXPECT_EQ(Stored(), -1);
    EXPECT_FALSE(Rebuilds(std::nextafter(-2.0, 0.0)));
    EXPECT_TRUE(Rebuilds(-2.0));
    EXPECT_TRUE(Rebuilds(-below)) << "back to a fraction of the first unit, which is then built";
    EXPECT_EQ(Stored(), 0);
}

TEST_P(OffsetLimitTest, TheOthersAreComparedToo) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    ASSERT_EQ(engine().Adjust_Lch(3.0, 4.0, 5.0), 10);
    // Two of the three go back to nothing.
    EXPECT_TRUE(Rebuilds(3.0 + static_cast<double>(GetParam())));
    EXPECT_FALSE(Rebuilds(3.0 + static_cast<double>(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Offsets, OffsetLimitTest, testing::Values(0U, 1U, 2U), [](const auto& param) {
    return std::string(param.param == 0 ? "Lightness" : param.param == 1 ? "Chroma" : "Hue");
});

/// What each way into the grid makes of a shift by nothing: the nodes go through untouched, and their chroma is not
/// cut, as a shift of any size would cut it.
TEST_F(BindingEdgesTest, AShiftByNothingIsNoShift) {
    MiniLut lut = SmoothLut(3);
    lut.grid = ScatteredGrid(3, 99);
    const std::string path = Put("wide.icc", {{"A2B0", Mft2(lut)}});
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    const CLut16Type& table = Table(TagName("A2B0"));
    const Grid plain = ExpectedGrid(table, 0, 0, 0, 10);
    const auto tiny = std::numeric_limits<double>::denorm_min();
    EXPECT_TRUE(GridOf(engine()) == plain);
    engine().Set3DLut(&table, -0.0, 0.0, -0.0);
    EXPECT_TRUE(GridOf(engine()) == plain);
    for (const auto& offsets : {std::array{tiny, 0.0, 0.0}, std::array{0.0, -tiny, 0.0}, std::array{0.0, 0.0, tiny}}) {
        engine().Set3DLut(&table, offsets[0], offsets[1], offsets[2]);
        EXPECT_FALSE(GridOf(engine()) == plain);
        EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(table, offsets[0], offsets[1], offsets[2], 10));
    }
}

}  // namespace
}  // namespace hueweave::test
