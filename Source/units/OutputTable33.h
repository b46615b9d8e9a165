// SPDX-License-Identifier: MIT
#pragma once

#include "iccfile/LutTags.h"
#include "units/Base.h"
#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// Up to seven tables from a 16-bit value to a final sample: an identity, the output curves of a profile, the caller's
/// curves, or the tone of an RGB space.
class OutputTable33 : public Base {
public:
    OutputTable33();  ///< identity tables

    /// Looks up a, b, c.
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(unsigned char* data, int count) override;
    /// Converts `WorkBuf` through the tables into `Dest`. Kept: the seven-channel codes write nothing. Returns 0.
    int Conversion(Info* info) override;
    /// Evaluates all seven curves at values of 0 to 65534, rounding to nearest.
    virtual int Interpolation(int& a, int& b, int& c, int& d, int& e, int& f, int& g);
    /// Expands the output curves of `lut` (borrowed; must be `Usable`). Returns 0.
    virtual int Initial(const ICCFILE::CLut16Type* lut);
    /// Copies 256 bytes per channel to the start of `Lut16` without scaling; fewer if the curves are shorter. Returns
    /// 0.
    virtual int Initial(const ICCFILE::CLut8Type* lut);
    /// Replaces the first `count` points of `Curve`, at most 4096, by those of three byte curves, treats them as curves
    /// of 256 points, and expands them. Kept: the last entry is always 65535. Returns 0.
    int Initial(const unsigned char* red, const unsigned char* green, const unsigned char* blue, int count);
    void ResetTable();  ///< back to the identity; other fields do not change

    // Final forms: each converts the first three tables (the CMYK and CLR forms more) to their sample width, and
    // returns the resulting encoding. They require fresh tables.
    int OutputGamma100(ICCFILE::ColorSpaceSignature space);
    int OutputGamma180(ICCFILE::ColorSpaceSignature space);
    int OutputGamma180_16(ICCFILE::ColorSpaceSignature space);
    int OutputGamma_sRGB();
    int OutputGamma_sRGB_16();
    int OutputGamma_KodakPhoto();
    int OutputGamma_KodakPhoto_16();
    int OutputGamma_KodakMix();
    int OutputGamma_KodakMix_16();  ///< Kept: 8 bits wide, and without the offset of the 8-bit curve
    int OutputGamma_KodakText();
    int OutputGamma_KodakText_16();
    int OutputRGB8();
    int OutputLab_8();
    int OutputLab_16();
    int OutputCMYK_8();
    int OutputCMYK_16();
    int OutputCLR6_8();
    int OutputCLR6_16();
    int OutputCLR7_8();
    int OutputCLR7_16();
    /// A power law from `high` up and a straight line from `low` to it; entry 65535 does not change.
    void KodakCurve(int low, int high, double a, double b, double c);

    double Step = 0;     ///< distance between two curve points on the scale 0 to 65535
    double Span = 0;     ///< divisor that converts the remainder within a step into a fraction
    int Channels = 0;    ///< output channels of the table
    int Entries = 0;     ///< points in each curve
    int OutputMode = 0;  ///< 0, 1 RGB or Lab; 2, 3 CMYK; 4, 5 six; 6, 7 seven channels; even: 16 bits, odd: 8 bits
    int Curve[7][4096];  ///< on the 16-bit scale
    int Lut16[7][65536];

private:
    void Shift8(int tables);
    /// Applies the tone of an output space to the first three tables, which must be fresh. Returns its result.
    int BecomeSpace(ICCFILE::ColorSpaceSignature space);
};

}  // namespace ICC40::ICC_UNIT
