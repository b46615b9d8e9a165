// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <lcms2.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>

namespace hueweave::test {

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct TransformCloser {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;
using Transform = std::unique_ptr<void, TransformCloser>;
/// Little CMS's view of a file, and of a profile that a picture holds.
Profile OpenProfile(const std::string& path);
Profile ProfileOf(const std::string& bytes);

using Triple = std::array<double, 3>;
using Columns = std::array<Triple, 3>;  ///< XYZ of each channel's full light

/// What WriteDeviceProfile writes as a matrix, whose curves are a gamma of 1.8; and sRGB.
inline constexpr Columns kDevice{{{0.1431, 0.0606, 0.7141}, {0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}}};
inline constexpr Columns kSrgb{{{0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}, {0.1431, 0.0606, 0.7141}}};

/// The colour of so much light of each channel, of 0 to 1.
inline cmsCIELab LabOf(const Columns& columns, const Triple& light) {
    constexpr Triple kD50{0.9642, 1.0, 0.8249};
    const auto f = [&](std::size_t i) {
        const double t = (columns[0][i] * light[0] + columns[1][i] * light[1] + columns[2][i] * light[2]) / kD50[i];
        return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
    };
    return {116.0 * f(1) - 16.0, 500.0 * (f(0) - f(1)), 200.0 * (f(1) - f(2))};
}

/// Kinds of profiles that the engine does not take as they are, written by Little CMS. All describe one device: sRGB
/// colours under a gamma of 1.8, and swapped channels, so that no other profile is mistaken for them.
enum class Form {
    Mft1,         ///< a table of bytes
    Mft2OddGrid,  ///< 21 points
    Mft2Xyz,      ///< a table of 16 bits to XYZ
    MabCurves,    ///< "mAB " with parametric curves
    MabMatrix,    ///< "mAB " with matrix and M curves
    Mab8Bit,      ///< "mAB " with a grid of bytes
    Matrix4,      ///< matrix and curves, version 4
};
void WriteDeviceProfile(const std::string& path, Form form);

/// Profiles of other classes and colours.
void WriteGreyProfile(const std::string& path);
void WriteAbstractProfile(const std::string& path);
void WriteLinkProfile(const std::string& path);
void WriteCmykProfile(const std::string& path);
/// A class and a connection space, and nothing that tells of colours.
void WriteEmptyProfile(const std::string& path);

/// The scanner's profile with so many zeros more, and a mark of 0 to 59 in its date.
std::string PaddedProfile(std::size_t more, int mark = 0);

/// CIEDE2000 on average between two 16-bit files: `converted`, which embeds its profile, and `source` under
/// `profile`, both by Little CMS in floating point, the source cut to the space of the other first.
double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted);

}  // namespace hueweave::test
