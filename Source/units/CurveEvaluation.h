// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "Numeric.h"

namespace ICC40::ICC_UNIT {

/// A point of an input curve by linear interpolation, rounded to nearest: with `step` the distance between two
/// entries in 16-bit sample units. The one place of the pipeline, beside the output curves, that rounds.
inline unsigned short EvaluateInputCurve(const int* curve, double step, unsigned short sample) {
    const double x = sample;
    const int n = Trunc(x / step);
    // A table that never took a curve has no step; then there is nothing to evaluate.
    if (n < 0 || n > 4095) return 0;
    const double f = (x - n * step) / step;
    const int next = n < 4095 ? curve[n + 1] : 0;  // at the end of a full row f is 0
    return Low16(Trunc(next * f + (1.0 - f) * curve[n] + 0.5));
}

}  // namespace ICC40::ICC_UNIT
