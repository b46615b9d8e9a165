// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Colours one operation after another: when a white or a matrix counts, what a second setting leaves of the first,
// and what the objects have in common, which is nothing.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <type_traits>
#include <vector>

#include "color/CLCH.h"
#include "unit/color/ColorValues.h"
#include "unit/color/NaiveLch.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

static_assert(std::is_trivially_destructible_v<CLCH>, "its end does nothing");
static_assert(!std::is_default_constructible_v<CLCH>, "a colour has a white from its start");
static_assert(std::is_const_v<decltype(sRGB_D50)> && std::is_const_v<decltype(inv_sRGB_D50)>);
static_assert(std::is_const_v<decltype(AdobeRGB_D50)> && std::is_const_v<decltype(inv_AdobeRGB_D50)>);
static_assert(std::is_const_v<decltype(AppleRGB_D50)> && std::is_const_v<decltype(inv_AppleRGB_D50)>);
static_assert(std::is_const_v<decltype(ColorMatchRGB_D50)> && std::is_const_v<decltype(inv_ColorMatchRGB_D50)>);
static_assert(sRGB_D50[0] == 0.4361 && inv_ColorMatchRGB_D50[8] == 1.4562, "there before the program runs");

constexpr Triple kFirst{61000, 64000, 58000}, kSecond{50000, 65535, 70000}, kThird{65535, 60000, 55000};

CLCH Under(const Triple& white) { return CLCH(white[0], white[1], white[2]); }
void SetWhite(CLCH& color, const Triple& white) { color.SetWhite(white[0], white[1], white[2]); }
Triple XyzOf(const CLCH& c) { return {c.X, c.Y, c.Z}; }

TEST(ColourSettings, OfWhiteCountFromTheNextConversionOn) {
    CLCH color = Under(kFirst);
    color.PutData_RGB(100, 150, 200);
    const Triple before = LchOf(color);
    SetWhite(color, kSecond);
    color.RGB2LAB();
    const Triple ratios = NaiveRatios({100, 150, 200}, kSecond, 1);
    const Triple lab = NaiveLab(ratios);
    EXPECT_EQ(XyzOf(color), ratios);
    EXPECT_EQ(LabOf(color), lab);
    EXPECT_EQ(color.C, before[1]);
    EXPECT_EQ(color.h, before[2]);
    SetWhite(color, kThird);
    color.LAB2RGB();
    EXPECT_EQ(XyzOf(color), NaiveXYZ(lab, kThird));
    EXPECT_EQ(RgbOf(color), NaiveLabToRGB(lab, kThird, 1));
}

TEST(ColourSettings, OfMatricesCountFromTheNextConversionOn) {
    for (int first = 0; first < 4; ++first) {
        for (int second = 0; second < 4; ++second) {
            CLCH color = Under(kUsualWhite);
            color.PutData_RGB(100, 150, 200);  // by the matrices that it starts with
            color.SetColorSpace(static_cast<ColorSpace>(first));
            color.RGB2LAB();
            const Triple lab = NaiveLab(NaiveRatios({100, 150, 200}, kUsualWhite, first));
            EXPECT_EQ(LabOf(color), lab) << first;
            color.SetColorSpace(static_cast<ColorSpace>(second));
            color.LAB2RGB();
            EXPECT_EQ(RgbOf(color), NaiveLabToRGB(lab, kUsualWhite, second)) << first << " then " << second;
        }
    }
}

TEST(ColourSettings, CountForEveryWayToSetAColour) {
    const auto changed = [] {
        CLCH color = Under(kFirst);
        color.PutData_Lch(40, 20, 100);
        SetWhite(color, kSecond);
        color.SetColorSpace(ColorSpace_AppleRGB);
        return color;
    };
    CLCH rgb = changed();
    rgb.PutData_RGB(30, 60, 90);
    EXPECT_EQ(LabOf(rgb), NaiveLab(NaiveRatios({30, 60, 90}, kSecond, 2)));
    CLCH lab = changed();
    lab.PutData_Lab(55, -20, 10);
    EXPECT_EQ(RgbOf(lab), NaiveLabToRGB({55, -20, 10}, kSecond, 2));
    const auto polar = [](double light, double chroma, double hue) {
        const auto [a, b] = NaiveAB(chroma, hue);
        return NaiveLabToRGB({light, a, b}, kSecond, 2);
    };
    CLCH lch = changed();
    lch.PutData_Lch(55, 22, 77);
    EXPECT_EQ(RgbOf(lch), polar(55, 22, 77));
    CLCH shifted = changed();
    shifted.Adjust(5, 2, 7);
    EXPECT_EQ(RgbOf(shifted), polar(45, 22, 107));
    CLCH source = Under(kThird);
    source.PutData_Lch(55, 22, 77);
    CLCH assigned = changed();
    assigned = source;
    EXPECT_EQ(RgbOf(assigned), polar(55, 22, 77));
}

using Setting = std::function<void(CLCH&)>;
const Setting kSettings[] = {
    [](CLCH& c) { c.PutData_RGB(12, 250, 99); }, [](CLCH& c) { c.PutData_RGB(0, 0, 0); },
    [](CLCH& c) { c.PutData_Lab(55, -20, 10); }, [](CLCH& c) { c.PutData_Lab(4, 0, 0); },
    [](CLCH& c) { c.PutData_Lch(70, 33, 200); }, [](CLCH& c) { c.PutData_Lch(120, 300, -40); },
};

TEST(ColourSettings, LeaveNothingOfTheColourBefore) {
    for (const Setting& first : kSettings) {
        for (const Setting& second : kSettings) {
            CLCH used = Under(kFirst), fresh = Under(kFirst);
            first(used);
            used.Adjust(3, 4, 5);
            second(used);
            second(fresh);
            EXPECT_EQ(ValuesOf(used), ValuesOf(fresh));
        }
    }
}

TEST(ColourSettings, OfOneObjectAreNotThoseOfAnother) {
    CLCH one = Under(kFirst), other = Under(kFirst);
    one.PutData_Lab(55, -20, 10);
    const std::vector<double> before = ValuesOf(one);
    SetWhite(other, kSecond);
    other.SetColorSpace(ColorSpace_sRGB);
    other.PutData_RGB(1, 2, 3);
    other.Adjust(10, 10, 10);
    EXPECT_EQ(ValuesOf(one), before);
    EXPECT_EQ(one.toXYZ, kNaiveMatrices[1].toXYZ);
    EXPECT_EQ(one.toRGB, kNaiveMatrices[1].toRGB);
    one.LAB2RGB();
    EXPECT_EQ(RgbOf(one), NaiveLabToRGB({55, -20, 10}, kFirst, 1));
}

TEST(ColourSettings, AreSilent) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    CLCH color = Under({0, 0, 0});
    for (const double value : {0.0, -1e300, 1e300, std::nan(""), HUGE_VAL}) {
        color.SetWhite(value, value, value);
        color.SetColorSpace(static_cast<ColorSpace>(9));
        color.PutData_RGB(value, value, value);
        color.PutData_Lab(value, value, value);
        color.PutData_Lch(value, value, value);
        color.Adjust(value, value, value);
        CLCH copy(color);
        copy = color;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ColourHue, GetsATurnOnlyBelowZero) {
    struct Row {
        double a, b;
    };
    // A zero with a sign is not below zero; half a turn backwards is.
    for (const Row& row : {Row{10, -0.0}, Row{-10, -0.0}, Row{0.0, -0.0}, Row{-0.0, 0.0}, Row{-0.0, -0.0}}) {
        CLCH color = Under(kUsualWhite);
        color.PutData_Lab(50, row.a, row.b);
        const double turned = std::atan2(row.b, row.a) * 57.2958;
        EXPECT_EQ(color.h, turned < 0 ? turned + 360.0 : turned) << row.a << " " << row.b;
        EXPECT_GE(color.h, 0.0);
        EXPECT_LT(color.h, 181.0) << "at most half a turn in all of these";
    }
}

TEST(ColourShift, OfNothingChangesAStrongColourInAllItsForms) {
    CLCH color = Under(kUsualWhite);
    color.PutData_Lch(60, 120, 150);
    const CLCH before(color);
    color.Adjust(0, 0, 0);
    const auto [a, b] = NaiveAB(100, 150);
    EXPECT_EQ(LchOf(color), (Triple{60, 100, 150}));
    EXPECT_EQ(LabOf(color), (Triple{60, a, b}));
    EXPECT_EQ(RgbOf(color), NaiveLabToRGB({60, a, b}, kUsualWhite, 1));
    for (const auto& field : {&CLCH::a, &CLCH::b, &CLCH::R, &CLCH::G, &CLCH::B}) {
        EXPECT_NE(color.*field, before.*field);
    }
}

TEST(ColourShift, OfALabColourAloneLeavesTheRest) {
    for (const double dL : {-60.0, 0.0, 60.0}) {
        for (const double dC : {-90.0, 0.0, 90.0}) {
            for (const double dh : {-400.0, 0.0, 33.5, 400.0}) {
                CLCH color = Under(kUsualWhite);
                color.PutData_Lch(50, 40, 200);
                color.a = 77;  // is derived anew
                const CLCH before(color);
                color.AdjustLab(dL, dC, dh);
                const Triple lch = NaiveAdjust({50, 40, 200}, dL, dC, dh);
                const auto [a, b] = NaiveAB(lch[1], lch[2]);
                EXPECT_EQ(LchOf(color), lch);
                EXPECT_EQ(LabOf(color), (Triple{lch[0], a, b}));
                EXPECT_EQ(RgbOf(color), RgbOf(before));
                EXPECT_EQ(XyzOf(color), XyzOf(before));
            }
        }
    }
}

TEST(ColourAssignment, UnderAnotherWhiteGivesAnotherRgb) {
    CLCH source = Under(kUsualWhite), target = Under(kSecond);
    source.PutData_Lch(60, 20, 40);
    target = source;
    EXPECT_EQ(LchOf(target), LchOf(source));
    EXPECT_EQ(LabOf(target), LabOf(source));
    for (const auto& field : {&CLCH::R, &CLCH::G, &CLCH::B}) EXPECT_NE(target.*field, source.*field);
    EXPECT_EQ(RgbOf(target), NaiveLabToRGB(LabOf(source), kSecond, 1));
}

}  // namespace
}  // namespace hueweave::test
