// SPDX-License-Identifier: MIT
#include "colour/chart/Guidelines.h"

#include <cmath>

namespace hueweave::colour {
namespace {

constexpr Guideline kGuidelines[] = {
    // FADGI, Technical Guidelines for Digitizing Cultural Heritage Materials, third edition, 2023: general collections,
    // bound. One to four stars.
    {"fadgi-4", 2.0, 4.0, 90, false, false},
    {"fadgi-3", 3.5, 7.0, 90, false, false},
    {"fadgi-2", 5.0, 10.0, 90, false, false},
    {"fadgi-1", 6.5, 13.0, 90, false, false},
    // Metamorfoze Preservation Imaging Guidelines, version 2.0, draft of June 2023.
    {"metamorfoze-full", 3.0, 7.0, 100, true, true},
    {"metamorfoze-light", 4.0, 14.0, 100, true, true},
};

/// CIEDE2000 with S_L = 1. Little CMS divides by S_L and by a factor of the caller's, here its reciprocal.
double FullLightness(const cmsCIELab& one, const cmsCIELab& other) {
    const double mean = (one.L + other.L) / 2 - 50;
    const double weight = 1 + 0.015 * mean * mean / std::sqrt(20 + mean * mean);
    return cmsCIE2000DeltaE(&one, &other, 1 / weight, 1, 1);
}

}  // namespace

std::span<const Guideline> Guidelines() { return kGuidelines; }

GuidelineVerdict JudgeBy(const Guideline& guideline, const std::vector<JudgedPatch>& patches) {
    std::vector<double> differences;
    for (const JudgedPatch& patch : patches) {
        const double full =
            guideline.fullLightness ? FullLightness(patch.reference, patch.converted) : patch.difference;
        differences.push_back(std::isfinite(full) ? full : patch.difference);
    }
    const ChartFigures figures = Summarise(std::move(differences));
    const double within = guideline.percent == 100 ? figures.largest : figures.p90;
    const auto meets = [&](double figure, double limit) {
        return guideline.limitsIncluded ? figure <= limit : figure < limit;
    };
    return {figures.mean, within, meets(figures.mean, guideline.mean) && meets(within, guideline.within)};
}

}  // namespace hueweave::colour
