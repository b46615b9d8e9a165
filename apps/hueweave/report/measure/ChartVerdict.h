// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "colour/chart/Guidelines.h"
#include "system/Json.h"

namespace hueweave::tool {

/// A chart, and how it is converted and compared.
struct ChartQuestion {
    std::string reference;            ///< with the device colours as well, unless `scan` has them
    std::optional<std::string> scan;  ///< the device colours
    ConvertOptions convert;           ///< profile, target, intent, precision and black point
    bool measured = false;            ///< compare with the reference as it was measured
    unsigned worst = 5;               ///< number of worst patches to list
    const colour::Guideline* guideline = nullptr;
};

struct ChartVerdict {
    std::string space;
    std::size_t left;  ///< patches of the reference or the scan that the other does not have
    colour::JudgedChart chart;
    std::optional<colour::GuidelineVerdict> guideline;
};

/// Reads the chart. Refuses a file that is not a chart.
colour::Chart ReadChart(const ChartQuestion& question);
/// Converts its patches as `convert` does, and compares them with their reference.
ChartVerdict JudgeConverted(const ChartQuestion& question, const colour::Chart& chart);

/// The JSON output of `check` for this verdict.
nlohmann::ordered_json DescribeVerdict(const ChartQuestion& question, const ChartVerdict& verdict);

}  // namespace hueweave::tool
