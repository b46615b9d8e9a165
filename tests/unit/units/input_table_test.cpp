// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The three input curves: how they are expanded, evaluated, reduced to 8 bits, and run over pixels.
#include <gtest/gtest.h>

#include <climits>
#include <set>
#include <type_traits>

#include "unit/units/UnitHelpers.h"
#include "units/InputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;

static_assert(std::is_abstract_v<Base> && std::has_virtual_destructor_v<Base>);
static_assert(std::is_base_of_v<Base, InputTable33>);

constexpr ColorSpaceSignature k16 = Space(1);

/// A curve of the profile expanded to all samples.
std::vector<int> Expanded(const CLut16Type& lut, int channel) {
    const int entries = lut.inputEnt;
    const double step = 65535.0 / (entries - 1);
    std::vector<int> row(65536);
    for (int v = 0; v < 65535; ++v) {
        const double x = v;
        const int n = static_cast<int>(x / step);
        const double f = (x - n * step) / step;
        row[static_cast<std::size_t>(v)] =
            static_cast<int>(CurveEntry(lut.inputTable, entries, channel, n + 1) * f +
                             (1.0 - f) * CurveEntry(lut.inputTable, entries, channel, n) + 0.5);
    }
    row[65535] = CurveEntry(lut.inputTable, entries, channel, entries - 1);
    return row;
}

void Call(InputTable33& table, unsigned short& a, unsigned short& b, unsigned short& c) {
    unsigned short d = 1, e = 2, f = 3, g = 4;
    table.Conversion(a, b, c, d, e, f, g);
    EXPECT_EQ(d, 1);
    EXPECT_EQ(e, 2);
    EXPECT_EQ(f, 3);
    EXPECT_EQ(g, 4);
}

TEST(InputTable, StartsCleared) {
    const auto table = std::make_unique<InputTable33>();
    EXPECT_STREQ(table->UnitName, "InputTable33");
    EXPECT_EQ(table->Bits, 16);
    for (std::size_t row = 0; row < 3; ++row) {
        ExpectRow(table->Curve[row], ConstantRow(4096, 0), "Curve");
        ExpectRow(table->Lut16[row], ConstantRow(65536, 0), "Lut16");
    }
}

class InputTableEntries : public testing::TestWithParam<int> {};

TEST_P(InputTableEntries, ExpandEveryCurveToEverySample) {
    const int entries = GetParam();
    const auto lut = MakeLut({.inputEntries = entries}, static_cast<std::uint32_t>(entries));
    const auto table = std::make_unique<InputTable33>();
    EXPECT_EQ(table->Initial(lut.get(), k16), 0);
    EXPECT_EQ(table->LUT_Step, 65535.0 / (entries - 1));
    EXPECT_EQ(table->Bits, 16);
    for (int c = 0; c < 3; ++c) {
        std::vector<int> curve(4096, 0);
        for (int n = 0; n < entries; ++n) {
            curve[static_cast<std::size_t>(n)] = CurveEntry(lut->inputTable, entries, c, n);
        }
        ExpectRow(table->Curve[c], curve, "Curve");
        ExpectRow(table->Lut16[c], Expanded(*lut, c), "Lut16");
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, InputTableEntries,
                         testing::Values(3, 4, 5, 16, 17, 33, 255, 256, 257, 1000, 1024, 4095, 4096));

TEST(InputTable, ATwoEntryTableIsTheIdentity) {
    const auto lut = MakeLut({.inputEntries = 2});
    lut->inputTable[0] = 65535;  // falling, and read by nobody
    lut->inputTable[1] = 0;
    const auto table = std::make_unique<InputTable33>();
    EXPECT_EQ(table->Initial(lut.get(), k16), 0);
    EXPECT_EQ(table->LUT_Step, 16.003663003663004);
    EXPECT_EQ(table->Bits, 16);
    for (std::size_t c = 0; c < 3; ++c) {
        ExpectRow(table->Lut16[c], Ramp(65536), "Lut16");
        ExpectRow(table->Curve[c], Ramp(4096, 16), "Curve");
        EXPECT_EQ(table->Curve[c][4095], 65520);
    }
}

TEST(InputTable, ATwoEntryTableReducedKeepsTheTopOfTheScale) {
    const auto lut = MakeLut({.inputEntries = 2});
    const auto table = std::make_unique<InputTable33>();
    EXPECT_EQ(table->Initial(lut.get(), Space(0)), 0);
    EXPECT_EQ(table->Bits, 8);
    std::vector<int> expected = Ramp(256, 256);
    expected[255] = 65535;
    for (const auto& row : table->Lut16) ExpectRow(row, expected, "Lut16");
}

TEST(InputTable, TablesOfOneOrNoEntryAreTheIdentityToo) {
    for (int entries : {0, 1}) {
        const auto lut = MakeLut({.inputEntries = entries});
        const auto table = std::make_unique<InputTable33>();
        EXPECT_EQ(table->Initial(lut.get(), k16), 0);
        EXPECT_EQ(table->LUT_Step, 16.003663003663004);
        for (const auto& row : table->Lut16) ExpectRow(row, Ramp(65536), "Lut16");
    }
}

TEST(InputTable, TheIdentityGoesToTheChannelsOfTheProfileAlone) {
    const auto lut = MakeLut({.inputs = 2, .inputEntries = 2});
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), k16);
    ExpectRow(table->Lut16[1], Ramp(65536), "Lut16");
    ExpectRow(table->Curve[1], Ramp(4096, 16), "Curve");
    ExpectRow(table->Lut16[2], ConstantRow(65536, 0), "Lut16");
    ExpectRow(table->Curve[2], ConstantRow(4096, 0), "Curve");
}

TEST(InputTable, WithoutChannelsTheTablesComeFromZeroCurves) {
    const auto lut = MakeLut({.inputs = 0, .inputEntries = 5});
    const auto table = std::make_unique<InputTable33>();
    std::fill_n(&table->Lut16[0][0], 3 * 65536, 99);
    EXPECT_EQ(table->Initial(lut.get(), k16), 0);
    EXPECT_EQ(table->LUT_Step, 65535.0 / 4);
    for (std::size_t c = 0; c < 3; ++c) {
        ExpectRow(table->Curve[c], ConstantRow(4096, 0), "Curve");
        ExpectRow(table->Lut16[c], ConstantRow(65536, 0), "Lut16");
    }
}

TEST(InputTable, ChannelsThatTheProfileLacksAreExpandedFromTheCurveInPlace) {
    const auto lut = MakeLut({.inputs = 1, .inputEntries = 3});
    const auto table = std::make_unique<InputTable33>();
    std::copy_n(std::array{100, 200, 4000}.begin(), 3, table->Curve[2]);
    table->Initial(lut.get(), k16);
    EXPECT_EQ(table->Lut16[2][0], 100);
    EXPECT_EQ(table->Lut16[2][65535], 4000);  // the last step takes all three rows
    EXPECT_EQ(table->Lut16[1][65535], 0);
    ExpectRow(table->Lut16[0], Expanded(*lut, 0), "Lut16");
}

TEST(InputTable, TwoHundredFiftySixEntriesComeBackAtMultiplesOf257) {
    const auto lut = MakeLut({.inputEntries = 256}, 7);
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), k16);
    EXPECT_EQ(table->LUT_Step, 257.0);
    for (int c = 0; c < 3; ++c) {
        for (int n = 0; n < 256; ++n) {
            EXPECT_EQ(table->Lut16[c][n * 257], CurveEntry(lut->inputTable, 256, c, n)) << c << ", " << n;
        }
    }
}

TEST(InputTable, TheLastEntryIsTheCurvesLastAndTheOneBeforeIsEvaluated) {
    const auto lut = MakeLut({.inputEntries = 3});
    for (std::size_t c = 0; c < 3; ++c) {
        lut->inputTable[c * 3] = 0;
        lut->inputTable[c * 3 + 1] = 0;
        lut->inputTable[c * 3 + 2] = static_cast<std::uint16_t>(65535 - c);
    }
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), k16);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(table->Lut16[c][65535], 65535 - c);
    // Two units of 65535 to a sample at the step of 32767.5: 65535 - 2 at the sample before the last.
    EXPECT_EQ(table->Lut16[0][65534], 65533);
}

TEST(InputTable, EvaluationRoundsToNearest) {
    const auto table = std::make_unique<InputTable33>();
    table->LUT_Step = 4.0;
    table->Curve[0][0] = 10;
    table->Curve[0][1] = 12;  // halves go up, on a falling piece too
    table->Curve[1][0] = 12;
    table->Curve[1][1] = 10;
    table->Curve[2][0] = 100;
    table->Curve[2][1] = 101;
    const int expected[4][3] = {{10, 12, 100}, {11, 12, 100}, {11, 11, 101}, {12, 11, 101}};
    for (unsigned short x = 0; x < 4; ++x) {
        unsigned short a = x, b = x, c = x;
        Call(*table, a, b, c);
        EXPECT_EQ(a, expected[x][0]) << x;
        EXPECT_EQ(b, expected[x][1]) << x;
        EXPECT_EQ(c, expected[x][2]) << x;
    }
}

TEST(InputTable, EvaluationOnAnEntryReturnsThatEntry) {
    const auto lut = MakeLut({.inputEntries = 256}, 3);
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), k16);
    for (int n = 0; n < 256; ++n) {
        const auto x = static_cast<unsigned short>(n * 257);
        unsigned short a = x, b = x, c = x;
        Call(*table, a, b, c);
        EXPECT_EQ(a, CurveEntry(lut->inputTable, 256, 0, n));
        EXPECT_EQ(b, CurveEntry(lut->inputTable, 256, 1, n));
        EXPECT_EQ(c, CurveEntry(lut->inputTable, 256, 2, n));
    }
}

/// Takes the place of the curve evaluation and notes what it was asked for.
class SpiedTable : public InputTable33 {
public:
    using InputTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override {
        inOrder = inOrder && a == calls && b == calls && c == calls;
        othersClear = othersClear && d == 0 && e == 0 && f == 0 && g == 0;
        ++calls;
        a = static_cast<unsigned short>(a ^ 1);
        b = static_cast<unsigned short>(b ^ 2);
        c = static_cast<unsigned short>(c ^ 4);
        return 77;
    }
    int calls = 0;
    bool inOrder = true;
    bool othersClear = true;
};

TEST(InputTable, ExpansionGoesThroughTheVirtualEvaluation) {
    const auto lut = MakeLut({.inputEntries = 3});
    const auto table = std::make_unique<SpiedTable>();
    EXPECT_EQ(table->Initial(lut.get(), k16), 0);
    EXPECT_EQ(table->calls, 65535);
    EXPECT_TRUE(table->inOrder);
    EXPECT_TRUE(table->othersClear);
    EXPECT_EQ(table->Lut16[0][6], 7);
    EXPECT_EQ(table->Lut16[1][6], 4);
    EXPECT_EQ(table->Lut16[2][6], 2);
    EXPECT_EQ(table->Lut16[2][65534], 65534 ^ 4);
    EXPECT_EQ(table->Lut16[0][65535], CurveEntry(lut->inputTable, 3, 0, 2));
}

TEST(InputTable, TheIdentityIsNotEvaluated) {
    const auto lut = MakeLut({.inputEntries = 2});
    const auto table = std::make_unique<SpiedTable>();
    table->Initial(lut.get(), k16);
    EXPECT_EQ(table->calls, 0);
}

TEST(InputTable, AllEncodingsButThreeAreReducedTo8Bits) {
    const auto lut = MakeLut({.inputEntries = 2});
    for (int space : {0, 4, 5, 8, 9, 16, 19, 20, 39, 40, 65535, -1}) {
        const auto table = std::make_unique<InputTable33>();
        EXPECT_EQ(table->Initial(lut.get(), Space(space)), 0);
        EXPECT_EQ(table->Bits, 8) << space;
        EXPECT_EQ(table->Lut16[1][129], 129 * 256) << space;
        EXPECT_EQ(table->Lut16[2][255], 65535) << space;
    }
}

TEST(InputTable, ReductionTakesEvery256thEntryAndTheLast) {
    const auto table = std::make_unique<InputTable33>();
    Scatter scatter(11);
    std::array<std::vector<int>, 3> before;
    for (std::size_t row = 0; row < 3; ++row) {
        for (int& entry : table->Lut16[row]) entry = scatter.Next() - 1000;
        before[row] = RowOf(table->Lut16[row], 65536);
    }
    EXPECT_EQ(table->Change_Lut16_To_Lut8(), 0);
    EXPECT_EQ(table->Bits, 8);
    for (std::size_t row = 0; row < 3; ++row) {
        std::vector<int> expected = before[row];  // what lies behind the 8-bit table stays
        for (std::size_t i = 1; i <= 254; ++i) expected[i] = before[row][i * 256];
        expected[255] = before[row][65535];
        ExpectRow(table->Lut16[row], expected, "Lut16");
    }
    // A second and a third run read what the first one left alone.
    std::array<std::vector<int>, 3> once;
    for (std::size_t row = 0; row < 3; ++row) once[row] = RowOf(table->Lut16[row], 65536);
    EXPECT_EQ(table->Change_Lut16_To_Lut8(), 0);
    EXPECT_EQ(table->Change_Lut16_To_Lut8(), 0);
    EXPECT_EQ(table->Bits, 8);
    for (std::size_t row = 0; row < 3; ++row) ExpectRow(table->Lut16[row], once[row], "Lut16, reduced again");
}

TEST(InputTable, ASecondLoadFor16BitsKeepsThe8OfTheFirst) {
    const auto lut = MakeLut({.inputEntries = 4});
    const auto table = std::make_unique<InputTable33>();
    table->Initial(lut.get(), Space(0));
    EXPECT_EQ(table->Bits, 8);
    table->Initial(lut.get(), k16);
    EXPECT_EQ(table->Bits, 8);
    ExpectRow(table->Lut16[0], Expanded(*lut, 0), "Lut16");
    table->Initial(lut.get(), Space(3));
    EXPECT_EQ(table->Bits, 16);
}

TEST(InputTable, ACopyTakesTablesAndWidthAlone) {
    const auto lut = MakeLut({.inputEntries = 4});
    const auto source = std::make_unique<InputTable33>();
    source->Initial(lut.get(), Space(0));
    const auto copy = std::make_unique<InputTable33>();
    copy->LUT_Step = 5.5;
    copy->Curve[1][2] = 33;
    EXPECT_EQ(copy->Initial(source.get()), 0);
    EXPECT_EQ(copy->Bits, 8);
    for (std::size_t row = 0; row < 3; ++row) {
        ExpectRow(copy->Lut16[row], RowOf(source->Lut16[row], 65536), "Lut16");
    }
    EXPECT_EQ(copy->LUT_Step, 5.5);
    EXPECT_EQ(copy->Curve[1][2], 33);
    EXPECT_EQ(copy->Curve[0][1], 0);
    source->Lut16[0][0] = -5;
    EXPECT_NE(copy->Lut16[0][0], -5);
}

TEST(InputTable, TheByteOperationDoesNothing) {
    const auto table = std::make_unique<InputTable33>();
    std::vector<unsigned char> data = {1, 2, 3, 4, 5, 6};
    Base& unit = *table;
    unit.Conversion(data.data(), 2);
    EXPECT_EQ(data, (std::vector<unsigned char>{1, 2, 3, 4, 5, 6}));
}

}  // namespace
}  // namespace hueweave::test
