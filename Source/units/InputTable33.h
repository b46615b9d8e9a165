// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "iccfile/LutTags.h"
#include "units/Base.h"
#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// Three input curves: device sample to position on a grid axis.
class InputTable33 : public Base {
public:
    InputTable33();  ///< `Bits` 16, tables all 0

    /// Expands the curves of `lut` (borrowed; must be `Usable`) and reduces them to what `space` asks for. A table
    /// of two entries or fewer counts as the identity whatever it holds. Returns 0.
    int Initial(const ICCFILE::CLut16Type* lut, ICCFILE::ColorSpaceSignature space);
    /// Copies `Lut16` and `Bits` alone: the copy serves look-ups, not curve evaluation. Returns 0.
    int Initial(const InputTable33* other);

    int Change_Lut16_To_Lut8();   ///< entries 0..255 become the 8-bit table; returns 0
    int Change_Lut16_To_Lab8();   ///< the same for signed a* and b* bytes in rows 1 and 2; returns 0
    int Change_Lut16_To_Lab16();  ///< rows 1 and 2 turned by half their length for signed samples; returns 0

    /// Evaluates the curves on a, b, c, rounding to nearest.
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(unsigned char* data, int count) override;
    /// Source pixels through `Lut16` into `WorkBuf`. Returns 0, or 65535 for a code of another channel count.
    int Conversion(Info* info) override;

    double LUT_Step = 0;  ///< distance between two curve entries in 16-bit sample units
    int Curve[3][4096];   ///< the profile's curves
    int Lut16[3][65536];  ///< one entry a sample; after a reduction to 8 bit only 0 to 255 count
    int Bits = 16;        ///< sample width that indexes `Lut16`

protected:
    explicit InputTable33(const char* name);
    /// Look-up with `stride` samples a pixel in the working buffer, those behind the third set to 0.
    int Run(Info* info, int stride) const;
};

}  // namespace ICC40::ICC_UNIT
