// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Operations that are not virtual: a derived class that has one of the same name takes over nothing.
#include <gtest/gtest.h>

#include <type_traits>

#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable43;
using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CXYZType;

struct HidingInput : InputTable33 {
    int Initial(const CLut16Type*, ColorSpaceSignature) { return ++calls; }
    int Initial(const InputTable33*) { return ++calls; }
    int Change_Lut16_To_Lut8() { return ++calls; }
    int Change_Lut16_To_Lab8() { return ++calls; }
    int Change_Lut16_To_Lab16() { return ++calls; }
    int calls = 0;
};

struct HidingFour : InputTable43 {
    int Initial(const CLut16Type*) { return ++calls; }
    int calls = 0;
};

TEST(PlainOperations, OfTheInputTablesStayTheirOwn) {
    const auto lut = MakeLut({.inputs = 3, .inputEntries = 5});
    const auto unit = std::make_unique<HidingInput>();
    InputTable33& base = *unit;
    for (int space : {0, 1, 2, 3}) EXPECT_EQ(base.Initial(lut.get(), Space(space)), 0);
    EXPECT_EQ(base.Change_Lut16_To_Lut8(), 0);
    EXPECT_EQ(base.Change_Lut16_To_Lab8(), 0);
    EXPECT_EQ(base.Change_Lut16_To_Lab16(), 0);
    EXPECT_EQ(base.Initial(std::make_unique<InputTable33>().get()), 0);
    EXPECT_EQ(unit->calls, 0);

    const auto four = std::make_unique<HidingFour>();
    InputTable43& base4 = *four;
    EXPECT_EQ(base4.Initial(lut.get()), 0);
    EXPECT_EQ(four->calls, 0);
}

struct HidingGrid : ColorTable33 {
    using ColorTable33::Conversion;
    void Conversion(int&, int&, int&, int&, int&, int&, int&) const { ++calls; }
    int SetColorTable(const int*, int) { return ++calls; }
    int TableResize(int) { return ++calls; }
    int Adjust_Lch(double, double, double) { return ++calls; }
    int Lab2RGB100_16(const CLut16Type*, ColorSpaceSignature, const CXYZType*) { return ++calls; }
    int Lab2RGB100_16_1D(const OutputTable33*, ColorSpaceSignature, const CXYZType*) { return ++calls; }
    mutable int calls = 0;
};

TEST(PlainOperations, OfTheGridStayItsOwn) {
    const auto lut = MakeLut({.points = 5});
    const auto unit = std::make_unique<HidingGrid>();
    ColorTable33& base = *unit;
    EXPECT_EQ(base.Initial(lut.get()), 0);  // resamples to 17 points
    EXPECT_EQ(base.LUT_Size, 17);
    EXPECT_EQ(base.TableResize(9), 0);
    EXPECT_EQ(base.LUT_Size, 9);
    EXPECT_EQ(base.Adjust_Lch(1.0, 2.0, 3.0), 0);
    EXPECT_EQ(base.Lab2RGB100_16(lut.get(), Space(8), nullptr), 8);
    EXPECT_EQ(base.Lab2RGB100_16_1D(std::make_unique<OutputTable33>().get(), Space(20), nullptr), 21);
    int s[7] = {0, 0, 0, -1, -1, -1, -1};
    base.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (int c = 0; c < 7; ++c) EXPECT_EQ(s[c], base.Color[0][0][0][c]);
    const int none = 0;
    EXPECT_EQ(base.SetColorTable(&none, 0), 0);
    EXPECT_EQ(unit->calls, 0);
    using Floating = decltype(base.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]));
    static_assert(std::is_void_v<Floating>);
}

struct HidingOutput : OutputTable33 {
    using OutputTable33::Initial;
    int Initial(const unsigned char*, const unsigned char*, const unsigned char*, int) { return ++calls; }
    void ResetTable() { ++calls; }
    void KodakCurve(int, int, double, double, double) { ++calls; }
    int OutputGamma100(ColorSpaceSignature) { return ++calls; }
    int OutputRGB8() { return ++calls; }
    int OutputGamma_KodakPhoto_16() { return ++calls; }
    int calls = 0;
};

TEST(PlainOperations, OfTheOutputTablesStayTheirOwn) {
    const auto unit = std::make_unique<HidingOutput>();
    OutputTable33& base = *unit;
    const std::vector<unsigned char> points(256, 9);
    EXPECT_EQ(base.Initial(points.data(), points.data(), points.data(), 256), 0);
    base.ResetTable();
    EXPECT_EQ(base.OutputGamma_KodakPhoto(), 34);
    EXPECT_EQ(base.OutputGamma_KodakText_16(), 39);
    EXPECT_EQ(base.OutputGamma_KodakPhoto_16(), 35);
    EXPECT_EQ(base.OutputGamma100(Space(20)), 20);
    EXPECT_EQ(base.OutputRGB8(), 0);
    base.KodakCurve(0, 1024, 1.2, 0.0, 2.2);
    EXPECT_EQ(unit->calls, 0);
}

}  // namespace
}  // namespace hueweave::test
