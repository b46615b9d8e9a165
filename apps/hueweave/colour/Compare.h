// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "colour/DeviceColour.h"
#include "colour/PixelConverter.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// How far the engine is from Little CMS, in CIEDE2000.
struct Comparison {
    std::size_t colours = 0;
    double mean = 0, median = 0, p95 = 0, p99 = 0, maximum = 0;
    struct Worst {
        DeviceColour device;
        std::array<double, 3> lab;  ///< by Little CMS, within the space
        double difference;
    };
    std::vector<Worst> worst;  ///< the worst first
    std::size_t clipped = 0;   ///< colours that lie outside of the space
};

/// A regular grid of device colours.
std::vector<DeviceColour> GridColours(unsigned points);

/// Converts `colours` with the engine (`engineProfile`) and with Little CMS in floating point (`original`), both cut
/// to the space, and compares what the samples stand for.
Comparison Compare(const Bytes& engineProfile, const Bytes& original, const std::string& name,
                   const Rendering& rendering, unsigned bits, const std::vector<DeviceColour>& colours);

}  // namespace hueweave::tool
