// SPDX-License-Identifier: MIT
// The colour's memory layout, as the compiler sees it; the stored matrices digit by digit, and the choice between them.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <type_traits>

#include "support/Matchers.h"
#include "unit/color/ColorValues.h"

namespace hueweave::test {
namespace {

using namespace ColorLch;

static_assert(std::is_standard_layout_v<CLCH> && !std::is_polymorphic_v<CLCH>);
static_assert(std::is_trivially_destructible_v<CLCH>, "its end does nothing");
static_assert(!std::is_default_constructible_v<CLCH>, "a colour has a white from its start");
static_assert(ColorSpace_sRGB == 0 && ColorSpace_AdobeRGB == 1 && ColorSpace_AppleRGB == 2 &&
              ColorSpace_ColorMatchRGB == 3 && ColorSpace_Unset == 65535 && sizeof(ColorSpace) == 4);
static_assert(std::is_const_v<decltype(sRGB_D50)> && std::is_const_v<decltype(inv_sRGB_D50)>);
static_assert(std::is_const_v<decltype(AdobeRGB_D50)> && std::is_const_v<decltype(inv_AdobeRGB_D50)>);
static_assert(std::is_const_v<decltype(AppleRGB_D50)> && std::is_const_v<decltype(inv_AppleRGB_D50)>);
static_assert(std::is_const_v<decltype(ColorMatchRGB_D50)> && std::is_const_v<decltype(inv_ColorMatchRGB_D50)>);
static_assert(sRGB_D50[0] == 0.4361 && inv_ColorMatchRGB_D50[8] == 1.4562, "there before the program runs");

TEST(CLCHLayout, IsThirtyTwoDoublesInAFixedOrder) {
    EXPECT_EQ(sizeof(CLCH), 32 * sizeof(double));
    const std::size_t places[] = {offsetof(CLCH, L),  offsetof(CLCH, C),  offsetof(CLCH, h),     offsetof(CLCH, a),
                                  offsetof(CLCH, b),  offsetof(CLCH, R),  offsetof(CLCH, G),     offsetof(CLCH, B),
                                  offsetof(CLCH, X),  offsetof(CLCH, Y),  offsetof(CLCH, Z),     offsetof(CLCH, Xw),
                                  offsetof(CLCH, Yw), offsetof(CLCH, Zw), offsetof(CLCH, toXYZ), offsetof(CLCH, toRGB)};
    for (std::size_t i = 0; i < 15; ++i) EXPECT_EQ(places[i], i * sizeof(double));
    EXPECT_EQ(places[15], 23 * sizeof(double));
}

TEST(RgbPrimaries, AreSelectedByTheSpaceAndKeptForAnUnknownSpace) {
    const auto chosen = [](int number, int before) {
        return number == 65535 ? 0 : number >= 0 && number < 4 ? number : before;
    };
    for (const int first : {0, 1, 2, 3, 65535}) {
        for (const int second : {0, 1, 2, 3, 65535, INT_MIN, -1, 4, 5, 7, 8, 255, 256, 65534, 65536, 131071, INT_MAX}) {
            SCOPED_TRACE(testing::Message() << first << ", then " << second);
            CLCH color = In(first, kUsualWhite);
            color.SetColorSpace(static_cast<ColorSpace>(second));
            const NaiveMatrices& expected = kNaiveMatrices[chosen(second, chosen(first, kAdobeRGB))];
            EXPECT_THAT(color.toXYZ, EqualTo(expected.toXYZ));
            EXPECT_THAT(color.toRGB, EqualTo(expected.toRGB));
        }
    }
}

}  // namespace
}  // namespace hueweave::test
