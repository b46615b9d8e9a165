// SPDX-License-Identifier: MIT
#include "report/measure/PrecisionVerdict.h"

#include "colour/ExactConverter.h"
#include "colour/library/Bake.h"
#include "colour/library/CompareLibrary.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

Json Describe(const colour::Comparison& c, const std::string& way) {
    Json json{{"way", way},   {"mean", c.mean}, {"median", c.median},  {"p95", c.p95},
              {"p99", c.p99}, {"p999", c.p999}, {"maximum", c.maximum}};
    for (const auto& w : c.worst) {
        json["worst"].push_back({{"device", w.device}, {"lab", w.lab}, {"difference", w.difference}});
    }
    return json;
}

/// Compares the exact precision with its own truth.
void CompareExact(const PrecisionQuestion& question, const DeviceProfile& profile,
                  const std::vector<colour::DeviceColour>& colours, const colour::EachColour& each,
                  PrecisionVerdict& verdict) {
    colour::TransformOptions how;
    how.intent = static_cast<colour::RenderingIntent>(question.rendering.intent);
    verdict.transform =
        std::make_shared<const colour::Transform>(profile.data, verdict.target.profile, how, ThrowIfInterrupted);
    verdict.way = colour::WayName(verdict.transform->way());
    colour::LcmsWork work;
    const colour::Truth truth(work, colour::OpenRgb(work, profile.data), colour::OpenRgb(work, verdict.target.profile),
                              how);
    verdict.exact = colour::Compare(colour::ExactConverter(verdict.transform, question.bits), truth, colours,
                                    ThrowIfInterrupted, each);
}

PrecisionVerdict CompareBoth(const PrecisionQuestion& question, const DeviceProfile& profile,
                             const std::vector<colour::DeviceColour>& colours, const EachCompared& each) {
    ConvertOptions asked;
    asked.rendering = question.rendering;
    asked.targetFile = question.targetFile;
    PrecisionVerdict verdict{MakeTarget(asked), {}, {}, {}, {}, {}};
    CompareExact(question, profile, colours, each.exact, verdict);
    const colour::Space* const space = question.rendering.space;
    if (space == nullptr || !space->IsEngines()) return verdict;
    verdict.engine = colour::PrepareProfile(profile.data, question.rendering.intent, ThrowIfInterrupted);
    verdict.library = colour::CompareLibrary(verdict.engine.data, profile.data, question.rendering, question.bits,
                                             colours, ThrowIfInterrupted, each.library);
    return verdict;
}

}  // namespace

PrecisionVerdict ComparePrecisions(const PrecisionQuestion& question, const DeviceProfile& profile,
                                   const std::vector<colour::DeviceColour>& colours, const EachCompared& each) {
    return Named(profile.name, [&] { return CompareBoth(question, profile, colours, each); });
}

Json DescribeVerdict(const PrecisionQuestion& question, const DeviceProfile& profile, const PrecisionVerdict& verdict) {
    Json json{{"profile", profile.name},
              {"space", verdict.target.name},
              {"intent", colour::IntentName(question.rendering.intent)},
              {"bits", question.bits},
              {"is_bake", colour::IsBaked(profile.data)},
              {"baked", !verdict.engine.bakedBecause.empty()},
              {"colours", verdict.exact.colours},
              {"clipped", verdict.exact.clipped},
              {"exact", Describe(verdict.exact, verdict.way)}};
    json["library"] = verdict.library ? Describe(*verdict.library, "library") : Json();
    return json;
}

}  // namespace hueweave::tool
