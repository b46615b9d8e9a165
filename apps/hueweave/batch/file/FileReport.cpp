// SPDX-License-Identifier: MIT
#include "batch/file/FileReport.h"

#include <fmt/format.h>

#include <new>

#include "system/JsonNames.h"

namespace hueweave::tool {

void FileReport::TellDone() const {
    task_.session.report.Line(source_.name + " is done already");
    TellJson("skipped", nullptr);
}

void FileReport::TellConvertedBefore(const FilePlan& plan) const {
    const char* const remedy = task_.session.profile ? "; --source given converts it again"
                               : plan.isCopy         ? ""
                                                     : ", by its profile; --force converts it again";
    task_.session.report.Line(fmt::format("{} is in {} already{}", source_.name, task_.session.target.name, remedy));
    TellJson("skipped", &plan);
}

void FileReport::TellLeftOut(const std::string& kind) const {
    const Session& session = task_.session;
    if (session.list.single || session.options.verbose) {
        session.report.Line(fmt::format("{} is left out ({})", source_.name, kind));
    }
    TellJson("left out", nullptr, kind);
}

void FileReport::TellPlanned(const FilePlan& plan, const std::string& kind) const {
    const colour::Rendering& rendering = task_.session.options.rendering;
    TellNotes(plan.notes);
    std::string details = WhyCopied(kind);
    if (!plan.isCopy) {
        const std::string way = WayOf(plan);
        details =
            fmt::format("{}, {}, {} bits, {}{}{}", task_.session.target.name, colour::IntentName(rendering.intent),
                        plan.converters.front()->bits, plan.profileName, way.empty() ? "" : ", ", way);
    }
    task_.session.report.Line(
        fmt::format("would {} {} -> {} ({})", plan.isCopy ? "copy" : "convert", source_.name, OutputName(), details));
    TellJson(plan.isCopy ? "would copy" : "would convert", &plan, kind);
}

std::string FileReport::Describe(const FilePlan& plan, const std::string& kind, WrittenFile& written,
                                 double seconds) const {
    if (!task_.session.options.json) return "";
    Measured& measured = written.measured;
    const auto pixels = static_cast<double>(measured.pixels);
    nlohmann::ordered_json json = Begin(plan.isCopy ? "copied" : "converted", &plan, kind);
    json["pixels"] = measured.pixels;
    json["seconds"] = seconds;
    if (plan.isCopy) return JsonLine(json);
    json["clipped"] = measured.pixels > 0 ? static_cast<double>(measured.clipped) / pixels : 0.0;
    json["sha256"] = measured.hash.Hex();
    return JsonLine(json);
}

void FileReport::TellConverted(const FilePlan& plan, const std::string& kind, const WrittenFile& written,
                               const std::string& json) const {
    Report& report = task_.session.report;
    try {
        FileNotes notes = plan.notes;
        notes.own.insert(notes.own.end(), written.notes.begin(), written.notes.end());
        TellNotes(notes);
        if (task_.item.output != "-") {
            const std::string how = plan.isCopy ? WhyCopied(kind) : WayOf(plan);
            report.Line(fmt::format("{} -> {}{}", source_.name, OutputName(), how.empty() ? "" : " (" + how + ")"));
        }
        report.Json(json);
    } catch (const std::bad_alloc&) {
        report.LoseJson();  // the output exists; only the messages are lost
    }
}

std::string FileReport::WayOf(const FilePlan& plan) const {
    if (!task_.session.options.verbose || plan.isCopy) return "";
    if (plan.keepsColours) return "copy";
    const ReadyConverter& ready = *plan.converters.front();
    return fmt::format("{}, CIEDE2000 mean {:.3f}, 99.9 % within {:.3f}, largest {:.3f}", ready.way(), ready.error.mean,
                       ready.error.p999, ready.error.largest);
}

std::string FileReport::WhyCopied(const std::string& kind) const {
    return kind.empty() ? fmt::format("is in {} already", task_.session.target.name) : fmt::format("copied, {}", kind);
}

std::string FileReport::OutputName() const { return task_.item.output == "-" ? "standard output" : task_.item.output; }

void FileReport::TellNotes(const FileNotes& notes) const {
    Report& report = task_.session.report;
    for (const std::string& note : notes.own) report.Note(note);
    for (const std::string& text : notes.common) {
        if (task_.session.list.single) {
            report.Note(source_.name + ": its " + text);
        } else {
            report.NoteOfMany(text);
        }
    }
}

void FileReport::TellJson(const char* status, const FilePlan* plan, const std::string& kind) const {
    if (task_.session.options.json) task_.session.report.Json(JsonLine(Begin(status, plan, kind)));
}

nlohmann::ordered_json FileReport::Begin(const char* status, const FilePlan* plan, const std::string& kind) const {
    const colour::Rendering& rendering = task_.session.options.rendering;
    nlohmann::ordered_json json{{"status", status}};
    PutName(json, "source", task_.item.source);
    PutName(json, "output", task_.item.output);
    if (!kind.empty()) json["kind"] = kind;
    PutName(json, "profile", plan != nullptr ? plan->profileName : "");
    json["intent"] = colour::IntentName(rendering.intent);
    json["space"] = task_.session.target.name;
    json["precision"] = task_.session.options.precision == Precision::Exact ? "exact" : "library";
    if (const auto& format = task_.session.options.format) json["format"] = FormatWord(*format);
    if (plan == nullptr || plan->converters.empty()) return json;
    const ReadyConverter& ready = *plan->converters.front();
    const bool isKept = plan->isCopy || plan->keepsColours;
    const colour::TransformError error = isKept ? colour::TransformError() : ready.error;
    json["way"] = isKept ? "copy" : ready.way();
    json["delta_e"] = {{"mean", error.mean}, {"p999", error.p999}, {"largest", error.largest}};
    json["baked"] = !ready.bakedBecause.empty();
    return json;
}

}  // namespace hueweave::tool
