// SPDX-License-Identifier: MIT
#pragma once

#include <lcms2.h>

#include <cstdint>
#include <vector>

namespace bench {

/// A profile of a printer that takes RGB, by Little CMS: "mft2" tables of 33 points in both directions, by way of
/// `connection`, which is CIELAB or XYZ. Its colours are those of AdobeRGB with a gamma of 1.8.
std::vector<std::uint8_t> TableProfile(cmsColorSpaceSignature connection);

/// A profile as a file.
std::vector<std::uint8_t> Saved(cmsHPROFILE profile);

}  // namespace bench
