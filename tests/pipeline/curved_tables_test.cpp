// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "pipeline/EnginePair.h"

namespace hueweave::test {
namespace {

/// An "mAB " table, and whether an engine can work with it.
struct CurvedCase {
    std::string name;
    LutShape shape;
    CurveLayout layout = CurveLayout::Aligned;
    bool usable = true;
    bool aFirst = false;
};

void PrintTo(const CurvedCase& row, std::ostream* out) { *out << row.name; }

class CurvedTableTest : public testing::TestWithParam<CurvedCase> {};

CurvedLutSpec Table(const CurvedCase& row) {
    CurvedLutSpec lut = Curved(MakeLut(row.shape, row.shape.inputs), row.layout);
    lut.aFirst = row.aFirst;
    return lut;
}

TEST_P(CurvedTableTest, GivesTheReferencePixels) {
    EnginePair pair({{"curved.icc", ProfileBuilder().MftAB("A2B0", Table(GetParam()))}});
    pair.SetProfile("curved.icc", 0, 1, 9);
    EXPECT_EQ(pair.Engine().Unit.OutputSpace, GetParam().usable ? 9 : 65535);
    pair.Convert();
    pair.SetIntent(0, 0, 22);
    pair.Convert();
    pair.AdjustLch(-3.0, 5.0, 40.5);
    pair.Convert();
    // The tag stays with the profile, whatever was made of it.
    EXPECT_NE(dynamic_cast<ICC40::ICCFILE::CLut*>(pair.Engine().GetMft2()), nullptr);
}

LutShape ShapeOf(int inputs, int outputs, int points, int inputEntries, int outputEntries) {
    return {inputs, outputs, points, inputEntries, outputEntries, CurveKind::Power, CurveKind::Random};
}

const CurvedCase kCurvedCases[] = {
    // With an odd count the reader's step is the format's.
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
    // With an even count it goes off by two bytes: the second curve's count comes out huge and is cut to the block.
    {"EvenOneToOne", ShapeOf(1, 1, 17, 256, 256)},
    {"EvenTwoOutputs", ShapeOf(3, 2, 9, 17, 16)},
    // In the last set of the block the cut leaves the second curve one entry short of the first.
    {"EvenTwoInputs", ShapeOf(2, 1, 9, 16, 256), CurveLayout::Aligned, false},
    {"EvenTwoByTwo", ShapeOf(2, 2, 9, 256, 4), CurveLayout::Aligned, false},
    {"EvenTwoByTwoAFirst", ShapeOf(2, 2, 9, 256, 4), CurveLayout::Aligned, false, true},
    // The third curve then lies behind the block's end and has no entries.
    {"EvenThreeInputs", ShapeOf(3, 1, 9, 256, 17), CurveLayout::Aligned, false},
    {"EvenThreeOutputs", ShapeOf(3, 3, 9, 17, 256), CurveLayout::Aligned, false},
    {"EvenAll", ShapeOf(3, 3, 9, 256, 256), CurveLayout::Aligned, false},
    {"TwoEntriesEach", ShapeOf(3, 3, 9, 2, 2), CurveLayout::Aligned, false},
    // Laid out as the reader steps, even counts work.
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

INSTANTIATE_TEST_SUITE_P(Every, CurvedTableTest, testing::ValuesIn(kCurvedCases),
                         [](const auto& row) { return row.param.name; });

/// Binds the table and tells whether the engine could use it; pixels must be the reference's either way.
bool Works(const CurvedLutSpec& lut) {
    EnginePair pair({{"curved.icc", ProfileBuilder().MftAB("A2B2", lut)}});
    pair.SetProfile("curved.icc", 2, 1, 29);
    pair.Convert();
    return pair.Engine().Unit.OutputSpace == 29;
}

/// One change of a sound table, and whether an engine can work with it then.
struct Change {
    const char* name;
    bool works;
    void (*make)(CurvedLutSpec&);
};

constexpr Change kChanges[] = {
    {"the reverse type", false, [](CurvedLutSpec& lut) { lut.type = "mBA "; }},
    {"M curves, which take no part", true,
     [](CurvedLutSpec& lut) {
         for (int c = 0; c < 3; ++c) lut.mCurves.push_back(MakeCurve(CurveKind::Falling, 17, c, 9));
     }},
    {"longer curves, which are cut to the first", true,
     [](CurvedLutSpec& lut) {
         lut.aCurves[1] = MakeCurve(CurveKind::Random, 33, 1, 4);
         lut.bCurves[2] = MakeCurve(CurveKind::Random, 255, 2, 4);
     }},
    {"a shorter A curve", false, [](CurvedLutSpec& lut) { lut.aCurves[1].resize(15); }},
    {"a shorter B curve", false, [](CurvedLutSpec& lut) { lut.bCurves[2].resize(7); }},
    {"no A curves", false, [](CurvedLutSpec& lut) { lut.aCurves.clear(); }},
    {"no B curves", false, [](CurvedLutSpec& lut) { lut.bCurves.clear(); }},
    {"no grid", false, [](CurvedLutSpec& lut) { lut.hasGrid = false; }},
    {"no bytes a value", false, [](CurvedLutSpec& lut) { lut.precision = 0; }},
    {"one byte a value", false, [](CurvedLutSpec& lut) { lut.precision = 1; }},
    {"three bytes a value", false, [](CurvedLutSpec& lut) { lut.precision = 3; }},
    // The first axis speaks for all: a grid longer on the others is read from its start, a shorter one is refused.
    {"longer second and third axes", true,
     [](CurvedLutSpec& lut) {
         lut.gridPoints = {3, 7, 5};
         lut.grid.resize(3 * 7 * 5 * 3, 1234);
     }},
    {"a shorter third axis", false, [](CurvedLutSpec& lut) { lut.gridPoints[2] = 4; }},
    {"a grid that the block does not hold", false, [](CurvedLutSpec& lut) { lut.gridPoints.fill(33); }},
};

TEST(CurvedTablesTest, AreTakenOrRefusedAfterEachChange) {
    for (const auto& [name, works, make] : kChanges) {
        SCOPED_TRACE(name);
        CurvedLutSpec lut = Curved(MakeLut(ShapeOf(3, 3, 5, 17, 9)), CurveLayout::Aligned);
        make(lut);
        EXPECT_EQ(Works(lut), works);
    }
}

}  // namespace
}  // namespace hueweave::test
