// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Chroma and hue, the three ways to set a colour, its shift at every limit, and copies.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "color/CLCH.h"
#include "unit/color/ColorValues.h"
#include "unit/color/NaiveLch.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

CLCH Usual() { return CLCH(kUsualWhite[0], kUsualWhite[1], kUsualWhite[2]); }

/// What must hold once L, C and h are settled: a and b follow from them, and from those XYZ and RGB.
void ExpectDerived(const CLCH& color, const Triple& lch, const Triple& white, int space) {
    ASSERT_EQ(LchOf(color), lch);
    const auto [a, b] = NaiveAB(lch[1], lch[2]);
    ASSERT_EQ(LabOf(color), (Triple{lch[0], a, b}));
    ASSERT_EQ((Triple{color.X, color.Y, color.Z}), NaiveXYZ({lch[0], a, b}, white));
    ASSERT_EQ(RgbOf(color), NaiveLabToRGB({lch[0], a, b}, white, space));
}

TEST(ChromaAndHue, GoRoundInAllQuadrants) {
    struct Row {
        double a, b, low, high;  // degrees that the hue lies between
    };
    for (const Row& row : {Row{10, 0, 0, 0}, Row{10, 5, 26, 27}, Row{0, 10, 90, 90.001}, Row{-10, 5, 153, 154},
                           Row{-10, -5, 206, 207}, Row{10, -5, 333, 334}, Row{3, -1e-12, 359.99, 360}}) {
        CLCH color = Usual();
        color.a = row.a, color.b = row.b;
        color.LAB2LCH();
        const auto [chroma, hue] = NaiveChromaHue(row.a, row.b);
        EXPECT_EQ(color.C, chroma);
        EXPECT_EQ(color.h, hue);
        EXPECT_GE(color.h, row.low);
        EXPECT_LE(color.h, row.high);
    }
}

TEST(ChromaAndHue, DriftALittleForthAndBack) {
    CLCH color = Usual();
    color.C = 50, color.h = 350;
    color.LCH2LAB();
    color.LAB2LCH();
    EXPECT_NE(color.h, 350.0);
    EXPECT_NEAR(color.h, 350.0, 1e-3);
    const double radians = 0.0174533 * 350;  // a whole turn is taken off by the arc tangent
    EXPECT_NEAR(color.h, (radians - 2 * std::acos(-1.0)) * 57.2958 + 360.0, 1e-10);
}

TEST(SettingRgb, LimitsEachChannelOnBothSides) {
    struct Row {
        double given, stored;
    };
    const double above = std::nextafter(255.0, 256.0);
    for (const Row& row : {Row{-1e9, 0}, Row{-1e-300, 0}, Row{0, 0}, Row{1e-300, 1e-300}, Row{254.999, 254.999},
                           Row{255, 255}, Row{above, 255}, Row{1e9, 255}}) {
        for (std::size_t place = 0; place < 3; ++place) {
            Triple given{30, 60, 90}, stored = given;
            given[place] = row.given;
            stored[place] = row.stored;
            CLCH color = Usual(), limited = Usual();
            color.PutData_RGB(given[0], given[1], given[2]);
            EXPECT_EQ(RgbOf(color), stored);
            limited.PutData_RGB(stored[0], stored[1], stored[2]);
            EXPECT_EQ(ValuesOf(color), ValuesOf(limited)) << "limited before Lab is made";
        }
    }
}

TEST(SettingLab, DerivesTheRestWithoutALimit) {
    for (const Triple& lab : {Triple{120, 300, -250}, Triple{-20, 5, 6}, Triple{50, -128, 127}, Triple{0, 0, 0}}) {
        CLCH color = Usual();
        color.PutData_Lab(lab[0], lab[1], lab[2]);
        EXPECT_EQ(LabOf(color), lab);
        const auto [chroma, hue] = NaiveChromaHue(lab[1], lab[2]);
        EXPECT_EQ(LchOf(color), (Triple{lab[0], chroma, hue}));
        EXPECT_EQ(RgbOf(color), NaiveLabToRGB(lab, kUsualWhite, 1));
    }
}

TEST(SettingLch, DerivesTheRestWithoutALimit) {
    for (const Triple& lch : {Triple{120, 200, 400}, Triple{-5, -10, -30}, Triple{50, 0, 360}, Triple{50, 100.5, 1080},
                              Triple{0, 0, 0}, Triple{60, 33, 359.75}}) {
        CLCH color = Usual();
        color.PutData_Lch(lch[0], lch[1], lch[2]);
        ExpectDerived(color, lch, kUsualWhite, 1);
    }
}

TEST(ShiftedColour, IsLimitedInLightness) {
    struct Row {
        double before, offset, after;
    };
    const double above = std::nextafter(100.0, 101.0);
    for (const Row& row : {Row{50, 50, 100}, Row{50, 50.25, 100}, Row{above, 0, 100}, Row{50, 49.75, 99.75},
                           Row{50, -50, 0}, Row{50, -50.25, 0}, Row{-1e-300, 0, 0}, Row{50, -49.75, 0.25}, Row{0, 0, 0},
                           Row{100, 0, 100}, Row{150, -25, 100}, Row{-10, 20, 10}}) {
        CLCH color = Usual();
        color.PutData_Lch(row.before, 20, 40);
        color.Adjust(row.offset, 0, 0);
        ExpectDerived(color, {row.after, 20, 40}, kUsualWhite, 1);
    }
}

TEST(ShiftedColour, IsLimitedInChroma) {
    struct Row {
        double before, offset, after;
    };
    const double above = std::nextafter(100.0, 101.0);
    for (const Row& row :
         {Row{60, 40, 100}, Row{60, 40.25, 100}, Row{above, 0, 100}, Row{100, 0, 100}, Row{120, 0, 100},
          Row{120, -25, 95}, Row{60, -60, 0}, Row{60, -60.25, 0}, Row{-5, 0, 0}, Row{-5, 6, 1}, Row{0, 0, 0}}) {
        CLCH color = Usual();
        color.PutData_Lch(50, row.before, 40);
        color.Adjust(0, row.offset, 0);
        ExpectDerived(color, {50, row.after, 40}, kUsualWhite, 1);
    }
}

TEST(ShiftedColour, LosesOrGainsOneTurnOfHue) {
    struct Row {
        double before, offset, after;
    };
    const double above = std::nextafter(360.0, 361.0);
    for (const Row& row :
         {Row{350, 10, 360}, Row{above, 0, above - 360.0}, Row{350, 10.5, 0.5}, Row{350, 370, 360}, Row{350, 371, 361},
          Row{10, -10, 0}, Row{10, -10.5, 359.5}, Row{10, -370, 0}, Row{10, -371, -1}, Row{10, -20, 350},
          Row{0, -1e-300, 360}, Row{-90, 0, 270}, Row{-90, 90, 0}, Row{720, 0, 360}, Row{0, 0, 0}}) {
        CLCH color = Usual();
        color.PutData_Lch(50, 20, row.before);
        color.Adjust(0, 0, row.offset);
        ExpectDerived(color, {50, 20, row.after}, kUsualWhite, 1);
    }
}

TEST(ShiftedColour, TakesAllThreeOffsetsAtOnce) {
    for (const double dL : {-60.0, -0.5, 0.0, 12.0, 90.0}) {
        for (const double dC : {-90.0, 0.0, 7.25, 80.0}) {
            for (const double dh : {-400.0, -90.0, 0.0, 33.5, 360.0}) {
                CLCH color(61000.0, 64000.0, 58000.0);
                color.SetColorSpace(ColorSpace_AppleRGB);
                color.PutData_Lab(55, -31, 44);
                const Triple before = LchOf(color);
                color.Adjust(dL, dC, dh);
                ExpectDerived(color, NaiveAdjust(before, dL, dC, dh), {61000.0, 64000.0, 58000.0}, 2);
            }
        }
    }
}

TEST(ShiftedColour, StartsFromPolarFormAlone) {
    // The other two forms are derived anew, whatever they were.
    CLCH color = Usual();
    color.PutData_Lch(50, 20, 40);
    color.a = 77, color.b = -77, color.R = 1, color.G = 2, color.B = 3;
    color.Adjust(1, 2, 3);
    ExpectDerived(color, {51, 22, 43}, kUsualWhite, 1);
}

TEST(CopiedColour, HasEverything) {
    CLCH source(60000.0, 61000.0, 62000.0);
    source.SetColorSpace(ColorSpace_ColorMatchRGB);
    source.PutData_Lab(61, -12, 33);
    source.a = 5;  // contradicts C and h: a copy derives nothing
    source.R = 400;
    const CLCH copy(source);
    EXPECT_EQ(ValuesOf(copy), ValuesOf(source));
    EXPECT_EQ(copy.toXYZ, ColorMatchRGB_D50);
    EXPECT_EQ(copy.toRGB, inv_ColorMatchRGB_D50);
}

TEST(AssignedColour, DerivesAllButPolarFormItself) {
    CLCH source = Usual();
    source.PutData_Lch(61, 44, 210);
    source.a = 99, source.b = -99, source.R = 7, source.G = 8, source.B = 9, source.X = 3, source.Y = 3, source.Z = 3;
    for (int space = 0; space < 4; ++space) {
        const Triple white{50000.0, 65535.0, 70000.0};
        CLCH target(white[0], white[1], white[2]);
        target.SetColorSpace(static_cast<ColorSpace>(space));
        target.PutData_RGB(200, 100, 50);
        EXPECT_EQ(&(target = source), &target);
        ExpectDerived(target, {61, 44, 210}, white, space);
        EXPECT_EQ((Triple{target.Xw, target.Yw, target.Zw}), (Triple{50000.0 / 65535.0, 1.0, 70000.0 / 65535.0}));
        EXPECT_EQ(target.toXYZ, kNaiveMatrices[space].toXYZ);
        EXPECT_EQ(target.toRGB, kNaiveMatrices[space].toRGB);
    }
}

TEST(AssignedColour, LimitsNothing) {
    CLCH source = Usual(), target = Usual();
    source.PutData_Lch(130, 150, 500);
    target = source;
    ExpectDerived(target, {130, 150, 500}, kUsualWhite, 1);
}

TEST(AssignedColour, ToItselfDerivesTheRestAnew) {
    CLCH color = Usual();
    color.PutData_Lch(61, 44, 210);
    color.a = 99, color.R = 7;
    const CLCH& same = color;
    color = same;
    ExpectDerived(color, {61, 44, 210}, kUsualWhite, 1);
}

TEST(NewColour, ScalesItsWhite) {
    struct Row {
        double given, held;
    };
    for (const Row& row : {Row{0, 0}, Row{65535, 1}, Row{131070, 2}, Row{-65535, -1}, Row{1, 1 / 65535.0},
                           Row{63195, 63195 / 65535.0}, Row{65536, 65536 / 65535.0}}) {
        const CLCH made(row.given, 3, 5);
        EXPECT_EQ((Triple{made.Xw, made.Yw, made.Zw}), (Triple{row.held, 3 / 65535.0, 5 / 65535.0}));
        CLCH set = Usual();
        set.SetWhite(3, row.given, 5);
        EXPECT_EQ((Triple{set.Xw, set.Yw, set.Zw}), (Triple{3 / 65535.0, row.held, 5 / 65535.0}));
        set.SetWhite(3, 5, row.given);
        EXPECT_EQ((Triple{set.Xw, set.Yw, set.Zw}), (Triple{3 / 65535.0, 5 / 65535.0, row.held}));
    }
}

}  // namespace
}  // namespace hueweave::test
