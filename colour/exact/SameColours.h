// SPDX-License-Identifier: MIT
#pragma once

#include "colour/base/TransformOptions.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {

/// Whether two profiles describe the same colours for an intent: their bytes are equal, or both consist of a matrix and
/// curves that are equal within what tags of 16 bits can represent.
bool HaveSameColours(LcmsWork& work, const OpenProfile& source, const OpenProfile& target, RenderingIntent intent);

}  // namespace hueweave::colour
