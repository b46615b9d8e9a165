// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "colour/base/Bytes.h"
#include "colour/base/Poll.h"

namespace hueweave::colour {

inline constexpr unsigned kBakedPoints = 33;  ///< on each axis

/// A profile that the engine supports for all intents: Lab, tables of type "mft2" with 33 points for the perceptual,
/// relative and saturation intents, and a white point.
struct BakedProfile {
    Bytes data;
    std::string spacing;       ///< of the grid, as reported by `bake`
    double mean = 0, p95 = 0;  ///< CIEDE2000 between the engine with this profile and Little CMS with the original
};
/// Throws a ProfileError for a profile that does not define the colours of its device.
BakedProfile BakeProfile(const Bytes& data, const Poll& poll);
/// Whether a profile was created by `BakeProfile`, according to its header.
bool IsBaked(const Bytes& profile);

}  // namespace hueweave::colour
