// SPDX-License-Identifier: MIT
#pragma once

#include <lcms2.h>

#include <string>

#include "judges/colours/Truth.h"

// Profiles of devices whose colours are defined by formulas.
namespace hueweave::test {

using judge::Profile;
using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;  ///< rows first

Vector Times(const Matrix& matrix, const Vector& vector);
Matrix Times(const Matrix& one, const Matrix& other);
Matrix Inverse(const Matrix& matrix);

/// Chromaticities x and y.
struct Gamut {
    Vector white, red, green, blue;
};
inline constexpr Vector kDaylight65{0.3127, 0.3290, 0}, kDaylight50{0.3457, 0.3585, 0};
inline constexpr Gamut kGamutSrgb{kDaylight65, {0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}};
inline constexpr Gamut kGamutAdobe{kDaylight65, {0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}};
inline constexpr Gamut kGamutP3{kDaylight65, {0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}};
inline constexpr Gamut kGamut2020{kDaylight65, {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}};
inline constexpr Gamut kGamutProPhoto{kDaylight50, {0.7347, 0.2653}, {0.1596, 0.8404}, {0.0366, 0.0001}};
inline constexpr Gamut kGamutEci{kDaylight50, {0.67, 0.33}, {0.21, 0.71}, {0.14, 0.08}};

/// Linear RGB to XYZ under D50, with Bradford adaptation.
Matrix ToXyz(const Gamut& gamut);
/// The same for sRGB with other channels, so that no other profile is mistaken for one with these colours.
inline constexpr Matrix kSwappedSrgb{{{0.1431, 0.4361, 0.3851}, {0.0606, 0.2225, 0.7169}, {0.7141, 0.0139, 0.0971}}};
/// The colour under D50 of the linear light of each channel, 0 to 1.
cmsCIELab LabOf(const Matrix& toXyz, const Vector& light);

/// Blocks of parametric type ("para") with one of the five ICC functions, and of type "curv" with an exponent or a
/// table.
Bytes ParaBlock(unsigned function, const std::vector<double>& parameters);
Bytes GammaBlock(double exponent);
Bytes TableBlock(const std::vector<double>& values);
/// The sRGB curve as a formula, in a "para" block.
Bytes SrgbFormula();
/// The linear light of an sRGB sample by IEC 61966-2-1, and the inverse; both 0 to 1.
double SrgbLight(double sample);
double SrgbSample(double light);

/// A profile of a matrix and curves with a D50 white point.
Bytes MatrixProfile(const Matrix& toXyz, const std::array<Bytes, 3>& curves, int version = 2,
                    cmsProfileClassSignature kind = cmsSigInputClass);
inline Bytes MatrixProfile(const Gamut& gamut, const Bytes& curve, int version = 2,
                           cmsProfileClassSignature kind = cmsSigInputClass) {
    return MatrixProfile(ToXyz(gamut), {curve, curve, curve}, version, kind);
}

/// A profile without colours, with a D50 white point; and the file of a profile.
Profile BlankProfile(double version, cmsColorSpaceSignature colours, cmsColorSpaceSignature connection,
                     cmsProfileClassSignature kind);
Bytes Saved(const Profile& profile);

/// A printer or scanner with tables: light is a power of the samples, above a black of 1 % of the white.
struct TableDevice {
    double version = 2.4;
    bool xyz = false;     ///< the connection space; else Lab
    bool bytes = false;   ///< 8-bit tables
    bool matrix = false;  ///< between M curves, version 4 only: "curves, CLUT, curves, matrix, curves"
    bool noGrid = false;  ///< version 4 with XYZ only: "curves, matrix, curves"
    bool target = false;  ///< also has tables from PCS to device
    bool screen = false;  ///< of class "mntr"
    bool plain = false;   ///< of `kSwappedSrgb`: one table for all intents, no black, and a D50 white
    unsigned points = 9;  ///< grid points per axis
};
/// Has a different table for each of three intents, and a paper white other than D50, unless it is plain.
Bytes TableProfile(const TableDevice& device);

/// Version 4 with a table of floating-point elements and no other tag to fall back on. Its curve has a step if `rough`.
Bytes FloatProfile(bool rough);

/// Built by Little CMS.
Bytes LcmsSrgb();

/// Made by ArgyllCMS: "scanner.icc" and others.
Bytes ArgyllProfile(const std::string& name);

}  // namespace hueweave::test
