// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Each building stage by itself: what it leaves alone. And the two operations that run all three.
#include <tuple>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class SingleStageTest : public EngineTest {};

TEST_F(SingleStageTest, TheInputStageTouchesNeitherJobNorOtherTables) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10), 0);
    const Tables narrow = InputOf(engine());
    FillTables(engine(), 4);
    engine().Unit.BuildResult = 4711;
    for (const int input : {1, 0, 1, 6, 0}) {
        engine().Unit.InputSpace = Space(input);
        engine().Set1DLutIn(&Table(TagName("A2B0")));
        EXPECT_EQ(engine().InEntries, input == 1 ? 65536 : 256);
        if (input != 1) {
            EXPECT_TRUE(InputOf(engine()) == narrow) << "the tables before are gone";
        }
        EXPECT_EQ(engine().Unit.InputSpace, input);
        EXPECT_EQ(Status(), "10/4711");
        EXPECT_TRUE(GridOf(engine()) == PatternGrid(4));
        EXPECT_TRUE(OutputOf(engine()) == PatternOutput(4));
    }
}

TEST_F(SingleStageTest, TheOutputStageTouchesNeitherInputTablesNorTheRestOfTheJob) {
    for (const int input : {0, 1}) {
        ASSERT_EQ(Bind(PutSmooth(), 2, input, 10), 0);
        ASSERT_EQ(engine().Adjust_Lch(1.0, 2.0, 3.0), 10);
        const Tables tables = InputOf(engine());
        for (const int space : {8, 9, 22, 37, 14}) {
            engine().Unit.OutputSpace = Space(space);
            engine().Set1DLutOut(nullptr);
            EXPECT_TRUE(InputOf(engine()) == tables) << space;
            EXPECT_EQ(engine().Unit.ProfileState, 0);
            EXPECT_EQ(engine().Unit.InputSpace, input);
            EXPECT_EQ(engine().Unit.Intent, 2);
            EXPECT_EQ(engine().Unit.Lightness, 1);
            EXPECT_EQ(engine().Unit.Chroma, 2);
            EXPECT_EQ(engine().Unit.Hue, 3);
        }
    }
}

TEST_F(SingleStageTest, TheOutputStageFollowsTheSpaceAndNotTheInputEncoding) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    for (const int space : {8, 9, 10, 11, 22, 23, 34, 35, 36, 37, 38, 39}) {
        Tables ofBytes;
        for (const int input : {0, 1, 5, 65535}) {
            FillTables(engine(), 4);
            engine().Unit.InputSpace = Space(input);
            engine().Unit.OutputSpace = Space(space);
            engine().Set1DLutOut(&Table(TagName("A2B0")));
            if (input == 0) ofBytes = OutputOf(engine());
            EXPECT_TRUE(OutputOf(engine()) == ofBytes) << space << " " << input;
        }
    }
}

TEST_F(SingleStageTest, TheGridTakesTheWhiteOfTheProfileForTheAbsoluteIntentAlone) {
    ASSERT_EQ(
        Bind(Put("white.icc", {{"A2B1", Mft2(SmoothLut(5))}, {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)}}), 1, 0, 10),
        0);
    const CLut16Type& table = Table(TagName("A2B1"));
    const auto* white = dynamic_cast<const CXYZType*>(engine().File.GetTag(TagName("wtpt")));
    ASSERT_NE(white, nullptr);
    const Grid plain = ExpectedGrid(table, 2.0, 0, 0, 10);
    const Grid whited = ExpectedGrid(table, 2.0, 0, 0, 10, white);
    ASSERT_FALSE(plain == whited);
    for (const int intent : {0, 3, 1, 3, 2, 4, -1}) {
        engine().Unit.Intent = IntentOf(intent);
        engine().Set3DLut(&table, 2.0, 0.0, 0.0);
        EXPECT_TRUE(GridOf(engine()) == (intent == 3 ? whited : plain)) << intent;
    }
    engine().Unit.Intent = IntentOf(3);
    EXPECT_EQ(engine().ConstructEngine(2.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == whited);
    engine().Unit.Intent = IntentOf(1);
    EXPECT_EQ(engine().InputColorSpace2RGB(2.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == plain);
    engine().Unit.Intent = IntentOf(3);
    EXPECT_EQ(engine().InputColorSpace2RGB(2.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == whited);
}

TEST_F(SingleStageTest, AllStagesAreBuiltInEitherWidth) {
    for (const int input : {0, 1}) {
        for (const int space : {8, 9, 20, 37}) {
            ASSERT_EQ(Bind(PutSmooth(), 0, input, space), 0);
            const Stages built = StagesOf(engine());
            for (const bool construct : {true, false}) {
                FillTables(engine(), 5);
                engine().Lut1DInR.reset();
                engine().Lut1DInB.reset();
                EXPECT_EQ(construct ? engine().ConstructEngine(0, 0, 0) : engine().InputColorSpace2RGB(0, 0, 0), space);
                EXPECT_EQ(engine().InEntries, input == 1 ? 65536 : 256);
                EXPECT_TRUE(StagesOf(engine()) == built) << input << " " << space;
            }
        }
    }
}

/// Each subset of the three tables (bit n for "A2Bn") with each intent, given to the operations that build all stages.
class AllStagesTest : public EngineTest, public testing::WithParamInterface<std::tuple<int, int>> {
protected:
    /// The number of the table to be used, or -1.
    static int Expected() {
        const auto [present, intent] = GetParam();
        const int first = intent == 2 ? 2 : intent == 1 || intent == 3 ? 1 : 0;
        if ((present >> first & 1) != 0) return first;
        return (present >> 1 & 1) != 0 ? 1 : -1;
    }
};

TEST_P(AllStagesTest, ComeFromTheSelectedTable) {
    const auto [present, intent] = GetParam();
    MiniTags tags;
    for (int tag = 2; tag >= 0; --tag) {
        if ((present >> tag & 1) != 0) tags.emplace_back(kTableNames[tag], Mft2(MarkedLut(TableMark(tag))));
    }
    Bind(Put("subset.icc", tags), 0, 0, 11);
    const int tag = Expected();
    for (const bool construct : {true, false}) {
        engine().Unit.Intent = IntentOf(intent);
        engine().Unit.BuildResult = 4711;
        engine().Lut1DInR.reset();
        FillTables(engine(), 99);
        const int result =
            construct ? engine().ConstructEngine(1.0, 2.0, 3.0) : engine().InputColorSpace2RGB(1.0, 2.0, 3.0);
        EXPECT_EQ(result, tag < 0 ? 65535 : 11);
        EXPECT_EQ(Status(), tag < 0 ? "11/4711" : "11/11");
        if (tag < 0) {
            EXPECT_EQ(engine().GetMft2(), nullptr);
            EXPECT_EQ(engine().Lut1DInR, nullptr);
            EXPECT_TRUE(GridOf(engine()) == PatternGrid(99));
            EXPECT_TRUE(OutputOf(engine()) == PatternOutput(99));
            continue;
        }
        const Tables input = InputOf(engine());
        for (unsigned c = 0; c < 3; ++c) {
            EXPECT_TRUE(input[c] == std::vector<std::uint32_t>(256, Packed(TableMark(tag) + c))) << "channel " << c;
        }
        const auto& table = dynamic_cast<const CLut16Type&>(*engine().GetMft2());
        EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(table, 1.0, 2.0, 3.0, 11));
        EXPECT_EQ(engine().Lut1DOutB[40000], 40000U);
    }
}

INSTANTIATE_TEST_SUITE_P(EverySubsetAndIntent, AllStagesTest,
                         testing::Combine(testing::Range(0, 8), testing::Values(0, 1, 2, 3, 4, -1)));

}  // namespace
}  // namespace hueweave::test
