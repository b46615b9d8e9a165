// SPDX-License-Identifier: MIT
#include <cmath>

#include "report/ReportData.h"
#include "system/JsonNames.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Fewer digits, for a smaller page.
double Rounded(double value, double steps) { return std::isfinite(value) ? std::round(value * steps) / steps : 0; }

Json Triple(const LabColour& lab) { return {Rounded(lab[0], 1e4), Rounded(lab[1], 1e4), Rounded(lab[2], 1e4)}; }

Json Sampled(const colour::SampledCurves& curves) {
    if (curves[0].empty()) return {};
    Json json = Json::array();
    for (const std::vector<double>& curve : curves) {
        Json values = Json::array();
        for (const double value : curve) values.push_back(Rounded(value, 1e5));
        json.push_back(std::move(values));
    }
    return json;
}

Json ToneJson(const ToneResponse& tone) {
    Json json{{"L", Json::array()}, {"a", Json::array()}, {"b", Json::array()}};
    for (const LabColour& grey : tone.greys) {
        json["L"].push_back(Rounded(grey[0], 1e3));
        json["a"].push_back(Rounded(grey[1], 1e3));
        json["b"].push_back(Rounded(grey[2], 1e3));
    }
    json["mean_chroma"] = tone.meanChroma;
    json["maximum_chroma"] = tone.largestChroma;
    json["maximum_fall"] = tone.largestFall;
    return json;
}

Json SolidJson(const GamutSolid& solid) {
    Json lab = Json::array();
    std::string colours, outside;
    for (std::size_t p = 0; p < solid.points.size(); ++p) {
        for (const double value : solid.points[p]) lab.push_back(Rounded(value, 100));
        colours += Hex(solid.colours[p]).substr(1);
        if (!solid.isOutside.empty()) outside += solid.isOutside[p] ? '1' : '0';
    }
    return {{"face_points", kFacePoints},
            {"volume", std::round(solid.volume)},
            {"lab", lab},
            {"srgb", colours},
            {"outside", outside}};
}

Json DistributionJson(const Distribution& distribution, const DisplayColours& display) {
    Json json{{"histogram", distribution.bins()}, {"course", Json::array()}, {"worst", Json::array()}};
    for (std::size_t n = 0; n < Distribution::kSteps; ++n) {
        const Distribution::Step& step = distribution.steps()[n];
        const double width = 100.0 / Distribution::kSteps;
        json["course"].push_back(
            {{"L", width * static_cast<double>(n)},
             {"colours", step.colours},
             {"mean", step.colours == 0 ? Json() : Json(step.sum / static_cast<double>(step.colours))},
             {"maximum", step.colours == 0 ? Json() : Json(step.largest)}});
    }
    for (const auto& worst : distribution.Worst()) {
        json["worst"].push_back({{"device", worst.device},
                                 {"expected", Triple(worst.lab)},
                                 {"reached", Triple(worst.reached)},
                                 {"difference", worst.difference},
                                 {"srgb_expected", Hex(display.Of(worst.lab))},
                                 {"srgb_reached", Hex(display.Of(worst.reached))}});
    }
    return json;
}

Json PictureJson(const ReportedPicture& picture) {
    const PictureSummary& s = picture.summary;
    Json json;
    PutName(json, "file", picture.name);
    json.update(Json{{"inspect", picture.described},
                     {"page", s.page + 1},
                     {"notes", s.notes},
                     {"width", s.width},
                     {"height", s.height},
                     {"bits", s.bits},
                     {"way", s.way},
                     {"pixels", s.pixels},
                     {"clipped", s.clipped},
                     {"low", s.low},
                     {"high", s.high},
                     {"shown", {s.shownWidth, s.shownHeight}},
                     {"before", s.before},
                     {"after", s.after}});
    return json;
}

Json ChartJson(const ReportedChart& chart, const DisplayColours& display) {
    ChartQuestion all = chart.question;
    all.worst = static_cast<unsigned>(chart.verdict.chart.patches.size());
    Json json = DescribeVerdict(all, chart.verdict);
    for (Json& patch : json["worst"]) {
        const auto colour = [&](const char* key) { return Hex(display.Of(patch[key].get<LabColour>())); };
        patch["srgb_reference"] = colour("reference");
        patch["srgb_converted"] = colour("converted");
        ScreenColour device{};
        for (std::size_t c = 0; c < 3; ++c) {
            device[c] = static_cast<std::uint8_t>(std::lround(255 * patch["device"][c].get<double>()));
        }
        patch["srgb_device"] = Hex(device);
    }
    for (std::size_t n = 0; n < chart.guidelines.size(); ++n) {
        const colour::Guideline& guideline = colour::Guidelines()[n];
        const colour::GuidelineVerdict& verdict = chart.guidelines[n];
        json["guidelines"].push_back({{"name", guideline.name},
                                      {"met", verdict.met},
                                      {"mean", verdict.mean},
                                      {"mean_limit", guideline.mean},
                                      {"percent", guideline.percent},
                                      {"within", verdict.within},
                                      {"within_limit", guideline.within}});
    }
    return json;
}

}  // namespace

Json ReportJson(const ReportData& data) {
    const DisplayColours display;
    Json json{{"program", {{"name", "hueweave"}, {"version", kVersion}, {"command", data.request.words}}}};
    PutName(json["profile"], "file", data.profile.name);
    json["profile"]["sha256"] = data.profile.hash;
    json["target"] = {{"name", data.precision.target.name}, {"sha256", data.precision.target.hash}};
    json["inspect"] = data.described;
    json["verify"] = DescribeVerdict(data.question, data.profile, data.precision);
    for (const Judgement& one : JudgeProfile(data)) {
        json["judgements"].push_back(
            {{"subject", one.subject}, {"good", one.isGood}, {"verdict", one.verdict}, {"figures", one.figures}});
    }
    json["curves"] = {{"tag", data.curves.tag},
                      {"connection_space", data.curves.channels},
                      {"device", Sampled(data.curves.device)},
                      {"connection", Sampled(data.curves.connection)}};
    json["tone"] = ToneJson(data.tone);
    json["gamut"] = {{"device", SolidJson(data.gamuts.device)}, {"target", SolidJson(data.gamuts.target)}};
    Json& differences = json["differences"];
    for (std::size_t bin = 0; bin <= Distribution::kBins; ++bin) {
        differences["edges"].push_back(Rounded(Distribution::Edge(bin), 1e7));
    }
    differences["exact"] = DistributionJson(data.exact, display);
    differences["library"] = data.precision.library ? DistributionJson(data.library, display) : Json();
    json["pictures"] = Json::array();
    for (const ReportedPicture& picture : data.pictures) json["pictures"].push_back(PictureJson(picture));
    json["chart"] = data.chart ? ChartJson(*data.chart, display) : Json();
    return json;
}

}  // namespace hueweave::tool
