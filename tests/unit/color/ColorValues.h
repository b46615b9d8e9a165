// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "color/CLCH.h"
#include "unit/color/NaiveLch.h"

// What a colour holds, as values that tests compare.
namespace hueweave::test {

inline Triple LabOf(const ColorLch::CLCH& c) { return {c.L, c.a, c.b}; }
inline Triple LchOf(const ColorLch::CLCH& c) { return {c.L, c.C, c.h}; }
inline Triple RgbOf(const ColorLch::CLCH& c) { return {c.R, c.G, c.B}; }

/// All fourteen numbers, in the order L, C, h, a, b, R, G, B, X, Y, Z and the white.
inline std::vector<double> ValuesOf(const ColorLch::CLCH& c) {
    return {c.L, c.C, c.h, c.a, c.b, c.R, c.G, c.B, c.X, c.Y, c.Z, c.Xw, c.Yw, c.Zw};
}

}  // namespace hueweave::test
