// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "cli/ConvertCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <thread>
#include <utility>

#include "batch/Batch.h"
#include "batch/session/CurveFile.h"
#include "cli/AllowedPaths.h"
#include "cli/Values.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {

namespace {

Shard ParseShard(const std::string& text) {
    Shard shard;
    const char* const end = text.data() + text.size();
    const auto [slash, partError] = std::from_chars(text.data(), end, shard.part);
    const char* const rest = slash == end || *slash != '/' ? end : slash + 1;
    const auto [last, partsError] = std::from_chars(rest, end, shard.parts);
    if (partError != std::errc() || partsError != std::errc() || last != end || shard.part < 1 ||
        shard.part > shard.parts) {
        RefuseUsage("--shard " + text + " is not a valid part", "use for example --shard 1/4");
    }
    return shard;
}

/// Creates the output folder before entering the sandbox, which then allows writing below it but not above. If it
/// cannot be created, each file is refused for that reason.
void MakeOutputFolder(const ConvertOptions& options, const InputList& list, MadeFolders& folders,
                      AllowedPaths& allowed) {
    if (options.dryRun || list.folder.empty() || list.items.empty()) return;
    const std::string above = ExistingFolder(list.folder);
    try {
        folders.Make(list.folder);
        if (above != list.folder) allowed.push_back({above, Use::RemoveFolders});  // removed again if they stay empty
    } catch (const Refusal&) {
        return;
    }
}

/// Enters the sandbox, when all inputs are known: names have been read, but no image or profile.
void Confine(const ConvertOptions& options, const InputList& list, MadeFolders& folders) {
    if (!options.sandbox) return;
    AllowedPaths allowed;
    MakeOutputFolder(options, list, folders, allowed);
    const AllowedPaths named = PathsOf(options, list);
    allowed.insert(allowed.end(), named.begin(), named.end());
    EnterSandbox(allowed);
}

}  // namespace

CLI::App* ConvertCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("convert", "Convert TIFF files to a colour space");
    c->add_option("INPUT", options_.inputs, "TIFF files, folders of them, or - for standard input");
    c->add_option("-o,--output", options_.output, "File or folder to write, or - for standard output");
    c->add_option("--profile", options_.profile, "Profile of the input (default: the one that it embeds)");
    colour::Rendering& r = options_.rendering;
    AddTarget(*c, r.space, options_.targetFile);
    AddChoice(*c, "--precision", options_.precision,
              Choices<Precision>{{"exact", Precision::Exact}, {"library", Precision::Library}},
              "exact: the colours that the profiles describe; library: the pixels of libHueweave, bit for bit");
    c->add_option("--accept-error", options_.acceptError,
                  "With --precision library, the CIEDE2000 that 5 % of the colours may exceed (default: 2)")
        ->check(Within(0, 100).description("FLOAT in [0 - 100]"));
    c->add_flag("--bpc", options_.compensateBlack,
                "Compensate the black point for every intent but absolute (default: for perceptual and saturation, "
                "where the target is of version 4, as every space of ours is)");
    AddChoice(*c, "--icc-version", options_.profileVersion, Choices<int>{{"4", 4}, {"2", 2}},
              "Version of the embedded profile, of a space");
    AddChoice(*c, "--intent", r.intent, IntentChoices(), "perceptual, relative, saturation or absolute");
    c->add_option("--lightness", r.lightness, "Shift of L*, -100 to 100")->check(Within(-100, 100));
    c->add_option("--chroma", r.chroma, "Shift of C*, -100 to 100 (any shift cuts C* at 100)")
        ->check(Within(-100, 100));
    c->add_option("--hue", r.hue, "Shift of the hue in degrees, -360 to 360")->check(Within(-360, 360));
    c->add_option("--curve", options_.curveFile,
                  "Tone curves in place of the space's own: a CSV of 256 rows of three values of 0 to 255, the output "
                  "for linear light from 0 to 1");
    const Choices<SourceRule> rules{
        {"require-match", SourceRule::RequireMatch}, {"given", SourceRule::Given}, {"embedded", SourceRule::Embedded}};
    AddChoice(*c, "--source", options_.source, rules,
              "The profile to use if a file embeds another than --profile: given, embedded, or require-match to refuse "
              "the file, unless it is in the colours of the output already");
    AddChoice(*c, "--others", options_.others,
              Choices<Others>{{"refuse", Others::Refuse}, {"copy", Others::Copy}, {"skip", Others::Skip}},
              "What to do with files that are not RGB: refuse them, copy them to the output, or leave them out");
    c->add_flag("--no-tag", options_.noTag, "Do not embed a profile in the output");
    c->add_flag("--force", options_.force, "Replace existing files");
    c->add_flag("--in-place", options_.inPlace, "Replace each input with its conversion");
    c->add_option("-j,--jobs", options_.jobs, "Threads (default: one per processor)")->check(CLI::Range(1, 1024));
    c->add_option("--max-memory", options_.maxMemory, "Memory limit per file, whatever its size")
        ->transform(Memory())
        ->type_name("TEXT")
        ->default_str("64M");
    c->add_option(
        "--files-from", options_.filesFrom,
        "Read the names of more inputs from a file or -, one per line; outputs go directly into the output folder");
    c->add_flag("-0", options_.nul, "These names end in a zero byte");
    c->add_flag("--follow", options_.follow, "Follow symbolic links in folders");
    c->add_option("--shard", shard_, "Take the K-th of N parts of the inputs, as K/N");
    c->add_flag("--resume", options_.resume, "Skip files that an earlier run converted the same way");
    c->add_flag("--dry-run", options_.dryRun, "Report what would be done, write nothing");
    c->add_flag("-q,--quiet", options_.quiet, "Print refusals only");
    c->add_flag("-v,--verbose", options_.verbose, "Print how each file is converted, and how exactly");
    c->add_flag("--json", options_.json, "Write one line of JSON per file to standard output");
    AddSandbox(*c, options_.sandbox);
    return c;
}

void ConvertCommand::SettleTarget() const {
    const ConvertOptions& a = options_;
    const colour::Space* const space = a.rendering.space;
    if (a.precision == Precision::Library) {
        if (space == nullptr || !space->IsEngines()) {
            RefuseUsage(
                "--precision library does not go with --to " + TargetName(a) + ", which the library does not have",
                "leave --precision library out");
        }
        if (!a.curveFile.empty() && space->ByTable()) {
            RefuseUsage("--curve does not go with --to adobe-rgb, which is made by a curve itself",
                        "use --to adobe-rgb-g18");
        }
        if (a.compensateBlack) RefuseUsage("--bpc does not go with --precision library", "leave one of them out");
        if (a.profileVersion != 4) {
            RefuseUsage("--icc-version does not go with --precision library", "leave one of them out");
        }
    } else if (a.acceptError) {
        RefuseUsage("--accept-error is for --precision library", "leave it out");
    }
    if (space == nullptr && !a.curveFile.empty()) {
        RefuseUsage("--curve does not go with a profile as --to", "name a colour space");
    }
    if (space == nullptr && a.profileVersion != 4) {
        RefuseUsage("--icc-version does not go with a profile as --to", "leave it out");
    }
}

void ConvertCommand::Settle() {
    ConvertOptions& a = options_;
    SettleTarget();
    if (!shard_.empty()) a.shard = ParseShard(shard_);
    if (a.inputs.empty() && !a.filesFrom) RefuseUsage("no input was given", "name TIFF files or folders");
    for (const std::string& input : a.inputs) {
        if (input.empty()) RefuseUsage("the name of an input is empty", "name TIFF files or folders");
    }
    if (a.profile && a.profile->empty())
        RefuseUsage("the name after --profile is empty", "name a profile, or leave it out");
    if (a.inPlace && !a.output.empty()) RefuseUsage("--in-place and -o exclude each other", "leave one of them out");
    if (!a.inPlace && a.output.empty())
        RefuseUsage("no output was given", "name a file or folder with -o, or use --in-place");
    if (a.filesFrom == "-" && std::count(a.inputs.begin(), a.inputs.end(), "-") > 0)
        RefuseUsage("- and --files-from - both read standard input", "give the list in a file");
    if (a.nul && !a.filesFrom) RefuseUsage("-0 is for --files-from", "give --files-from, or leave -0 out");
    if (a.json && a.output == "-") RefuseUsage("--json and -o - both write to standard output", "write to a file");
    if (a.resume && (a.inPlace || a.output == "-")) RefuseUsage("--resume wants an output folder", "give one with -o");
}

Exit ConvertCommand::Run() {
    Report report(options_.quiet, options_.json);
    const InputList list = ListInputs(options_);
    const bool shared = options_.shard.has_value();
    MadeFolders folders(shared);
    Confine(options_, list, folders);
    if (!options_.curveFile.empty()) options_.rendering.curves = ReadCurves(options_.curveFile);
    std::optional<DeviceProfile> profile;
    if (options_.profile) profile = LoadProfile(*options_.profile);
    const Target target = MakeTarget(options_);
    ProfileCache cache(options_, target);
    SweptFolders swept;
    std::optional<ResumeRecord> record;  // destroyed before the folders are checked
    if (!list.folder.empty() && (!options_.dryRun || options_.resume)) record.emplace(list.folder, shared);
    if (options_.resume) record->Load();
    Session session{options_,          list, report, target, cache, folders, swept, record ? &*record : nullptr,
                    std::move(profile)};
    if (list.links > 0) {
        report.Note(fmt::format("{} symbolic {} not followed; --follow follows them", list.links,
                                list.links == 1 ? "link was" : "links were"));
    }
    const unsigned all = std::max(1U, std::thread::hardware_concurrency());
    const Exit result = RunBatch(session, options_.jobs != 0 ? options_.jobs : all);
    if (const int error = report.Close()) RefuseStandardOutput(error);
    return result;
}

}  // namespace hueweave::tool
