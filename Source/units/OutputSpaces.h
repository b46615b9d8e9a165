// SPDX-License-Identifier: MIT
#pragma once

#include "color/CLCH.h"
#include "iccfile/IccTypes.h"

namespace ICC40::ICC_UNIT {

/// One entry for each of the 65,536 linear values.
using ToneTable = int[65536];

/// An RGB output space, with everything that the library knows about it.
struct OutputSpace {
    ICCFILE::ColorSpaceSignature space;
    ColorLch::ColorSpace primaries;       ///< the grid is converted to linear RGB with these
    int bits;                             ///< width of a sample: 8 or 16
    ICCFILE::ColorSpaceSignature result;  ///< result of a build for this space
    /// Converts linear light to samples (the tone curve of the space): transforms a table that contains the identity.
    void (*tone)(ToneTable& table);
};

/// The row of an output space; null for every other value.
const OutputSpace* FindOutputSpace(ICCFILE::ColorSpaceSignature space);

/// A power law with exponent a / c, multiplied by 10^(b / c), from `high` up, and a straight line to it from `low`.
struct KodakLaw {
    int low, high;
    double a, b, c;
};
/// The law for 16-bit samples. Kept: entry 65535 does not change.
void FillByKodakLaw(ToneTable& table, const KodakLaw& law);

}  // namespace ICC40::ICC_UNIT
