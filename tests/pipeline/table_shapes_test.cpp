// SPDX-License-Identifier: MIT
// Tables of every shape, as "mft2" and as "mAB " blocks, from the profile to the pixels.
#include "pipeline/EnginePair.h"

namespace hueweave::test {
namespace {

using enum CurveKind;

// The grid of a block is a cube whatever its number of inputs; a missing input stays constant, a missing output is 0.
// The span of an output curve is slightly less than its step, so that steep curves leave 0 to 65535 and wrap around.
const LutShape kShapes[] = {
    {.inputEntries = 0},
    {.inputEntries = 1},
    {.inputEntries = 2, .inputKind = Extremes},
    {.inputEntries = 3, .inputKind = Random},
    {.inputEntries = 17, .inputKind = Falling},
    {.inputEntries = 256, .inputKind = Random},
    {.inputEntries = 1024},
    {.inputEntries = 4096, .inputKind = Extremes},
    {.outputEntries = 0},
    {.outputEntries = 1},
    {.outputEntries = 2, .outputKind = Falling},
    {.outputEntries = 3, .outputKind = Random},
    {.outputEntries = 5, .outputKind = Power},
    {.outputEntries = 17, .outputKind = Extremes},
    {.outputEntries = 256, .outputKind = Random},
    {.outputEntries = 1024, .outputKind = Falling},
    {.outputEntries = 4096, .outputKind = Extremes},
    {.points = 2, .grid = GridKind::Extremes},
    {.points = 3, .grid = GridKind::Neutral},
    {.points = 5, .grid = GridKind::Falling},
    {.points = 9, .grid = GridKind::Extremes},
    {.points = 16},
    {.points = 17, .grid = GridKind::Random},
    {.points = 25, .grid = GridKind::Falling},
    {.points = 32, .grid = GridKind::Random},
    {.points = 33, .grid = GridKind::Extremes},
    {0, 1, 9, 17, 17},
    {0, 7, 9, 2, 2},
    {1, 2, 9, 17, 17},
    {1, 6, 5, 2, 2},
    {2, 3, 9, 2, 2},
    {2, 4, 25, 17, 17},
    {3, 0, 17, 17, 17},
    {3, 1, 9, 2, 2},
    {3, 2, 33, 17, 17},
    {3, 4, 9, 2, 2},
    {3, 7, 33, 17, 17},
};

TEST(CLut16TypeTest, GivesTheReferencePixels) {
    for (const LutShape& shape : kShapes) {
        SCOPED_TRACE(testing::Message() << shape.inputs << " to " << shape.outputs << " by " << shape.points << ", "
                                        << shape.inputEntries << " and " << shape.outputEntries << " entries");
        EnginePair pair({{"table.icc", ProfileBuilder().Mft2("A2B0", MakeLut(shape)).Build()}});
        pair.SetProfile("table.icc", 0, 1, 25);
        pair.Convert();
        pair.SetIntent(0, 0, 8);
        pair.Convert();
        // Shifts apply to the grid at the size in the profile; it is resampled afterwards.
        pair.AdjustLch(-12.0, 9.5, 300.0);
        pair.Convert();
    }
}

/// An "mAB " table, and whether an engine can work with it.
struct CurvedCase {
    std::string name;
    LutShape shape;
    CurveLayout layout = CurveLayout::Aligned;
    bool usable = true;
    bool aFirst = false;
};

void PrintTo(const CurvedCase& row, std::ostream* out) { *out << row.name; }

class CLutTest : public testing::TestWithParam<CurvedCase> {};

TEST_P(CLutTest, GivesTheReferencePixels) {
    const auto& [name, shape, layout, usable, aFirst] = GetParam();
    CurvedLutSpec lut = Curved(MakeLut(shape, shape.inputs), layout);
    lut.aFirst = aFirst;
    EnginePair pair({{"curved.icc", ProfileBuilder().MftAB("A2B2", lut).Build()}});
    pair.SetProfile("curved.icc", 2, 1, 9);
    EXPECT_EQ(pair.Real().Unit.OutputSpace, usable ? 9 : 65535);
    pair.Convert();
    pair.SetIntent(2, 0, 22);
    pair.Convert();
    pair.AdjustLch(-3.0, 5.0, 40.5);
    pair.Convert();
    // The tag stays in the profile, alone, whatever was built from it.
    EXPECT_EQ(pair.Real().File.tagList.size(), 1U);
    EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut*>(pair.Real().GetMft2()), nullptr);
}

LutShape ShapeOf(int inputs, int outputs, int points, int inputEntries, int outputEntries) {
    return {inputs, outputs, points, inputEntries, outputEntries, CurveKind::Power, CurveKind::Random};
}

const CurvedCase kCurvedCases[] = {
    // With an odd count the reader's step matches the format.
    {"OddCounts", ShapeOf(3, 3, 9, 17, 33)},
    {"OddLongCurves", ShapeOf(3, 3, 5, 1025, 4095)},
    {"OddThreeEntries", ShapeOf(3, 3, 17, 3, 3)},
    {"OddAFirst", ShapeOf(3, 3, 9, 17, 33), CurveLayout::Aligned, true, true},
    {"OddOneEntry", ShapeOf(3, 3, 9, 1, 1)},
    {"OddTwoInputs", ShapeOf(2, 3, 9, 17, 17)},
    {"OddOneInput", ShapeOf(1, 3, 17, 255, 3)},
    {"OddOneOutput", ShapeOf(3, 1, 9, 17, 17)},
    {"OddTwoOutputs", ShapeOf(3, 2, 16, 5, 5)},
    {"OddOneToOne", ShapeOf(1, 1, 33, 5, 5)},
    // With an even count it is off by two bytes: the second curve's count is huge and is cut to the block.
    {"EvenOneToOne", ShapeOf(1, 1, 17, 256, 256)},
    {"EvenTwoOutputs", ShapeOf(3, 2, 9, 17, 16)},
    // In the last set of the block the cut leaves the second curve one entry short of the first.
    {"EvenTwoInputs", ShapeOf(2, 1, 9, 16, 256), CurveLayout::Aligned, false},
    {"EvenTwoByTwo", ShapeOf(2, 2, 9, 256, 4), CurveLayout::Aligned, false},
    {"EvenTwoByTwoAFirst", ShapeOf(2, 2, 9, 256, 4), CurveLayout::Aligned, false, true},
    // The third curve then lies past the end of the block and has no entries.
    {"EvenThreeInputs", ShapeOf(3, 1, 9, 256, 17), CurveLayout::Aligned, false},
    {"EvenThreeOutputs", ShapeOf(3, 3, 9, 17, 256), CurveLayout::Aligned, false},
    {"EvenAll", ShapeOf(3, 3, 9, 256, 256), CurveLayout::Aligned, false},
    {"TwoEntriesEach", ShapeOf(3, 3, 9, 2, 2), CurveLayout::Aligned, false},
    // Even counts work when the curves are laid out at the reader's step.
    {"EvenStepped", ShapeOf(3, 3, 9, 256, 1024), CurveLayout::Stepped},
    {"LongestStepped", ShapeOf(3, 3, 5, 4096, 4096), CurveLayout::Stepped},
    {"TwoEntriesStepped", ShapeOf(3, 3, 17, 2, 2), CurveLayout::Stepped},
    {"MixedStepped", ShapeOf(3, 3, 33, 2, 17), CurveLayout::Stepped, true, true},
    // Without entries every curve is the identity, wherever the reader looks for the second and third.
    {"NoEntries", ShapeOf(3, 3, 9, 0, 0)},
    {"NoEntriesAFirst", ShapeOf(3, 3, 9, 0, 0), CurveLayout::Aligned, true, true},
    {"NoEntriesStepped", ShapeOf(3, 3, 25, 0, 0), CurveLayout::Stepped},
    {"NoInputEntries", ShapeOf(3, 3, 9, 0, 17)},
    {"NoOutputEntries", ShapeOf(3, 3, 9, 17, 0)},
    {"FourInputs", ShapeOf(4, 3, 3, 17, 17), CurveLayout::Stepped, false},
    {"FourOutputs", ShapeOf(3, 4, 5, 17, 17), CurveLayout::Stepped, false},
    {"OnePoint", ShapeOf(1, 3, 1, 17, 17), CurveLayout::Stepped, false},
    {"ThirtyFourPoints", ShapeOf(1, 3, 34, 17, 17), CurveLayout::Stepped, false},
    {"LongInput", ShapeOf(3, 3, 3, 4097, 17), CurveLayout::Stepped, false},
    {"LongOutput", ShapeOf(3, 3, 3, 17, 4097), CurveLayout::Stepped, false},
};

INSTANTIATE_TEST_SUITE_P(Every, CLutTest, testing::ValuesIn(kCurvedCases),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace hueweave::test
