// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <optional>

#include "colour/profile/Spaces.h"

namespace hueweave::colour {

/// Tone curves of the user: 256 samples per channel, for linear light from 0 to 1.
using ToneCurves = std::array<std::array<unsigned char, 256>, 3>;

/// How pixels are to be converted.
struct Rendering {
    ICC40::ICCFILE::Intent intent = ICC40::ICCFILE::IntentPerceptual;
    const Space* space = nullptr;
    double lightness = 0, chroma = 0, hue = 0;  ///< offsets: CIELAB units, CIELAB units, degrees
    std::optional<ToneCurves> curves;           ///< replace the tone curve of the space
};

}  // namespace hueweave::colour
