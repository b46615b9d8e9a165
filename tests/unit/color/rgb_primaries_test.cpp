// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The stored matrices digit by digit, and the choice among them.
#include <gtest/gtest.h>

#include <climits>

#include "support/Matchers.h"
#include "unit/color/ColorValues.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

TEST(RgbPrimaries, HoldTheirFourDecimals) {
    const std::pair<const Matrix&, const Matrix&> stored[] = {{sRGB_D50, inv_sRGB_D50},
                                                              {AdobeRGB_D50, inv_AdobeRGB_D50},
                                                              {AppleRGB_D50, inv_AppleRGB_D50},
                                                              {ColorMatchRGB_D50, inv_ColorMatchRGB_D50}};
    for (std::size_t space = 0; space < 4; ++space) {
        EXPECT_THAT(stored[space].first, EqualTo(kNaiveMatrices[space].toXYZ)) << space;
        EXPECT_THAT(stored[space].second, EqualTo(kNaiveMatrices[space].toRGB)) << space;
    }
}

void ExpectMatrices(const CLCH& color, int space) {
    EXPECT_THAT(color.toXYZ, EqualTo(kNaiveMatrices[space].toXYZ));
    EXPECT_THAT(color.toRGB, EqualTo(kNaiveMatrices[space].toRGB));
}

TEST(RgbPrimaries, AreChosenByTheNumberOfTheSpace) {
    // From every space to every other, and without a space to sRGB.
    for (const int before : {0, 1, 2, 3, 65535}) {
        for (const int after : {0, 1, 2, 3, 65535}) {
            SCOPED_TRACE(testing::Message() << before << " to " << after);
            CLCH color = In(before, kUsualWhite);
            color.SetColorSpace(static_cast<ColorSpace>(after));
            ExpectMatrices(color, after == 65535 ? 0 : after);
        }
    }
}

TEST(RgbPrimaries, StayUnderANumberThatIsNone) {
    for (const int number : {INT_MIN, -1, 4, 5, 7, 8, 255, 256, 65534, 65536, 131071, INT_MAX}) {
        for (int space = 0; space < 4; ++space) {
            SCOPED_TRACE(testing::Message() << space << ", then " << number);
            CLCH color = In(space, kUsualWhite);
            color.SetColorSpace(static_cast<ColorSpace>(number));
            ExpectMatrices(color, space);
        }
    }
}

}  // namespace
}  // namespace hueweave::test
