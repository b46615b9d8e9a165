// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The pieces of the Lab curves on both sides of each threshold, and what each conversion touches.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "color/CLCH.h"
#include "unit/color/ColorValues.h"
#include "unit/color/NaiveLch.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

constexpr Matrix kUnit = {1, 0, 0, 0, 1, 0, 0, 0, 1};

/// The number near `start` for which `f` gives `wanted` exactly; -1 if there is none.
double Inverse(double start, double wanted, const std::function<double(double)>& f) {
    double down = start, up = start;
    for (int i = 0; i < 4000; ++i) {
        if (f(down) == wanted) return down;
        if (f(up) == wanted) return up;
        down = std::nextafter(down, -1e9);
        up = std::nextafter(up, 1e9);
    }
    ADD_FAILURE() << "no number gives " << wanted;
    return -1;
}

/// A colour whose X, Y and Z ratios are t: the matrix is the unit matrix, and the white does the scaling.
CLCH WithRatios(const Triple& t) {
    CLCH color(65535.0, 65535.0, 65535.0);
    color.toXYZ = kUnit;
    double* const whites[] = {&color.Xw, &color.Yw, &color.Zw};
    for (std::size_t i = 0; i < 3; ++i) {
        *whites[i] = Inverse(1.0 / (t[i] * 255.0), t[i], [](double white) { return 1.0 / (white * 255.0); });
    }
    color.R = color.G = color.B = 1.0;
    return color;
}

constexpr double kRatio = 0.008856;
double Cube(double t) { return std::pow(t, 0.3333333); }
double Line(double t) { return t * 7.787 + 0.137931; }

/// The nearest ratio above the threshold that a white can give.
double AboveRatio() {
    double white = 1.0 / (kRatio * 255.0);
    while (1.0 / (white * 255.0) <= kRatio) white = std::nextafter(white, 0.0);
    return 1.0 / (white * 255.0);
}

TEST(LabThresholds, OfTheWayToLabBelongToTheStraightPiece) {
    CLCH color = WithRatios({kRatio, kRatio, kRatio});
    color.RGB2LAB();
    ASSERT_EQ(color.Y, kRatio);
    EXPECT_EQ(color.L, kRatio * 903.3);
    EXPECT_EQ(color.a, 0.0);
    EXPECT_EQ(color.b, 0.0);
    EXPECT_NE(Cube(kRatio), Line(kRatio));  // the two pieces can be told apart
    EXPECT_NE(Cube(kRatio) * 116.0 - 16.0, kRatio * 903.3);
}

TEST(LabThresholds, OfTheWayToLabHoldForEachRatioAlone) {
    const double above = AboveRatio();
    ASSERT_LT(above - kRatio, 1e-15);
    for (std::size_t place = 0; place < 3; ++place) {
        Triple t{kRatio, kRatio, kRatio};
        t[place] = above;
        CLCH color = WithRatios(t);
        color.RGB2LAB();
        const auto f = [&](std::size_t i) { return i == place ? Cube(above) : Line(kRatio); };
        EXPECT_EQ(color.L, place == 1 ? Cube(above) * 116.0 - 16.0 : kRatio * 903.3) << place;
        EXPECT_EQ(color.a, (f(0) - f(1)) * 500.0) << place;
        EXPECT_EQ(color.b, (f(1) - f(2)) * 200.0) << place;
    }
}

TEST(LabThresholds, OfLightnessBelongsToTheStraightPiece) {
    CLCH color(65535.0, 65535.0, 65535.0);
    color.L = 7.9996;
    color.LAB2RGB();
    EXPECT_EQ(color.Y, 7.9996 / 903.3);
    color.L = std::nextafter(7.9996, 8.0);
    color.LAB2RGB();
    const double fy = (color.L + 16.0) / 116.0;
    EXPECT_EQ(color.Y, std::pow(fy, 3.0));
    EXPECT_NE(color.Y, color.L / 903.3);
}

TEST(LabThresholds, OfTheWayBackBelongToTheStraightPiece) {
    constexpr double kF = 0.2069;
    const double fy = (8.0 + 16.0) / 116.0;
    CLCH color(65535.0, 65535.0, 65535.0);
    color.L = 8.0;
    color.a = Inverse((kF - fy) * 500.0, kF, [&](double a) { return a / 500.0 + fy; });
    color.b = Inverse((kF - fy) * -200.0, kF, [&](double b) { return b / -200.0 + fy; });
    color.LAB2RGB();
    const double line = (kF - 0.137931) / 7.787;
    EXPECT_EQ(color.X, line);
    EXPECT_EQ(color.Z, line);
    EXPECT_NE(std::pow(kF, 3.0), line);
}

TEST(LabThresholds, OfTheWayBackHoldForEachAxisAlone) {
    constexpr double kF = 0.2069;
    const double above = std::nextafter(kF, 1.0);
    const double fy = (8.0 + 16.0) / 116.0;
    const auto forX = [&](double f) { return Inverse((f - fy) * 500.0, f, [&](double a) { return a / 500.0 + fy; }); };
    const auto forZ = [&](double f) {
        return Inverse((f - fy) * -200.0, f, [&](double b) { return b / -200.0 + fy; });
    };
    CLCH color(65535.0, 65535.0, 65535.0);
    color.L = 8.0;
    color.a = forX(above);
    color.b = forZ(kF);
    color.LAB2RGB();
    EXPECT_EQ(color.X, std::pow(above, 3.0));
    EXPECT_EQ(color.Z, (kF - 0.137931) / 7.787);
    color.a = forX(kF);
    color.b = forZ(above);
    color.LAB2RGB();
    EXPECT_EQ(color.X, (kF - 0.137931) / 7.787);
    EXPECT_EQ(color.Z, std::pow(above, 3.0));
}

/// A colour whose three forms contradict one another, so that whatever is derived shows.
CLCH Torn() {
    CLCH color(60000.0, 61000.0, 62000.0);
    color.L = 51, color.C = 52, color.h = 53, color.a = 14, color.b = -15;
    color.R = 106, color.G = 107, color.B = 108, color.X = 9, color.Y = 10, color.Z = 11;
    return color;
}
/// The places whose numbers changed, all others being as in `before`.
std::vector<std::size_t> Changed(const CLCH& before, const CLCH& after) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < 14; ++i) {
        if (ValuesOf(before)[i] != ValuesOf(after)[i]) places.push_back(i);
    }
    EXPECT_EQ(after.toXYZ, before.toXYZ);
    EXPECT_EQ(after.toRGB, before.toRGB);
    return places;
}
using Places = std::vector<std::size_t>;

TEST(LabSteps, EachTouchesItsResultAlone) {
    CLCH color = Torn();
    color.RGB2LAB();
    EXPECT_EQ(Changed(Torn(), color), (Places{0, 3, 4, 8, 9, 10}));
    CLCH back(Torn());
    back.LAB2RGB();
    EXPECT_EQ(Changed(Torn(), back), (Places{5, 6, 7, 8, 9, 10}));
    CLCH polar(Torn());
    polar.LAB2LCH();
    EXPECT_EQ(Changed(Torn(), polar), (Places{1, 2}));
    CLCH plain(Torn());
    plain.LCH2LAB();
    EXPECT_EQ(Changed(Torn(), plain), (Places{3, 4}));
    CLCH white(Torn());
    white.SetWhite(1.0, 2.0, 3.0);
    EXPECT_EQ(Changed(Torn(), white), (Places{11, 12, 13}));
}

TEST(LabSteps, ToLabLimitNothing) {
    for (const Triple& rgb : {Triple{400.0, -20.0, 1000.0}, Triple{-30.0, -30.0, -30.0}, Triple{256.0, 300.0, -0.5}}) {
        CLCH color(kUsualWhite[0], kUsualWhite[1], kUsualWhite[2]);
        color.R = rgb[0], color.G = rgb[1], color.B = rgb[2];
        color.RGB2LAB();
        const Triple lab = NaiveLab(NaiveRatios(rgb, kUsualWhite, 1));
        EXPECT_EQ((Triple{color.L, color.a, color.b}), lab);
        EXPECT_EQ((Triple{color.R, color.G, color.B}), rgb);
    }
}

TEST(LabSteps, BackLimitEveryChannelOnBothSides) {
    // With the unit matrix and a white of its own for each channel, every channel is a multiple of one lightness.
    for (std::size_t place = 0; place < 3; ++place) {
        for (const double factor : {-2.0, -1e-9, 0.0, 0.5, 1.0, 1.0 + 1e-9, 7.0}) {
            CLCH color(65535.0, 65535.0, 65535.0);
            color.toRGB = kUnit;
            double* const whites[] = {&color.Xw, &color.Yw, &color.Zw};
            for (double* white : whites) *white = 0.25;
            *whites[place] = factor;
            color.L = 100.0;
            color.LAB2RGB();
            const double limited = factor < 0.0 ? 0.0 : factor > 1.0 ? 255.0 : factor * 255.0;
            const double values[] = {color.R, color.G, color.B};
            for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(values[i], i == place ? limited : 0.25 * 255.0) << factor;
        }
    }
}

TEST(LabSteps, LeaveXyzAsRatiosOneWayAndAbsoluteTheOther) {
    CLCH color(32767.5, 65535.0, 16383.75);  // 0.5, 1.0 and 0.25
    color.toXYZ = kUnit;
    color.R = 51, color.G = 102, color.B = 51;
    color.RGB2LAB();
    EXPECT_EQ((Triple{color.X, color.Y, color.Z}), (Triple{51 / 127.5, 102 / 255.0, 51 / 63.75}));
    color.L = 100.0, color.a = color.b = 0.0;
    color.LAB2RGB();
    EXPECT_EQ((Triple{color.X, color.Y, color.Z}), (Triple{0.5, 1.0, 0.25}));
}

TEST(LabSteps, RoundTheSumOfTheProductsOnceToSinglePrecision) {
    // 16777217 has no single-precision form. Each product has one, so that only the sum's rounding can show.
    CLCH color(65535.0, 65535.0, 65535.0);
    color.toXYZ = {1, 1, 0, 0, 1, 1, 1, 0, 1};
    color.R = 16777216.0, color.G = 1.0, color.B = 2.0;
    color.RGB2LAB();
    EXPECT_EQ(color.X, 16777216.0 / 255.0);  // 16777217 goes to the even neighbour
    EXPECT_EQ(color.Y, 3.0 / 255.0);
    EXPECT_EQ(color.Z, 16777218.0 / 255.0);
}

}  // namespace
}  // namespace hueweave::test
