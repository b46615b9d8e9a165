// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string_view>

#include "colour/chart/JudgeChart.h"

namespace hueweave::colour {

/// The tolerance for the colours of a chart in a guideline for digitisation. docs/scanner.md gives the sources.
struct Guideline {
    std::string_view name;
    double mean;       ///< the limit for the mean
    double within;     ///< the limit for `percent` of the patches
    unsigned percent;  ///< 90, or 100 for all
    /// Whether lightness counts fully at every L*: CIEDE2000 with S_L = 1. Otherwise CIEDE2000 as it is.
    bool fullLightness;
    bool limitsIncluded;  ///< whether a figure that equals its limit is accepted
};

std::span<const Guideline> Guidelines();

struct GuidelineVerdict {
    double mean, within;  ///< in the guideline's formula
    bool met;
};
/// For all patches, including those outside the target's gamut.
GuidelineVerdict JudgeBy(const Guideline& guideline, const std::vector<JudgedPatch>& patches);

}  // namespace hueweave::colour
