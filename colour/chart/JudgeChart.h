// SPDX-License-Identifier: MIT
#pragma once

#include <lcms2.h>

#include <optional>
#include <string>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/chart/Chart.h"
#include "colour/profile/DeviceColour.h"

namespace hueweave::colour {

/// What converted colours are compared with.
enum class ChartView {
    Relative,  ///< the reference relative to the media white of the source's profile, as the relative intents map it
    Measured   ///< the reference as it was measured
};

struct JudgedPatch {
    std::string name;
    Triple device;
    cmsCIELab reference, converted;
    double difference;  ///< CIEDE2000
    bool outside;       ///< of the target's gamut: the reference changes by more than `kReachable` when clipped to it
};
inline constexpr double kReachable = 0.5;

/// Differences in CIEDE2000. A percentile is the smallest difference that this share of the patches does not exceed.
struct ChartFigures {
    std::size_t patches = 0;
    double mean = 0, median = 0, p90 = 0, p95 = 0, largest = 0;
};
ChartFigures Summarise(std::vector<double> differences);

/// The patches whose reference is neutral relative to the medium: C* of at most `kNeutral`.
struct NeutralFigures {
    std::size_t patches = 0;
    double lightness = 0, largestLightness = 0;  ///< error of L*, without sign: mean, largest
    double a = 0, b = 0;                         ///< error of a* and b*, with sign: mean
    double largestTint = 0;                      ///< error of a* and b* together
};
inline constexpr double kNeutral = 3.0;

struct JudgedChart {
    std::vector<JudgedPatch> patches;  ///< the worst first
    ChartFigures all, inside;          ///< all patches, and those inside the target's gamut
    NeutralFigures neutral;
};

/// Compares `converted`, the 16-bit colour of each patch in the space of `target`, with the reference. Both are CIELAB
/// for D50. Throws a ProfileError for profiles that cannot be used.
JudgedChart JudgeChart(const Chart& chart, const std::vector<DeviceColour>& converted, const Bytes& source,
                       const Bytes& target, ChartView view);

}  // namespace hueweave::colour
