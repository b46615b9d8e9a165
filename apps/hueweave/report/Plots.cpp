// SPDX-License-Identifier: MIT
#include "report/Plots.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "report/Html.h"

namespace hueweave::tool {
namespace {

constexpr double kWidth = 640, kHeight = 360, kLeft = 58, kRight = 14, kTop = 14, kBottom = 48;
constexpr double kSide = 320;    ///< of a slice, in pixels
constexpr double kMostAb = 140;  ///< of a* and b* in a slice, in both directions

/// A distance between ticks of 1, 2 or 5 times a power of ten, so that there are about five.
double TickStep(double range) {
    const double rough = range / 5;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough) return factor * power;
    }
    return 10 * power;
}

/// A number without superfluous digits, and without a minus before a zero.
std::string Tick(double value) { return fmt::format("{:.6g}", std::abs(value) < 1e-9 ? 0.0 : value); }

/// The values on an axis that have a tick.
std::vector<double> Ticks(const Axis& axis) {
    const double step = TickStep(axis.to - axis.from);
    const double first = std::ceil(axis.from / step), last = std::floor(axis.to / step + 1e-6);
    std::vector<double> values(last < first ? 0 : static_cast<std::size_t>(last - first) + 1);
    for (std::size_t n = 0; n < values.size(); ++n) values[n] = (first + static_cast<double>(n)) * step;
    return values;
}

/// The frame of a plot: from values to places in the picture.
class Frame {
public:
    Frame(const Axis& x, const Axis& y) : x_(x), y_(y) {}
    double X(double value) const { return kLeft + (value - x_.from) / (x_.to - x_.from) * (kWidth - kLeft - kRight); }
    double Y(double value) const {
        return kHeight - kBottom - (value - y_.from) / (y_.to - y_.from) * (kHeight - kTop - kBottom);
    }

    std::string Begin(const std::string& title) const {
        return fmt::format("<svg class=\"static\" viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"{}\">", kWidth,
                           kHeight, Escaped(title));
    }
    std::string YTicks() const {
        std::string svg;
        for (const double v : Ticks(y_)) {
            svg += fmt::format(
                "<line class=\"grid\" x1=\"{0}\" y1=\"{1:.1f}\" x2=\"{2}\" y2=\"{1:.1f}\"/>"
                "<text x=\"{3}\" y=\"{4:.1f}\" text-anchor=\"end\">{5}</text>",
                kLeft, Y(v), kWidth - kRight, kLeft - 8, Y(v) + 4, Tick(v));
        }
        return svg;
    }
    /// The last label is right-aligned to the edge of the picture, so that it fits with a large font.
    std::string XTick(double place, const std::string& text) const {
        const bool isLast = place > kWidth - 2 * kRight;
        return fmt::format(
            "<line class=\"grid\" x1=\"{0:.1f}\" y1=\"{1}\" x2=\"{0:.1f}\" y2=\"{2}\"/>"
            "<text x=\"{3:.1f}\" y=\"{4}\" text-anchor=\"{5}\">{6}</text>",
            place, kTop, kHeight - kBottom, isLast ? kWidth : place, kHeight - kBottom + 18, isLast ? "end" : "middle",
            text);
    }
    std::string XTicks() const {
        std::string svg;
        for (const double v : Ticks(x_)) svg += XTick(X(v), Tick(v));
        return svg;
    }
    std::string Labels() const {
        return fmt::format(
            "<text class=\"axis\" x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>"
            "<text class=\"axis\" transform=\"translate(14 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>",
            (kLeft + kWidth - kRight) / 2, kHeight - 8, Escaped(x_.label), (kTop + kHeight - kBottom) / 2,
            Escaped(y_.label));
    }

private:
    const Axis &x_, &y_;
};

/// An entry of a legend: a sample of 28 by 10 pixels with its label.
std::string Entry(const std::string& sample, const std::string& label) {
    return fmt::format(
        "<li><svg class=\"key\" viewBox=\"0 0 28 10\" aria-hidden=\"true\">{}</svg> <span>{}</span></li>", sample,
        Escaped(label));
}

std::string Path(const std::vector<Piece>& pieces, const std::string& kind) {
    const auto place = [](double value, bool turned) { return kSide / 2 * (1 + (turned ? -value : value) / kMostAb); };
    std::string path;
    for (const Piece& piece : pieces) {
        path += fmt::format("M{:.1f} {:.1f}L{:.1f} {:.1f}", place(piece[0][0], false), place(piece[0][1], true),
                            place(piece[1][0], false), place(piece[1][1], true));
    }
    return fmt::format("<path class=\"line {}\" d=\"{}\"/>", kind, path);
}

}  // namespace

std::string LinePlot(const std::string& title, const Axis& x, const Axis& y, const std::vector<Series>& series) {
    const Frame frame(x, y);
    std::string svg = frame.Begin(title) + frame.XTicks() + frame.YTicks() + frame.Labels();
    for (const Series& one : series) {
        std::string points;
        for (const Point& p : one.points) {
            points += fmt::format("{:.1f},{:.1f} ", frame.X(p[0]), frame.Y(std::clamp(p[1], y.from, y.to)));
        }
        svg += fmt::format("<polyline class=\"line {}\" points=\"{}\"/>", one.kind, points);
    }
    return svg + "</svg>";
}

std::string Legend(const std::vector<Series>& series) {
    std::string html = "<ul class=\"legend\">";
    for (const Series& one : series) {
        const std::string line = "\" x1=\"0\" y1=\"5\" x2=\"28\" y2=\"5\"/>";
        html += Entry("<line class=\"line " + one.kind + line, one.label);
    }
    return html + "</ul>";
}

std::string BarLegend(const std::vector<Bars>& bars) {
    std::string html = "<ul class=\"legend\">";
    for (const Bars& one : bars) {
        const std::string box = "\" x=\"8\" y=\"1\" width=\"12\" height=\"8\"/>";
        html += Entry("<rect class=\"bar " + one.kind + box, one.label);
    }
    return html + "</ul>";
}

std::string BarPlot(const std::string& title, const std::string& label, const std::vector<double>& edges,
                    const std::vector<Bars>& bars) {
    double most = 1;
    for (const Bars& one : bars) most = std::max(most, *std::max_element(one.shares.begin(), one.shares.end()));
    const Axis x{label, std::log10(edges.front()), std::log10(edges.back())}, y{"share of the colours, %", 0, most};
    const Frame frame(x, y);
    std::string svg = frame.Begin(title) + frame.YTicks() + frame.Labels();
    const int lastPower = static_cast<int>(std::floor(x.to + 1e-9));
    for (int power = static_cast<int>(std::ceil(x.from - 1e-9)); power <= lastPower; ++power) {
        svg += frame.XTick(frame.X(power), Tick(std::pow(10.0, power)));
    }
    const double width = (frame.X(x.to) - frame.X(x.from)) / static_cast<double>(edges.size() - 1);
    for (std::size_t which = 0; which < bars.size(); ++which) {
        const double share = width / static_cast<double>(bars.size());
        for (std::size_t n = 0; n < bars[which].shares.size(); ++n) {
            const double value = bars[which].shares[n];
            if (value <= 0) continue;
            const double left = frame.X(std::log10(edges[n])) + static_cast<double>(which) * share;
            svg += fmt::format(
                "<rect class=\"bar {}\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\">"
                "<title>{}: {:.2f} % from {:.2g} to {:.2g}</title></rect>",
                bars[which].kind, left + 0.5, frame.Y(value), share - 1, frame.Y(0) - frame.Y(value),
                Escaped(bars[which].label), value, edges[n], edges[n + 1]);
        }
    }
    return svg + "</svg>";
}

std::string SlicePlot(const Gamuts& gamuts, double lightness) {
    std::string svg = fmt::format(
        "<svg class=\"static slice\" viewBox=\"0 0 {0} {0}\" role=\"img\" aria-label=\"Both gamuts at L* {1}, in the "
        "plane of a* and b*\">",
        kSide, lightness);
    for (const int v : {-100, -50, 0, 50, 100}) {
        const double place = kSide / 2 * (1 + v / kMostAb);
        svg += fmt::format(
            "<line class=\"grid\" x1=\"{0:.1f}\" y1=\"0\" x2=\"{0:.1f}\" y2=\"{1}\"/>"
            "<line class=\"grid\" x1=\"0\" y1=\"{0:.1f}\" x2=\"{1}\" y2=\"{0:.1f}\"/>",
            place, kSide);
        svg += fmt::format("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"middle\">{}</text>", place, kSide - 4, Tick(v));
        if (v != -100) svg += fmt::format("<text x=\"4\" y=\"{:.1f}\">{}</text>", place + 4, Tick(-v));
    }
    svg +=
        fmt::format("<text class=\"axis\" x=\"{}\" y=\"{}\">a*</text><text class=\"axis\" x=\"8\" y=\"16\">b*</text>",
                    kSide - 18, kSide / 2 - 6);
    svg += Path(SliceOf(gamuts.target, lightness), "second") + Path(SliceOf(gamuts.device, lightness), "first");
    return svg + "</svg>";
}

}  // namespace hueweave::tool
