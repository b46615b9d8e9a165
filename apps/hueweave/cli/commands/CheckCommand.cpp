// SPDX-License-Identifier: MIT
#include "cli/commands/CheckCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "cli/options/Values.h"
#include "system/JsonNames.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {
namespace {

bool IsWithin(const CheckOptions& options, const ChartVerdict& verdict) {
    const colour::ChartFigures& all = verdict.chart.all;
    if (verdict.guideline && !verdict.guideline->met) return false;
    if (!options.limit) return true;
    return all.mean <= options.limit->mean && (!options.limit->largest || all.largest <= *options.limit->largest);
}

void PrintRow(const std::string& name, const colour::ChartFigures& f) {
    fmt::print("  {:<16}{:>8.3f}{:>8.3f}{:>8.3f}{:>8.3f}{:>8.3f}{:>9}\n", name, f.mean, f.median, f.p90, f.p95,
               f.largest, f.patches);
}

void PrintWorst(const CheckOptions& options, const colour::JudgedChart& chart) {
    if (options.worst == 0) return;
    fmt::print("The worst, with RGB of 100, L*, a*, b* of the reference and of the conversion:\n");
    for (std::size_t i = 0; i < std::min<std::size_t>(options.worst, chart.patches.size()); ++i) {
        const colour::JudgedPatch& p = chart.patches[i];
        fmt::print("  {:<6}{:6.2f} {:6.2f} {:6.2f}  {:6.2f} {:7.2f} {:7.2f}  {:6.2f} {:7.2f} {:7.2f}  {:6.3f}{}\n",
                   OneLine(p.name), 100 * p.device[0], 100 * p.device[1], 100 * p.device[2], p.reference.L,
                   p.reference.a, p.reference.b, p.converted.L, p.converted.a, p.converted.b, p.difference,
                   p.outside ? "  outside" : "");
    }
}

void PrintGuideline(const colour::Guideline& guideline, const colour::GuidelineVerdict& verdict) {
    const char* const limit = guideline.limitsIncluded ? "at most" : "below";
    const std::string share = guideline.percent == 100 ? "largest" : fmt::format("{} %", guideline.percent);
    fmt::print("{} is {}: by {}, mean {:.3f} ({} {}), {} {:.3f} ({} {})\n", guideline.name,
               verdict.met ? "met" : "not met", guideline.fullLightness ? "CIEDE2000 with S_L = 1" : "CIEDE2000",
               verdict.mean, limit, guideline.mean, share, verdict.within, limit, guideline.within);
}

void PrintText(const CheckOptions& options, const ChartVerdict& verdict) {
    const colour::JudgedChart& chart = verdict.chart;
    const std::string space = OneLine(verdict.space);
    fmt::print("{}: {} patches to {}, {}, compared {}\n", OneLine(options.reference), chart.all.patches, space,
               colour::IntentName(options.convert.rendering.intent),
               options.measured ? "as measured" : "relative to the white of the medium");
    if (verdict.left != 0) {
        fmt::print("{} patches are only in {} or {} and are left out.\n", verdict.left, OneLine(options.reference),
                   OneLine(*options.scan));
    }
    fmt::print("CIEDE2000 from the reference:\n  {:<16}{:>8}{:>8}{:>8}{:>8}{:>8}{:>9}\n", "", "mean", "median", "90 %",
               "95 %", "largest", "patches");
    PrintRow("all", chart.all);
    const std::size_t outside = chart.all.patches - chart.inside.patches;
    if (outside != 0 && chart.inside.patches != 0) PrintRow("inside the space", chart.inside);
    PrintWorst(options, chart);
    if (chart.neutral.patches != 0) {
        const colour::NeutralFigures& n = chart.neutral;
        fmt::print(
            "Neutral, {} patches: L* off by {:.2f} on average, {:.2f} at most; a* by {:+.2f} and b* by {:+.2f} on "
            "average, {:.2f} together at most\n",
            n.patches, n.lightness, n.largestLightness, n.a, n.b, n.largestTint);
    }
    if (outside != 0) {
        fmt::print("{} of {} patches are outside {}, which cannot show them; a larger space may (hueweave spaces)\n",
                   outside, chart.all.patches, space);
    }
    if (verdict.guideline) PrintGuideline(*options.guideline, *verdict.guideline);
}

ChartLimit ParseLimit(const std::string& text) {
    const auto number = [&](const std::string& word) {
        double value = 0;
        const char* const end = word.data() + word.size();
        const auto [last, error] = std::from_chars(word.data(), end, value);
        if (error != std::errc() || last != end || !(value >= 0 && value <= 100)) {
            RefuseUsage("--limit " + text + " is not a limit", "use for example --limit 2 or --limit 2,6");
        }
        return value;
    };
    const std::size_t comma = text.find(',');
    if (comma == std::string::npos) return {number(text), std::nullopt};
    return {number(text.substr(0, comma)), number(text.substr(comma + 1))};
}

}  // namespace

CLI::App* CheckCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("check", "Compare the converted colours of a chart with their reference");
    c->add_option("REFERENCE", options_.reference, "Measured colours of a chart: a .ti3 file of scanin, or a .cie file")
        ->required();
    c->add_option("SCAN", options_.scan, "Device colours of the chart, if REFERENCE has none: a .ti3 or .val file");
    ConvertOptions& a = options_.convert;
    c->add_option("--profile", a.profile, "Profile of the scanner or camera")->required();
    AddTarget(*c, a.rendering.space, a.targetFile);
    AddChoice(*c, "--precision", a.precision,
              Choices<Precision>{{"exact", Precision::Exact}, {"library", Precision::Library}},
              "Precision of the conversion");
    AddChoice(*c, "--intent", a.rendering.intent, IntentChoices(), "Rendering intent");
    c->add_flag("--bpc", a.compensateBlack, "Compensate the black point, as with convert");
    c->add_flag("--absolute", options_.measured,
                "Compare with the colours as measured, not relative to the white of the medium (default for --intent "
                "absolute and --guideline)");
    c->add_option("--worst", options_.worst, "List this many of the worst patches")
        ->check(CLI::Range(0, 100000))
        ->capture_default_str();
    c->add_option("--limit", limit_,
                  "Fail (exit status 1) if the mean CIEDE2000 exceeds the first number, or the largest the second");
    Choices<const colour::Guideline*> guidelines;
    for (const colour::Guideline& one : colour::Guidelines()) guidelines.emplace_back(one.name, &one);
    const auto take = [this](const std::string& word) {
        for (const colour::Guideline& one : colour::Guidelines()) {
            if (one.name == word) options_.guideline = &one;
        }
    };
    c->add_option_function<std::string>("--guideline", take,
                                        "Fail if the tolerance of a guideline is exceeded: fadgi-1 to fadgi-4, "
                                        "metamorfoze-full or metamorfoze-light")
        ->check(CLI::IsMember(guidelines).description(""));
    c->add_flag("--json", options_.json, "Write one line of JSON");
    AddSandbox(*c, options_.sandbox);
    c->footer(
        "Examples:\n"
        "  hueweave check --profile scanner.icc chart.ti3\n"
        "  hueweave check --profile scanner.icc reference.cie chart.val --limit 2,6\n"
        "  hueweave check --profile scanner.icc --guideline metamorfoze-light chart.ti3");
    return c;
}

void CheckCommand::Settle() {
    ConvertOptions& a = options_.convert;
    const colour::Space* const space = a.rendering.space;
    if (a.precision == Precision::Library && (space == nullptr || !space->IsEngines())) {
        RefuseUsage("--precision library cannot be combined with this --to, which the library does not support",
                    "leave --precision library out");
    }
    if (a.precision == Precision::Library && a.compensateBlack) {
        RefuseUsage("--bpc cannot be combined with --precision library", "leave one of them out");
    }
    a.acceptError = 100;  // the errors are what is asked for
    if (!limit_.empty()) options_.limit = ParseLimit(limit_);
    const bool absolute = a.rendering.intent == ICC40::ICCFILE::IntentAbsoluteColorimetric;
    if (absolute || options_.guideline != nullptr) options_.measured = true;
}

Exit CheckCommand::Run() {
    if (options_.sandbox) {
        AllowedPaths allowed{{options_.reference, Use::Read}, {*options_.convert.profile, Use::Read}};
        if (options_.scan) allowed.push_back({*options_.scan, Use::Read});
        if (!options_.convert.targetFile.empty()) allowed.push_back({options_.convert.targetFile, Use::Read});
        EnterSandbox(allowed);
    }
    const ChartVerdict verdict = JudgeConverted(options_, ReadChart(options_));
    if (options_.json) {
        fmt::print("{}\n", JsonLine(DescribeVerdict(options_, verdict)));
    } else {
        PrintText(options_, verdict);
    }
    return IsWithin(options_, verdict) ? Exit::Done : Exit::SomeFailed;
}

}  // namespace hueweave::tool
