// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The output tables: how curves of a profile and of a caller are expanded, and how samples and runs go through.
#include "units/OutputTable33.h"

#include <gtest/gtest.h>

#include <climits>

#include "support/ReferenceUnits.h"
#include "unit/units/PlainLuts.h"
#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CLut8Type;

void ExpectCurvesAndTables(const OutputTable33& unit, const ReferenceOutputs& plain) {
    for (std::size_t c = 0; c < 7; ++c) {
        ExpectRow(unit.Curve[c], plain.curve[c], "curve " + std::to_string(c));
        ExpectRow(unit.Lut16[c], plain.table[c], "table " + std::to_string(c));
    }
}

std::unique_ptr<CLut16Type> OutputLut(int outputs, int entries, std::uint32_t seed) {
    LutShape shape;
    shape.outputs = outputs;
    shape.outputEntries = entries;
    return MakeLut(shape, seed);
}

struct Size {
    int outputs, entries;
    friend std::ostream& operator<<(std::ostream& out, const Size& size) {
        return out << size.outputs << " channels, " << size.entries << " entries";
    }
};

class ProfileCurves : public testing::TestWithParam<Size> {};

TEST_P(ProfileCurves, AreExpandedOnAllSevenChannels) {
    const auto lut = OutputLut(GetParam().outputs, GetParam().entries, 1);
    const auto unit = std::make_unique<OutputTable33>();
    unit->OutputMode = 5;
    EXPECT_EQ(unit->Initial(lut.get()), 0);
    ReferenceOutputs plain;
    plain.Load(PlainOf(*lut));
    EXPECT_EQ(unit->Channels, GetParam().outputs);
    EXPECT_EQ(unit->Entries, GetParam().entries < 3 ? 4096 : GetParam().entries);
    EXPECT_EQ(unit->Step, plain.step);
    EXPECT_EQ(unit->Span, plain.span);
    EXPECT_EQ(unit->OutputMode, 5);
    ExpectCurvesAndTables(*unit, plain);
    // A channel that the profile lacks ends in the identity curve's point of the last entry.
    for (int c = GetParam().outputs; c < 7; ++c) {
        EXPECT_EQ(unit->Lut16[c][65535], GetParam().entries < 3 ? 65535 : GetParam().entries - 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ProfileCurves,
                         testing::Values(Size{3, 0}, Size{3, 1}, Size{3, 2}, Size{7, 2}, Size{0, 2}, Size{3, 3},
                                         Size{1, 4}, Size{4, 5}, Size{6, 17}, Size{3, 255}, Size{3, 256}, Size{7, 257},
                                         Size{3, 4095}, Size{7, 4096}, Size{0, 16}));

TEST(OutputTable, ASecondLoadKeepsTheCurvesThatItDoesNotReach) {
    const auto wide = OutputLut(7, 300, 2), narrow = OutputLut(2, 5, 3);
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    for (const CLut16Type* lut : {wide.get(), narrow.get()}) {
        unit->Initial(lut);
        plain.Load(PlainOf(*lut));
    }
    ExpectCurvesAndTables(*unit, plain);
    EXPECT_EQ(unit->Lut16[6][65535], CurveEntry(wide->outputTable, 300, 6, 4)) << "the first load's point of entry 4";
}

TEST(OutputTable, AUselessCurveReplacesTheOneFromBefore) {
    const auto wide = OutputLut(5, 4096, 18), useless = OutputLut(4, 2, 19);
    wide->outputTable[0] = 777;
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    for (const CLut16Type* lut : {wide.get(), useless.get()}) {
        unit->Initial(lut);
        plain.Load(PlainOf(*lut));
    }
    ExpectCurvesAndTables(*unit, plain);
    EXPECT_EQ(unit->Curve[0][0], 0);
    EXPECT_EQ(unit->Curve[4][7], CurveEntry(wide->outputTable, 4096, 4, 7));
}

TEST(OutputTable, TheLutIsLeftAlone) {
    const auto lut = OutputLut(3, 16, 4), same = OutputLut(3, 16, 4);
    std::make_unique<OutputTable33>()->Initial(lut.get());
    EXPECT_TRUE(std::equal(lut->outputTable.get(), lut->outputTable.get() + 48, same->outputTable.get()));
    EXPECT_EQ(lut->outputEnt, 16);
}

TEST(OutputTable, APointOfTwoEntriesIsKeptUnclamped) {
    const auto lut = OutputLut(3, 2, 5);
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(lut.get());
    // 16 lies below the step: i is 0 and f is 16 / 15, so the value is 16 x 16 / 15 + 0.5, cut.
    int s[7] = {16, 16, 16, 16, 16, 16, 16};
    unit->Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (int c = 0; c < 7; ++c) EXPECT_EQ(s[c], c < 3 ? 17 : 1) << c;
    EXPECT_EQ(unit->Lut16[0][16], 17);
    // 15 of 15 is a whole step, one before the next curve point.
    EXPECT_EQ(unit->Lut16[0][15], 16);
    EXPECT_EQ(unit->Lut16[0][17], 17);
}

TEST(OutputTable, FractionsAboveOneOvershootBothWays) {
    const auto lut = OutputLut(2, 3, 6);
    const std::uint16_t curves[6] = {0, 65535, 0, 65535, 0, 65535};
    std::copy_n(curves, 6, lut->outputTable.get());
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(lut.get());
    EXPECT_EQ(unit->Step, 32767.5);
    // By hand: f runs up to 32767.5 / 21845.33 = 1.5, and a negative sum is cut toward zero.
    const int rows[][3] = {{0, 0, 65535},          {1, 3, 65532},     {16384, 49151, 16384},
                           {32767, 98300, -32764}, {32768, 65534, 1}, {65534, -32762, 98298}};
    for (const auto& row : rows) {
        EXPECT_EQ(unit->Lut16[0][row[0]], row[1]) << row[0];
        EXPECT_EQ(unit->Lut16[1][row[0]], row[2]) << row[0];
    }
    EXPECT_EQ(unit->Lut16[0][65535], 0);
    EXPECT_EQ(unit->Lut16[1][65535], 65535);
}

TEST(OutputTable, TwoHundredFiftySixEntriesHaveAStepOf257AndASpanOf256) {
    const auto lut = OutputLut(3, 256, 7);
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(lut.get());
    EXPECT_EQ(unit->Step, 257.0);
    EXPECT_EQ(unit->Span, 256.0);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(unit->Lut16[c][65535], CurveEntry(lut->outputTable, 256, c, 255));
        for (int n = 0; n < 255; ++n) {
            EXPECT_EQ(unit->Lut16[c][257 * n], CurveEntry(lut->outputTable, 256, c, n));
            // 256 of 256: the sample before the next point has its value already.
            EXPECT_EQ(unit->Lut16[c][257 * n + 256], CurveEntry(lut->outputTable, 256, c, n + 1));
        }
    }
}

TEST(OutputTable, InterpolationTakesEachValueThroughItsOwnCurve) {
    const auto lut = OutputLut(7, 33, 8);
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(lut.get());
    ReferenceOutputs plain;
    plain.Load(PlainOf(*lut));
    Scatter scatter(9);
    for (int round = 0; round < 2000; ++round) {
        PlainNode s{};
        for (int& value : s) value = scatter.Between(0, 65534);
        const PlainNode expected = plain.Points(s);
        unit->Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        ASSERT_EQ(s, expected);
    }
}

/// Takes the place of the interpolation and notes what it was given.
class SpiedOutput : public OutputTable33 {
public:
    int Interpolation(int& a, int& b, int& c, int& d, int& e, int& f, int& g) override {
        given.push_back({a, b, c, d, e, f, g});
        int value = a;
        for (int* sample : {&a, &b, &c, &d, &e, &f, &g}) *sample = ++value;
        return 99;
    }
    std::vector<PlainNode> given;
};

void ExpectSpied(const SpiedOutput& unit, bool allSeven) {
    ASSERT_EQ(unit.given.size(), 65535U);
    for (int v = 0; v < 65535; ++v) {
        const int rest = allSeven ? v : 0;
        ASSERT_EQ(unit.given[static_cast<std::size_t>(v)], (PlainNode{v, v, v, rest, rest, rest, rest}));
        for (int c = 0; c < 7; ++c) ASSERT_EQ(unit.Lut16[c][v], v + 1 + c);
    }
}

TEST(OutputTable, ExpansionGoesThroughTheVirtualInterpolation) {
    const auto profile = std::make_unique<SpiedOutput>(), bytes = std::make_unique<SpiedOutput>();
    const auto lut = OutputLut(3, 16, 10);
    EXPECT_EQ(profile->Initial(lut.get()), 0);
    ExpectSpied(*profile, true);
    const std::vector<unsigned char> points(256, 7);
    EXPECT_EQ(bytes->Initial(points.data(), points.data(), points.data(), 256), 0);
    ExpectSpied(*bytes, false);
}

class CallersCurves : public testing::TestWithParam<int> {};

TEST_P(CallersCurves, AreLaidOverTheCurvesAndExpanded) {
    const auto count = static_cast<std::size_t>(GetParam());
    std::vector<unsigned char> arrays[3];
    Scatter scatter(11);
    for (auto& array : arrays) {
        for (std::size_t i = 0; i < count; ++i) array.push_back(static_cast<unsigned char>(scatter.Between(0, 255)));
    }
    // Over the curves of a profile, the way an engine does.
    const auto lut = OutputLut(3, 40, 12);
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    unit->Initial(lut.get());
    plain.Load(PlainOf(*lut));
    unit->OutputMode = 3;
    EXPECT_EQ(unit->Initial(arrays[0].data(), arrays[1].data(), arrays[2].data(), GetParam()), 0);
    plain.Load(arrays[0], arrays[1], arrays[2]);
    ExpectCurvesAndTables(*unit, plain);
    EXPECT_EQ(unit->Step, 257.0);
    EXPECT_EQ(unit->Span, 256.0);
    EXPECT_EQ(unit->Channels, 3);
    EXPECT_EQ(unit->Entries, 40);
    EXPECT_EQ(unit->OutputMode, 3);
    for (int c = 0; c < 7; ++c) EXPECT_EQ(unit->Lut16[c][65535], c < 3 ? 65535 : 0) << c;
}

INSTANTIATE_TEST_SUITE_P(Counts, CallersCurves, testing::Values(0, 1, 2, 128, 255, 256, 257, 4096));

TEST(OutputTable, ARampOfBytesEndsInFullWhite) {
    std::vector<unsigned char> ramp;
    for (int i = 0; i < 256; ++i) ramp.push_back(static_cast<unsigned char>(i));
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(ramp.data(), ramp.data(), ramp.data(), 256);
    EXPECT_EQ(unit->Curve[2][255], 65280);
    EXPECT_EQ(unit->Lut16[2][65534], 65280) << "i is 254 and f is 256 / 256";
    EXPECT_EQ(unit->Lut16[2][65535], 65535);
}

TEST(OutputTable, ByteTablesLandInTheFirst256EntriesAlone) {
    for (int outputs = 0; outputs <= 7; ++outputs) {
        CLut8Type lut;
        lut.outputChan = static_cast<std::uint8_t>(outputs);
        lut.outputEnt = 256;
        lut.outputTable = std::make_unique<std::uint8_t[]>(7 * 256 + 8);
        Scatter scatter(13);
        for (std::size_t i = 0; i < 7 * 256; ++i) lut.outputTable[i] = static_cast<std::uint8_t>(scatter.Next() & 255);
        const auto unit = std::make_unique<OutputTable33>();
        unit->Step = 1.5;
        unit->Span = 2.5;
        unit->Channels = 9;
        unit->Entries = 10;
        unit->OutputMode = 11;
        ReferenceOutputs plain;
        for (std::size_t c = 0; c < static_cast<std::size_t>(outputs); ++c) {
            for (std::size_t i = 0; i < 256; ++i) plain.table[c][i] = lut.outputTable[c * 256 + i];
        }
        EXPECT_EQ(unit->Initial(&lut), 0);
        ExpectCurvesAndTables(*unit, plain);
        EXPECT_EQ(unit->Step, 1.5);
        EXPECT_EQ(unit->Span, 2.5);
        EXPECT_EQ(unit->Channels, 9);
        EXPECT_EQ(unit->Entries, 10);
        EXPECT_EQ(unit->OutputMode, 11);
    }
}

TEST(OutputTable, AByteTableWithoutCurvesChangesNothing) {
    CLut8Type lut;
    lut.outputChan = 3;
    lut.outputEnt = 256;
    const auto unit = std::make_unique<OutputTable33>();
    EXPECT_EQ(unit->Initial(&lut), 0);
    ExpectCurvesAndTables(*unit, ReferenceOutputs());
}

/// Tables that differ from channel to channel, with entries below 0 and above 65535.
std::unique_ptr<OutputTable33> ScatteredOutput(ReferenceOutputs& plain) {
    auto unit = std::make_unique<OutputTable33>();
    Scatter scatter(14);
    for (std::size_t c = 0; c < 7; ++c) {
        for (std::size_t i = 0; i < 65536; ++i) plain.table[c][i] = unit->Lut16[c][i] = scatter.Next() * 7 - 200000;
    }
    return unit;
}

TEST(OutputTable, OneColourTakesThreeTablesAndLeavesTheOtherFourSamples) {
    ReferenceOutputs plain;
    const auto unit = ScatteredOutput(plain);
    Scatter scatter(15);
    for (int round = 0; round < 3000; ++round) {
        unsigned short s[7];
        for (auto& sample : s) sample = static_cast<unsigned short>(round < 2 ? 65535 * round : scatter.Next());
        const std::vector<unsigned short> was(s, s + 7);
        unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (std::size_t c = 0; c < 7; ++c) {
            const int expected = c < 3 ? plain.table[c][was[c]] & 0xffff : was[c];
            ASSERT_EQ(s[c], expected) << c;
        }
    }
}

class OutputRun : public testing::TestWithParam<int> {};

TEST_P(OutputRun, WritesTheLowPartOfEachChannelsEntry) {
    ReferenceOutputs plain;
    const auto unit = ScatteredOutput(plain);
    constexpr int kPixels = 400;
    Job job(GetParam(), kPixels);
    std::vector<unsigned short> work(job.Work());
    Scatter scatter(16);
    for (auto& sample : work) sample = static_cast<unsigned short>(scatter.Next());
    work[0] = 0;
    work[1] = 65535;
    job.Work(work);
    std::vector<unsigned char> expected = job.dest;
    const std::vector<unsigned char> source = job.source;
    plain.Run(GetParam(), work, kPixels, expected);
    EXPECT_EQ(unit->Conversion(&job.info), 0);
    EXPECT_EQ(job.dest, expected);
    EXPECT_EQ(job.Work(), work);
    EXPECT_EQ(job.source, source);
    // Of the seven-channel codes, and of any that is none, nothing is written.
    const bool writes = (GetParam() >= 257 && GetParam() <= 262) || (GetParam() >= 513 && GetParam() <= 518);
    EXPECT_EQ(job.dest != std::vector<unsigned char>(job.dest.size(), Job::kMark), writes);
}

INSTANTIATE_TEST_SUITE_P(Codes, OutputRun,
                         testing::Values(257, 258, 259, 260, 261, 262, 263, 264, 513, 514, 515, 516, 517, 518, 519, 520,
                                         0, 1, 256, 265, 512, 521, 65534, 65535, -1, INT_MIN, INT_MAX));

TEST(OutputTable, RunsBelowOnePixelTouchNothing) {
    ReferenceOutputs plain;
    const auto unit = ScatteredOutput(plain);
    for (int count : {0, -1, INT_MIN}) {
        Job job(258, 2);
        job.info.PixelCount = count;
        EXPECT_EQ(unit->Conversion(&job.info), 0);
        EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark));
    }
}

TEST(OutputTable, TheByteOperationDoesNothing) {
    const auto unit = std::make_unique<OutputTable33>();
    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6};
    static_cast<Base&>(*unit).Conversion(data.data(), 2);
    EXPECT_EQ(data, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
    ExpectCurvesAndTables(*unit, ReferenceOutputs());
}

TEST(OutputTable, AResetRestoresTheIdentityAndLeavesTheOtherFields) {
    const auto lut = OutputLut(7, 16, 17);
    const auto unit = std::make_unique<OutputTable33>();
    unit->Initial(lut.get());
    unit->OutputCLR7_8();
    unit->ResetTable();
    ExpectCurvesAndTables(*unit, ReferenceOutputs());
    EXPECT_EQ(unit->OutputMode, 7);
    EXPECT_EQ(unit->Channels, 7);
    EXPECT_EQ(unit->Entries, 16);
    EXPECT_EQ(unit->Step, 65535.0 / 15);
    EXPECT_EQ(unit->Span, 4096.0);
}

}  // namespace
}  // namespace hueweave::test
