// SPDX-License-Identifier: MIT
#include "units/OutputTable33.h"

#include <algorithm>
#include <cstring>

#include "base/Numeric.h"
#include "units/CurveEvaluation.h"
#include "units/WorkingPixels.h"

namespace ICC40::ICC_UNIT {

OutputTable33::OutputTable33() : Base("OutputTable33") { ResetTable(); }

void OutputTable33::ResetTable() {
    for (auto& row : Curve) {
        for (int i = 0; i < 4096; ++i) row[i] = i;
    }
    for (auto& row : Lut16) {
        for (int i = 0; i < 65536; ++i) row[i] = i;
    }
}

int OutputTable33::Initial(const ICCFILE::CLut16Type* lut) {
    Channels = lut->outputChan;
    Entries = lut->outputEnt;
    const bool identity = Entries < 3;
    if (identity) {
        Entries = 4096;
        Step = 65535.0 / 4095;
        Span = 15.0;  // Kept: 15 instead of 16, which the rule below would give
        for (int c = 0; c < Channels; ++c) {
            for (int i = 0; i < 4096; ++i) Curve[c][i] = 16 * i;
        }
    } else {
        Step = 65535.0 / (Entries - 1);
        Span = 65536.0 / Entries;
        const std::uint16_t* curves = lut->outputTable.get();
        for (int c = 0; c < Channels; ++c) std::copy_n(curves + c * Entries, Entries, Curve[c]);
    }
    for (int v = 0; v < 65535; ++v) {
        int s[7] = {v, v, v, v, v, v, v};
        Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (int c = 0; c < 7; ++c) Lut16[c][v] = s[c];
    }
    for (int c = 0; c < 7; ++c) Lut16[c][65535] = identity ? 65535 : Curve[c][Entries - 1];
    return 0;
}

int OutputTable33::Initial(const ICCFILE::CLut8Type* lut) {
    const int entries = std::min<int>(lut->outputEnt, 256);
    const std::uint8_t* curves = lut->outputTable.get();
    if (curves == nullptr) return 0;
    for (int c = 0; c < std::min<int>(lut->outputChan, 7); ++c) {
        std::copy_n(curves + c * lut->outputEnt, entries, Lut16[c]);
    }
    return 0;
}

int OutputTable33::Initial(const unsigned char* red, const unsigned char* green, const unsigned char* blue, int count) {
    for (int i = 0; i < std::min(count, 4096); ++i) {
        Curve[0][i] = red[i] << 8;
        Curve[1][i] = green[i] << 8;
        Curve[2][i] = blue[i] << 8;
    }
    // Treated as a curve of 256 points, whatever the count.
    Step = 257.0;
    Span = 256.0;
    for (int v = 0; v < 65535; ++v) {
        int s[7] = {v, v, v};
        Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (int c = 0; c < 7; ++c) Lut16[c][v] = s[c];
    }
    for (int c = 0; c < 7; ++c) Lut16[c][65535] = c < 3 ? 65535 : 0;  // Kept: white stays white
    return 0;
}

int OutputTable33::Interpolation(int& a, int& b, int& c, int& d, int& e, int& f, int& g) {
    int* const values[] = {&a, &b, &c, &d, &e, &f, &g};
    for (int channel = 0; channel < 7; ++channel) {
        *values[channel] = EvaluateOutputCurve(Curve[channel], Step, Span, *values[channel]);
    }
    return 0;
}

int OutputTable33::Conversion(unsigned short& a, unsigned short& b, unsigned short& c, unsigned short&, unsigned short&,
                              unsigned short&, unsigned short&) {
    a = Low16(Lut16[0][a]);
    b = Low16(Lut16[1][b]);
    c = Low16(Lut16[2][c]);
    return 0;
}

int OutputTable33::Conversion(unsigned char*, int) { return 0; }

int OutputTable33::Conversion(Info* info) {
    const PixelFormat format = FindFormat(info->FormatCode);
    // Kept: the seven-channel codes write nothing.
    if (format.channels == 0 || format.channels == 7 || info->Dest == nullptr) return 0;
    const int pixels = WorkingPixels(*info, format.channels);
    const unsigned short* work = info->WorkBuf.get();
    unsigned char* dest = info->Dest;
    for (int p = 0; p < pixels; ++p) {
        for (int c = 0; c < format.channels; ++c) {
            const unsigned short sample = Low16(Lut16[c][*work++]);
            if (format.dest16) {
                std::memcpy(dest, &sample, sizeof sample);
                dest += sizeof sample;
            } else {
                *dest++ = static_cast<unsigned char>(sample);
            }
        }
    }
    return 0;
}

}  // namespace ICC40::ICC_UNIT
