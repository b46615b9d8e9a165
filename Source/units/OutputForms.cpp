// SPDX-License-Identifier: MIT
// The final forms of the output tables: tones, and the width of the samples.
#include "units/OutputSpaces.h"
#include "units/OutputTable33.h"

namespace ICC40::ICC_UNIT {
namespace {

using ICCFILE::ColorSpaceSignature;

enum OutputModes { kRgb16 = 0, kRgb8, kCmyk16, kCmyk8, kClr6_16, kClr6_8, kClr7_16, kClr7_8 };

}  // namespace

void OutputTable33::Shift8(int tables) {
    for (int c = 0; c < tables; ++c) {
        for (int& entry : Lut16[c]) entry >>= 8;
    }
}

int OutputTable33::BecomeSpace(ColorSpaceSignature space) {
    const OutputSpace& row = *FindOutputSpace(space);
    for (int c = 0; c < 3; ++c) row.tone(Lut16[c]);
    OutputMode = row.bits == 8 ? kRgb8 : kRgb16;
    return row.result;
}

// The caller passes one of several spaces with the same tone.
int OutputTable33::OutputGamma100(ColorSpaceSignature space) {
    BecomeSpace(ICCFILE::CssRGB_Gamma100_8);
    return space;
}

int OutputTable33::OutputGamma180(ColorSpaceSignature space) {
    BecomeSpace(ICCFILE::CsAdobeRGB_Gamma180_8);
    return space;
}

int OutputTable33::OutputGamma180_16(ColorSpaceSignature space) {
    BecomeSpace(ICCFILE::CsAdobeRGB_Gamma180_16);
    return space;
}

int OutputTable33::OutputGamma_sRGB() { return BecomeSpace(ICCFILE::CssRGB_8); }
int OutputTable33::OutputGamma_sRGB_16() { return BecomeSpace(ICCFILE::CssRGB_16); }
int OutputTable33::OutputGamma_KodakPhoto() { return BecomeSpace(ICCFILE::CsKodakPhoto_8); }
int OutputTable33::OutputGamma_KodakPhoto_16() { return BecomeSpace(ICCFILE::CsKodakPhoto_16); }
int OutputTable33::OutputGamma_KodakMix() { return BecomeSpace(ICCFILE::CsKodakMix_8); }
int OutputTable33::OutputGamma_KodakMix_16() { return BecomeSpace(ICCFILE::CsKodakMix_16); }
int OutputTable33::OutputGamma_KodakText() { return BecomeSpace(ICCFILE::CsKodakText_8); }
int OutputTable33::OutputGamma_KodakText_16() { return BecomeSpace(ICCFILE::CsKodakText_16); }

int OutputTable33::OutputRGB8() { return OutputGamma100(ICCFILE::CsRGB_8); }

void OutputTable33::KodakCurve(int low, int high, double a, double b, double c) {
    for (int channel = 0; channel < 3; ++channel) FillByKodakLaw(Lut16[channel], {low, high, a, b, c});
}

int OutputTable33::OutputLab_8() {
    Shift8(3);
    // Converts the offset encoding of a* and b* to signed bytes.
    for (int c = 1; c < 3; ++c) {
        for (int& entry : Lut16[c]) entry ^= 0x80;
    }
    OutputMode = kRgb8;
    return ICCFILE::CsLab_8;
}

int OutputTable33::OutputLab_16() {
    for (int c = 1; c < 3; ++c) {
        for (int& entry : Lut16[c]) entry ^= 0x8000;
    }
    OutputMode = kRgb16;
    return ICCFILE::CsLab_16;
}

int OutputTable33::OutputCMYK_8() {
    Shift8(4);
    OutputMode = kCmyk8;
    return ICCFILE::CsCMYK_8;
}

int OutputTable33::OutputCMYK_16() {
    OutputMode = kCmyk16;
    return ICCFILE::CsCMYK_16;
}

int OutputTable33::OutputCLR6_8() {
    Shift8(6);
    OutputMode = kClr6_8;
    return ICCFILE::CsCLR6_8;
}

int OutputTable33::OutputCLR6_16() {
    OutputMode = kClr6_16;
    return ICCFILE::CsCLR6_16;
}

int OutputTable33::OutputCLR7_8() {
    Shift8(7);
    OutputMode = kClr7_8;
    return ICCFILE::CsCLR7_8;
}

int OutputTable33::OutputCLR7_16() {
    OutputMode = kClr7_16;
    return ICCFILE::CsCLR7_16;
}

}  // namespace ICC40::ICC_UNIT
