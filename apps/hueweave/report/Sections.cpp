// SPDX-License-Identifier: MIT
#include "report/Sections.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "colour/library/Bake.h"
#include "report/Html.h"
#include "report/Plots.h"

namespace hueweave::tool {
namespace {

using FactList = std::vector<std::pair<std::string, std::string>>;

std::string Code(const std::string& text) { return "<code>" + Escaped(text) + "</code>"; }

std::string Text(const nlohmann::ordered_json& json, const char* key) {
    return json.contains(key) ? Escaped(json[key].get<std::string>()) : "–";
}

/// Which intents the profile has tables for. A matrix profile has one conversion for all.
std::string IntentsOf(const nlohmann::ordered_json& described) {
    constexpr std::pair<const char*, const char*> kTables[] = {
        {"A2B0", "perceptual"}, {"A2B1", "relative"}, {"A2B2", "saturation"}};
    std::vector<std::string> names;
    for (const auto& [tag, name] : kTables) {
        for (const auto& entry : described["tags"]) {
            if (entry["name"] == tag) names.emplace_back(name);
        }
    }
    if (names.empty()) return "no tables: one matrix and three curves serve all intents";
    return fmt::format("tables for {}", fmt::join(names, ", "));
}

std::string ClassInWords(const std::string& name) {
    constexpr std::pair<const char*, const char*> kClasses[] = {
        {"scnr", "input device"}, {"mntr", "display"}, {"prtr", "output device"}, {"spac", "colour space"}};
    for (const auto& [known, words] : kClasses) {
        if (name == known) return fmt::format("{} ({})", words, known);
    }
    return Escaped(name);
}

std::string WayInWords(const ReportData& data) {
    switch (data.precision.transform->way()) {
        case colour::Way::Copy:
            return "Samples are copied: both profiles describe the same colours.";
        case colour::Way::Matrix:
            return "By curves, a matrix and curves, because neither profile needs a table.";
        case colour::Way::Direct:
            return "By the profiles’ own curves and tables, in single precision.";
        case colour::Way::Table:
            return "By a table of all samples.";
        case colour::Way::PixelByPixel:
            break;
    }
    return "Pixel by pixel, by Little CMS, slowly: " + Escaped(data.precision.transform->reason()) + ".";
}

std::string LibraryInWords(const ReportData& data) {
    if (!data.precision.library) return "does not have this output space";
    const std::string& why = data.precision.engine.bakedBecause;
    return why.empty() ? "uses the profile as it is" : "uses a profile baked from it: " + Escaped(why);
}

std::string ProfileFacts(const ReportData& data) {
    const auto& json = data.described;
    FactList facts{{"Description", Text(json, "description")},
                   {"File", Code(data.profile.name)},
                   {"Class", ClassInWords(json["class"].get<std::string>())},
                   {"Device colours", Text(json, "colours")},
                   {"Connection space", Text(json, "connection")},
                   {"ICC version", Text(json, "version")},
                   {"Size", Grouped(json["bytes"].get<std::uint64_t>()) + " bytes"},
                   {"Intents", Escaped(IntentsOf(json))}};
    if (colour::IsBaked(data.profile.data)) facts.emplace_back("Made by", "hueweave bake, from another profile");
    return Facts(facts);
}

std::string ConversionFacts(const ReportData& data) {
    return Facts({{"Output space", Code(data.precision.target.name)},
                  {"Rendering intent", Escaped(colour::IntentName(data.question.rendering.intent))},
                  {"How", WayInWords(data)},
                  {"Library’s precision", LibraryInWords(data)},
                  {"Compared", Grouped(data.precision.exact.colours) + " colours of a regular grid, with Little CMS"}});
}

}  // namespace

std::string Figure(const std::string& plot, const std::string& caption, const std::string& content) {
    return fmt::format("<figure class=\"plot\" data-plot=\"{}\"><figcaption>{}</figcaption>{}</figure>", plot,
                       Escaped(caption), content);
}

std::string Swatch(const std::string& hex, const std::string& name) {
    return fmt::format(
        "<svg class=\"swatch\" viewBox=\"0 0 10 10\" preserveAspectRatio=\"none\" role=\"img\" aria-label=\"{}\">"
        "<rect width=\"10\" height=\"10\" fill=\"{}\"/></svg>",
        Escaped(name), hex);
}

std::string Facts(const FactList& facts) {
    std::string html = "<dl class=\"facts\">";
    for (const auto& [name, value] : facts) {
        html += fmt::format("<div><dt>{}</dt><dd>{}</dd></div>", Escaped(name), value);
    }
    return html + "</dl>";
}

std::string SmallTable(const std::string& caption, const std::string& rows) {
    return fmt::format(
        "<div class=\"small\" tabindex=\"0\" role=\"group\" aria-label=\"{0}\"><table class=\"compact\"><caption>{0}"
        "</caption>{1}</table></div>",
        Escaped(caption), rows);
}

std::string Column(const std::string& text, bool isNumber) {
    return fmt::format("<th scope=\"col\"{}>{}</th>",
                       isNumber ? " class=\"number\" data-sort=\"number\"" : " data-sort=\"text\"", Escaped(text));
}

std::string Grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, "\u202f");
    return digits;
}

std::string FileName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string GlanceSection(const ReportData& data) {
    std::string html =
        "<section id=\"glance\" aria-labelledby=\"glance-title\"><h2 id=\"glance-title\">At a glance</h2>"
        "<div class=\"cards\">";
    for (const Judgement& one : JudgeProfile(data)) {
        html += fmt::format(
            "<div class=\"card {}\"><h3><span class=\"badge\">{}</span> {}</h3><p>{}</p><p "
            "class=\"figures\">{}</p></div>",
            one.isGood ? "good" : "look", one.isGood ? "✓ good" : "! look", Escaped(one.subject), Escaped(one.verdict),
            Escaped(one.figures));
    }
    return html + "</div><div class=\"columns\"><div><h3>The profile</h3>" + ProfileFacts(data) +
           "</div><div><h3>The conversion</h3>" + ConversionFacts(data) + "</div></div></section>";
}

std::string NumbersSection(const ReportData& data) {
    std::string command;
    for (const std::string& word : data.request.words) {
        const bool isPlain = !word.empty() && word.find_first_of(" '\"\\$&;<>|*?()#~`\t\n") == std::string::npos;
        std::string quoted = word;
        for (std::size_t at = 0; (at = quoted.find('\'', at)) != std::string::npos; at += 4)
            quoted.replace(at, 1, "'\\''");
        command += (command.empty() ? "" : " ") + (isPlain ? word : "'" + quoted + "'");
    }
    return "<section id=\"numbers\" aria-labelledby=\"numbers-title\"><h2 id=\"numbers-title\">Numbers and origin</h2>"
           "<p>The page contains all its numbers as JSON, in the element <code>report-data</code>.</p>"
           "<div id=\"json-tools\"></div>" +
           Facts({{"Command", Code(command)},
                  {"Program", "hueweave " + Escaped(kVersion)},
                  {"SHA-256 of the profile", Code(data.profile.hash)},
                  {"SHA-256 of the output profile", Code(data.precision.target.hash)}}) +
           "</section>";
}

}  // namespace hueweave::tool
