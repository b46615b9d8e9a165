// SPDX-License-Identifier: MIT
// Plots as SVG, for reading and printing without scripts. Colours and dashes are those of the page's style.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "report/measure/GamutSolid.h"

namespace hueweave::tool {

struct Axis {
    std::string label;
    double from, to;
};

using Point = std::array<double, 2>;

struct Series {
    std::string label;
    std::string kind;  ///< class of the line: "red", "green", "blue", "first", "second" or "third"
    std::vector<Point> points;
};

/// Lines over a frame with ticks. `title` is for screen readers.
std::string LinePlot(const std::string& title, const Axis& x, const Axis& y, const std::vector<Series>& series);
/// The samples of the lines, with their labels.
std::string Legend(const std::vector<Series>& series);

/// Bars of two heights over a logarithmic axis. `edges` has one more than the bars.
struct Bars {
    std::string label, kind;
    std::vector<double> shares;  ///< in percent
};
std::string BarPlot(const std::string& title, const std::string& label, const std::vector<double>& edges,
                    const std::vector<Bars>& bars);
std::string BarLegend(const std::vector<Bars>& bars);

/// Where both solids have this L*, in the plane of a* and b*.
std::string SlicePlot(const Gamuts& gamuts, double lightness);

}  // namespace hueweave::tool
