// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The quick way from Lab to 8-bit RGB: where it tells, it tells what the cut of the exact value is, and at every step
// of that cut, and at the thresholds of its formulas, it says that it cannot tell. The matrices are made so that a
// channel has a chosen value.
#include "units/NearRgb.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace hueweave::test {
namespace {

using ColorLch::CLCH;
using ICC40::ICC_UNIT::NearRgb;

struct Colour {
    double L, a, b;
};

/// The roots of X, Y and Z over the white.
struct Roots {
    double x, y, z;
};
Roots RootsOf(const Colour& c) {
    const double y = c.L <= 7.9996 ? c.L / 903.3 * 7.787 + 0.137931 : (c.L + 16.0) / 116.0;
    return {y + c.a / 500.0, y, y - c.b / 200.0};
}

constexpr double kWhite[3] = {0.96, 1.0, 0.82};

/// How near to a step it cannot tell.
double MarginOf(const Colour& c) {
    const Roots root = RootsOf(c);
    const double white = kWhite[0] + kWhite[1] + kWhite[2];
    return 1e-8 * (1.0 + white * (1.0 + root.x * root.x + root.y * root.y + root.z * root.z));
}

/// A matrix by which Y alone gives `value` on one channel; the two others lie far from any step.
CLCH WithValue(const Colour& c, double value, std::size_t channel) {
    CLCH color(65535.0 * kWhite[0], 65535.0 * kWhite[1], 65535.0 * kWhite[2]);
    const double root = RootsOf(c).y;
    const double y = c.L <= 7.9996 ? c.L / 903.3 : root * root * root;
    color.toRGB = {};
    for (std::size_t i = 0; i < 3; ++i)
        color.toRGB[3 * i + 1] = (i == channel ? value : 100.5) / (255.0 * kWhite[1] * y);
    return color;
}

/// The channel, or nothing where it cannot tell.
std::optional<int> Told(const Colour& c, double value, std::size_t channel) {
    int rgb[3] = {-1, -1, -1};
    if (!NearRgb(WithValue(c, value, channel)).Convert(c.L, c.a, c.b, rgb)) return std::nullopt;
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(i == channel || rgb[i] == 100);
    return rgb[channel];
}

/// The fifth and sixth stand on either side of where the formula of Y changes.
constexpr Colour kColours[] = {{100, 0, 0},    {50, 60, -70},   {30, -20, 90},    {5, 3, -2},
                               {7.9996, 0, 0}, {7.99965, 0, 0}, {99.6, -127, 127}};

TEST(NearRgbTest, TellsTheWholePartBesideEveryStep) {
    for (const Colour& c : kColours) {
        const double beyond = 1.02 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (int step = 1; step < 255; ++step) {
                EXPECT_EQ(Told(c, step - beyond, channel), step - 1);
                EXPECT_EQ(Told(c, step + beyond, channel), step);
            }
        }
    }
}

TEST(NearRgbTest, CannotTellOnEitherSideOfAStep) {
    for (const Colour& c : kColours) {
        const double within = 0.98 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (int step = 1; step <= 255; ++step) {
                EXPECT_EQ(Told(c, step - within, channel), std::nullopt) << step;
                EXPECT_EQ(Told(c, step, channel), std::nullopt) << step;
                EXPECT_EQ(Told(c, step + within, channel), std::nullopt) << step;
            }
        }
    }
}

TEST(NearRgbTest, CutsToTheRange) {
    for (const Colour& c : kColours) {
        const double beyond = 1.02 * MarginOf(c);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (const double dark : {-beyond, 0.0, beyond}) EXPECT_EQ(Told(c, dark, channel), 0);
            EXPECT_EQ(Told(c, -1e6, channel), 0);
            EXPECT_EQ(Told(c, 255.0 - beyond, channel), 254);
            EXPECT_EQ(Told(c, 255.0 + beyond, channel), 255);
            EXPECT_EQ(Told(c, 256.0, channel), 255);
            EXPECT_EQ(Told(c, 1e6, channel), 255);
        }
    }
}

TEST(NearRgbTest, CannotTellWhereARootStandsAtTheThresholdOfItsFormulas) {
    constexpr double kThreshold = 0.2069;
    for (const double off : {-0.98e-9, 0.0, 0.98e-9}) {
        const double root = (50.0 + 16.0) / 116.0;
        EXPECT_EQ(Told({50, (kThreshold + off - root) * 500.0, 0}, 77.5, 0), std::nullopt) << "X " << off;
        EXPECT_EQ(Told({50, 0, (root - kThreshold - off) * 200.0}, 77.5, 0), std::nullopt) << "Z " << off;
    }
    for (const double off : {-1.02e-9, 1.02e-9}) {
        const double root = (50.0 + 16.0) / 116.0;
        EXPECT_EQ(Told({50, (kThreshold + off - root) * 500.0, 0}, 77.5, 0), 77) << "X " << off;
        EXPECT_EQ(Told({50, 0, (root - kThreshold - off) * 200.0}, 77.5, 0), 77) << "Z " << off;
    }
}

/// The exact way's channels are what a sure answer equals, on both sides of both thresholds and of zero.
TEST(NearRgbTest, AgreesWithTheExactWay) {
    CLCH color(63195.0, 65535.0, 54073.0);
    const NearRgb quick(color);
    int sure = 0, all = 0;
    for (double lightness = 0; lightness <= 100; lightness += 0.37) {
        for (double aStar = -128; aStar < 128; aStar += 6.3) {
            for (double bStar = -128; bStar < 128; bStar += 7.1) {
                int rgb[3];
                ++all;
                if (!quick.Convert(lightness, aStar, bStar, rgb)) continue;
                ++sure;
                color.L = lightness, color.a = aStar, color.b = bStar;
                color.LAB2RGB();
                ASSERT_EQ(rgb[0], static_cast<int>(color.R)) << lightness << " " << aStar << " " << bStar;
                ASSERT_EQ(rgb[1], static_cast<int>(color.G)) << lightness << " " << aStar << " " << bStar;
                ASSERT_EQ(rgb[2], static_cast<int>(color.B)) << lightness << " " << aStar << " " << bStar;
            }
        }
    }
    EXPECT_GE(sure, all - all / 1000) << "of " << all;
}

}  // namespace
}  // namespace hueweave::test
