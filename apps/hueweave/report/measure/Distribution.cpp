// SPDX-License-Identifier: MIT
#include "report/measure/Distribution.h"

#include <algorithm>
#include <cmath>

namespace hueweave::tool {
namespace {

constexpr double kBinsPerPower = 6, kLowestPower = -4;

/// The worst first; equal ones in the order in which they came.
void KeepWorst(std::vector<colour::Comparison::Worst>& all) {
    std::stable_sort(all.begin(), all.end(), [](const auto& x, const auto& y) { return x.difference > y.difference; });
    if (all.size() > Distribution::kWorst) all.resize(Distribution::kWorst);
}

std::size_t Limited(double number, std::size_t count) {
    return static_cast<std::size_t>(std::clamp(number, 0.0, static_cast<double>(count - 1)));
}

}  // namespace

double Distribution::Edge(std::size_t bin) {
    return std::pow(10.0, kLowestPower + static_cast<double>(bin) / kBinsPerPower);
}

void Distribution::Add(const colour::Comparison::Worst& colour) {
    const double place = colour.difference > 0 ? (std::log10(colour.difference) - kLowestPower) * kBinsPerPower : 0;
    ++bins_[Limited(std::floor(place), kBins)];
    Step& step = steps_[Limited(colour.lab[0] / (100.0 / kSteps), kSteps)];
    ++step.colours;
    step.sum += colour.difference;
    step.largest = std::max(step.largest, colour.difference);
    worst_.push_back(colour);
    if (worst_.size() == 2 * kWorst) KeepWorst(worst_);
}

std::vector<colour::Comparison::Worst> Distribution::Worst() const {
    std::vector<colour::Comparison::Worst> all = worst_;
    KeepWorst(all);
    return all;
}

}  // namespace hueweave::tool
