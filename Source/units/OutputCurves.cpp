// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The final forms of the output tables: tone curves, and the width of the samples.
#include <algorithm>
#include <cmath>

#include "Numeric.h"
#include "units/OutputTable33.h"

namespace ICC40::ICC_UNIT {
namespace {

using ICCFILE::ColorSpaceSignature;

enum OutputModes { kRgb16 = 0, kRgb8, kCmyk16, kCmyk8, kClr6_16, kClr6_8, kClr7_16, kClr7_8 };

struct KodakRow {
    int low, high;
    double a, b, c;
};
constexpr KodakRow kKodakPhoto{0, 1024, 1.2, 0.0, 2.2};
constexpr KodakRow kKodakMix{512, 2048, 1.5, 0.2, 2.2};
constexpr KodakRow kKodakMix_16{512, 2048, 1.5, 0.0, 2.2};  // Kept: b is 0.0 where its sibling has 0.2
constexpr KodakRow kKodakText{2048, 10240, 2.0, 0.3, 2.2};

}  // namespace

void OutputTable33::SetTables(int index, int value) {
    for (int c = 0; c < 3; ++c) Lut16[c][index] = value;
}

void OutputTable33::Shift8(int tables) {
    for (int c = 0; c < tables; ++c) {
        for (int& entry : Lut16[c]) entry >>= 8;
    }
}

int OutputTable33::OutputGamma100(ColorSpaceSignature space) {
    Shift8(3);
    OutputMode = kRgb8;
    return space;
}

int OutputTable33::OutputRGB8() { return OutputGamma100(ICCFILE::CsRGB_8); }

void OutputTable33::SetTone(void (*tone)(ToneTable&), int mode) {
    tone(Lut16[0]);
    for (int c = 1; c < 3; ++c) std::copy_n(Lut16[0], 65536, Lut16[c]);
    OutputMode = mode;
}

int OutputTable33::OutputGamma180(ColorSpaceSignature space) {
    SetTone(ToneGamma180_8, kRgb8);
    return space;
}

int OutputTable33::OutputGamma180_16(ColorSpaceSignature space) {
    SetTone(ToneGamma180_16, kRgb16);
    return space;
}

int OutputTable33::OutputGamma_sRGB() {
    SetTone(ToneSRGB_8, kRgb8);
    return ICCFILE::CssRGB_8;
}

int OutputTable33::OutputGamma_sRGB_16() {
    SetTone(ToneSRGB_16, kRgb16);
    return ICCFILE::CssRGB_16;
}

void OutputTable33::KodakCurve(int low, int high, double a, double b, double c) {
    const double e = a / c;
    const double scale = std::pow(10.0, b / c) * 65535.0;
    const double top = std::pow(high / 65535.0, e) * scale;
    const double slope = top / (high - low);
    const double intercept = -(low * top) / (high - low);
    for (int i = 0; i < std::min(high, 65536); ++i) {
        SetTables(i, low < i ? std::max(Trunc(i * slope + intercept), 0) : 0);
    }
    for (int i = std::max(high, 0); i < 65535; ++i) {
        SetTables(i, std::min(Trunc(std::pow(i / 65535.0, e) * scale + 128.0), 65535));
    }
}

int OutputTable33::OutputGamma_KodakPhoto() {
    OutputGamma_KodakPhoto_16();
    Shift8(3);
    OutputMode = kRgb8;
    return ICCFILE::CsKodakPhoto_8;
}

int OutputTable33::OutputGamma_KodakPhoto_16() {
    KodakCurve(kKodakPhoto.low, kKodakPhoto.high, kKodakPhoto.a, kKodakPhoto.b, kKodakPhoto.c);
    OutputMode = kRgb16;
    return ICCFILE::CsKodakPhoto_16;
}

int OutputTable33::OutputGamma_KodakMix() {
    KodakCurve(kKodakMix.low, kKodakMix.high, kKodakMix.a, kKodakMix.b, kKodakMix.c);
    Shift8(3);
    OutputMode = kRgb8;
    return ICCFILE::CsKodakMix_8;
}

int OutputTable33::OutputGamma_KodakMix_16() {
    KodakCurve(kKodakMix_16.low, kKodakMix_16.high, kKodakMix_16.a, kKodakMix_16.b, kKodakMix_16.c);
    Shift8(3);  // Kept: 8 bits wide, against its name
    OutputMode = kRgb8;
    return ICCFILE::CsKodakMix_16;
}

int OutputTable33::OutputGamma_KodakText() {
    OutputGamma_KodakText_16();
    Shift8(3);
    OutputMode = kRgb8;
    return ICCFILE::CsKodakText_8;
}

int OutputTable33::OutputGamma_KodakText_16() {
    KodakCurve(kKodakText.low, kKodakText.high, kKodakText.a, kKodakText.b, kKodakText.c);
    OutputMode = kRgb16;
    return ICCFILE::CsKodakText_16;
}

int OutputTable33::OutputLab_8() {
    Shift8(3);
    // From the offset encoding of a* and b* to signed bytes.
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
