// SPDX-License-Identifier: MIT
#include "cli/commands/ConvertCommand.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <filesystem>
#include <utility>

#include "batch/Batch.h"
#include "batch/session/CurveFile.h"
#include "cli/options/AllowedPaths.h"
#include "cli/options/ConversionOptions.h"
#include "cli/options/Values.h"
#include "system/StableHash.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {

namespace {

namespace fs = std::filesystem;

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

Resume ParseResume(const std::string& text) {
    if (text == "fast") return Resume::Fast;
    if (text != "true") RefuseUsage("--resume=" + text + " is unknown", "use --resume or --resume=fast");
    return Resume::ByHash;
}

/// A name for inputs in records: the same for the same paths, however they are written. `listed` is a hash of the names
/// that came from standard input.
std::string NameOfInputs(const std::vector<std::string>& paths, std::uint64_t listed = 0) {
    std::string all;
    std::error_code ignored;
    for (const std::string& path : paths) {
        const fs::path whole = fs::absolute(path, ignored).lexically_normal();
        all += (whole.has_filename() ? whole : whole.parent_path()).string() + '\0';
    }
    return fmt::format("{:016x}", StableHash(fmt::format("{}{}", all, listed)));
}

/// The first line of the record of a run.
RunLine RunOf(const ConvertOptions& options, const InputList& list) {
    std::vector<std::string> paths = options.inputs;
    if (options.filesFrom && options.filesFrom != "-") paths.push_back(*options.filesFrom);
    const bool isBelow = options.inputs.empty() && !options.base.empty();
    const Shard shard = options.shard.value_or(Shard{});
    return {NameOfInputs(paths, list.listed),
            isBelow ? NameOfInputs({options.base}) : "",
            list.size(),
            shard.part,
            shard.parts,
            Now()};
}

/// Creates the output folder before entering the sandbox, which then allows writing below it but not above. If it
/// cannot be created, each file is refused for that reason.
void MakeOutputFolder(const ConvertOptions& options, const InputList& list, MadeFolders& folders,
                      AllowedPaths& allowed) {
    if (options.dryRun || list.folder.empty() || (list.size() == 0 && !options.shard)) return;
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
    AllowedPaths allowed;
    MakeOutputFolder(options, list, folders, allowed);
    if (!options.sandbox) return;
    const AllowedPaths named = PathsOf(options, list);
    allowed.insert(allowed.end(), named.begin(), named.end());
    EnterSandbox(allowed);
}

constexpr const char* kConvertExamples = R"(Examples:
  hueweave convert --profile scanner.icc scan.tif -o scan-srgb.tif
  hueweave convert scans/ -o converted/                 a folder, with the embedded profiles
  hueweave convert --profile scanner.icc --to adobe-rgb --intent relative *.tif -o converted/
  hueweave convert scans/ -o converted/ --resume        continue an interrupted run
  find scans -name '*.tif' -print0 | hueweave convert --files-from - -0 -o converted/
                                                        a list; no subfolders are made)";

}  // namespace

CLI::App* ConvertCommand::Declare(CLI::App& app) {
    CLI::App* c = app.add_subcommand("convert", "Convert TIFF, PNG and JPEG files to a colour space");
    c->add_option("INPUT", options_.inputs, "TIFF, PNG and JPEG files, folders of them, or - for standard input");
    c->add_option("-o,--output", options_.output,
                  "File to write, folder to write to (end it in / to make one), or - for standard output");
    AddConversionOptions(*c, options_);
    c->add_flag("--in-place", options_.inPlace, "Replace each input with its conversion");
    c->add_option("--format", format_, "Format of the outputs: tiff, png or jpeg (default: that of each input)")
        ->check(OneOf({"tiff", "png", "jpeg"}).description("{tiff,png,jpeg}"));
    c->add_option("--quality", options_.quality, "With --format jpeg, the quality of new JPEG files (default: 95)")
        ->check(Within(1, 100).description("INT in [1 - 100]"));
    c->add_option(
        "--files-from", options_.filesFrom,
        "Read the names of more inputs from a file or -, one per line; outputs go directly into the output folder");
    c->add_flag("-0", options_.nul, "These names end in a zero byte");
    c->add_option("--base", options_.base,
                  "With --files-from: put each output below the output folder as its input is below this folder");
    c->add_option("--shard", shard_, "Convert only part K of N of the inputs, as K/N");
    c->add_flag("--resume", resume_,
                "Skip files that an earlier run converted the same way; --resume=fast compares their sizes and times, "
                "not their contents");
    c->add_flag("--dry-run", options_.dryRun, "Report what would be done, write nothing");
    c->footer(kConvertExamples);
    return c;
}

void ConvertCommand::Settle() {
    ConvertOptions& a = options_;
    CheckConversionOptions(a);
    if (!shard_.empty()) a.shard = ParseShard(shard_);
    if (!resume_.empty()) a.resume = ParseResume(resume_);
    if (!a.base.empty() && !a.filesFrom) RefuseUsage("--base is for --files-from", "name the folder itself");
    if (!a.base.empty() && a.inPlace) RefuseUsage("--base and --in-place exclude each other", "leave --base out");
    if (a.inputs.empty() && !a.filesFrom) RefuseUsage("no input was given", "name files or folders");
    for (const std::string& input : a.inputs) {
        if (input.empty()) RefuseUsage("the name of an input is empty", "name files or folders");
    }
    SettleFormat();
    if (a.inPlace && !a.output.empty()) RefuseUsage("--in-place and -o exclude each other", "leave one of them out");
    if (!a.inPlace && a.output.empty())
        RefuseUsage("no output was given", "name a file or folder with -o, or use --in-place");
    if (a.filesFrom == "-" && std::count(a.inputs.begin(), a.inputs.end(), "-") > 0)
        RefuseUsage("- and --files-from - both read standard input", "give the list in a file");
    if (a.nul && !a.filesFrom) RefuseUsage("-0 is for --files-from", "give --files-from, or leave -0 out");
    if (a.json && a.output == "-") RefuseUsage("--json and -o - both write to standard output", "write to a file");
    if (a.resume != Resume::No && (a.inPlace || a.output == "-"))
        RefuseUsage("--resume needs an output folder", "give one with -o");
}

void ConvertCommand::SettleFormat() {
    ConvertOptions& a = options_;
    for (const Format format : {Format::Tiff, Format::Png, Format::Jpeg}) {
        if (format_ == FormatWord(format)) a.format = format;
    }
    if (a.quality && a.format != Format::Jpeg) RefuseUsage("--quality is for --format jpeg", "leave it out");
    if (!a.format) return;
    if (a.inPlace) RefuseUsage("--in-place and --format exclude each other", "name an output folder with -o");
    if (a.others == Others::Copy) {
        RefuseUsage("--others copy cannot be combined with --format, because copies keep their format",
                    "leave these files out with --others skip");
    }
}

Exit ConvertCommand::Run() {
    Report report(options_.quiet, options_.json);
    const InputList list = ListInputs(options_);
    // Other runs may work on the same folder.
    const bool shared = options_.shard.has_value() || options_.filesFrom.has_value();
    MadeFolders folders(shared);
    Confine(options_, list, folders);
    if (!options_.curveFile.empty()) options_.rendering.curves = ReadCurves(options_.curveFile);
    std::optional<DeviceProfile> profile;
    if (options_.profile) profile = LoadGivenProfile(*options_.profile, options_.precision == Precision::Exact);
    const Target target = MakeTarget(options_);
    ProfileCache cache(options_, target);
    SweptFolders swept;
    std::optional<ResumeRecord> record;  // destroyed before the folders are checked
    if (!list.folder.empty() && (!options_.dryRun || options_.resume != Resume::No)) {
        record.emplace(list.folder, shared);
        if (options_.resume != Resume::No) record->Load();
        if (!options_.dryRun) record->Announce(RunOf(options_, list));
    }
    Session session{options_,          list, report, target, cache, folders, swept, record ? &*record : nullptr,
                    std::move(profile)};
    if (list.links > 0) {
        report.Note(fmt::format("{} symbolic {} not followed; --follow follows them", list.links,
                                list.links == 1 ? "link was" : "links were"));
    }
    const Exit result = RunBatch(session, ThreadsOf(options_));
    if (const int error = report.Close()) RefuseStandardOutput(error);
    return result;
}

}  // namespace hueweave::tool
