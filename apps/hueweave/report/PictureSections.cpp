// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "report/Html.h"
#include "report/Plots.h"
#include "report/Sections.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;
using FactList = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kChannels[] = {"Red", "Green", "Blue"};
constexpr const char* kChannelKinds[] = {"red", "green", "blue"};

std::string Plain(const Json& value) {
    if (value.is_string()) return Escaped(value.get<std::string>());
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (!value.is_array()) return Escaped(value.dump());
    std::string text;
    for (const Json& one : value) text += (text.empty() ? "" : ", ") + Plain(one);
    return text;
}

std::string Capitalised(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

/// The output of `inspect` for a picture, in short: its own values and those of the page that is shown, without whether
/// it can be converted without a profile.
void AddFacts(const Json& described, std::size_t page, FactList& facts) {
    for (const auto& [key, value] : described.items()) {
        if (key == "pages") {
            facts.emplace_back("Pages", std::to_string(value.size()));
            if (page < value.size()) AddFacts(value[page], page, facts);
        } else if (key == "profile") {
            const char* const text = value.contains("description") ? "description" : "unreadable";
            facts.emplace_back("Embedded profile", value.contains(text) ? Plain(value[text]) : "yes");
        } else if (key != "convertible" && key != "why" && !value.is_object() &&
                   !(value.is_array() && !value.empty() && value[0].is_object())) {
            facts.emplace_back(Capitalised(key), Plain(value));
        }
    }
}

std::string Percent(std::uint64_t part, std::uint64_t all) {
    return fmt::format("{:.2f} %",
                       100.0 * static_cast<double>(part) / static_cast<double>(std::max<std::uint64_t>(1, all)));
}

std::string ClipTable(const PictureSummary& s) {
    std::string rows =
        "<thead><tr><th scope=\"col\">Channel</th><th scope=\"col\" class=\"number\">at 0</th><th scope=\"col\" "
        "class=\"number\">at maximum</th></tr></thead><tbody>";
    for (std::size_t c = 0; c < 3; ++c) {
        rows += fmt::format(
            "<tr><th scope=\"row\">{}</th><td class=\"number\">{} ({})</td><td class=\"number\">{} ({})</td></tr>",
            kChannels[c], Grouped(s.low[c]), Percent(s.low[c], s.pixels), Grouped(s.high[c]),
            Percent(s.high[c], s.pixels));
    }
    return SmallTable("Samples at the ends of their range, after the conversion", rows + "</tbody>");
}

/// The largest share of a sample in percent, without the ends, where clipped pixels gather.
double MostShare(const PictureSummary& s) {
    std::uint64_t most = 1;
    for (const Histograms* histograms : {&s.before, &s.after}) {
        for (const auto& channel : *histograms) {
            most = std::max(most, *std::max_element(channel.begin() + 1, channel.end() - 1));
        }
    }
    return 105.0 * static_cast<double>(most) / static_cast<double>(s.pixels);
}

std::string HistogramFigure(std::size_t number, const char* when, const Histograms& histograms, double most,
                            std::uint64_t pixels) {
    std::vector<Series> series;
    for (std::size_t c = 0; c < 3; ++c) {
        Series one{kChannels[c], kChannelKinds[c], {}};
        for (std::size_t n = 0; n < 256; ++n) {
            one.points.push_back(
                {static_cast<double>(n), 100.0 * static_cast<double>(histograms[c][n]) / static_cast<double>(pixels)});
        }
        series.push_back(std::move(one));
    }
    const std::string title = fmt::format("Histogram {} the conversion", when);
    return Figure(
        fmt::format("histogram-{}-{}", when, number), title,
        LinePlot(title, {"sample, 0 to 255", 0, 255}, {"share of the pixels, %", 0, most}, series) + Legend(series));
}

std::string Image(const char* kind, const std::string& caption, const std::string& alt, const PictureSummary& s,
                  const std::string& uri) {
    return fmt::format(
        "<figure class=\"{}\"><figcaption>{}</figcaption><img alt=\"{}\" width=\"{}\" height=\"{}\" "
        "src=\"{}\"></figure>",
        kind, caption, alt, s.shownWidth, s.shownHeight, uri);
}

std::string Notes(const PictureSummary& s) {
    std::string text;
    for (const std::string& note : s.notes) text += (text.empty() ? "" : " ") + Escaped(note);
    return text.empty() ? "" : "<p class=\"note\">" + text + "</p>";
}

std::string PictureSection(const ReportedPicture& picture, std::size_t number, const std::string& space) {
    const PictureSummary& s = picture.summary;
    FactList facts{{"File", "<code>" + Escaped(picture.name) + "</code>"}};
    AddFacts(picture.described, s.page, facts);
    const double most = MostShare(s);
    std::string html = fmt::format(
        "<section class=\"picture\" aria-labelledby=\"picture-{0}-title\"><h2 id=\"picture-{0}-title\">{1}</h2><p>"
        "<strong>{2}</strong> of {3} pixels ({4}) have a sample at an end of its range after the conversion. “Before” "
        "is what a program without colour management shows.</p>{5}<div class=\"compare\" data-picture=\"{0}\">",
        number, Escaped(FileName(picture.name)), Grouped(s.clipped), Grouped(s.pixels), Percent(s.clipped, s.pixels),
        Notes(s));
    const std::string size = s.shownWidth == s.width && s.shownHeight == s.height
                                 ? std::string()
                                 : fmt::format(", reduced to {} × {}", s.shownWidth, s.shownHeight);
    html += Image("before", "Before" + size, "The picture before the conversion", s, s.beforeUri);
    html += Image("after", "After, in " + Escaped(space) + size, "The picture after the conversion", s, s.afterUri);
    html += Image("clipmap", "Clipped: red, green or blue, each in its colour; several in their mixture, all in white",
                  "Map of the places where a sample is at an end of its range", s, s.clipUri);
    html += "</div><div class=\"figures-grid\">" + HistogramFigure(number, "before", s.before, most, s.pixels) +
            HistogramFigure(number, "after", s.after, most, s.pixels) + "</div><div class=\"columns\"><div>" +
            ClipTable(s) + "</div><div><h3>The file</h3>" + Facts(facts) + "</div></div></section>";
    return html;
}

std::string LabText(const cmsCIELab& lab) { return fmt::format("{:.1f} {:.1f} {:.1f}", lab.L, lab.a, lab.b); }

std::string PatchTable(const ReportedChart& chart) {
    const DisplayColours display;
    const auto hex = [&](const cmsCIELab& lab) { return Hex(display.Of({lab.L, lab.a, lab.b})); };
    std::string html =
        "<div class=\"scroll\" tabindex=\"0\" role=\"group\" aria-label=\"The patches\"><table "
        "class=\"sortable\"><caption>"
        "The patches: as measured by the device, as converted, as they should be</caption><thead><tr>" +
        Column("Patch", false) + "<th scope=\"col\">Device, converted, reference</th>" + Column("R G B of 100", true) +
        Column("Converted L* a* b*", true) + Column("Reference L* a* b*", true) + Column("CIEDE2000", true) +
        Column("Gamut", false) + "</tr></thead><tbody>";
    for (const colour::JudgedPatch& p : chart.verdict.chart.patches) {
        ScreenColour device{};
        for (std::size_t c = 0; c < 3; ++c) {
            device[c] = static_cast<std::uint8_t>(std::clamp(255 * p.device[c] + 0.5, 0.0, 255.0));
        }
        html += fmt::format(
            "<tr><th scope=\"row\">{}</th><td class=\"pair\">{}{}{}</td><td class=\"number\">{:.1f} {:.1f} {:.1f}</td>"
            "<td class=\"number\">{}</td><td class=\"number\">{}</td><td class=\"number\">{:.3f}</td><td>{}</td></tr>",
            Escaped(p.name), Swatch(Hex(device), "device"), Swatch(hex(p.converted), "converted"),
            Swatch(hex(p.reference), "reference"), 100 * p.device[0], 100 * p.device[1], 100 * p.device[2],
            LabText(p.converted), LabText(p.reference), p.difference, p.outside ? "outside" : "inside");
    }
    return html + "</tbody></table></div>";
}

std::string GuidelineTable(const ReportedChart& chart) {
    std::string rows =
        "<thead><tr><th scope=\"col\">Guideline</th><th scope=\"col\">Verdict</th><th scope=\"col\" "
        "class=\"number\">mean (limit)</th><th scope=\"col\" class=\"number\">share (limit)</th></tr></thead><tbody>";
    for (std::size_t n = 0; n < chart.guidelines.size(); ++n) {
        const colour::Guideline& g = colour::Guidelines()[n];
        const colour::GuidelineVerdict& v = chart.guidelines[n];
        rows += fmt::format(
            "<tr><th scope=\"row\">{}</th><td><span class=\"badge {}\">{}</span></td><td class=\"number\">{:.2f} "
            "({})</td><td class=\"number\">{} %: {:.2f} ({})</td></tr>",
            g.name, v.met ? "good" : "look", v.met ? "✓ met" : "! not met", v.mean, g.mean, g.percent, v.within,
            g.within);
    }
    return SmallTable("Limits of guidelines, for the colours as measured", rows + "</tbody>");
}

}  // namespace

std::string PictureSections(const ReportData& data) {
    std::string html;
    for (std::size_t n = 0; n < data.pictures.size(); ++n) {
        html += PictureSection(data.pictures[n], n, data.precision.target.name);
    }
    return html;
}

std::string ChartSection(const ReportData& data) {
    if (!data.chart) return "";
    const colour::ChartFigures& all = data.chart->verdict.chart.all;
    const colour::NeutralFigures& neutral = data.chart->verdict.chart.neutral;
    std::string html = fmt::format(
        "<section id=\"chart\" aria-labelledby=\"chart-title\"><h2 id=\"chart-title\">Chart {}</h2><p>{} patches, "
        "compared {}. "
        "CIEDE2000 from the reference: <strong>{:.2f}</strong> on average, {:.2f} at most, 90&nbsp;% within {:.2f}; "
        "{} patches are outside the output space.",
        Escaped(FileName(data.chart->question.reference)), all.patches,
        data.chart->question.measured ? "as measured" : "relative to the white of the medium", all.mean, all.largest,
        all.p90, all.patches - data.chart->verdict.chart.inside.patches);
    if (neutral.patches != 0) {
        html += fmt::format(" Of {} neutral patches, L* is off by {:.2f} on average, a* by {:+.2f} and b* by {:+.2f}.",
                            neutral.patches, neutral.lightness, neutral.a, neutral.b);
    }
    return html + "</p>" + GuidelineTable(*data.chart) + PatchTable(*data.chart) + "</section>";
}

}  // namespace hueweave::tool
