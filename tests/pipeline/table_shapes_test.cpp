// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <tuple>

#include "EnginePair.h"

namespace hueweave::test {
namespace {

/// Binds a profile of one table in both widths and takes pixels through it.
void ExpectSameForBothWidths(const LutContents& lut, int space8, int space16) {
    EnginePair pair({{"table.icc", ProfileBuilder().Mft2("A2B0", lut)}});
    pair.SetProfile("table.icc", 0, 1, space16);
    pair.Convert(PixelRun(1));
    pair.SetIntent(0, 0, space8);
    pair.Convert(PixelRun(0));
}

/// Entries and kind of curve.
using CurveCase = std::tuple<int, CurveKind>;

std::string CurveCaseName(const testing::TestParamInfo<CurveCase>& info) {
    return NameOf(std::get<1>(info.param)) + std::to_string(std::get<0>(info.param)) + "Entries";
}

class InputCurveTest : public testing::TestWithParam<CurveCase> {};

TEST_P(InputCurveTest, GivesTheReferencePixels) {
    LutShape shape;
    shape.points = 9;
    shape.inputEntries = std::get<0>(GetParam());
    shape.inputKind = std::get<1>(GetParam());
    ExpectSameForBothWidths(MakeLut(shape), 8, 23);
}

INSTANTIATE_TEST_SUITE_P(Counts, InputCurveTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 17, 256, 1024, 4096),
                                          testing::Values(CurveKind::Power, CurveKind::Random)),
                         CurveCaseName);
INSTANTIATE_TEST_SUITE_P(Kinds, InputCurveTest,
                         testing::Combine(testing::Values(2, 17, 4096),
                                          testing::Values(CurveKind::Ramp, CurveKind::Extremes, CurveKind::Falling)),
                         CurveCaseName);

class OutputCurveTest : public testing::TestWithParam<CurveCase> {};

TEST_P(OutputCurveTest, GivesTheReferencePixels) {
    LutShape shape;
    shape.inputEntries = 2;
    shape.outputEntries = std::get<0>(GetParam());
    shape.outputKind = std::get<1>(GetParam());
    ExpectSameForBothWidths(MakeLut(shape), 10, 25);
}

// The span of a curve is a little less than its step, so that steep curves leave 0 to 65535 and wrap around.
INSTANTIATE_TEST_SUITE_P(Counts, OutputCurveTest,
                         testing::Combine(testing::Values(0, 1, 2, 3, 5, 17, 256, 1024, 4096),
                                          testing::Values(CurveKind::Ramp, CurveKind::Power, CurveKind::Random)),
                         CurveCaseName);
INSTANTIATE_TEST_SUITE_P(Kinds, OutputCurveTest,
                         testing::Combine(testing::Values(2, 17, 4096),
                                          testing::Values(CurveKind::Extremes, CurveKind::Falling)),
                         CurveCaseName);

using GridCase = std::tuple<int, GridKind>;

class GridTest : public testing::TestWithParam<GridCase> {};

TEST_P(GridTest, GivesTheReferencePixels) {
    LutShape shape;
    shape.points = std::get<0>(GetParam());
    shape.grid = std::get<1>(GetParam());
    shape.inputEntries = 2;
    shape.outputEntries = 2;
    ExpectSameForBothWidths(MakeLut(shape), 20, 29);
}

// Shifts are made on the grid as the profile has it; only then is it resampled.
TEST_P(GridTest, ShiftedGivesTheReferencePixels) {
    LutShape shape;
    shape.points = std::get<0>(GetParam());
    shape.grid = std::get<1>(GetParam());
    shape.outputEntries = 17;
    EnginePair pair({{"grid.icc", ProfileBuilder().Mft2("A2B0", MakeLut(shape))}});
    pair.SetProfile("grid.icc", 0, 0, 8, 4.5, -7.25, 33.0);
    pair.AdjustLch(-12.0, 9.5, 300.0);
    pair.Convert(PixelRun(0));
}

std::string GridCaseName(const testing::TestParamInfo<GridCase>& info) {
    return NameOf(std::get<1>(info.param)) + std::to_string(std::get<0>(info.param)) + "Points";
}

INSTANTIATE_TEST_SUITE_P(Sizes, GridTest,
                         testing::Combine(testing::Values(2, 5, 9, 16, 17, 25, 33),
                                          testing::Values(GridKind::Scanner, GridKind::Extremes, GridKind::Falling)),
                         GridCaseName);
INSTANTIATE_TEST_SUITE_P(Kinds, GridTest,
                         testing::Combine(testing::Values(3, 17, 32),
                                          testing::Values(GridKind::Neutral, GridKind::Random)),
                         GridCaseName);

/// Input and output channels, and grid points.
using ChannelCase = std::tuple<int, int, int>;

class ChannelTest : public testing::TestWithParam<ChannelCase> {};

// A block's grid is a cube whatever its inputs; inputs that it lacks stand still, outputs that it lacks are 0.
TEST_P(ChannelTest, GivesTheReferencePixels) {
    const auto [inputs, outputs, points] = GetParam();
    LutShape shape{inputs, outputs, points, 17, 17};
    ExpectSameForBothWidths(MakeLut(shape), 12, 39);
    shape.inputEntries = 2;
    shape.outputEntries = 2;
    ExpectSameForBothWidths(MakeLut(shape), 34, 11);
}

std::string ChannelCaseName(const testing::TestParamInfo<ChannelCase>& info) {
    const auto [inputs, outputs, points] = info.param;
    return std::to_string(inputs) + "To" + std::to_string(outputs) + "At" + std::to_string(points);
}

INSTANTIATE_TEST_SUITE_P(Every, ChannelTest,
                         testing::Combine(testing::Values(0, 1, 2, 3), testing::Values(1, 2, 3, 4, 7),
                                          testing::Values(9)),
                         ChannelCaseName);
INSTANTIATE_TEST_SUITE_P(Some, ChannelTest,
                         testing::Values(ChannelCase(3, 2, 33), ChannelCase(3, 7, 33), ChannelCase(2, 4, 25),
                                         ChannelCase(3, 0, 17), ChannelCase(1, 6, 5)),
                         ChannelCaseName);

/// Tables that no engine can work with.
struct RefusedTable {
    const char* name;
    LutShape shape;
    std::size_t cut;  ///< bytes taken off the block's end
};

void PrintTo(const RefusedTable& row, std::ostream* out) { *out << row.name; }

class RefusedTableTest : public testing::TestWithParam<RefusedTable> {};

TEST_P(RefusedTableTest, LeavesTheEngineUnableToConvert) {
    Bytes block = EncodeMft2(MakeLut(GetParam().shape));
    block.resize(block.size() - GetParam().cut);
    EnginePair pair({{"table.icc", ProfileBuilder().Raw("A2B0", block).Mft2("A2B1", MakeLut({}))}});
    pair.SetProfile("table.icc", 0, 0, 8);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 65535);
    EXPECT_EQ(pair.Engine().Lut1DInR, nullptr);
    pair.Convert(PixelRun(0));
    pair.SetIntent(1, 0, 8);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 8);
    pair.SetIntent(0, 0, 8);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 65535);
    EXPECT_EQ(pair.Engine().Unit.BuildResult, 65535);
    pair.Convert(PixelRun(0));
    pair.AdjustLch(5, 0, 0);
    pair.AdjustOutput(Bytes(256, 9), Bytes(256, 8), Bytes(256, 7), 256);
}

INSTANTIATE_TEST_SUITE_P(
    Every, RefusedTableTest,
    testing::Values(RefusedTable{"FourInputs", {4, 3, 3, 2, 2}, 0}, RefusedTable{"EightOutputs", {3, 8, 3, 2, 2}, 0},
                    RefusedTable{"OnePoint", {3, 3, 1, 2, 2}, 0}, RefusedTable{"ThirtyFourPoints", {1, 1, 34, 2, 2}, 0},
                    RefusedTable{"LongInput", {1, 1, 2, 4097, 2}, 0}, RefusedTable{"LongOutput", {1, 1, 2, 2, 4097}, 0},
                    RefusedTable{"CutOff", {3, 3, 5, 2, 2}, 4}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(RefusedTableTest, AnyOtherTypeIsNoTableForAnEngine) {
    Bytes block = EncodeMft2(MakeLut({}));
    block[3] = '1';
    EnginePair pair({{"table.icc", ProfileBuilder().Raw("A2B0", block)}});
    pair.SetProfile("table.icc", 0, 1, 9);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, 65535);
}

}  // namespace
}  // namespace hueweave::test
