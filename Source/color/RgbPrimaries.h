// SPDX-License-Identifier: MIT
#pragma once

#include <array>

namespace ColorLch {

/// 3 x 3 values in row order.
using Matrix = std::array<double, 9>;

// Matrices of the four RGB spaces, adapted to D50, for linear RGB to XYZ and back. The values are stored with four
// decimals and not computed: the inverse matrices are not exact inverses.
inline constexpr Matrix sRGB_D50 = {0.4361, 0.3851, 0.1431, 0.2225, 0.7169, 0.0606, 0.0139, 0.0971, 0.7141};
inline constexpr Matrix inv_sRGB_D50 = {3.1341, -1.6174, -0.4907, -0.9788, 1.9163, 0.0334, 0.072, -0.229, 1.4054};
inline constexpr Matrix AdobeRGB_D50 = {0.6098, 0.2053, 0.1492, 0.3111, 0.6257, 0.0632, 0.0195, 0.0609, 0.7448};
inline constexpr Matrix inv_AdobeRGB_D50 = {1.9625, -0.6107, -0.3414, -0.9788, 1.9163, 0.0334, 0.0287, -0.1407, 1.3489};
inline constexpr Matrix AppleRGB_D50 = {0.4756, 0.3397, 0.149, 0.2552, 0.6726, 0.0723, 0.0185, 0.1133, 0.6933};
inline constexpr Matrix inv_AppleRGB_D50 = {2.8513, -1.361, -0.4709, -1.0928, 2.035, 0.0227, 0.1027, -0.2965, 1.4512};
inline constexpr Matrix ColorMatchRGB_D50 = {0.5095, 0.3209, 0.1339, 0.275, 0.6581, 0.067, 0.0243, 0.1088, 0.6921};
inline constexpr Matrix inv_ColorMatchRGB_D50 = {2.6416, -1.2231, -0.3929, -1.1121, 2.0592,
                                                 0.016,  0.0822,  -0.2808, 1.4562};

}  // namespace ColorLch
