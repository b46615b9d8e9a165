// SPDX-License-Identifier: MIT
#pragma once

#include "iccfile/LutTags.h"
#include "units/Base.h"
#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// Three input curves: device sample to position on a grid axis.
class InputTable33 : public Base {
public:
    InputTable33();  ///< `Bits` 16, tables all 0

    /// Expands the curves of `lut` (borrowed; must be `Usable`) and reduces them to the form required by `space`. A
    /// table of two entries or fewer is treated as the identity, whatever its values. Returns 0.
    int Initial(const ICCFILE::CLut16Type* lut, ICCFILE::ColorSpaceSignature space);
    /// Copies only `Lut16` and `Bits`: the copy supports look-ups but not curve evaluation. Returns 0.
    int Initial(const InputTable33* other);

    int Change_Lut16_To_Lut8();   ///< entries 0..255 become the 8-bit table; returns 0
    int Change_Lut16_To_Lab8();   ///< the same for signed a* and b* bytes in rows 1 and 2; returns 0
    int Change_Lut16_To_Lab16();  ///< rows 1 and 2 rotated by half their length for signed samples; returns 0

    /// Evaluates the curves on a, b, c, rounding to nearest.
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(unsigned char* data, int count) override;
    /// Converts source pixels through `Lut16` into `WorkBuf`. Returns 0, or 65535 for a code with another number of
    /// channels.
    int Conversion(Info* info) override;

    double LUT_Step = 0;  ///< distance between two curve entries in 16-bit sample units
    int Curve[3][4096];   ///< the profile's curves
    int Lut16[3][65536];  ///< one entry per sample value; after a reduction to 8 bits only 0 to 255 are used
    int Bits = 16;        ///< sample width that indexes `Lut16`

protected:
    explicit InputTable33(const char* name);
    /// Look-up with `stride` samples per pixel in the working buffer; samples after the third are set to 0.
    int Run(Info* info, int stride) const;
};

}  // namespace ICC40::ICC_UNIT
