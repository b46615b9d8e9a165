// SPDX-License-Identifier: MIT
#include "report/measure/ChartVerdict.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "batch/session/ProfileCache.h"
#include "system/JsonNames.h"

namespace hueweave::tool {
namespace {

using colour::DeviceColour;
using Json = nlohmann::ordered_json;

Bytes LoadChart(const std::string& path) {
    const FileAccess file = FileAccess::OpenInput(path);
    if (file.Size() > colour::kMostCgats) {
        throw Refusal(Exit::Input, path, "is too large for a chart", "give a CGATS text, such as a .ti3 file");
    }
    return file.Read({0, file.Size()});
}

/// What `call` returns. Refuses the file `name` if `call` cannot use its chart.
template <typename Call>
auto NamedChart(const std::string& name, const Call& call) {
    try {
        return call();
    } catch (const colour::ChartError& error) {
        throw Refusal(Exit::Input, name, error.what(),
                      "give a .ti3 file of scanin, or a reference and the .ti3 or .val file of its scan");
    }
}

/// The patches as `convert` converts 16-bit pixels of these colours.
std::vector<DeviceColour> Convert(const colour::Chart& chart, const colour::PixelConverter& converter) {
    std::vector<DeviceColour> samples;
    for (const colour::Patch& patch : chart.patches) {
        DeviceColour& sample = samples.emplace_back();
        for (std::size_t i = 0; i < 3; ++i) {
            sample[i] = static_cast<std::uint16_t>(std::lround(patch.device[i] * 65535.0));
        }
    }
    static_assert(sizeof(DeviceColour) == 6);
    converter.Convert(reinterpret_cast<unsigned char*>(samples.data()), samples.size(), 3, false);
    return samples;
}

Json Describe(const colour::ChartFigures& f) {
    if (f.patches == 0) return {};
    return {{"patches", f.patches}, {"mean", f.mean}, {"median", f.median},
            {"p90", f.p90},         {"p95", f.p95},   {"maximum", f.largest}};
}

Json Describe(const ChartQuestion& question, const colour::JudgedChart& chart) {
    auto worst = Json::array();
    for (std::size_t i = 0; i < std::min<std::size_t>(question.worst, chart.patches.size()); ++i) {
        const colour::JudgedPatch& p = chart.patches[i];
        worst.push_back({{"patch", p.name},
                         {"device", p.device},
                         {"reference", {p.reference.L, p.reference.a, p.reference.b}},
                         {"converted", {p.converted.L, p.converted.a, p.converted.b}},
                         {"difference", p.difference},
                         {"outside", p.outside}});
    }
    return worst;
}

Json Describe(const colour::NeutralFigures& n) {
    if (n.patches == 0) return {};
    return {{"patches", n.patches},
            {"lightness", n.lightness},
            {"maximum_lightness", n.largestLightness},
            {"a", n.a},
            {"b", n.b},
            {"maximum_tint", n.largestTint}};
}

}  // namespace

colour::Chart ReadChart(const ChartQuestion& question) {
    const auto parse = [](const Bytes& text) {
        return colour::ReadCgats({reinterpret_cast<const char*>(text.data()), text.size()});
    };
    const Bytes text = LoadChart(question.reference);
    const colour::CgatsTable table = NamedChart(question.reference, [&] { return parse(text); });
    if (!question.scan) return NamedChart(question.reference, [&] { return colour::MakeChart(table); });
    const auto colours = NamedChart(question.reference, [&] { return colour::ReadReferenceColours(table); });
    const Bytes scan = LoadChart(*question.scan);
    return NamedChart(*question.scan, [&] { return colour::JoinCharts(table, colours, parse(scan)); });
}

ChartVerdict JudgeConverted(const ChartQuestion& question, const colour::Chart& chart) {
    const DeviceProfile profile = LoadProfile(*question.convert.profile);
    const Target target = MakeTarget(question.convert);
    ProfileCache cache(question.convert, target);
    const auto ready = cache.Get(profile, 16);
    const auto view = question.measured ? colour::ChartView::Measured : colour::ChartView::Relative;
    ChartVerdict verdict{target.name, chart.left, {}, {}};
    verdict.chart = Named(profile.name, [&] {
        return colour::JudgeChart(chart, Convert(chart, ready->converter), profile.data, ready->outputProfile, view);
    });
    if (question.guideline != nullptr) {
        verdict.guideline = colour::JudgeBy(*question.guideline, verdict.chart.patches);
    }
    return verdict;
}

Json DescribeVerdict(const ChartQuestion& question, const ChartVerdict& verdict) {
    Json json;
    PutName(json, "reference", question.reference);
    if (question.scan) PutName(json, "scan", *question.scan);
    PutName(json, "profile", *question.convert.profile);
    json["space"] = verdict.space;
    json["intent"] = colour::IntentName(question.convert.rendering.intent);
    json["precision"] = question.convert.precision == Precision::Exact ? "exact" : "library";
    json["compared"] = question.measured ? "measured" : "relative";
    json["left_out"] = verdict.left;
    json["all"] = Describe(verdict.chart.all);
    json["inside"] = Describe(verdict.chart.inside);
    json["neutral"] = Describe(verdict.chart.neutral);
    json["worst"] = Describe(question, verdict.chart);
    if (verdict.guideline) {
        json["guideline"] = {{"name", question.guideline->name},
                             {"met", verdict.guideline->met},
                             {"mean", verdict.guideline->mean},
                             {"percent", question.guideline->percent},
                             {"within", verdict.guideline->within}};
    }
    return json;
}

}  // namespace hueweave::tool
