// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// The number of pixels that the working buffer of a job holds with `stride` samples per pixel: never more than
/// requested, and 0 without a buffer.
inline int WorkingPixels(const Info& info, int stride) {
    if (info.WorkBuf == nullptr) return 0;
    return std::clamp(info.PixelCount, 0, std::max(info.WorkCount, 0) / stride);
}

}  // namespace ICC40::ICC_UNIT
