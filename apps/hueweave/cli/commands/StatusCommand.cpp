// SPDX-License-Identifier: MIT
#include "cli/commands/StatusCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "batch/session/Report.h"
#include "cli/options/Values.h"
#include "picture/Format.h"
#include "system/JsonNames.h"
#include "system/Refusal.h"
#include "system/StandardStreams.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kMostReasons = 20;  ///< that are shown

struct Reason {
    std::string text, first;
    std::size_t files = 0;
};

/// The reasons of failures, those of most files first.
std::vector<Reason> ReasonsOf(const Status& status) {
    std::map<std::string, Reason> byText;
    for (const auto& [output, line] : status.failed()) {
        if (line.leftOut) continue;
        Reason& reason = byText[line.reason];
        if (reason.files++ == 0) reason = {line.reason, line.source, 1};
    }
    std::vector<Reason> reasons;
    reasons.reserve(byText.size());
    for (auto& [text, reason] : byText) reasons.push_back(std::move(reason));
    std::stable_sort(reasons.begin(), reasons.end(),
                     [](const Reason& a, const Reason& b) { return a.files > b.files; });
    return reasons;
}

std::string TextOf(const Progress& p, const std::vector<Reason>& reasons) {
    std::string text = fmt::format("{} done, {} failed", p.done, p.failed);
    if (p.leftOut > 0) text += fmt::format(", {} left out", p.leftOut);
    if (p.total) text += fmt::format(", {}{} left of {}", p.estimated ? "about " : "", p.Left(), *p.total);
    text += fmt::format("\n{:.3f} GB written, {:.1f} megapixels\n", static_cast<double>(p.bytes) / 1e9,
                        static_cast<double>(p.pixels) / 1e6);
    if (p.sinceLast && p.rate > 0) {
        text += fmt::format("{:.2f} files/s in the {} before the last file, which was written {} ago", p.rate,
                            Duration(p.window), Duration(*p.sinceLast));
        if (p.Left() > 0) text += fmt::format("; {} left", Duration(static_cast<double>(p.Left()) / p.rate));
        text += "\n";
    }
    for (std::size_t i = 0; i < std::min(reasons.size(), kMostReasons); ++i) {
        text += OneLine(fmt::format("{} failed: {}; the first is {}", reasons[i].files, reasons[i].text,
                                    reasons[i].first)) +
                "\n";
    }
    if (reasons.size() > kMostReasons) text += fmt::format("and {} more reasons\n", reasons.size() - kMostReasons);
    if (p.damaged > 0) {
        text +=
            fmt::format("{} of the records cannot be read and {} ignored\n",
                        p.damaged == 1 ? "1 line" : fmt::format("{} lines", p.damaged), p.damaged == 1 ? "is" : "are");
    }
    return text;
}

std::string JsonOf(const Progress& p, const std::vector<Reason>& reasons) {
    nlohmann::ordered_json json{{"done", p.done}, {"failed", p.failed}, {"left_out", p.leftOut}};
    if (p.total) {
        json["left"] = p.Left();
        json["total"] = *p.total;
        json["estimated"] = p.estimated;
    }
    json["bytes"] = p.bytes;
    json["pixels"] = p.pixels;
    json["damaged_lines"] = p.damaged;
    json["files_per_second"] = p.rate;
    if (p.sinceLast) json["seconds_since_last"] = *p.sinceLast;
    if (p.total && p.rate > 0) json["seconds_left"] = static_cast<double>(p.Left()) / p.rate;
    json["reasons"] = nlohmann::ordered_json::array();
    for (const Reason& reason : reasons) {
        nlohmann::ordered_json each{{"reason", reason.text}, {"files", reason.files}};
        PutName(each, "first", reason.first);
        json["reasons"].push_back(std::move(each));
    }
    return JsonLine(json) + "\n";
}

}  // namespace

CLI::App* StatusCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("status", "Show the progress of conversions into a folder");
    c->add_option("OUT", options_.output, "The output folder of the runs");
    c->add_option("INPUT", options_.inputs, "The inputs of all runs together, to count those that are left");
    c->add_option("--files-from", options_.filesFrom, "Read the names of more inputs from a file or -, one per line");
    c->add_option("--base", options_.base, "With --files-from: the folder that was given to convert as --base");
    c->add_option("--format", format_, "The format that was given to convert: tiff, png or jpeg")
        ->check(OneOf({"tiff", "png", "jpeg"}).description("{tiff,png,jpeg}"));
    c->add_flag("--follow", options_.follow, "Follow symbolic links in folders");
    AddChoice(*c, "--list", names_,
              Choices<Names>{{"none", Names::None}, {"failed", Names::Failed}, {"left", Names::Left}},
              "none, failed or left: print the names of the inputs that failed, or that no run has processed yet, and "
              "nothing else");
    c->add_flag("-0", options_.nul, "Names end in a zero byte, those that are printed and those of --files-from");
    c->add_flag("--json", json_, "Write one line of JSON");
    AddSandbox(*c, options_.sandbox);
    c->footer(
        "Examples:\n  hueweave status converted/\n  hueweave status converted/ scans/ --list left -0 |\n"
        "      hueweave convert --files-from - -0 --base scans/ -o converted/ --resume");
    return c;
}

void StatusCommand::Settle() {
    if (options_.output.empty()) RefuseUsage("no folder was given", "name the output folder of the runs");
    if (names_ == Names::Left && !HasInputs()) {
        RefuseUsage("--list left needs the inputs", "name them after the output folder");
    }
    for (const Format format : {Format::Tiff, Format::Png, Format::Jpeg}) {
        if (format_ == FormatWord(format)) options_.format = format;
    }
    if (json_ && names_ != Names::None) RefuseUsage("--json and --list exclude each other", "leave one of them out");
    if (!options_.base.empty() && !options_.filesFrom) RefuseUsage("--base is for --files-from", "leave it out");
}

/// The names as they are, but on a terminal, which would obey control characters in them.
std::string StatusCommand::ListOf(const Status& status, const InputList& inputs) const {
    const bool isTerminal = ::isatty(STDOUT_FILENO) != 0;
    std::string names;
    const auto add = [&](std::string_view name) {
        isTerminal ? names += OneLine(name) : names += name;
        names += options_.nul ? '\0' : '\n';
    };
    if (names_ == Names::Failed) {
        for (const auto& [output, line] : status.failed()) {
            if (!line.leftOut) add(line.source);
        }
        return names;
    }
    for (std::size_t number = 0; number < inputs.size(); ++number) {
        if (status.IsLeft(inputs.RelativeAt(number))) add(inputs.names.Source(number));
    }
    return names;
}

/// A file may have vanished since it was converted, but a folder that is missing was mistyped.
void StatusCommand::CheckInputs() const {
    std::error_code ignored;
    for (const std::string& input : options_.inputs) {
        if (FormatOfName(input) != Format::Unknown || std::filesystem::exists(input, ignored)) continue;
        throw Refusal(Exit::Input, input, "does not exist", "name the inputs of the runs");
    }
}

Exit StatusCommand::Run() {
    std::error_code ignored;
    if (!std::filesystem::is_directory(options_.output, ignored)) {
        throw Refusal(Exit::Output, options_.output, "is not a folder", "name the output folder of the runs");
    }
    InputList inputs;
    CheckInputs();
    if (HasInputs()) inputs = ListInputs(options_);
    if (options_.sandbox) EnterSandbox({{options_.output, Use::Read}});
    const Status status(options_.output);
    const Progress progress = status.Count(HasInputs() ? &inputs : nullptr);
    const std::vector<Reason> reasons = ReasonsOf(status);
    const std::string text = names_ != Names::None ? ListOf(status, inputs)
                             : json_               ? JsonOf(progress, reasons)
                                                   : TextOf(progress, reasons);
    if (const int error = WriteText(STDOUT_FILENO, text)) RefuseStandardOutput(error);
    return Exit::Done;
}

}  // namespace hueweave::tool
