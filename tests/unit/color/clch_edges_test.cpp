// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The colour triple at its edges. Expected values are worked out from the stored constants, in the stated order.
#include <gtest/gtest.h>

#include <cmath>

#include "color/CLCH.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

CLCH Default() { return CLCH(63195.0, 65535.0, 54073.0); }

TEST(ColourTripleEdges, StartsBlackWithTheAdobeMatricesAndItsWhite) {
    const CLCH color = Default();
    EXPECT_EQ(color.toXYZ, AdobeRGB_D50);
    EXPECT_EQ(color.toRGB, inv_AdobeRGB_D50);
    for (double value :
         {color.L, color.C, color.h, color.a, color.b, color.R, color.G, color.B, color.X, color.Y, color.Z}) {
        EXPECT_EQ(value, 0.0);
    }
    EXPECT_EQ(color.Xw, 63195.0 / 65535.0);
    EXPECT_EQ(color.Yw, 1.0);
    EXPECT_EQ(color.Zw, 54073.0 / 65535.0);
}

TEST(ColourTripleEdges, BlackRGBIsBlackLab) {
    CLCH color = Default();
    color.PutData_RGB(0, 0, 0);
    EXPECT_EQ(color.L, 0.0);
    EXPECT_EQ(color.a, 0.0);
    EXPECT_EQ(color.b, 0.0);
    EXPECT_EQ(color.C, 0.0);
    EXPECT_EQ(color.h, 0.0);
}

TEST(ColourTripleEdges, RGBIsLimitedBeforeItIsUsed) {
    CLCH color = Default();
    color.PutData_RGB(300, -5, 0);
    EXPECT_EQ(color.R, 255.0);
    EXPECT_EQ(color.G, 0.0);
    EXPECT_EQ(color.B, 0.0);
}

TEST(ColourTripleEdges, HueIsOffByTheFiveDigitFactor) {
    CLCH color = Default();
    color.PutData_Lab(50, 0, -10);
    EXPECT_EQ(color.h, 269.99996781922493);
    color.PutData_Lab(50, -10, 0);
    EXPECT_EQ(color.h, 180.00006436155007);
}

TEST(ColourTripleEdges, AZeroAdjustmentCutsChromaAtAHundred) {
    CLCH color = Default();
    color.PutData_Lch(50, 120, 30);
    const CLCH before(color);
    color.Adjust(0, 0, 0);
    EXPECT_EQ(color.C, 100.0);
    EXPECT_NE(color.a, before.a);
    EXPECT_NE(color.b, before.b);
    EXPECT_NE(color.R, before.R);
    EXPECT_EQ(color.a, std::cos(0.0174533 * 30.0) * 100.0);
}

TEST(ColourTripleEdges, OneTurnOfHueIsTakenOffAtMost) {
    struct Row {
        double hue, offset, expected;
    };
    for (const Row& row : {Row{350, 40, 30}, Row{0, 800, 440}, Row{10, -30, 340}, Row{0, 360, 360}, Row{10, 720, 370},
                           Row{10, -800, -430}}) {
        CLCH color = Default();
        color.PutData_Lch(50, 20, row.hue);
        color.Adjust(0, 0, row.offset);
        EXPECT_EQ(color.h, row.expected) << row.hue << " + " << row.offset;
    }
}

TEST(ColourTripleEdges, LightnessStaysBetweenBlackAndWhite) {
    CLCH color = Default();
    color.PutData_Lch(50, 20, 0);
    color.Adjust(70, -30, 0);
    EXPECT_EQ(color.L, 100.0);
    EXPECT_EQ(color.C, 0.0);
    color.Adjust(-170, 0, 0);
    EXPECT_EQ(color.L, 0.0);
}

TEST(ColourTripleEdges, AnUnknownSpaceKeepsTheMatrices) {
    CLCH color = Default();
    color.SetColorSpace(ColorSpace_AppleRGB);
    color.SetColorSpace(static_cast<ColorSpace>(7));
    EXPECT_EQ(color.toXYZ, AppleRGB_D50);
    EXPECT_EQ(color.toRGB, inv_AppleRGB_D50);
    color.SetColorSpace(ColorSpace_Unset);
    EXPECT_EQ(color.toRGB, inv_sRGB_D50);
}

TEST(ColourTripleEdges, AssignmentTakesLChAndKeepsWhiteAndMatrices) {
    CLCH source = Default();
    source.PutData_Lab(60, 20, -15);
    CLCH target(60000.0, 65535.0, 70000.0);
    target.SetColorSpace(ColorSpace_sRGB);
    CLCH& result = target = source;
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(target.L, source.L);
    EXPECT_EQ(target.C, source.C);
    EXPECT_EQ(target.h, source.h);
    EXPECT_EQ(target.toRGB, inv_sRGB_D50);
    EXPECT_EQ(target.Xw, 60000.0 / 65535.0);
    EXPECT_NE(target.R, source.R);
    EXPECT_EQ(target.a, std::cos(0.0174533 * source.h) * source.C);
}

TEST(ColourTripleEdges, LabToRGBFollowsTheStatedSteps) {
    CLCH color = Default();
    color.SetColorSpace(ColorSpace_ColorMatchRGB);
    color.PutData_Lab(62.5, 11.25, -7.75);
    const double fy = (62.5 + 16.0) / 116.0;
    const double x = std::pow(11.25 / 500.0 + fy, 3.0) * (63195.0 / 65535.0);
    const double y = std::pow(fy, 3.0) * 1.0;
    const double z = std::pow(-7.75 / -200.0 + fy, 3.0) * (54073.0 / 65535.0);
    EXPECT_EQ(color.R, (2.6416 * x + -1.2231 * y + -0.3929 * z) * 255.0);
    EXPECT_EQ(color.G, (-1.1121 * x + 2.0592 * y + 0.016 * z) * 255.0);
    EXPECT_EQ(color.B, (0.0822 * x + -0.2808 * y + 1.4562 * z) * 255.0);
}

TEST(ColourTripleEdges, DarkLabTakesTheStraightPieces) {
    CLCH color = Default();
    color.SetColorSpace(ColorSpace_sRGB);
    color.PutData_Lab(7.9996, 1.5, 2.5);  // the threshold itself is dark
    const double y = 7.9996 / 903.3;
    const double fy = y * 7.787 + 0.137931;
    const double fx = 1.5 / 500.0 + fy, fz = 2.5 / -200.0 + fy;
    EXPECT_LT(fz, 0.2069);
    EXPECT_EQ(color.Y, y);
    EXPECT_EQ(color.X, (fx > 0.2069 ? std::pow(fx, 3.0) : (fx - 0.137931) / 7.787) * (63195.0 / 65535.0));
    EXPECT_EQ(color.Z, (fz - 0.137931) / 7.787 * (54073.0 / 65535.0));
}

TEST(ColourTripleEdges, RGBToLabRoundsTheProductToSinglePrecision) {
    CLCH color = Default();
    color.SetColorSpace(ColorSpace_sRGB);
    color.PutData_RGB(200.0, 100.5, 3.25);
    const auto rounded = [](double v) { return static_cast<double>(static_cast<float>(v)); };
    const double x = rounded(0.4361 * 200.0 + 0.3851 * 100.5 + 0.1431 * 3.25) / (63195.0 / 65535.0 * 255.0);
    const double y = rounded(0.2225 * 200.0 + 0.7169 * 100.5 + 0.0606 * 3.25) / (1.0 * 255.0);
    const double z = rounded(0.0139 * 200.0 + 0.0971 * 100.5 + 0.7141 * 3.25) / (54073.0 / 65535.0 * 255.0);
    EXPECT_EQ(color.X, x);
    EXPECT_EQ(color.Z, z);
    EXPECT_EQ(color.L, std::pow(y, 0.3333333) * 116.0 - 16.0);
    EXPECT_EQ(color.a, (std::pow(x, 0.3333333) - std::pow(y, 0.3333333)) * 500.0);
    EXPECT_EQ(color.b, (std::pow(y, 0.3333333) - std::pow(z, 0.3333333)) * 200.0);
    EXPECT_NE(x, (0.4361 * 200.0 + 0.3851 * 100.5 + 0.1431 * 3.25) / (63195.0 / 65535.0 * 255.0));
    // R, G, B stay as given: the way back is not run.
    EXPECT_EQ(color.R, 200.0);
    EXPECT_EQ(color.C, std::sqrt(color.a * color.a + color.b * color.b));
}

TEST(ColourTripleEdges, DarkRGBTakesTheStraightPieces) {
    CLCH color = Default();
    color.PutData_RGB(1.0, 1.0, 1.0);
    const auto rounded = [](double v) { return static_cast<double>(static_cast<float>(v)); };
    const double y = rounded(0.3111 + 0.6257 + 0.0632) / 255.0;
    ASSERT_LE(y, 0.008856);
    EXPECT_EQ(color.L, y * 903.3);
    const double x = rounded(0.6098 + 0.2053 + 0.1492) / (63195.0 / 65535.0 * 255.0);
    EXPECT_EQ(color.a, ((x * 7.787 + 0.137931) - (y * 7.787 + 0.137931)) * 500.0);
}

TEST(ColourTripleEdges, AWhiteTakesEffectAtTheNextConversion) {
    CLCH color = Default();
    color.PutData_Lab(50, 10, 10);
    const double before = color.R;
    color.SetWhite(40000.0, 50000.0, 60000.0);
    EXPECT_EQ(color.R, before);
    EXPECT_EQ(color.Yw, 50000.0 / 65535.0);
    color.PutData_Lab(50, 10, 10);
    EXPECT_NE(color.R, before);
}

TEST(ColourTripleEdges, WhatIsNoNumberBecomesZero) {
    CLCH color = Default();
    color.PutData_Lab(std::nan(""), 0, 0);
    EXPECT_EQ(color.R, 0.0);
    EXPECT_EQ(color.G, 0.0);
    EXPECT_EQ(color.B, 0.0);
}

}  // namespace
}  // namespace hueweave::test
