// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "colour/DeviceProfile.h"

namespace hueweave::tool {

/// A profile that the engine takes whatever the intent: Lab, tables of type "mft2" with 33 points for all of
/// perceptual, relative and saturation, and a white point.
struct BakedProfile {
    Bytes data;
    std::string spacing;       ///< of the grid, as `bake` reports it
    double mean = 0, p95 = 0;  ///< CIEDE2000 of the engine with this profile to Little CMS with the original
};
BakedProfile BakeProfile(const DeviceProfile& profile);

}  // namespace hueweave::tool
