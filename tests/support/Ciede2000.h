// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>

namespace hueweave::test {

/// CIE Lab: L*, a*, b*.
using Lab = std::array<double, 3>;

/// CIE Lab under D65 of an sRGB colour of 0 to 1 (IEC 61966-2-1).
Lab LabOfSRGB(const std::array<double, 3>& rgb);

/// The colour difference CIEDE2000 with all weights 1 (Sharma, Wu, Dalal: The CIEDE2000 Color-Difference Formula,
/// 2005).
double Ciede2000(const Lab& one, const Lab& other);

}  // namespace hueweave::test
