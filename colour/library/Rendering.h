// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "colour/profile/Target.h"

namespace hueweave::colour {

/// How pixels are converted.
struct Rendering {
    ICC40::ICCFILE::Intent intent = ICC40::ICCFILE::IntentPerceptual;
    const Space* space = nullptr;
    double lightness = 0, chroma = 0, hue = 0;  ///< offsets: CIELAB units, CIELAB units, degrees
    std::optional<ToneCurves> curves;           ///< replace the tone curve of the space
};

}  // namespace hueweave::colour
