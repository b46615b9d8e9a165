// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <lcms2.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "command/support/Picture.h"
#include "judges/colours/Truth.h"

namespace hueweave::test {

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct TransformCloser {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;
using Transform = std::unique_ptr<void, TransformCloser>;
/// A file, and the profile embedded in a TIFF file, opened by Little CMS.
Profile OpenProfile(const std::string& path);
Profile ProfileOf(const std::string& bytes);

using Triple = std::array<double, 3>;
using Columns = std::array<Triple, 3>;  ///< XYZ of each channel at full light

/// The device of the profiles that WriteDeviceProfile writes as a matrix, with curves of gamma 1.8; and sRGB.
inline constexpr Columns kDevice{{{0.1431, 0.0606, 0.7141}, {0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}}};
inline constexpr Columns kSrgb{{{0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}, {0.1431, 0.0606, 0.7141}}};

/// The colour of the given light of each channel, 0 to 1.
inline cmsCIELab LabOf(const Columns& columns, const Triple& light) {
    constexpr Triple kD50{0.9642, 1.0, 0.8249};
    const auto f = [&](std::size_t i) {
        const double t = (columns[0][i] * light[0] + columns[1][i] * light[1] + columns[2][i] * light[2]) / kD50[i];
        return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
    };
    return {116.0 * f(1) - 16.0, 500.0 * (f(0) - f(1)), 200.0 * (f(1) - f(2))};
}

/// Profiles that the engine does not accept unchanged, written by Little CMS. All describe one device: sRGB colours
/// with a gamma of 1.8 and swapped channels, so that no other profile is mistaken for them.
enum class Form {
    Mft1,         ///< 8-bit table
    Mft2OddGrid,  ///< 21 grid points
    Mft2Xyz,      ///< 16-bit table to XYZ
    MabCurves,    ///< "mAB " with parametric curves
    MabMatrix,    ///< "mAB " with matrix and M curves
    Mab8Bit,      ///< "mAB " with an 8-bit grid
    Matrix4,      ///< matrix and curves, version 4
};
void WriteDeviceProfile(const std::string& path, Form form);

/// Profiles of other classes and colours.
void WriteGreyProfile(const std::string& path);
void WriteAbstractProfile(const std::string& path);
void WriteLinkProfile(const std::string& path);
void WriteCmykProfile(const std::string& path);
/// A profile with a class and a connection space, but no colours.
void WriteEmptyProfile(const std::string& path);

/// The scanner's profile with this many zeros appended, and a mark of 0 to 59 in its date.
std::string PaddedProfile(std::size_t more, int mark = 0);

/// Every `step`-th pixel of an RGB image.
std::vector<judge::Rgb> PixelsOf(const Picture& picture, std::size_t step = 1);

/// The mean CIEDE2000 between two 16-bit files: `converted`, with its embedded profile, and `source` under `profile`,
/// both by Little CMS in floating point. The source is first clipped to the gamut of the other.
double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted);

}  // namespace hueweave::test
