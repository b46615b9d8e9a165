// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "colour/Transform.h"
#include "report/measure/DisplayColours.h"

namespace hueweave::tool {

/// How the greys of a device, whose red, green and blue are equal, appear in the output.
struct ToneResponse {
    std::vector<LabColour> greys;  ///< from black to white, in `kGreySteps` equal steps
    double meanChroma = 0, largestChroma = 0;
    std::size_t mostTinted = 0;  ///< the grey of the largest chroma
    double largestFall = 0;      ///< of L* from one grey to the next brighter one
    std::size_t fallsAt = 0;     ///< the brighter one
};
inline constexpr std::size_t kGreySteps = 256;

/// `target` is the target's profile.
ToneResponse MeasureTone(const colour::Transform& transform, const colour::Bytes& target);

}  // namespace hueweave::tool
