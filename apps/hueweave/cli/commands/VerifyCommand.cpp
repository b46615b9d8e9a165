// SPDX-License-Identifier: MIT
#include "cli/commands/VerifyCommand.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <vector>

#include "batch/session/ProfileFile.h"
#include "cli/commands/ImageColours.h"
#include "cli/options/Values.h"
#include "colour/library/Bake.h"
#include "report/measure/PrecisionVerdict.h"
#include "system/JsonNames.h"
#include "system/StandardStreams.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {
namespace {

/// The precision that is judged.
const colour::Comparison& Judged(const VerifyOptions& options, const PrecisionVerdict& verdict) {
    return options.precision == Precision::Exact ? verdict.exact : *verdict.library;
}

void PrintRow(const char* precision, const colour::Comparison& c, const std::string& way) {
    fmt::print("  {:<8}{:>8.3f}{:>8.3f}{:>8.3f}{:>8.3f}{:>8.3f}{:>8.3f}  {}\n", precision, c.mean, c.median, c.p95,
               c.p99, c.p999, c.maximum, way);
}

void PrintText(const VerifyOptions& options, const DeviceProfile& profile, const PrecisionVerdict& verdict) {
    const colour::Comparison& judged = Judged(options, verdict);
    fmt::print("{}: to {}, {}, {} bits, {} colours of {}\n", OneLine(profile.name), OneLine(verdict.target.name),
               colour::IntentName(options.rendering.intent), options.bits, judged.colours,
               options.image ? OneLine(*options.image) : "a grid");
    if (colour::IsBaked(profile.data)) {
        fmt::print(
            "hueweave bake made this profile: the figures are those of the bake alone, not of the profile that "
            "it was made from.\n");
    }
    if (verdict.library && !verdict.engine.bakedBecause.empty()) {
        fmt::print("The library uses a profile baked from it: {}.\n", verdict.engine.bakedBecause);
    }
    fmt::print("CIEDE2000 from Little CMS in floating point:\n");
    fmt::print("  {:<8}{:>8}{:>8}{:>8}{:>8}{:>8}{:>8}  {}\n", "", "mean", "median", "95 %", "99 %", "99.9 %", "maximum",
               "way");
    PrintRow("exact", verdict.exact, verdict.way);
    if (verdict.library) PrintRow("library", *verdict.library, "library");
    fmt::print("The worst with --precision {}, of 255:\n", options.precision == Precision::Exact ? "exact" : "library");
    for (const auto& w : judged.worst) {
        fmt::print("  RGB {:6.2f} {:6.2f} {:6.2f}  Lab {:6.2f} {:7.2f} {:7.2f}  {:.3f}\n", w.device[0] / 257.0,
                   w.device[1] / 257.0, w.device[2] / 257.0, w.lab[0], w.lab[1], w.lab[2], w.difference);
    }
    fmt::print("Outside the space and clipped to it: {} of {} ({:.1f} %)\n", judged.clipped, judged.colours,
               100.0 * static_cast<double>(judged.clipped) / static_cast<double>(judged.colours));
}

constexpr const char* kVerifyExamples = R"(Examples:
  hueweave verify scanner.icc
  hueweave verify scanner.icc --image scan.tif --to adobe-rgb
  hueweave verify scanner.icc --limit 2.0               exit status 1 if the limit is exceeded)";

}  // namespace

CLI::App* VerifyCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("verify", "Compare conversions with Little CMS in floating point");
    c->add_option("PROFILE", options_.profile, "Any RGB device profile")->required();
    c->add_option("--image", options_.image, "Compare the colours of a TIFF, PNG or JPEG file, not a grid");
    AddTarget(*c, options_.rendering.space, options_.targetFile);
    AddChoice(*c, "--precision", options_.precision,
              Choices<Precision>{{"exact", Precision::Exact}, {"library", Precision::Library}},
              "The precision that --limit and the list of the worst colours refer to");
    AddChoice(*c, "--intent", options_.rendering.intent, IntentChoices(), "Rendering intent");
    // Strings, because CLI11 accepts an empty argument as one of several numbers.
    c->add_option("--bits", options_.bits, "Bits per sample")
        ->check(OneOf({"8", "16"}).description("{8,16}"))
        ->capture_default_str();
    c->add_option("--points", options_.points, "Points of the grid on each axis")
        ->check(Within(2, 65).description("INT in [2 - 65]"))
        ->capture_default_str();
    c->add_option("--limit", options_.limit,
                  "Fail (exit status 1) if more than 5 % of the colours differ by more than this CIEDE2000")
        ->check(Within(0, 100).description("FLOAT in [0 - 100]"));
    c->add_flag("--json", options_.json, "Write one line of JSON");
    AddSandbox(*c, options_.sandbox);
    c->footer(kVerifyExamples);
    return c;
}

void VerifyCommand::Settle() {
    const colour::Space* const space = options_.rendering.space;
    if (options_.precision == Precision::Library && (space == nullptr || !space->IsEngines())) {
        RefuseUsage("--precision library cannot be combined with this --to, which the library does not support",
                    "leave --precision library out");
    }
}

Exit VerifyCommand::Run() {
    if (options_.sandbox) {
        AllowedPaths allowed{{options_.profile, Use::Read}};
        if (!options_.targetFile.empty()) allowed.push_back({options_.targetFile, Use::Read});
        if (options_.image) {
            allowed.push_back({*options_.image, Use::Read});
            allowed.push_back({TemporaryFolder(), Use::Scratch});
        }
        EnterSandbox(allowed);
    }
    const DeviceProfile profile = LoadProfile(options_.profile);
    const std::vector<colour::DeviceColour> colours =
        options_.image ? ImageColours(*options_.image) : colour::GridColours(options_.points);
    const PrecisionQuestion question{options_.rendering, options_.targetFile, options_.bits};
    const PrecisionVerdict verdict = ComparePrecisions(question, profile, colours);
    if (options_.json) {
        fmt::print("{}\n", JsonLine(DescribeVerdict(question, profile, verdict)));
    } else {
        PrintText(options_, profile, verdict);
    }
    return options_.limit && Judged(options_, verdict).p95 > *options_.limit ? Exit::SomeFailed : Exit::Done;
}

}  // namespace hueweave::tool
