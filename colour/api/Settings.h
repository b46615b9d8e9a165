// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "colour/base/TransformOptions.h"
#include "colour/profile/Target.h"
#include "hueweave/transform.h"

namespace hueweave::colour {

/// The options of a transform, checked.
struct Settings {
    hw_samples samples = HW_SAMPLES_UINT8;
    hw_precision precision = HW_PRECISION_EXACT;
    int iccVersion = 4;
    double acceptError = 2.0;  ///< CIEDE2000, clearly visible
    TransformOptions transform;
    std::optional<ToneCurves> curves;

    bool IsExact() const { return precision == HW_PRECISION_EXACT; }
    /// 8 and 16 for integers, 32 for floating point.
    unsigned bits() const { return samples == HW_SAMPLES_UINT8 ? 8 : samples == HW_SAMPLES_UINT16 ? 16 : 32; }
};

/// Null gives the defaults. Throws a `Failure` for options that are invalid by themselves, whatever the target.
Settings ReadOptions(const hw_options* options);

}  // namespace hueweave::colour
