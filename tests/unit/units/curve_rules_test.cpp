// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Input and output curves: what is read and what is not, what is stored, and where the last sample lies.
#include <gtest/gtest.h>

#include "engine/CIccEngineS.h"
#include "support/ReferenceUnits.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::InputTable43;
using ICC40::ICC_UNIT::OutputTable33;

/// One point at each sample of a curve of two entries, 4 samples apart.
template <typename Unit>
void ExpectSixteenBitsOf(int rows) {
    struct Row {
        int low, high, at, result;
    };
    // Cut toward zero after one half was added, then the low 16 bits.
    const Row table[] = {{-3, -3, 0, 65534},        // -2.5
                         {-1, -1, 0, 0},            // -0.5
                         {-10, -20, 2, 65522},      // -14.5
                         {65535, 65535, 0, 65535},  //
                         {65536, 65536, 0, 0},      //
                         {70000, 70008, 2, 4468},   // 70004.5
                         {65535, 65536, 2, 0}};     // 65536
    for (const Row& row : table) {
        for (int c = 0; c < rows; ++c) {
            const auto unit = std::make_unique<Unit>();
            unit->LUT_Step = 4.0;
            unit->Curve[c][0] = row.low;
            unit->Curve[c][1] = row.high;
            unsigned short s[7];
            std::fill_n(s, 7, static_cast<unsigned short>(row.at));
            unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
            for (int each = 0; each < rows; ++each) EXPECT_EQ(s[each], each == c ? row.result : 0) << row.low;
        }
    }
}

TEST(InputCurveResults, AreStoredInSixteenBits) {
    ExpectSixteenBitsOf<InputTable33>(3);
    ExpectSixteenBitsOf<InputTable34>(3);
    ExpectSixteenBitsOf<InputTable36>(3);
    ExpectSixteenBitsOf<InputTable37>(3);
    ExpectSixteenBitsOf<InputTable43>(4);
}

TEST(InputCurveResults, AtTheLastSampleAreTheLastEntry) {
    for (const int entries : {2, 3, 5, 17, 100, 256, 1000, 1024, 4095, 4096}) {
        const auto lut = MakeLut({.inputs = 4, .inputEntries = entries}, 61);
        const auto four = std::make_unique<InputTable43>();
        four->Initial(lut.get());
        unsigned short s[7] = {65535, 65535, 65535, 65535, 65535, 65535, 65535};
        four->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (int c = 0; c < 4; ++c) EXPECT_EQ(s[c], CurveEntry(lut->inputTable, entries, c, entries - 1)) << entries;
        if (entries == 2) continue;  // the identity of the others
        lut->inputChan = 3;
        const auto three = std::make_unique<InputTable33>();
        three->Initial(lut.get(), Space(1));
        unsigned short t[7] = {65535, 65535, 65535, 65535, 65535, 65535, 65535};
        three->Conversion(t[0], t[1], t[2], t[3], t[4], t[5], t[6]);
        for (int c = 0; c < 3; ++c) EXPECT_EQ(t[c], CurveEntry(lut->inputTable, entries, c, entries - 1)) << entries;
    }
}

/// Counts up the four samples that no curve belongs to.
class CountingTable : public InputTable33 {
public:
    using InputTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short&, unsigned short&, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        for (unsigned short* sample : {&d, &e, &f, &g}) {
            inOrder = inOrder && *sample == calls;
            ++*sample;
        }
        a = 5;
        ++calls;
        return 0;
    }
    int calls = 0;
    bool inOrder = true;
};

TEST(InputExpansion, ClearsItsFurtherSamplesOnceAndNotForEachValue) {
    const auto table = std::make_unique<CountingTable>();
    table->Initial(MakeLut({.inputEntries = 3}).get(), Space(1));
    EXPECT_EQ(table->calls, 65535);
    EXPECT_TRUE(table->inOrder);
    EXPECT_EQ(table->Lut16[0][65534], 5);
    EXPECT_EQ(table->Lut16[1][65534], 65534) << "set to the value each time";
}

TEST(UselessCurves, OfTheInputAreNotRead) {
    for (const int entries : {0, 1, 2}) {
        const auto lut = MakeLut({.inputEntries = entries});
        lut->inputTable.reset();
        lut->clutTable.reset();
        lut->outputTable.reset();
        const auto table = std::make_unique<InputTable33>();
        EXPECT_EQ(table->Initial(lut.get(), Space(1)), 0);
        for (const auto& row : table->Lut16) ExpectRow(row, Ramp(65536), "Lut16");
    }
}

TEST(UselessCurves, OfTheOutputAreNotRead) {
    for (const int entries : {0, 1, 2}) {
        const auto lut = MakeLut({.outputs = 7, .outputEntries = entries});
        lut->inputTable.reset();
        lut->clutTable.reset();
        lut->outputTable.reset();
        const auto table = std::make_unique<OutputTable33>();
        EXPECT_EQ(table->Initial(lut.get()), 0);
        EXPECT_EQ(table->Entries, 4096);
        for (const auto& row : table->Curve) ExpectRow(row, Ramp(4096, 16), "Curve");
        EXPECT_EQ(table->Lut16[6][65535], 65535);
    }
}

TEST(UselessCurves, OfNoChannelLeaveTheTables) {
    const auto table = std::make_unique<InputTable33>();
    std::fill_n(&table->Lut16[0][0], 3 * 65536, 99);
    std::fill_n(&table->Curve[0][0], 3 * 4096, 98);
    EXPECT_EQ(table->Initial(MakeLut({.inputs = 0, .inputEntries = 2}).get(), Space(1)), 0);
    EXPECT_EQ(table->LUT_Step, 16.003663003663004);
    for (const auto& row : table->Lut16) ExpectRow(row, ConstantRow(65536, 99), "Lut16");
    for (const auto& row : table->Curve) ExpectRow(row, ConstantRow(4096, 98), "Curve");
}

TEST(InputCopies, TakeSixteenBitsOverEight) {
    const auto lut = MakeLut({.inputEntries = 9}, 62);
    const auto source = std::make_unique<InputTable33>();
    source->Initial(lut.get(), Space(3));
    for (const auto& make : {+[] { return std::unique_ptr<InputTable33>(std::make_unique<InputTable33>()); },
                             +[] { return std::unique_ptr<InputTable33>(std::make_unique<InputTable34>()); },
                             +[] { return std::unique_ptr<InputTable33>(std::make_unique<InputTable36>()); },
                             +[] { return std::unique_ptr<InputTable33>(std::make_unique<InputTable37>()); }}) {
        const auto copy = make();
        const std::string name = copy->UnitName;
        copy->Initial(lut.get(), Space(0));
        copy->Curve[0][0] = 1234;
        EXPECT_EQ(copy->Initial(source.get()), 0);
        EXPECT_EQ(copy->Bits, 16) << name;
        EXPECT_EQ(copy->Curve[0][0], 1234) << name;
        EXPECT_EQ(copy->UnitName, name);
        for (std::size_t c = 0; c < 3; ++c) ExpectRow(copy->Lut16[c], RowOf(source->Lut16[c], 65536), name);
    }
}

TEST(FourInputCurves, WithoutChannelsStay) {
    const auto table = std::make_unique<InputTable43>();
    for (auto& row : table->Curve) std::fill_n(row, 4096, 97);
    EXPECT_EQ(table->Initial(MakeLut({.inputs = 0, .inputEntries = 5}).get()), 0);
    EXPECT_EQ(table->LUT_Step, 16383.75);
    for (const auto& row : table->Curve) ExpectRow(row, ConstantRow(4096, 97), "Curve");
}

TEST(InputCurveResults, AreZeroBehindTheLastPlaceOfARow) {
    const auto table = std::make_unique<InputTable33>();
    table->LUT_Step = 15.0;
    for (auto& curve : table->Curve) std::fill(std::begin(curve), std::end(curve), 700);
    // Place 4095 begins at 61425, and would end at 61440.
    for (const auto& [sample, expected] : {std::pair{61425, 700}, {61439, 47}, {61440, 0}, {61455, 0}, {65535, 0}}) {
        std::array<unsigned short, 7> s{};
        s.fill(static_cast<unsigned short>(sample));
        table->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(s[c], expected) << sample;
    }
}

TEST(OutputInterpolation, CountsWhatWouldComeAfterAFullRowAsZero) {
    const auto unit = std::make_unique<OutputTable33>();
    unit->Step = unit->Span = 16.0;
    for (auto& curve : unit->Curve) curve[4095] = 1600;
    PlainNode s{};
    s.fill(65535);  // 15 of 16 steps behind the last entry: a sixteenth of it is left, 100
    unit->Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (const int value : s) EXPECT_EQ(value, 100);
}

TEST(OutputInterpolation, TakesStepAndSpanAsTheyStand) {
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    Scatter scatter(63);
    for (std::size_t c = 0; c < 7; ++c) {
        for (std::size_t n = 0; n < 4096; ++n) plain.curve[c][n] = unit->Curve[c][n] = scatter.Next() * 3 - 60000;
    }
    struct Row {
        double step, span;
    };
    for (const Row& row : {Row{16.25, 15.0}, Row{16.25, 16.25}, Row{100.0, 37.5}, Row{257.0, 256.0},
                           Row{65536.0, 40000.0}, Row{30000.5, -20000.0}}) {
        plain.step = unit->Step = row.step;
        plain.span = unit->Span = row.span;
        for (int n = 0; n < 3000; ++n) {
            PlainNode s{};
            for (int& value : s) value = n < 2 ? 65535 * n : scatter.Next();
            const PlainNode expected = plain.Points(s);
            unit->Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
            ASSERT_EQ(s, expected) << row.step << " " << row.span;
        }
        EXPECT_EQ(unit->Step, row.step);
        EXPECT_EQ(unit->Span, row.span);
    }
}

TEST(OutputMode, IsReadByNobody) {
    const auto lut = MakeLut({.outputs = 7, .outputEntries = 17}, 64);
    const auto plain = std::make_unique<OutputTable33>();
    plain->Initial(lut.get());
    for (const int mode : {1, 2, 3, 4, 5, 6, 7, 99, -1}) {
        const auto unit = std::make_unique<OutputTable33>();
        unit->OutputMode = mode;
        unit->Initial(lut.get());
        for (const int code : {257, 258, 260, 261, 263, 513, 516, 518, 520}) {
            Job job(code, 3), same(code, 3);
            EXPECT_EQ(unit->Conversion(&job.info), 0);
            EXPECT_EQ(plain->Conversion(&same.info), 0);
            EXPECT_EQ(job.dest, same.dest) << mode << ", code " << code;
        }
        unsigned short s[7] = {100, 20000, 65535, 4, 5, 6, 7};
        unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        EXPECT_EQ(s[0], plain->Lut16[0][100] & 0xffff);
        EXPECT_EQ(s[2], plain->Lut16[2][65535] & 0xffff);
        EXPECT_EQ(unit->OutputMode, mode) << "no conversion changes it";
    }
}

/// 0 less 1 is the highest sample of 16 bits: on a grid of 17 points the last cell, at the end of its fraction.
TEST(EngineInput, TakesTheLow16BitsOfAnEntry) {
    const auto lut = MakeLut({.points = 17, .inputEntries = 3});
    const std::uint16_t curves[9] = {0, 0, 0, 65535, 0, 0, 50000, 0, 0};
    std::copy_n(curves, 9, lut->inputTable.get());
    const auto unit = std::make_unique<InputTable33>();
    unit->Initial(lut.get(), Space(2));
    EXPECT_EQ(unit->Lut16[1][0], -1) << "entry 32768 less 1";
    const auto engine = std::make_unique<ICC40::ICC_ENG_S4::CIccEngineS>();
    engine->Unit.InputSpace = Space(2);
    engine->Set1DLutIn(lut.get());
    ASSERT_EQ(engine->InEntries, 256);
    EXPECT_EQ(engine->Lut1DInR[0], 0U);
    EXPECT_EQ(engine->Lut1DInG[0], 0x000f0fffU);
    EXPECT_EQ(engine->Lut1DInB[0], 0x000f0fffU);
}

}  // namespace
}  // namespace hueweave::test
