// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "base/Numeric.h"

namespace ICC40::ICC_UNIT {

/// A point of an input curve by linear interpolation, rounded to nearest. Only input and output curves are rounded in
/// the pipeline. `step` is the distance between two entries in 16-bit sample units.
template <typename Entry>
unsigned short EvaluateInputCurve(std::span<const Entry> curve, double step, unsigned short sample) {
    const double x = sample;
    const int n = Trunc(x / step);
    const auto entry = static_cast<std::size_t>(n);
    // A table without a loaded curve has no step; there is nothing to evaluate.
    if (n < 0 || entry >= curve.size()) return 0;
    const double fraction = (x - n * step) / step;
    const int next = entry + 1 < curve.size() ? curve[entry + 1] : 0;  // at the last entry the fraction is 0
    return Low16(Trunc(next * fraction + (1.0 - fraction) * curve[entry] + 0.5));
}

/// A point of an output curve in the same way; `span` converts the remainder within a step into a fraction.
inline int EvaluateOutputCurve(const int (&curve)[4096], double step, double span, int value) {
    const double x = value;
    const int i = std::clamp(Trunc(x / step), 0, 4095);
    const double fraction = (x - step * i) / span;
    const int next = i < 4095 ? curve[i + 1] : 0;  // at the end of a full row the fraction is 0
    return Trunc(next * fraction + (1 - fraction) * curve[i] + 0.5);
}

}  // namespace ICC40::ICC_UNIT
