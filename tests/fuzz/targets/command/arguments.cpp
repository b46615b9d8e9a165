// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Any words as a command line: arguments within their ranges for one command, help, or a refusal as usage. Nothing is
// written. The arguments of a conversion, put into words again, are understood as the same.
#include <cmath>
#include <cstring>
#include <tuple>

#include "FuzzInput.h"
#include "Scene.h"
#include "cli/BakeCommand.h"
#include "cli/CommandLine.h"
#include "cli/ConvertCommand.h"
#include "cli/InspectCommand.h"
#include "cli/VerifyCommand.h"

using namespace hueweave::colour;
using namespace hueweave::fuzz;
using namespace hueweave::tool;

namespace {

using Words = std::vector<std::string>;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// A word a line. "@/" stands for a folder of this process; no other path leads to a file that --curve would read.
Words WordsOf(const Bytes& bytes, const ScratchFolder& folder) {
    Words words{"hueweave"};
    std::string word;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char c = static_cast<char>(bytes[i]);
        const bool within = i > 0 && i + 1 < bytes.size();
        const bool part =
            within && IsDigit(static_cast<char>(bytes[i - 1])) && IsDigit(static_cast<char>(bytes[i + 1]));
        if (c == '\n' || c == '\0') {
            words.push_back(word);
            word.clear();
        } else if (c == '/' && i > 0 && bytes[i - 1] == '@') {
            word.pop_back();
            word += folder.path() + "/";
        } else {
            word += c == '/' && !part ? '_' : c;
        }
    }
    words.push_back(word);
    return words;
}

std::unique_ptr<Command> Parse(const Words& words) {
    std::vector<const char*> pointers;
    for (const std::string& word : words) pointers.push_back(word.c_str());
    return ParseCommandLine(static_cast<int>(pointers.size()), pointers.data());
}

void CheckRendering(const Rendering& r) {
    Require(r.space != nullptr && FindSpace(r.space->name) == r.space, "a space that there is");
    Require(!IntentName(r.intent).empty(), "an intent that there is");
    Require(std::fabs(r.lightness) <= 100 && std::fabs(r.chroma) <= 100, "offsets within their range");
    Require(std::fabs(r.hue) <= 360, "a hue within its range");
    Require(!r.curves || !r.space->ByTable(), "no curves where there is a table");
}

void CheckConvert(const ConvertOptions& a) {
    CheckRendering(a.rendering);
    Require(!a.inputs.empty() || a.filesFrom, "something to convert");
    for (const std::string& input : a.inputs) Require(!input.empty(), "an input has a name");
    Require(a.inPlace == a.output.empty(), "either an output or in place");
    Require(a.jobs <= 1024, "no more threads than there may be");
    Require(a.maxMemory >= (std::uint64_t{32} << 20), "enough memory");
    Require(!a.shard || (a.shard->part >= 1 && a.shard->part <= a.shard->parts), "a part of the whole");
    Require(!(a.json && a.output == "-"), "one writer for standard output");
    Require(!a.resume || (!a.inPlace && a.output != "-"), "a folder for the record");
    Require(!a.nul || a.filesFrom, "a list that ends in zero bytes");
}

/// A number that is read back as the same.
std::string Number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

Words AsWords(const ConvertOptions& a) {
    constexpr const char* kRules[] = {"given", "embedded", "require-match"};
    const Rendering& r = a.rendering;
    Words words{"hueweave", "convert"};
    const auto with = [&](const char* option, const std::string& value) {
        words.push_back(std::string(option) + "=" + value);
    };
    with("--to", std::string(r.space->name));
    with("--intent", std::string(IntentName(r.intent)));
    with("--lightness", Number(r.lightness));
    with("--chroma", Number(r.chroma));
    with("--hue", Number(r.hue));
    with("--source", kRules[static_cast<int>(a.source)]);
    with("--max-memory", std::to_string(a.maxMemory >> 10) + "K");
    if (!a.curveFile.empty()) with("--curve", a.curveFile);
    if (a.profile) with("--profile", *a.profile);
    if (a.jobs != 0) with("--jobs", std::to_string(a.jobs));
    if (a.filesFrom) with("--files-from", *a.filesFrom);
    if (a.shard) with("--shard", std::to_string(a.shard->part) + "/" + std::to_string(a.shard->parts));
    if (!a.output.empty()) with("--output", a.output);
    for (const auto& [flag, name] : {std::pair{a.noTag, "--no-tag"},
                                     {a.force, "--force"},
                                     {a.inPlace, "--in-place"},
                                     {a.nul, "-0"},
                                     {a.resume, "--resume"},
                                     {a.quiet, "--quiet"},
                                     {a.json, "--json"},
                                     {a.dryRun, "--dry-run"}}) {
        if (flag) words.emplace_back(name);
    }
    words.emplace_back("--");
    words.insert(words.end(), a.inputs.begin(), a.inputs.end());
    return words;
}

auto Fields(const ConvertOptions& a) {
    const Rendering& r = a.rendering;
    return std::tuple(a.inputs, a.output, a.profile, r.intent, r.space, r.lightness, r.chroma, r.hue,
                      r.curves.has_value(), a.source, a.filesFrom, a.curveFile, a.jobs, a.maxMemory >> 10,
                      std::tuple(a.noTag, a.force, a.inPlace, a.nul, a.resume, a.quiet, a.json, a.dryRun));
}

/// Whether a value after "=" would not be taken for one: an empty one, or one in brackets or quotes.
bool IsPlain(const std::string& value) {
    return !value.empty() && value.find_first_of("[]\"'`{}") == std::string::npos;
}

bool CanBeRepeated(const ConvertOptions& a) {
    bool plain = a.output.empty() || IsPlain(a.output);
    plain = plain && (!a.profile || IsPlain(*a.profile)) && (!a.filesFrom || IsPlain(*a.filesFrom));
    plain = plain && (a.curveFile.empty() || IsPlain(a.curveFile)) && a.maxMemory % 1024 == 0;
    for (const std::string& input : a.inputs) plain = plain && IsPlain(input) && input != "--";
    return plain && (a.maxMemory >> 10) <= (std::uint64_t{1} << 33);
}

void CheckRepeated(const ConvertOptions& options) {
    if (!CanBeRepeated(options)) return;
    std::unique_ptr<Command> again;
    const auto refused = RefusalOf([&] { again = Parse(AsWords(options)); });
    if (refused) std::fprintf(stderr, "%s\n", refused->what());
    const auto* convert = dynamic_cast<const ConvertCommand*>(again.get());
    Require(!refused && convert != nullptr && Fields(convert->options()) == Fields(options), "the same in words again");
}

/// A curve that can be read.
void WriteCurve(const ScratchFolder& folder) {
    std::string rows;
    for (int i = 0; i < 256; ++i) rows += std::to_string(i) + "," + std::to_string(i) + "," + std::to_string(i) + "\n";
    hueweave::test::WriteFile(folder / "curve.csv", Bytes(rows.begin(), rows.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFolder folder;
    static const bool written = (WriteCurve(folder), true);
    Require(written, "the curve is there");
    const Words words = WordsOf(Bytes(data, data + size), folder);
    const PrintWatch printed;
    std::unique_ptr<Command> command;
    const auto refusal = RefusalOf([&] { command = Parse(words); });
    Require(folder.Names() == Words{"curve.csv"}, "nothing is written");
    if (refusal) {
        Require(refusal->status() == Exit::Usage, "it is the usage that is refused");
        Require(printed.Text().empty(), "a refusal prints nothing by itself");
        return 0;
    }
    Require((command == nullptr) != printed.Text().empty(), "help is printed where it was asked for");
    if (const auto* inspect = dynamic_cast<const InspectCommand*>(command.get())) {
        Require(!inspect->options().files.empty(), "something to inspect");
    }
    if (const auto* bake = dynamic_cast<const BakeCommand*>(command.get())) {
        Require(bake->options().output != "-", "a profile is written to a file");
    }
    if (const auto* verify = dynamic_cast<const VerifyCommand*>(command.get())) {
        const VerifyOptions& v = verify->options();
        CheckRendering(v.rendering);
        Require((v.bits == 8 || v.bits == 16) && v.points >= 2 && v.points <= 65, "a grid that there is");
        Require(!v.limit || (*v.limit >= 0 && *v.limit <= 100), "a limit within its range");
    }
    if (const auto* convert = dynamic_cast<const ConvertCommand*>(command.get())) {
        CheckConvert(convert->options());
        CheckRepeated(convert->options());
    }
    return 0;
}
