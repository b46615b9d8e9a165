// SPDX-License-Identifier: MIT
// The conversions between linear RGB and Lab: sweeps in every RGB space, and the segments of the Lab curves on both
// sides of each threshold.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "unit/color/ColorValues.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

constexpr Triple kWhites[] = {kUsualWhite, {65535.0, 65535.0, 65535.0}, {61000.5, 64000.0, 71000.0}};
constexpr Matrix kUnit = {1, 0, 0, 0, 1, 0, 0, 0, 1};

TEST(CLCHConversion, ConvertsEveryRgbToLab) {
    const double steps[] = {0.0, 0.25, 2.0, 2.5, 40.75, 128.0, 254.5, 255.0};
    for (int space = 0; space < 4; ++space) {
        for (const Triple& white : kWhites) {
            CLCH color = In(space, white);
            for (int i = 0; i < 512; ++i) {
                const Triple rgb{steps[i / 64], steps[i / 8 % 8], steps[i % 8]};
                color.PutData_RGB(rgb[0], rgb[1], rgb[2]);
                const Triple ratios = NaiveRatios(rgb, white, space), lab = NaiveLab(ratios);
                const auto [chroma, hue] = NaiveChromaHue(lab[1], lab[2]);
                SCOPED_TRACE(testing::Message() << "space " << space << ", step " << i);
                ASSERT_EQ(XyzOf(color), ratios);
                ASSERT_EQ(LabOf(color), lab);
                ASSERT_EQ(LchOf(color), (Triple{lab[0], chroma, hue}));
                ASSERT_EQ(RgbOf(color), rgb) << "the way back is not run";
            }
        }
    }
}

TEST(CLCHConversion, ConvertsEveryLabToRgb) {
    // 7.9996 is the last lightness on the straight piece.
    const double lights[] = {-3.0, 0.0, 4.0, 7.9996, std::nextafter(7.9996, 8.0), 8.0, 31.0, 62.5, 99.0, 100.0, 120.0};
    for (int space = 0; space < 4; ++space) {
        for (const Triple& white : kWhites) {
            CLCH color = In(space, white);
            for (const double light : lights) {
                for (const double a : {-128.0, -40.0, -1.5, -0.0, 0.0, 2.0, 55.0, 300.0}) {
                    for (const double b : {-250.0, -33.0, -1.5, -1e-12, -0.0, 0.0, 1.0, 60.0, 127.0}) {
                        color.PutData_Lab(light, a, b);
                        const Triple lab{light, a, b}, rgb = NaiveLabToRGB(lab, white, space);
                        ASSERT_EQ(XyzOf(color), NaiveXYZ(lab, white)) << light << " " << a;
                        ASSERT_EQ(RgbOf(color), rgb) << space << ": " << light << " " << a;
                        const auto [chroma, hue] = NaiveChromaHue(a, b);
                        ASSERT_EQ(LabOf(color), lab) << "not limited";
                        ASSERT_EQ(LchOf(color), (Triple{light, chroma, hue}));
                    }
                }
            }
        }
    }
}

TEST(CLCHConversion, ConvertsToLabWithoutClamping) {
    for (const Triple& rgb : {Triple{400.0, -20.0, 1000.0}, Triple{-30.0, -30.0, -30.0}, Triple{256.0, 300.0, -0.5}}) {
        CLCH color = Under(kUsualWhite);
        color.R = rgb[0], color.G = rgb[1], color.B = rgb[2];
        color.C = 52, color.h = 53;
        color.RGB2LAB();
        EXPECT_EQ(LabOf(color), NaiveLab(NaiveRatios(rgb, kUsualWhite, kAdobeRGB)));
        EXPECT_EQ(RgbOf(color), rgb);
        EXPECT_EQ(LchOf(color), (Triple{color.L, 52, 53})) << "the polar form stays as it was";
    }
}

// Computed from the stored digits: nothing here is shared with the sweeps.
TEST(CLCHConversion, RoundsToSinglePrecisionOnTheWayToLab) {
    CLCH color = In(ColorSpace_sRGB, kUsualWhite);
    color.PutData_RGB(200.0, 100.5, 3.25);
    const auto rounded = [](double v) { return static_cast<double>(static_cast<float>(v)); };
    const double sum = 0.4361 * 200.0 + 0.3851 * 100.5 + 0.1431 * 3.25;
    const double x = rounded(sum) / (63195.0 / 65535.0 * 255.0);
    const double y = rounded(0.2225 * 200.0 + 0.7169 * 100.5 + 0.0606 * 3.25) / (1.0 * 255.0);
    const double z = rounded(0.0139 * 200.0 + 0.0971 * 100.5 + 0.7141 * 3.25) / (54073.0 / 65535.0 * 255.0);
    EXPECT_EQ(XyzOf(color), (Triple{x, y, z}));
    EXPECT_NE(x, sum / (63195.0 / 65535.0 * 255.0));
    EXPECT_EQ(color.L, std::pow(y, 0.3333333) * 116.0 - 16.0);
    EXPECT_EQ(color.a, (std::pow(x, 0.3333333) - std::pow(y, 0.3333333)) * 500.0);
    EXPECT_EQ(color.b, (std::pow(y, 0.3333333) - std::pow(z, 0.3333333)) * 200.0);
    // Single precision cannot hold 16777217. It can hold each product, so that only the rounding of the sum shows.
    CLCH sums = Under(kWhites[1]);
    sums.toXYZ = {1, 1, 0, 0, 1, 1, 1, 0, 1};
    sums.R = 16777216.0, sums.G = 1.0, sums.B = 2.0;
    sums.RGB2LAB();
    EXPECT_EQ(XyzOf(sums), (Triple{16777216.0 / 255.0, 3.0 / 255.0, 16777218.0 / 255.0})) << "to the even neighbour";
}

// The thresholds. A value exactly at one belongs to the linear segment.

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
    CLCH color = Under(kWhites[1]);
    color.toXYZ = kUnit;
    double* const whites[] = {&color.Xw, &color.Yw, &color.Zw};
    for (std::size_t i = 0; i < 3; ++i) {
        *whites[i] = Inverse(1.0 / (t[i] * 255.0), t[i], [](double white) { return 1.0 / (white * 255.0); });
    }
    color.R = color.G = color.B = 1.0;
    return color;
}

TEST(CLCHConversion, IsLinearUpToTheThresholdOfEachRatio) {
    constexpr double kRatio = 0.008856;
    // The nearest ratio above the threshold that a white can give.
    double white = 1.0 / (kRatio * 255.0);
    while (1.0 / (white * 255.0) <= kRatio) white = std::nextafter(white, 0.0);
    const double above = 1.0 / (white * 255.0);
    ASSERT_LT(above - kRatio, 1e-15);
    for (const Triple& ratios :
         {Triple{kRatio, kRatio, kRatio}, {above, kRatio, kRatio}, {kRatio, above, kRatio}, {kRatio, kRatio, above}}) {
        CLCH color = WithRatios(ratios);
        color.RGB2LAB();
        EXPECT_EQ(XyzOf(color), ratios);
        EXPECT_EQ(LabOf(color), NaiveLab(ratios));
    }
}

TEST(CLCHConversion, IsLinearUpToTheThresholdOfEachRoot) {
    const double fy = (8.0 + 16.0) / 116.0;
    for (const double root : {0.2069, std::nextafter(0.2069, 1.0)}) {
        const double a = Inverse((root - fy) * 500.0, root, [&](double x) { return x / 500.0 + fy; });
        const double b = Inverse((root - fy) * -200.0, root, [&](double x) { return x / -200.0 + fy; });
        for (const Triple& lab : {Triple{8.0, a, 0.0}, {8.0, 0.0, b}}) {
            CLCH color = Under(kWhites[1]);
            color.PutData_Lab(lab[0], lab[1], lab[2]);
            EXPECT_EQ(XyzOf(color), NaiveXYZ(lab, kWhites[1])) << root;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
