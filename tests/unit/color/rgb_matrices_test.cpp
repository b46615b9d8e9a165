// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The stored matrices digit by digit, the choice among them, and every one of them at work.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

#include "color/CLCH.h"
#include "unit/color/ColorValues.h"
#include "unit/color/NaiveLch.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

struct Pair {
    const char* name;
    const Matrix& toXYZ;
    const Matrix& toRGB;
    std::array<double, 9> expectedXYZ, expectedRGB;
};
const Pair kPairs[] = {
    {"sRGB",
     sRGB_D50,
     inv_sRGB_D50,
     {0.4361, 0.3851, 0.1431, 0.2225, 0.7169, 0.0606, 0.0139, 0.0971, 0.7141},
     {3.1341, -1.6174, -0.4907, -0.9788, 1.9163, 0.0334, 0.072, -0.229, 1.4054}},
    {"AdobeRGB",
     AdobeRGB_D50,
     inv_AdobeRGB_D50,
     {0.6098, 0.2053, 0.1492, 0.3111, 0.6257, 0.0632, 0.0195, 0.0609, 0.7448},
     {1.9625, -0.6107, -0.3414, -0.9788, 1.9163, 0.0334, 0.0287, -0.1407, 1.3489}},
    {"AppleRGB",
     AppleRGB_D50,
     inv_AppleRGB_D50,
     {0.4756, 0.3397, 0.149, 0.2552, 0.6726, 0.0723, 0.0185, 0.1133, 0.6933},
     {2.8513, -1.361, -0.4709, -1.0928, 2.035, 0.0227, 0.1027, -0.2965, 1.4512}},
    {"ColorMatchRGB",
     ColorMatchRGB_D50,
     inv_ColorMatchRGB_D50,
     {0.5095, 0.3209, 0.1339, 0.275, 0.6581, 0.067, 0.0243, 0.1088, 0.6921},
     {2.6416, -1.2231, -0.3929, -1.1121, 2.0592, 0.016, 0.0822, -0.2808, 1.4562}},
};

TEST(RgbMatrices, HoldTheirFourDecimals) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(pair.toXYZ, pair.expectedXYZ) << pair.name;
        EXPECT_EQ(pair.toRGB, pair.expectedRGB) << pair.name;
    }
}

TEST(RgbMatrices, AreNumberedFromZeroToThree) {
    EXPECT_EQ(static_cast<int>(ColorSpace_sRGB), 0);
    EXPECT_EQ(static_cast<int>(ColorSpace_AdobeRGB), 1);
    EXPECT_EQ(static_cast<int>(ColorSpace_AppleRGB), 2);
    EXPECT_EQ(static_cast<int>(ColorSpace_ColorMatchRGB), 3);
    EXPECT_EQ(static_cast<int>(ColorSpace_Unset), 65535);
    EXPECT_EQ(sizeof(ColorSpace), 4U);
}

TEST(RgbMatrices, AreChosenByTheNumberOfTheSpace) {
    // From every space to every other, and without a space to sRGB.
    for (const int before : {0, 1, 2, 3, 65535}) {
        for (const int after : {0, 1, 2, 3, 65535}) {
            CLCH color(63195.0, 65535.0, 54073.0);
            color.SetColorSpace(static_cast<ColorSpace>(before));
            color.SetColorSpace(static_cast<ColorSpace>(after));
            const Pair& expected = kPairs[after == 65535 ? 0 : after];
            EXPECT_EQ(color.toXYZ, expected.expectedXYZ) << before << " to " << after;
            EXPECT_EQ(color.toRGB, expected.expectedRGB) << before << " to " << after;
        }
    }
}

TEST(RgbMatrices, StayUnderANumberThatIsNone) {
    for (const int number : {-2147483647 - 1, -1, 4, 5, 7, 8, 255, 256, 65534, 65536, 131071, 2147483647}) {
        for (std::size_t space = 0; space < 4; ++space) {
            CLCH color(63195.0, 65535.0, 54073.0);
            color.SetColorSpace(static_cast<ColorSpace>(space));
            color.SetColorSpace(static_cast<ColorSpace>(number));
            EXPECT_EQ(color.toXYZ, kPairs[space].expectedXYZ) << number;
            EXPECT_EQ(color.toRGB, kPairs[space].expectedRGB) << number;
        }
    }
}

TEST(RgbMatrices, RecomputeNothingWhenTheyChange) {
    CLCH color(63195.0, 65535.0, 54073.0);
    color.PutData_Lab(61.0, 14.0, -23.0);
    for (const int space : {0, 2, 3, 65535, 7, 1}) {
        const std::vector<double> before = ValuesOf(color);
        color.SetColorSpace(static_cast<ColorSpace>(space));
        EXPECT_EQ(ValuesOf(color), before) << space;
    }
}

constexpr Triple kWhites[] = {kUsualWhite, {65535.0, 65535.0, 65535.0}, {61000.5, 64000.0, 71000.0}};

CLCH In(int space, const Triple& white) {
    CLCH color(white[0], white[1], white[2]);
    color.SetColorSpace(static_cast<ColorSpace>(space));
    return color;
}

TEST(RgbMatrices, TakeEveryRgbToLab) {
    const double steps[] = {0.0, 0.25, 2.0, 2.5, 40.75, 128.0, 254.5, 255.0};
    for (int space = 0; space < 4; ++space) {
        for (const Triple& white : kWhites) {
            CLCH color = In(space, white);
            for (const double r : steps) {
                for (const double g : steps) {
                    for (const double b : steps) {
                        color.PutData_RGB(r, g, b);
                        const Triple ratios = NaiveRatios({r, g, b}, white, space);
                        const Triple lab = NaiveLab(ratios);
                        const auto [chroma, hue] = NaiveChromaHue(lab[1], lab[2]);
                        ASSERT_EQ((Triple{color.X, color.Y, color.Z}), ratios) << space << ": " << r << " " << g;
                        ASSERT_EQ((Triple{color.L, color.a, color.b}), lab) << space << ": " << r << " " << g;
                        ASSERT_EQ(color.C, chroma);
                        ASSERT_EQ(color.h, hue);
                        ASSERT_EQ((Triple{color.R, color.G, color.B}), (Triple{r, g, b})) << "the way back is not run";
                    }
                }
            }
        }
    }
}

TEST(RgbMatrices, TakeEveryLabToRgb) {
    int low = 0, high = 0;
    for (int space = 0; space < 4; ++space) {
        for (const Triple& white : kWhites) {
            CLCH color = In(space, white);
            for (const double light : {-3.0, 0.0, 4.0, 7.9996, 8.0, 31.0, 62.5, 99.0, 100.0, 120.0}) {
                for (const double a : {-128.0, -40.0, -1.5, 0.0, 2.0, 55.0, 127.0}) {
                    for (const double b : {-128.0, -33.0, -1.5, 0.0, 1.0, 60.0, 127.0}) {
                        color.PutData_Lab(light, a, b);
                        const Triple lab{light, a, b};
                        const Triple rgb = NaiveLabToRGB(lab, white, space);
                        ASSERT_EQ((Triple{color.X, color.Y, color.Z}), NaiveXYZ(lab, white)) << light << " " << a;
                        ASSERT_EQ((Triple{color.R, color.G, color.B}), rgb) << space << ": " << light << " " << a;
                        ASSERT_EQ((Triple{color.L, color.a, color.b}), lab) << "not limited";
                        for (const double value : rgb) low += value == 0.0, high += value == 255.0;
                    }
                }
            }
        }
    }
    EXPECT_GT(low, 100);  // both limits were met
    EXPECT_GT(high, 100);
}

TEST(ColourTripleLayout, IsThirtyTwoDoublesInAFixedOrder) {
    static_assert(std::is_standard_layout_v<CLCH> && !std::is_polymorphic_v<CLCH>);
    EXPECT_EQ(sizeof(CLCH), 32 * sizeof(double));
    const std::size_t places[] = {offsetof(CLCH, L),  offsetof(CLCH, C),  offsetof(CLCH, h),     offsetof(CLCH, a),
                                  offsetof(CLCH, b),  offsetof(CLCH, R),  offsetof(CLCH, G),     offsetof(CLCH, B),
                                  offsetof(CLCH, X),  offsetof(CLCH, Y),  offsetof(CLCH, Z),     offsetof(CLCH, Xw),
                                  offsetof(CLCH, Yw), offsetof(CLCH, Zw), offsetof(CLCH, toXYZ), offsetof(CLCH, toRGB)};
    for (std::size_t i = 0; i < 15; ++i) EXPECT_EQ(places[i], i * sizeof(double));
    EXPECT_EQ(places[15], 23 * sizeof(double));
}

}  // namespace
}  // namespace hueweave::test
