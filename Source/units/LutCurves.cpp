// SPDX-License-Identifier: MIT
#include "units/LutCurves.h"

#include <algorithm>
#include <numeric>

namespace ICC40::ICC_UNIT {

void LutInputCurves::At(int sample, unsigned short (&values)[3]) const {
    for (int c = 0; c < 3; ++c) {
        values[c] = c >= channels_    ? 0
                    : identity_       ? Low16(sample)
                    : sample == 65535 ? Last(c)
                                      : Between(c, Low16(sample));
    }
}

void LutInputCurves::Expand(unsigned short* const (&tables)[3]) const {
    for (int c = channels_; c < 3; ++c) std::fill_n(tables[c], 65536, static_cast<unsigned short>(0));
    const int channels = std::min(channels_, 3);
    if (identity_) {
        for (int c = 0; c < channels; ++c) std::iota(tables[c], tables[c] + 65536, static_cast<unsigned short>(0));
        return;
    }
    // Same as `EvaluateInputCurve`, for one curve step at a time and in pieces that can be vectorised.
    constexpr int kPiece = 64;
    double fraction[kPiece];
    for (int from = 0; from < 65535;) {
        const int n = Trunc(from / step_);
        int to = std::min(from + kPiece, 65535);
        while (Trunc((to - 1) / step_) > n) --to;
        for (int v = from; v < to; ++v) fraction[v - from] = (v - n * step_) / step_;
        for (int c = 0; c < channels; ++c) {
            const int here = curves_[c * entries_ + n], next = curves_[c * entries_ + n + 1];
            unsigned short* values = tables[c] + from;
            for (int i = 0; i < to - from; ++i) {
                // The result lies between two entries, so the truncation needs no limits.
                values[i] = static_cast<unsigned short>(
                    static_cast<int>(next * fraction[i] + (1.0 - fraction[i]) * here + 0.5));
            }
        }
        from = to;
    }
    for (int c = 0; c < channels; ++c) tables[c][65535] = Last(c);
}

LutOutputCurves::LutOutputCurves(const ICCFILE::CLut16Type& lut) {
    const bool identity = lut.outputEnt < 3;
    const int entries = identity ? 4096 : lut.outputEnt;
    step_ = 65535.0 / (entries - 1);
    span_ = identity ? 15.0 : 65536.0 / entries;
    const std::uint16_t* curves = lut.outputTable.get();
    for (int c = 0; c < 3; ++c) {
        int* curve = table_->curve[c];
        // A missing channel has the ramp that an output table starts with.
        for (int n = 0; n < 4096; ++n) curve[n] = c < lut.outputChan && identity ? 16 * n : n;
        if (c < lut.outputChan && !identity) std::copy_n(curves + c * entries, entries, curve);
        top_[c] = identity ? 65535 : curve[entries - 1];
    }
}

void LutOutputCurves::Overlay(const unsigned char* const (&points)[3], int count) {
    for (int c = 0; c < 3; ++c) {
        for (int n = 0; n < std::min(count, 256); ++n) table_->curve[c][n] = points[c][n] << 8;
        top_[c] = 65535;  // Kept: white stays white
    }
    step_ = 257.0;
    span_ = 256.0;
}

}  // namespace ICC40::ICC_UNIT
