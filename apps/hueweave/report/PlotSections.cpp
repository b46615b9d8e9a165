// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "report/Html.h"
#include "report/Plots.h"
#include "report/Sections.h"

namespace hueweave::tool {
namespace {

constexpr const char* kRgb[] = {"Red", "Green", "Blue"};
constexpr const char* kRgbKinds[] = {"red", "green", "blue"};
constexpr const char* kCurveKinds[] = {"first", "second", "third"};

std::vector<Series> CurveSeries(const colour::SampledCurves& curves, const std::vector<std::string>& names,
                                const char* const* kinds) {
    std::vector<Series> series;
    for (std::size_t c = 0; c < 3; ++c) {
        Series one{names[c], kinds[c], {}};
        for (std::size_t n = 0; n < curves[c].size(); ++n) {
            one.points.push_back({static_cast<double>(n) / (colour::kSampledCurve - 1.0), curves[c][n]});
        }
        series.push_back(std::move(one));
    }
    return series;
}

std::string CurveFigure(const std::string& plot, const std::string& caption, const std::vector<Series>& series) {
    return Figure(plot, caption, LinePlot(caption, {"input", 0, 1}, {"output", 0, 1}, series) + Legend(series));
}

/// The next larger end of an axis.
double AxisEnd(double value) {
    const double power = std::pow(10.0, std::floor(std::log10(std::max(value, 1e-6))));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= value) return factor * power;
    }
    return 10 * power;
}

std::string CourseFigure(const std::string& plot, const std::string& caption, const Distribution& distribution) {
    std::vector<Series> series{{"mean", "first", {}}, {"largest", "second", {}}};
    double most = 0;
    for (std::size_t n = 0; n < Distribution::kSteps; ++n) {
        const Distribution::Step& step = distribution.steps()[n];
        if (step.colours == 0) continue;
        const double lightness = (static_cast<double>(n) + 0.5) * 100 / Distribution::kSteps;
        series[0].points.push_back({lightness, step.sum / static_cast<double>(step.colours)});
        series[1].points.push_back({lightness, step.largest});
        most = std::max(most, step.largest);
    }
    return Figure(plot, caption,
                  LinePlot(caption, {"L*", 0, 100}, {"CIEDE2000", 0, AxisEnd(most)}, series) + Legend(series));
}

std::vector<double> Shares(const Distribution& distribution, std::size_t colours) {
    std::vector<double> shares;
    for (const std::size_t count : distribution.bins()) {
        shares.push_back(100.0 * static_cast<double>(count) / static_cast<double>(colours));
    }
    return shares;
}

std::string LabText(const LabColour& lab) { return fmt::format("{:.1f} {:.1f} {:.1f}", lab[0], lab[1], lab[2]); }

/// The worst colours of one precision.
std::string WorstTable(const std::string& caption, const Distribution& distribution, const DisplayColours& display) {
    std::string html = fmt::format(
        "<div class=\"scroll\" tabindex=\"0\" role=\"group\" aria-label=\"{0}\"><table class=\"sortable\"><caption>{0}"
        "</caption><thead><tr>{1}{2}{3}<th scope=\"col\">Expected, actual</th>{4}{5}{6}</tr></thead><tbody>",
        Escaped(caption), Column("R", true), Column("G", true), Column("B", true), Column("Expected L* a* b*", true),
        Column("Actual L* a* b*", true), Column("CIEDE2000", true));
    for (const auto& worst : distribution.Worst()) {
        html += "<tr>";
        for (const unsigned sample : worst.device)
            html += fmt::format("<td class=\"number\">{:.0f}</td>", sample / 257.0);
        html += fmt::format(
            "<td class=\"pair\">{}{}</td><td class=\"number\">{}</td><td class=\"number\">{}</td>"
            "<td class=\"number\">{:.4f}</td></tr>",
            Swatch(Hex(display.Of(worst.lab)), "expected colour"),
            Swatch(Hex(display.Of(worst.reached)), "actual colour"), LabText(worst.lab), LabText(worst.reached),
            worst.difference);
    }
    return html + "</tbody></table></div>";
}

/// The figures of both precisions, or of one, as a column each.
std::string FigureTable(const PrecisionVerdict& verdict) {
    std::string head = "<thead><tr><td></td>", ways = "<tr><th scope=\"row\">way</th>";
    std::vector<const colour::Comparison*> columns;
    const auto add = [&](const char* name, const std::string& way, const colour::Comparison& figures) {
        head += fmt::format("<th scope=\"col\" class=\"number\">{}</th>", name);
        ways += fmt::format("<td class=\"number\">{}</td>", Escaped(way));
        columns.push_back(&figures);
    };
    add("exact", verdict.way, verdict.exact);
    if (verdict.library) add("library", "library", *verdict.library);
    std::string rows = head + "</tr></thead><tbody>" + ways + "</tr>";
    using Figure = std::pair<const char*, double colour::Comparison::*>;
    for (const auto& [name, figure] : {Figure{"mean", &colour::Comparison::mean},
                                       {"median", &colour::Comparison::median},
                                       {"95 %", &colour::Comparison::p95},
                                       {"99 %", &colour::Comparison::p99},
                                       {"99.9 %", &colour::Comparison::p999},
                                       {"maximum", &colour::Comparison::maximum}}) {
        rows += fmt::format("<tr><th scope=\"row\">{}</th>", name);
        for (const auto* column : columns) rows += fmt::format("<td class=\"number\">{:.3f}</td>", column->*figure);
        rows += "</tr>";
    }
    return SmallTable(columns.size() == 2 ? "CIEDE2000 of both precisions" : "CIEDE2000", rows + "</tbody>");
}

std::vector<Series> NeutralSeries(const ToneResponse& tone, bool tint) {
    std::vector<Series> series;
    if (tint) {
        series = {{"a* (green to red)", "first", {}}, {"b* (blue to yellow)", "second", {}}};
    } else {
        series = {{"L*", "first", {}}};
    }
    for (std::size_t n = 0; n < tone.greys.size(); ++n) {
        const double grey = 255.0 * static_cast<double>(n) / kGreySteps;
        for (std::size_t s = 0; s < series.size(); ++s)
            series[s].points.push_back({grey, tone.greys[n][tint ? s + 1 : 0]});
    }
    return series;
}

}  // namespace

std::string CurvesSection(const ReportData& data) {
    std::string html =
        "<section id=\"curves\" aria-labelledby=\"curves-title\"><h2 id=\"curves-title\">Curves</h2><p>The output for "
        "equal red, green and blue, and the curves in the profile itself. With scripts, drag in a plot to zoom, "
        "double-click for the whole, or use its buttons and the arrow keys.</p><div class=\"figures-grid\">";
    const auto tone = NeutralSeries(data.tone, false), tint = NeutralSeries(data.tone, true);
    double most = 5;
    for (const LabColour& grey : data.tone.greys) most = std::max({most, std::abs(grey[1]), std::abs(grey[2])});
    const double end = AxisEnd(most);
    const std::string toneTitle = "Tone response: L* of the greys of the device";
    html += Figure("tone", toneTitle,
                   LinePlot(toneTitle, {"device grey, 0 to 255", 0, 255}, {"L*", 0, 100}, tone) + Legend(tone));
    const std::string tintTitle = "Tint of the greys of the device";
    html += Figure("tint", tintTitle,
                   LinePlot(tintTitle, {"device grey, 0 to 255", 0, 255}, {"a*, b*", -end, end}, tint) + Legend(tint));
    if (!data.curves.device[0].empty()) {
        html += CurveFigure("device", "The profile’s input curves",
                            CurveSeries(data.curves.device, {kRgb[0], kRgb[1], kRgb[2]}, kRgbKinds));
    }
    if (!data.curves.connection[0].empty()) {
        const bool isXyz = data.curves.channels == "XYZ";
        const std::vector<std::string> names =
            isXyz ? std::vector<std::string>{"X", "Y", "Z"} : std::vector<std::string>{"L*", "a*", "b*"};
        html += CurveFigure("connection", "The profile’s output curves, to the connection space",
                            CurveSeries(data.curves.connection, names, kCurveKinds));
    }
    return html + "</div></section>";
}

std::string GamutSection(const ReportData& data) {
    const colour::Comparison& exact = data.precision.exact;
    const std::vector<Series> legend{{"the device", "first", {}}, {data.precision.target.name, "second", {}}};
    std::string html = fmt::format(
        "<section id=\"gamut\" aria-labelledby=\"gamut-title\"><h2 id=\"gamut-title\">Gamut</h2><p>The colours of the "
        "device in CIELAB, and those of {}. Of a regular grid of {} device colours, <strong>{}</strong> "
        "({:.1f}&nbsp;%) "
        "lie outside and are clipped to it. The device’s solid has a volume of {} cubic units, the output’s {}.</p>"
        "<div id=\"gamut-view\" hidden></div><div class=\"slices\">",
        Escaped(data.precision.target.name), Grouped(exact.colours), Grouped(exact.clipped),
        100.0 * static_cast<double>(exact.clipped) / static_cast<double>(exact.colours),
        Grouped(static_cast<std::uint64_t>(data.gamuts.device.volume)),
        Grouped(static_cast<std::uint64_t>(data.gamuts.target.volume)));
    for (const double lightness : {25.0, 50.0, 75.0}) {
        html += fmt::format("<figure><figcaption>L* {}</figcaption>{}</figure>", lightness,
                            SlicePlot(data.gamuts, lightness));
    }
    return html + "</div>" + Legend(legend) + "</section>";
}

std::string DifferencesSection(const ReportData& data) {
    const DisplayColours display;
    const std::size_t colours = data.precision.exact.colours;
    std::vector<double> edges;
    for (std::size_t n = 0; n <= Distribution::kBins; ++n) edges.push_back(Distribution::Edge(n));
    std::vector<Bars> bars{{"exact precision", "first", Shares(data.exact, colours)}};
    if (data.precision.library) bars.push_back({"library precision", "second", Shares(data.library, colours)});
    std::string html =
        "<section id=\"differences\" aria-labelledby=\"differences-title\"><h2 "
        "id=\"differences-title\">Differences</h2>"
        "<p>CIEDE2000 between the converted colours and Little CMS in floating point. A difference of 1 is just "
        "visible "
        "side by side.</p>";
    html += "<div class=\"figures-grid\"><div class=\"plot\">" + FigureTable(data.precision) + "</div>";
    const std::string title = "How often differences occur";
    html += Figure("histogram", title, BarPlot(title, "CIEDE2000, logarithmic", edges, bars) + BarLegend(bars));
    html += CourseFigure("course-exact", "Over lightness, exact precision", data.exact);
    if (data.precision.library)
        html += CourseFigure("course-library", "Over lightness, library’s precision", data.library);
    html += "</div>" + WorstTable("The worst colours, exact precision", data.exact, display);
    if (data.precision.library) {
        html += WorstTable("The worst colours, library’s precision", data.library, display);
    }
    return html + "</section>";
}

}  // namespace hueweave::tool
