// SPDX-License-Identifier: MIT
#include "units/InputTable33.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "base/Numeric.h"
#include "units/CurveEvaluation.h"
#include "units/WorkingPixels.h"

namespace ICC40::ICC_UNIT {

InputTable33::InputTable33() : InputTable33("InputTable33") {}

InputTable33::InputTable33(const char* name) : Base(name), Curve{}, Lut16{} {}

int InputTable33::Initial(const ICCFILE::CLut16Type* lut, ICCFILE::ColorSpaceSignature space) {
    const int entries = lut->inputEnt;
    const int channels = lut->inputChan;
    if (entries > 2) {
        LUT_Step = 65535.0 / (entries - 1);
        const std::uint16_t* curves = lut->inputTable.get();
        for (int c = 0; c < channels; ++c) std::copy_n(curves + c * entries, entries, Curve[c]);
        unsigned short s[7] = {};
        for (int v = 0; v < 65535; ++v) {
            s[0] = s[1] = s[2] = static_cast<unsigned short>(v);
            Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
            for (int row = 0; row < 3; ++row) Lut16[row][v] = s[row];
        }
        // Evaluating at 65535 would read beyond the end of the curve.
        for (int row = 0; row < 3; ++row) Lut16[row][65535] = Curve[row][entries - 1];
    } else {
        // Kept: two entries are treated as the identity, even if they do not run from 0 to 65535.
        LUT_Step = 65535.0 / 4095;
        for (int c = 0; c < channels; ++c) {
            for (int n = 0; n < 4096; ++n) Curve[c][n] = 16 * n;
            for (int n = 0; n < 65536; ++n) Lut16[c][n] = n;
        }
    }
    switch (space) {
        case ICCFILE::CsRGB_16:
            return 0;  // Kept: does not set `Bits`
        case ICCFILE::CsLab_8:
            return Change_Lut16_To_Lab8();
        case ICCFILE::CsLab_16:
            return Change_Lut16_To_Lab16();
        default:
            return Change_Lut16_To_Lut8();
    }
}

int InputTable33::Initial(const InputTable33* other) {
    std::memcpy(Lut16, other->Lut16, sizeof Lut16);
    Bits = other->Bits;
    return 0;
}

int InputTable33::Change_Lut16_To_Lut8() {
    for (auto& row : Lut16) {
        for (int i = 1; i < 255; ++i) row[i] = row[i * 256];
        row[255] = row[65535];  // full scale uses the end of the curve, not entry 65280
    }
    Bits = 8;
    return 0;
}

int InputTable33::Change_Lut16_To_Lab8() {
    // In place and in this order. Kept: at i = 128 rows 1 and 2 read entry 0, which has already been replaced at i = 0.
    for (int i = 0; i < 256; ++i) {
        const int nudge = i < 128 ? -1 : 1;
        Lut16[0][i] = Lut16[0][i * 256];
        Lut16[1][i] = Lut16[1][(i ^ 128) * 256] + nudge;
        Lut16[2][i] = Lut16[2][(i ^ 128) * 256] + nudge;
    }
    Bits = 8;
    return 0;
}

int InputTable33::Change_Lut16_To_Lab16() {
    // Kept: entries 32767 and 65535 are not swapped.
    for (int row = 1; row < 3; ++row) {
        for (int i = 0; i < 32767; ++i) std::swap(Lut16[row][i], Lut16[row][i ^ 32768]);
    }
    Bits = 16;
    return 0;
}

int InputTable33::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short&, unsigned short&,
                             unsigned short&, unsigned short&) {
    unsigned short* const samples[] = {&a, &b, &c};
    for (int row = 0; row < 3; ++row) *samples[row] = EvaluateInputCurve<int>(Curve[row], LUT_Step, *samples[row]);
    return 0;
}

int InputTable33::Conversion(unsigned char*, int) { return 0; }

int InputTable33::Conversion(Info* info) { return Run(info, 3); }

int InputTable33::Run(Info* info, int stride) const {
    const PixelFormat format = FindFormat(info->FormatCode);
    if (format.channels != stride) return kUnset;
    if (info->Source == nullptr) return 0;
    const int pixels = WorkingPixels(*info, stride);
    const unsigned char* source = info->Source;
    unsigned short* work = info->WorkBuf.get();
    for (int p = 0; p < pixels; ++p, work += stride) {
        for (int row = 0; row < 3; ++row) {
            unsigned short sample = *source;
            if (format.source16) std::memcpy(&sample, source, sizeof sample);
            source += format.source16 ? 2 : 1;
            work[row] = Low16(Lut16[row][sample]);
        }
        std::fill(work + 3, work + stride, static_cast<unsigned short>(0));
    }
    return 0;
}

}  // namespace ICC40::ICC_UNIT
