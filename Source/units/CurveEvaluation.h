// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <algorithm>

#include "Numeric.h"

namespace ICC40::ICC_UNIT {

/// Where a sample falls on an input curve: behind which entry, and how far into the step.
struct CurvePoint {
    int entry;
    double fraction;
};

/// `step` is the distance between two entries in 16-bit sample units.
inline CurvePoint FindInputPoint(double step, int sample) {
    const double x = sample;
    const int n = Trunc(x / step);
    return {n, (x - n * step) / step};
}

/// A point of an input curve by linear interpolation, rounded to nearest. The one place of the pipeline, beside the
/// output curves, that rounds.
template <typename Entry>
unsigned short EvaluateInput(const Entry* curve, const CurvePoint& point) {
    // A table that never took a curve has no step; then there is nothing to evaluate.
    if (point.entry < 0 || point.entry > 4095) return 0;
    const int next = point.entry < 4095 ? curve[point.entry + 1] : 0;  // at the end of a full row the fraction is 0
    return Low16(Trunc(next * point.fraction + (1.0 - point.fraction) * curve[point.entry] + 0.5));
}

template <typename Entry>
unsigned short EvaluateInputCurve(const Entry* curve, double step, unsigned short sample) {
    return EvaluateInput(curve, FindInputPoint(step, sample));
}

/// A point of an output curve, likewise; `span` turns the rest within a step into a fraction. A curve whose entries
/// and step are those of a table may be cut by `TruncInRange`.
template <int (*kTrunc)(double) = Trunc>
int EvaluateOutputCurve(const int* curve, double step, double span, int value) {
    const double x = value;
    const int i = std::clamp(kTrunc(x / step), 0, 4095);
    const double fraction = (x - step * i) / span;
    const int next = i < 4095 ? curve[i + 1] : 0;  // at the end of a full row the fraction is 0
    return kTrunc(next * fraction + (1 - fraction) * curve[i] + 0.5);
}

}  // namespace ICC40::ICC_UNIT
