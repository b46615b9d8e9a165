// SPDX-License-Identifier: MIT
#pragma once

#include "units/ColorTable33.h"

namespace ICC40::ICC_UNIT {

/// `ColorTable33` with 4 output channels, for a working buffer with 4 samples per pixel. Interpolation writes a to d.
/// Loading, resampling and the transformations are those of the base class; the transformations change only channels 0
/// to 2.
class ColorTable34 : public ColorTable33 {
public:
    ColorTable34();
    using ColorTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    /// Converts the working buffer: reads the first three samples of a pixel and overwrites all of them. Returns 0.
    int Conversion(Info* info) override;
};

/// The same with 6 output channels; interpolation writes a to f.
class ColorTable36 : public ColorTable33 {
public:
    ColorTable36();
    using ColorTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(Info* info) override;
};

/// The same with 7 output channels; interpolation writes a to g.
class ColorTable37 : public ColorTable33 {
public:
    ColorTable37();
    using ColorTable33::Conversion;
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(Info* info) override;
};

}  // namespace ICC40::ICC_UNIT
