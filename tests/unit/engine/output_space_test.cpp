// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <limits>

#include "support/ReferencePipeline.h"
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

bool Supported(int space) {
    return (space >= 8 && space <= 13) || (space >= 20 && space <= 31) || (space >= 34 && space <= 39);
}

int ResultOf(int space) {
    if (!Supported(space)) return 65535;
    return space == 12 ? 8 : space == 13 ? 9 : space;
}

Tables ExpectedOutput(int space) { return OutputStage(space).tables; }

std::vector<int> EverySpace() {
    std::vector<int> spaces;
    for (int space = 0; space <= 41; ++space) spaces.push_back(space);
    for (const int space : {-1, 256, 65534, 65535, 65536 + 8, std::numeric_limits<std::int32_t>::min()}) {
        spaces.push_back(space);
    }
    return spaces;
}

class OutputSpaceTest : public EngineTest, public testing::WithParamInterface<int> {};

TEST_P(OutputSpaceTest, Set1DLutOutFillsTheTablesAndSettlesTheStatus) {
    const int space = GetParam();
    FillTables(engine(), 0xdeadbeef);
    engine().Unit.OutputSpace = Space(space);
    engine().Set1DLutOut(nullptr);
    EXPECT_EQ(engine().Unit.OutputSpace, Supported(space) ? space : 65535);
    EXPECT_EQ(engine().Unit.BuildResult, ResultOf(space));
    EXPECT_TRUE(OutputOf(engine()) == ExpectedOutput(space));
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(0xdeadbeef));
}

TEST_P(OutputSpaceTest, SetProfileAnswersZeroAndLeavesTheSpaceOrARefusal) {
    const int space = GetParam();
    EXPECT_EQ(Bind(PutSmooth(), 0, 0, space), 0);
    EXPECT_EQ(engine().Unit.OutputSpace, Supported(space) ? space : 65535);
    EXPECT_EQ(engine().Unit.BuildResult, Supported(space) ? space : 65535);
    EXPECT_EQ(engine().InEntries, 256) << "the input tables are built in either case";
    EXPECT_NE(engine().Lut1DInR, nullptr);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 0, 0, 0, space));
    EXPECT_TRUE(OutputOf(engine()) == ExpectedOutput(space));
}

TEST_P(OutputSpaceTest, SetIntentAnswersTheSpaceOrARefusal) {
    const int space = GetParam();
    ASSERT_EQ(Bind(PutSmooth(), 1, 1, 9), 0);
    EXPECT_EQ(Rebind(0, 1, space), Supported(space) ? space : 65535);
    EXPECT_EQ(engine().Unit.OutputSpace, Supported(space) ? space : 65535);
    EXPECT_EQ(engine().Unit.BuildResult, ResultOf(space));
    EXPECT_TRUE(OutputOf(engine()) == ExpectedOutput(space));
}

INSTANTIATE_TEST_SUITE_P(Every, OutputSpaceTest, testing::ValuesIn(EverySpace()));

class OutputTablesTest : public EngineTest {
protected:
    Tables Build(int space) {
        engine().Unit.OutputSpace = Space(space);
        engine().Set1DLutOut(nullptr);
        return OutputOf(engine());
    }
};

TEST_F(OutputTablesTest, LinearSixteenBitTablesMapEachValueToItself) {
    for (const int space : {11, 21, 25, 29, 15, 65535}) {
        const Tables tables = Build(space);
        for (std::uint32_t v = 0; v < 65536; ++v) {
            ASSERT_EQ(tables[0][v], v) << space;
            ASSERT_EQ(tables[1][v], v) << space;
            ASSERT_EQ(tables[2][v], v) << space;
        }
    }
}

TEST_F(OutputTablesTest, LinearEightBitTablesAreTheSameRampShiftedBy8) {
    for (const int space : {10, 20, 24, 28}) {
        const Tables tables = Build(space);
        for (std::uint32_t v = 0; v < 65536; ++v) {
            ASSERT_EQ(tables[0][v], v >> 8) << space;
            ASSERT_EQ(tables[1][v], v >> 8) << space;
            ASSERT_EQ(tables[2][v], v >> 8) << space;
        }
    }
}

TEST_F(OutputTablesTest, SpacesThatShareATable) {
    EXPECT_TRUE(Build(8) == Build(12));
    EXPECT_TRUE(Build(9) == Build(13));
    EXPECT_TRUE(Build(22) == Build(26));
    EXPECT_TRUE(Build(22) == Build(30));
    EXPECT_TRUE(Build(23) == Build(27));
    EXPECT_TRUE(Build(23) == Build(31));
    // One table for each row of the list, no two of them alike.
    const int rows[] = {8, 9, 10, 11, 22, 23, 34, 35, 36, 37, 38, 39};
    std::vector<Tables> tables;
    for (const int space : rows) tables.push_back(Build(space));
    for (std::size_t a = 0; a < tables.size(); ++a) {
        for (std::size_t b = 0; b < a; ++b) EXPECT_FALSE(tables[a] == tables[b]) << rows[a] << " and " << rows[b];
    }
}

TEST_F(OutputTablesTest, SamplesKeepToTheWidthOfTheirSpace) {
    for (int space = 8; space < 40; ++space) {
        if (!Supported(space)) continue;
        const Tables tables = Build(space);
        const bool bytes = space % 2 == 0 || space == 37;
        for (const auto& table : tables) {
            const std::uint32_t top = *std::max_element(table.begin(), table.end());
            EXPECT_LE(top, bytes ? 255U : 65535U) << space;
            EXPECT_GE(top, bytes ? 254U : 65000U) << space;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
