// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "color/CLCH.h"
#include "support/NaiveLch.h"

// Colours that the tests create, and their fields as comparable values.
namespace hueweave::test {

inline constexpr int kAdobeRGB = 1;

/// A black colour with the given white and the initial matrices.
inline ColorLch::CLCH Under(const Triple& white) { return ColorLch::CLCH(white[0], white[1], white[2]); }
/// The same with the matrices of an RGB space.
inline ColorLch::CLCH In(int space, const Triple& white) {
    ColorLch::CLCH color = Under(white);
    color.SetColorSpace(static_cast<ColorLch::ColorSpace>(space));
    return color;
}

inline Triple LabOf(const ColorLch::CLCH& c) { return {c.L, c.a, c.b}; }
inline Triple LchOf(const ColorLch::CLCH& c) { return {c.L, c.C, c.h}; }
inline Triple RgbOf(const ColorLch::CLCH& c) { return {c.R, c.G, c.B}; }
inline Triple XyzOf(const ColorLch::CLCH& c) { return {c.X, c.Y, c.Z}; }
inline Triple WhiteOf(const ColorLch::CLCH& c) { return {c.Xw, c.Yw, c.Zw}; }

/// All fourteen numbers, in the order L, C, h, a, b, R, G, B, X, Y, Z and the white.
inline std::vector<double> ValuesOf(const ColorLch::CLCH& c) {
    return {c.L, c.C, c.h, c.a, c.b, c.R, c.G, c.B, c.X, c.Y, c.Z, c.Xw, c.Yw, c.Zw};
}

}  // namespace hueweave::test
