// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/base/Poll.h"
#include "colour/library/PixelConverter.h"
#include "colour/profile/DeviceColour.h"

namespace hueweave::colour {

/// Difference between the engine and Little CMS in CIEDE2000.
struct Comparison {
    std::size_t colours = 0;
    double mean = 0, median = 0, p95 = 0, p99 = 0, maximum = 0;
    struct Worst {
        DeviceColour device;
        std::array<double, 3> lab;  ///< from Little CMS, within the space
        double difference;
    };
    std::vector<Worst> worst;  ///< the worst first
    std::size_t clipped = 0;   ///< colours outside the space
};

/// A regular grid of device colours.
std::vector<DeviceColour> GridColours(unsigned points);

/// Converts `colours` with the engine (`engineProfile`) and with Little CMS in floating point (`original`), both
/// clipped to the space, and compares the resulting colours. Throws a ProfileError if one of them refuses its profile.
Comparison Compare(const Bytes& engineProfile, const Bytes& original, const Rendering& rendering, unsigned bits,
                   const std::vector<DeviceColour>& colours, const Poll& poll);

}  // namespace hueweave::colour
