// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "colour/base/RgbConverter.h"
#include "colour/judge/Truth.h"
#include "colour/profile/DeviceColour.h"

namespace hueweave::colour {

/// Differences from the truth in CIEDE2000.
struct Comparison {
    std::size_t colours = 0;
    double mean = 0, median = 0, p95 = 0, p99 = 0, p999 = 0, maximum = 0;
    struct Worst {
        DeviceColour device;
        std::array<double, 3> lab;  ///< expected, within the space
        double difference;
        std::array<double, 3> reached;  ///< CIELAB of the converter's result
    };
    std::vector<Worst> worst;  ///< the worst first
    std::size_t clipped = 0;   ///< colours outside the space
};

/// A regular grid of device colours.
std::vector<DeviceColour> GridColours(unsigned points);
/// Colours that reveal the errors of a transform: a grid with its corners, the neutral axis, dark colours, and others
/// over the whole space. Always the same ones.
std::vector<DeviceColour> CheckColours();

/// Gets each colour that is compared, in order.
using EachColour = std::function<void(const Comparison::Worst&)>;

/// Compares a converter's results for `colours`, rounded to its bit depth, with the truth clipped to the target's
/// range. `poll` is called regularly, `each` with every colour if it is not empty.
Comparison Compare(const RgbConverter& converter, const Truth& truth, const std::vector<DeviceColour>& colours,
                   const Poll& poll, const EachColour& each = {});

}  // namespace hueweave::colour
