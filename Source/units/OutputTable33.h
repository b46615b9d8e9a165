// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "iccfile/LutTags.h"
#include "units/Base.h"
#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// Up to seven tables from a 16-bit value to a final sample: an identity, the output curves of a profile, curves
/// of the caller's, or the tone of an RGB space.
class OutputTable33 : public Base {
public:
    OutputTable33();  ///< identity tables

    /// Looks up a, b, c.
    int Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short& d, unsigned short& e,
                   unsigned short& f, unsigned short& g) override;
    int Conversion(unsigned char* data, int count) override;
    /// `WorkBuf` through the tables into `Dest`. Kept: the seven-channel codes write nothing. Returns 0.
    int Conversion(Info* info) override;
    /// Evaluates all seven curves at values of 0 to 65534, rounding to nearest.
    virtual int Interpolation(int& a, int& b, int& c, int& d, int& e, int& f, int& g);
    /// Expands the output curves of `lut` (borrowed; must be `Usable`). Returns 0.
    virtual int Initial(const ICCFILE::CLut16Type* lut);
    /// Copies 256 bytes a channel to the start of `Lut16`, unscaled; fewer when the curves are shorter. Returns 0.
    virtual int Initial(const ICCFILE::CLut8Type* lut);
    /// Lays `count` points of three byte curves over `Curve`, taken as curves of 256 points, and expands. At most
    /// 4096 are taken. Kept: the last entry is 65535 whatever the arrays end in. Returns 0.
    int Initial(const unsigned char* red, const unsigned char* green, const unsigned char* blue, int count);
    void ResetTable();  ///< identity again; the other fields stay

    // Final forms, each giving the first three tables (the CMYK and CLR forms more) their width, and returning the
    // encoding that they hold. They assume fresh tables.
    int OutputGamma100(ICCFILE::ColorSpaceSignature space);
    int OutputGamma180(ICCFILE::ColorSpaceSignature space);
    int OutputGamma180_16(ICCFILE::ColorSpaceSignature space);
    int OutputGamma_sRGB();
    int OutputGamma_sRGB_16();
    int OutputGamma_KodakPhoto();
    int OutputGamma_KodakPhoto_16();
    int OutputGamma_KodakMix();
    int OutputGamma_KodakMix_16();  ///< Kept: 8 bits wide, and without the offset of its sibling
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
    /// A power law from `high` up and a straight line from `low` to it; entry 65535 is left as it is.
    void KodakCurve(int low, int high, double a, double b, double c);

    double Step = 0;     ///< distance between two curve points on the scale 0 to 65535
    double Span = 0;     ///< divisor that turns the rest within a step into a fraction
    int Channels = 0;    ///< output channels of the table
    int Entries = 0;     ///< points in each curve
    int OutputMode = 0;  ///< 0, 1 RGB or Lab; 2, 3 CMYK; 4, 5 six; 6, 7 seven channels; even 16 bit, odd 8 bit
    int Curve[7][4096];  ///< on the 16-bit scale
    int Lut16[7][65536];

private:
    void Shift8(int tables);
    /// Sends the first three tables, which are fresh, through the tone of an output space. Returns its result.
    int BecomeSpace(ICCFILE::ColorSpaceSignature space);
};

}  // namespace ICC40::ICC_UNIT
