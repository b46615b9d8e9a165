// SPDX-License-Identifier: MIT
// A colour in its three forms: how it is set, shifted, copied and assigned, and when its white and its matrices take
// effect.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/Matchers.h"
#include "unit/color/ColorValues.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

constexpr Triple kFirst{61000, 64000, 58000}, kSecond{50000, 65535, 70000};
constexpr Triple kScaledSecond{50000.0 / 65535.0, 1.0, 70000.0 / 65535.0};

/// Checks that a and b follow from the final L, C and h, and XYZ and RGB from those.
void ExpectDerived(const CLCH& color, const Triple& lch, const Triple& white, int space) {
    ASSERT_EQ(LchOf(color), lch);
    const auto [a, b] = NaiveAB(lch[1], lch[2]);
    ASSERT_EQ(LabOf(color), (Triple{lch[0], a, b}));
    ASSERT_EQ(XyzOf(color), NaiveXYZ({lch[0], a, b}, white));
    ASSERT_EQ(RgbOf(color), NaiveLabToRGB({lch[0], a, b}, white, space));
}

TEST(CLCH, StartsBlackWithTheAdobeMatricesAndItsWhite) {
    const CLCH color = Under(kUsualWhite);
    EXPECT_EQ(color.toXYZ, kNaiveMatrices[kAdobeRGB].toXYZ);
    EXPECT_EQ(color.toRGB, kNaiveMatrices[kAdobeRGB].toRGB);
    EXPECT_THAT(ValuesOf(color), EqualTo(std::vector<double>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 63195.0 / 65535.0, 1.0,
                                                             54073.0 / 65535.0}));
}

TEST(CLCH, ScalesItsWhite) {
    for (const double given : {0.0, 65535.0, 131070.0, -65535.0, 1.0, 63195.0, 65536.0}) {
        const Triple held{given / 65535.0, 3 / 65535.0, 5 / 65535.0};
        EXPECT_EQ(WhiteOf(CLCH(given, 3, 5)), held);
        CLCH set = Under(kUsualWhite);
        set.SetWhite(3, given, 5);
        EXPECT_EQ(WhiteOf(set), (Triple{held[1], held[0], held[2]}));
        set.SetWhite(3, 5, given);
        EXPECT_EQ(WhiteOf(set), (Triple{held[1], held[2], held[0]}));
    }
}

TEST(CLCH, LimitsRgbOnBothSides) {
    for (const double given : {-1e9, -1e-300, 0.0, 1e-300, 254.999, 255.0, std::nextafter(255.0, 256.0), 1e9}) {
        for (std::size_t place = 0; place < 3; ++place) {
            SCOPED_TRACE(testing::Message() << given << " in channel " << place);
            Triple rgb{30, 60, 90}, within = rgb;
            rgb[place] = given;
            within[place] = std::clamp(given, 0.0, 255.0);
            CLCH color = Under(kUsualWhite), limited = Under(kUsualWhite);
            color.PutData_RGB(rgb[0], rgb[1], rgb[2]);
            EXPECT_EQ(RgbOf(color), within);
            limited.PutData_RGB(within[0], within[1], within[2]);
            EXPECT_THAT(ValuesOf(color), EqualTo(ValuesOf(limited))) << "limited before Lab is made";
        }
    }
}

TEST(CLCH, DerivesTheRestFromLchWithoutALimit) {
    for (const Triple& lch : {Triple{120, 200, 400}, Triple{-5, -10, -30}, Triple{50, 0, 360}, Triple{50, 100.5, 1080},
                              Triple{0, 0, 0}, Triple{60, 33, 359.75}}) {
        CLCH color = Under(kUsualWhite);
        color.PutData_RGB(12, 250, 99);  // fully replaced by the next call
        color.PutData_Lch(lch[0], lch[1], lch[2]);
        ExpectDerived(color, lch, kUsualWhite, kAdobeRGB);
    }
}

TEST(CLCH, ConvertsDegreesByFiveDigitFactors) {
    CLCH color = Under(kUsualWhite);
    color.PutData_Lab(50, 0, -10);
    EXPECT_EQ(color.h, 269.99996781922493);
    color.PutData_Lab(50, -10, 0);
    EXPECT_EQ(color.h, 180.00006436155007);
    // So a hue drifts slightly back and forth: the arc tangent removes a whole turn.
    color.C = 50, color.h = 350;
    color.LCH2LAB();
    color.LAB2LCH();
    EXPECT_NE(color.h, 350.0);
    EXPECT_NEAR(color.h, (0.0174533 * 350 - 2 * std::acos(-1.0)) * 57.2958 + 360.0, 1e-10);
}

// The shift.

/// Adds every offset to every value in one place of LCh 50, 20, 40: 0 lightness, 1 chroma, 2 hue.
void ExpectShifts(std::size_t place, const std::vector<double>& values, const std::vector<double>& offsets) {
    for (const double value : values) {
        for (const double added : offsets) {
            SCOPED_TRACE(testing::Message() << value << " + " << added);
            Triple lch{50, 20, 40}, offset{};
            lch[place] = value;
            offset[place] = added;
            CLCH color = Under(kUsualWhite);
            color.PutData_Lch(lch[0], lch[1], lch[2]);
            color.Adjust(offset[0], offset[1], offset[2]);
            ExpectDerived(color, NaiveAdjust(lch, offset[0], offset[1], offset[2]), kUsualWhite, kAdobeRGB);
        }
    }
}

TEST(CLCH, AdjustLimitsLightness) {
    ExpectShifts(0, {50, 100, std::nextafter(100.0, 101.0), 150, -10, -1e-300, 0},
                 {0, 50, 50.25, 49.75, -50, -50.25, -49.75, -25, 20, 200, -200});
}

TEST(CLCH, AdjustLimitsChroma) {
    ExpectShifts(1, {60, 100, std::nextafter(100.0, 101.0), 120, -5, 0}, {0, 40, 40.25, -25, -60, -60.25, 6});
}

TEST(CLCH, AdjustSubtractsOrAddsOneTurnOfHueAtMost) {
    ExpectShifts(2, {350, std::nextafter(360.0, 361.0), 0, 10, -90, 720},
                 {0, 10, 10.5, 370, 371, 40, 800, 360, 720, -10, -30, -10.5, -370, -371, -800, -20, -1e-300, 90});
}

TEST(CLCH, AdjustUsesOnlyThePolarForm) {
    for (const double dL : {-60.0, -0.5, 0.0, 12.0, 90.0}) {
        for (const double dC : {-90.0, 0.0, 7.25, 80.0}) {
            for (const double dh : {-400.0, -90.0, 0.0, 33.5, 360.0, 400.0}) {
                CLCH color = In(ColorSpace_AppleRGB, kFirst);
                color.PutData_Lab(55, -31, 44);
                // The other forms are derived again, whatever their values were.
                color.a = 77, color.b = -77, color.R = 1, color.G = 2, color.B = 3, color.X = color.Y = color.Z = 4;
                const Triple lch = NaiveAdjust(LchOf(color), dL, dC, dh);
                CLCH lab(color);
                color.Adjust(dL, dC, dh);
                ExpectDerived(color, lch, kFirst, ColorSpace_AppleRGB);
                // Shifting Lab only leaves RGB and XYZ unchanged.
                lab.AdjustLab(dL, dC, dh);
                ASSERT_EQ(LchOf(lab), lch);
                ASSERT_EQ(LabOf(lab), LabOf(color));
                ASSERT_EQ(RgbOf(lab), (Triple{1, 2, 3}));
                ASSERT_EQ(XyzOf(lab), (Triple{4, 4, 4}));
            }
        }
    }
}

// Copies and assignment.

TEST(CLCH, CopiesEverything) {
    CLCH source = In(ColorSpace_ColorMatchRGB, kFirst);
    source.PutData_Lab(61, -12, 33);
    source.a = 5;  // contradicts C and h: a copy derives nothing
    source.R = 400;
    const CLCH copy(source);
    EXPECT_THAT(ValuesOf(copy), EqualTo(ValuesOf(source)));
    EXPECT_EQ(copy.toXYZ, ColorMatchRGB_D50);
    EXPECT_EQ(copy.toRGB, inv_ColorMatchRGB_D50);
}

TEST(CLCH, AssignsPolarFormAndDerivesTheRest) {
    // No limit applies, and the source's other forms, white and matrices have no effect.
    for (const Triple& lch : {Triple{61, 44, 210}, Triple{130, 150, 500}}) {
        CLCH source = Under(kUsualWhite);
        source.PutData_Lch(lch[0], lch[1], lch[2]);
        source.a = 99, source.b = -99, source.R = 7, source.G = 8, source.B = 9, source.X = source.Y = source.Z = 3;
        for (int space = 0; space < 4; ++space) {
            CLCH target = In(space, kSecond);
            target.PutData_RGB(200, 100, 50);
            EXPECT_EQ(&(target = source), &target);
            ExpectDerived(target, lch, kSecond, space);
            EXPECT_EQ(WhiteOf(target), kScaledSecond);
            EXPECT_EQ(target.toXYZ, kNaiveMatrices[space].toXYZ);
            EXPECT_EQ(target.toRGB, kNaiveMatrices[space].toRGB);
        }
        const CLCH& same = source;
        source = same;
        ExpectDerived(source, lch, kUsualWhite, kAdobeRGB);
    }
}

TEST(CLCH, UsesANewWhiteAndNewMatricesFromTheNextConversion) {
    CLCH color = Under(kFirst);
    color.PutData_RGB(100, 150, 200);
    std::vector<double> expected = ValuesOf(color);
    std::ranges::copy(kScaledSecond, expected.begin() + 11);
    color.SetWhite(kSecond[0], kSecond[1], kSecond[2]);
    color.SetColorSpace(ColorSpace_ColorMatchRGB);
    EXPECT_THAT(ValuesOf(color), EqualTo(expected)) << "nothing is recomputed";
    color.RGB2LAB();
    EXPECT_EQ(XyzOf(color), NaiveRatios({100, 150, 200}, kSecond, ColorSpace_ColorMatchRGB));
}

TEST(CLCH, ReplacesNanByZeroAndPrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    CLCH color = Under(kUsualWhite);
    color.PutData_Lab(std::nan(""), 0, 0);
    EXPECT_EQ(RgbOf(color), (Triple{0, 0, 0}));
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

}  // namespace
}  // namespace hueweave::test
