// SPDX-License-Identifier: MIT
#pragma once

#include "colour/Profiles.h"
#include "command/support/Picture.h"

namespace hueweave::test {

using judge::Transform;
/// A file, and the profile embedded in a TIFF file, opened by Little CMS.
Profile OpenProfile(const std::string& path);
Profile ProfileOf(const std::string& bytes);

/// Profiles that the engine does not accept unchanged. All but `Mft2Xyz`, whose table has further curves, describe one
/// device: `kSwappedSrgb` with a gamma of 1.8.
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
void WriteLinkProfile(const std::string& path);
void WriteCmykProfile(const std::string& path);

/// The scanner's profile with this many zeros appended, and a mark of 0 to 59 in its date.
std::string PaddedProfile(std::size_t more, int mark = 0);

/// Every `step`-th pixel of an RGB image.
std::vector<judge::Rgb> PixelsOf(const Picture& picture, std::size_t step = 1);

/// The mean CIEDE2000 between two 16-bit files: `converted`, with its embedded profile, and `source` under `profile`,
/// both by Little CMS in floating point. The source is first clipped to the gamut of the other.
double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted);

}  // namespace hueweave::test
