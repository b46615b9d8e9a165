// SPDX-License-Identifier: MIT
#include "cli/options/ConversionOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

#include "batch/session/Target.h"
#include "cli/options/Command.h"
#include "cli/options/Values.h"

namespace hueweave::tool {

void AddConversionOptions(CLI::App& c, ConvertOptions& options) {
    c.add_option("--profile", options.profile, "Profile of the input (default: the one that it embeds)");
    colour::Rendering& r = options.rendering;
    AddTarget(c, r.space, options.targetFile);
    AddChoice(c, "--precision", options.precision,
              Choices<Precision>{{"exact", Precision::Exact}, {"library", Precision::Library}},
              "exact: the colours that the profiles describe; library: the pixels of libHueweave, bit for bit");
    c.add_option("--accept-error", options.acceptError,
                 "With --precision library, the CIEDE2000 that 5 % of the colours may exceed (default: 2)")
        ->check(Within(0, 100).description("FLOAT in [0 - 100]"));
    c.add_flag("--bpc", options.compensateBlack,
               "Compensate the black point for every intent but absolute (default: for perceptual and saturation, "
               "where the target is of version 4, as all built-in spaces are)");
    AddChoice(c, "--icc-version", options.profileVersion, Choices<int>{{"4", 4}, {"2", 2}},
              "Version of the embedded profile of a space");
    AddChoice(c, "--intent", r.intent, IntentChoices(), "perceptual, relative, saturation or absolute");
    c.add_option("--lightness", r.lightness, "Shift of L*, -100 to 100")->check(Within(-100, 100));
    c.add_option("--chroma", r.chroma, "Shift of C*, -100 to 100 (any shift limits C* to 100)")
        ->check(Within(-100, 100));
    c.add_option("--hue", r.hue, "Shift of the hue in degrees, -360 to 360")->check(Within(-360, 360));
    c.add_option("--curve", options.curveFile,
                 "Tone curves in place of the space's own: a CSV of 256 rows of three values of 0 to 255, the output "
                 "for linear light from 0 to 1");
    const Choices<SourceRule> rules{
        {"require-match", SourceRule::RequireMatch}, {"given", SourceRule::Given}, {"embedded", SourceRule::Embedded}};
    AddChoice(
        c, "--source", options.source, rules,
        "What to do if a file embeds a profile other than --profile and is not in the colours of the output already: "
        "require-match (refuse it), given or embedded");
    AddChoice(c, "--others", options.others,
              Choices<Others>{{"refuse", Others::Refuse}, {"copy", Others::Copy}, {"skip", Others::Skip}},
              "What to do with files that are not RGB: refuse them, copy them to the output, or leave them out");
    c.add_flag("--grey-to-rgb", options.greyToRgb, "Write grey images with a grey profile as RGB (default: grey)");
    c.add_flag("--no-tag", options.noTag, "Do not embed a profile in the output");
    c.add_flag("--force", options.force, "Replace existing files");
    c.add_option("-j,--jobs", options.jobs, "Threads (default: one per processor)")
        ->check(Within(1, 1024).description("INT in [1 - 1024]"));
    c.add_option("--max-memory", options.maxMemory, "Memory limit per file, whatever its size: 32M or more")
        ->transform(Memory())
        ->type_name("TEXT")
        ->default_str("64M");
    c.add_flag("--follow", options.follow, "Follow symbolic links in folders");
    c.add_flag("-q,--quiet", options.quiet, "Print refusals only");
    c.add_flag("-v,--verbose", options.verbose, "Print how each file is converted, and how exactly");
    c.add_flag("--json", options.json, "Write one line of JSON per file to standard output");
    AddSandbox(c, options.sandbox);
}

void CheckConversionOptions(const ConvertOptions& a) {
    const colour::Space* const space = a.rendering.space;
    if (a.precision == Precision::Library) {
        if (space == nullptr || !space->IsEngines()) {
            RefuseUsage("--precision library cannot be combined with --to " + TargetName(a) +
                            ", which the library does not support",
                        "leave --precision library out");
        }
        if (!a.curveFile.empty() && space->ByTable()) {
            RefuseUsage("--curve cannot be combined with --to adobe-rgb, which already uses a curve",
                        "use --to adobe-rgb-g18");
        }
        if (a.greyToRgb)
            RefuseUsage("--grey-to-rgb cannot be combined with --precision library", "leave one of them out");
        if (a.compensateBlack)
            RefuseUsage("--bpc cannot be combined with --precision library", "leave one of them out");
        if (a.profileVersion != 4) {
            RefuseUsage("--icc-version cannot be combined with --precision library", "leave one of them out");
        }
    } else if (a.acceptError) {
        RefuseUsage("--accept-error is for --precision library", "leave it out");
    }
    if (space == nullptr && !a.curveFile.empty()) {
        RefuseUsage("--curve cannot be combined with a profile as --to", "name a colour space");
    }
    if (space == nullptr && a.profileVersion != 4) {
        RefuseUsage("--icc-version cannot be combined with a profile as --to", "leave it out");
    }
    if (a.profile && a.profile->empty())
        RefuseUsage("the name after --profile is empty", "name a profile, or leave it out");
}

unsigned ThreadsOf(const ConvertOptions& options) {
    return options.jobs != 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
}

}  // namespace hueweave::tool
