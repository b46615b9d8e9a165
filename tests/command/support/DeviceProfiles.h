// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <functional>
#include <string>

namespace hueweave::test {

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

/// CIEDE2000 on average between two 16-bit files: `converted`, which embeds its profile, and `source` under
/// `profile`, both by Little CMS in floating point, the source cut to the space of the other first.
double MeanDifference(const std::string& source, const std::string& profile, int intent, const std::string& converted);

}  // namespace hueweave::test
