// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <algorithm>

#include "units/Info.h"

namespace ICC40::ICC_UNIT {

/// Pixels of a job that the working buffer holds at `stride` samples a pixel: never more than were asked for, and
/// none without a buffer.
inline int WorkingPixels(const Info& info, int stride) {
    if (info.WorkBuf == nullptr) return 0;
    return std::clamp(info.PixelCount, 0, std::max(info.WorkCount, 0) / stride);
}

}  // namespace ICC40::ICC_UNIT
