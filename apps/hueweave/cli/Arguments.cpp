// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "cli/Arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

#include "batch/LineReader.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr const char* kAbout =
    R"(Converts RGB images through ICC profiles: right colour, nothing else lost, or a clear refusal.)";

constexpr const char* kFooter = R"(Examples:
  hueweave convert --profile scanner.icc scan.tif -o scan-srgb.tif
  hueweave convert scans/ -o converted/                 a folder, each file by the profile that it embeds
  hueweave convert --profile scanner.icc --to adobe-rgb --intent relative *.tif -o converted/
  hueweave convert scans/ -o converted/ --resume        the same, going on where it was stopped
  find scans -name '*.tif' -print0 | hueweave convert --files-from - -0 -o converted/
                                                        a list: outputs side by side, without subfolders
  hueweave inspect scan.tif scanner.icc
  hueweave verify scanner.icc --limit 2.0

Exit status: 0 all done, 1 some of several files failed or a limit was passed, 2 usage, 3 profile refused,
4 input refused, 5 output refused; by SIGINT or SIGTERM, that signal itself.)";

[[noreturn]] void Usage(const std::string& reason, const std::string& remedy = "see hueweave --help") {
    throw Refusal(Exit::Usage, "", reason, remedy);
}

/// Options that `convert` and `verify` share, as text.
struct RenderingWords {
    std::string space = "srgb", intent = "perceptual";
};

void AddRendering(CLI::App& app, RenderingWords& words, Rendering& rendering) {
    app.add_option("--to", words.space, "Colour space of the output, see: hueweave spaces")->capture_default_str();
    app.add_option("--intent", words.intent, "perceptual, relative, saturation or absolute")->capture_default_str();
    app.add_option("--lightness", rendering.lightness, "Shift of L*, -100 to 100");
    app.add_option("--chroma", rendering.chroma, "Shift of C*, -100 to 100 (any shift cuts C* at 100)");
    app.add_option("--hue", rendering.hue, "Shift of the hue in degrees, -360 to 360");
}

void SettleRendering(const RenderingWords& words, const std::string& curveFile, Rendering& rendering) {
    rendering.space = FindSpace(words.space);
    if (rendering.space == nullptr) Usage("--to " + words.space + " is not a known space", "see hueweave spaces");
    bool known = false;
    for (const NamedIntent& named : Intents()) {
        if (named.name != words.intent) continue;
        rendering.intent = named.intent;
        known = true;
    }
    if (!known) Usage("--intent " + words.intent + " is not known", "use perceptual, relative, saturation or absolute");
    const auto check = [](const char* name, double value, double most) {
        if (!std::isfinite(value) || std::fabs(value) > most) {
            Usage(fmt::format("{} {} is out of range", name, value), fmt::format("use -{0} to {0}", most));
        }
    };
    check("--lightness", rendering.lightness, 100);
    check("--chroma", rendering.chroma, 100);
    check("--hue", rendering.hue, 360);
    if (!curveFile.empty() && rendering.space->ByTable()) {
        Usage("--curve does not go with --to adobe-rgb, which is made by a curve itself", "use --to adobe-rgb-g18");
    }
}

std::uint64_t ParseMemory(const std::string& text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string unit(end, text.data() + text.size());
    const std::map<std::string, int> shifts{{"", 0}, {"K", 10}, {"M", 20}, {"G", 30}};
    const auto shift = shifts.find(unit);
    if (error != std::errc() || shift == shifts.end() || value > (std::uint64_t{1} << 33)) {
        Usage("--max-memory " + text + " is not a size", "use for example 64M or 1G");
    }
    const std::uint64_t bytes = value << shift->second;
    if (bytes < (std::uint64_t{32} << 20)) Usage("--max-memory " + text + " is too little", "use 32M or more");
    return bytes;
}

Shard ParseShard(const std::string& text) {
    Shard shard;
    const char* const end = text.data() + text.size();
    const auto [slash, partError] = std::from_chars(text.data(), end, shard.part);
    const char* const rest = slash == end || *slash != '/' ? end : slash + 1;
    const auto [last, partsError] = std::from_chars(rest, end, shard.parts);
    if (partError != std::errc() || partsError != std::errc() || last != end || shard.part < 1 ||
        shard.part > shard.parts) {
        Usage("--shard " + text + " is not a part of a whole", "use for example --shard 1/4");
    }
    return shard;
}

/// What the options of `convert` are before they are understood.
struct ConvertWords {
    RenderingWords rendering;
    std::string source = "given", memory = "64M", shard;
};

CLI::App* AddConvert(CLI::App& app, ConvertArguments& a, ConvertWords& words) {
    CLI::App* c = app.add_subcommand("convert", "Convert TIFF files to a colour space");
    c->add_option("INPUT", a.inputs, "TIFF files, folders of them, or - for standard input");
    c->add_option("-o,--output", a.output, "File or folder to write, or - for standard output");
    c->add_option("--profile", a.profile, "Profile of the input (default: the one that it embeds)");
    AddRendering(*c, words.rendering, a.rendering);
    c->add_option("--curve", a.curveFile,
                  "Tone curves in place of the space's own: a CSV of 256 rows of three values of 0 to 255, the output "
                  "for linear light from 0 to 1");
    c->add_option("--source", words.source,
                  "Where --profile meets an embedded profile: given, embedded or require-match")
        ->capture_default_str();
    c->add_flag("--no-tag", a.noTag, "Embed no profile in the output");
    c->add_flag("--force", a.force, "Replace files that are there already");
    c->add_flag("--in-place", a.inPlace, "Replace each input by its conversion");
    c->add_option("-j,--jobs", a.jobs, "Threads (default: one a processor)")->check(CLI::Range(1, 1024));
    c->add_option("--max-memory", words.memory, "Memory for a file, whatever its size")->capture_default_str();
    c->add_option("--files-from", a.filesFrom,
                  "Read the names of more inputs from a file or - , one a line; outputs stand side by side");
    c->add_flag("-0", a.nul, "These names end in a zero byte");
    c->add_option("--shard", words.shard, "Take the K-th of N parts of the inputs, as K/N");
    c->add_flag("--resume", a.resume, "Skip files that an earlier run converted the same way");
    c->add_flag("--dry-run", a.dryRun, "Say what would happen, write nothing");
    c->add_flag("-q,--quiet", a.quiet, "Say nothing but refusals");
    c->add_flag("--json", a.json, "Write one line of JSON a file to standard output");
    return c;
}

void SettleConvert(ConvertArguments& a, const ConvertWords& words) {
    SettleRendering(words.rendering, a.curveFile, a.rendering);
    const std::map<std::string, SourceRule> rules{
        {"given", SourceRule::Given}, {"embedded", SourceRule::Embedded}, {"require-match", SourceRule::RequireMatch}};
    const auto rule = rules.find(words.source);
    if (rule == rules.end())
        Usage("--source " + words.source + " is not known", "use given, embedded or require-match");
    a.source = rule->second;
    a.maxMemory = ParseMemory(words.memory);
    if (!words.shard.empty()) a.shard = ParseShard(words.shard);
    if (a.inputs.empty() && !a.filesFrom) Usage("no input was given", "name TIFF files or folders");
    for (const std::string& input : a.inputs) {
        if (input.empty()) Usage("the name of an input is empty", "name TIFF files or folders");
    }
    if (a.profile && a.profile->empty()) Usage("the name after --profile is empty", "name a profile, or leave it out");
    if (a.inPlace && !a.output.empty()) Usage("--in-place and -o exclude each other", "leave one of them out");
    if (!a.inPlace && a.output.empty())
        Usage("no output was given", "name a file or folder with -o, or use --in-place");
    if (a.filesFrom == "-" && std::count(a.inputs.begin(), a.inputs.end(), "-") > 0)
        Usage("- and --files-from - both read standard input", "give the list in a file");
    if (a.nul && !a.filesFrom) Usage("-0 is for --files-from", "give --files-from, or leave -0 out");
    if (a.json && a.output == "-") Usage("--json and -o - both write to standard output", "write to a file");
    if (a.resume && (a.inPlace || a.output == "-")) Usage("--resume wants an output folder", "give one with -o");
}

CLI::App* AddVerify(CLI::App& app, VerifyArguments& a, RenderingWords& words) {
    CLI::App* c = app.add_subcommand("verify", "Compare the engine with Little CMS in floating point");
    c->add_option("PROFILE", a.profile, "Any RGB device profile")->required();
    c->add_option("--image", a.image, "Compare the colours of a TIFF file, not a grid");
    c->add_option("--to", words.space, "Colour space of the output")->capture_default_str();
    c->add_option("--intent", words.intent, "Rendering intent")->capture_default_str();
    // As words: CLI11 takes an empty one for one of several numbers.
    c->add_option("--bits", a.bits, "Bits a sample")->check(CLI::IsMember({"8", "16"}))->capture_default_str();
    c->add_option("--points", a.points, "Points of the grid on each axis")
        ->check(CLI::Range(2, 65))
        ->capture_default_str();
    c->add_option("--limit", a.limit,
                  "Fail (exit status 1) if more than 5 % of the colours differ by more than this CIEDE2000")
        ->check(CLI::Range(0.0, 100.0));
    c->add_flag("--json", a.json, "Write one line of JSON");
    return c;
}

/// A mistyped command is named, where CLI11 would only say that one is missing.
void CheckCommand(const CLI::App& app, const std::string& word) {
    if (word.starts_with('-')) return;
    for (const CLI::App* command : app.get_subcommands({})) {
        if (command->get_name() == word) return;
    }
    Usage("'" + word + "' is no command");
}

}  // namespace

ToneCurves ReadCurves(const std::string& path) {
    const auto refuse = [&](const std::string& reason) {
        throw Refusal(Exit::Usage, path, reason, "give 256 rows of three whole numbers of 0 to 255");
    };
    const FileAccess file = LineReader::Open(path);
    if (file.descriptor() < 0) refuse("cannot be read");
    constexpr std::size_t kLongestRow = 4096;
    LineReader lines(file.descriptor(), '\n', kLongestRow);
    ToneCurves curves{};
    std::string line;
    std::size_t row = 0;
    while (lines.Next(line)) {
        if (line.size() > kLongestRow) refuse(fmt::format("row {} is no curve row", row + 1));
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        if (row == 256) refuse("has more than 256 rows");
        std::istringstream words(line);
        for (char& c : line) c = c == ',' || c == ';' || c == '\t' || c == '\r' ? ' ' : c;
        words.str(line);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            int value = -1;
            if (!(words >> value) || value < 0 || value > 255) refuse(fmt::format("row {} is no curve row", row + 1));
            curves[channel][row] = static_cast<unsigned char>(value);
        }
        if (words >> line) refuse(fmt::format("row {} has more than three values", row + 1));
        ++row;
    }
    if (lines.error() != 0) refuse("cannot be read");
    if (row != 256) refuse(fmt::format("has {} rows", row));
    return curves;
}

Arguments ParseArguments(int count, const char* const* words) {
    Arguments result;
    bool noSandbox = false;
    CLI::App app(kAbout, "hueweave");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("hueweave ") + kVersion);
    app.require_subcommand(1);

    ConvertArguments convert;
    ConvertWords convertWords;
    CLI::App* convertApp = AddConvert(app, convert, convertWords);

    InspectArguments inspect;
    CLI::App* inspectApp = app.add_subcommand("inspect", "Tell what a profile or a TIFF file holds");
    inspectApp->add_option("FILE", inspect.files, "Profiles or TIFF files")->required();
    inspectApp->add_flag("--json", inspect.json, "Write one line of JSON a file");

    BakeArguments bake;
    CLI::App* bakeApp = app.add_subcommand("bake", "Make a profile that the engine takes for every intent");
    bakeApp->add_option("PROFILE", bake.profile, "Any RGB device profile")->required();
    bakeApp->add_option("-o,--output", bake.output, "Profile to write")->required();
    bakeApp->add_flag("--force", bake.force, "Replace a file that is there already");
    bakeApp->add_flag("-q,--quiet", bake.quiet, "Say nothing");

    VerifyArguments verify;
    RenderingWords verifyWords;
    CLI::App* verifyApp = AddVerify(app, verify, verifyWords);

    SpacesArguments spaces;
    CLI::App* spacesApp = app.add_subcommand("spaces", "List the colour spaces of the output");
    spacesApp->add_flag("--json", spaces.json, "Write one line of JSON a space");

    for (CLI::App* reads : {convertApp, inspectApp, bakeApp, verifyApp}) {
        reads->add_flag("--no-sandbox", noSandbox, "Read the files without being confined to what was named");
    }

    if (count > 1) CheckCommand(app, words[1]);
    try {
        app.parse(count, words);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) Usage(error.what());
        app.exit(error);
        result.finished = true;
        return result;
    }
    if (convertApp->parsed()) {
        SettleConvert(convert, convertWords);
        convert.sandbox = !noSandbox;
        result.convert = convert;
    } else if (inspectApp->parsed()) {
        inspect.sandbox = !noSandbox;
        result.inspect = inspect;
    } else if (bakeApp->parsed()) {
        if (bake.output == "-") Usage("bake does not write to standard output", "name a file with -o");
        bake.sandbox = !noSandbox;
        result.bake = bake;
    } else if (verifyApp->parsed()) {
        SettleRendering(verifyWords, "", verify.rendering);
        verify.sandbox = !noSandbox;
        result.verify = verify;
    } else if (spacesApp->parsed()) {
        result.spaces = spaces;
    }
    return result;
}

}  // namespace hueweave::tool
