// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>
#include <vector>

#include "colour/base/Bytes.h"

namespace hueweave::colour {

/// A curve per channel, by equidistant inputs from 0 to 1.
using SampledCurves = std::array<std::vector<double>, 3>;
inline constexpr std::size_t kSampledCurve = 129;  ///< values of a sampled curve

/// The curves with which an RGB profile leads from its device to the connection space.
struct ProfileCurves {
    std::string tag;           ///< "A2B0", or "rTRC" for a matrix profile; empty if there are none
    SampledCurves device;      ///< of red, green and blue; empty if there are none
    SampledCurves connection;  ///< of the three channels of the connection space; empty if there are none
    std::string channels;      ///< of the connection space: "Lab" or "XYZ"
};

/// The curves for an intent, with the number of the ICC. Throws a ProfileError for data that are not an RGB profile.
ProfileCurves ReadProfileCurves(const Bytes& profile, int intent);

}  // namespace hueweave::colour
