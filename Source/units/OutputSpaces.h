// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "color/CLCH.h"
#include "iccfile/IccTypes.h"

namespace ICC40::ICC_UNIT {

/// One entry for each of the 65,536 linear values.
using ToneTable = int[65536];

/// An RGB space that pixels are converted to: all that the library knows about it.
struct OutputSpace {
    ICCFILE::ColorSpaceSignature space;
    ColorLch::ColorSpace primaries;       ///< the grid becomes linear RGB of these
    int bits;                             ///< width of a sample: 8 or 16
    ICCFILE::ColorSpaceSignature result;  ///< what a build for this space reports
    /// From linear light to samples, which users call the space's tone curve: turns a table that holds the identity.
    void (*tone)(ToneTable& table);
};

/// The row of an output space; null for every other value.
const OutputSpace* FindOutputSpace(ICCFILE::ColorSpaceSignature space);

/// A power law of exponent a / c, raised by 10 to the power of b / c, from `high` up, and a straight line to it from
/// `low`.
struct KodakLaw {
    int low, high;
    double a, b, c;
};
/// The law with 16-bit samples. Kept: entry 65535 is left as it is.
void FillByKodakLaw(ToneTable& table, const KodakLaw& law);

}  // namespace ICC40::ICC_UNIT
