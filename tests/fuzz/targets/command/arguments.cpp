// SPDX-License-Identifier: MIT
// Any text as a command line: it gives arguments within their ranges for one command, help, or a usage error. Nothing
// is written. The arguments of a conversion, converted back to text, are parsed to the same arguments.
#include <cmath>

#include "Scene.h"
#include "cli/CommandLine.h"
#include "cli/commands/BakeCommand.h"
#include "cli/commands/CheckCommand.h"
#include "cli/commands/ConvertCommand.h"
#include "cli/commands/InspectCommand.h"
#include "cli/commands/VerifyCommand.h"
#include "system/Json.h"

namespace hueweave::fuzz {
namespace {

using namespace colour;
using namespace tool;

using Words = std::vector<std::string>;

/// One argument per line. "@/" stands for a folder of this process; no other path gives a file that --curve would read.
Words WordsOf(const std::string& text, const ScratchFolder& folder) {
    Words words{"hueweave", ""};
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string& word = words.back();
        const char before = i > 0 ? text[i - 1] : '\0';
        if (text[i] == '\n' || text[i] == '\0') {
            words.emplace_back();
        } else if (text[i] == '/' && before == '@') {
            word.replace(word.size() - 1, 1, folder.path() + "/");
        } else {
            word += text[i] == '/' && !(isDigit(before) && isDigit(text[i + 1])) ? '_' : text[i];
        }
    }
    return words;
}

std::unique_ptr<Command> Parse(const Words& words) {
    std::vector<const char*> pointers;
    for (const std::string& word : words) pointers.push_back(word.c_str());
    return ParseCommandLine(static_cast<int>(pointers.size()), pointers.data());
}

/// The target is a space, or a profile in a file; the library's precision is for its own spaces only.
template <typename Options>
void CheckRendering(const Options& a) {
    const Rendering& r = a.rendering;
    Require((r.space == nullptr) == !a.targetFile.empty(), "a space or a profile");
    Require(r.space == nullptr || FindSpace(r.space->name) == r.space, "a space that there is");
    Require(a.precision == Precision::Exact || (r.space != nullptr && r.space->IsEngines()), "a space of the library");
    Require(!IntentName(r.intent).empty(), "an intent that there is");
    Require(std::fabs(r.lightness) <= 100 && std::fabs(r.chroma) <= 100, "offsets within their range");
    Require(std::fabs(r.hue) <= 360, "a hue within its range");
}

void CheckConvert(const ConvertOptions& a) {
    CheckRendering(a);
    const bool library = a.precision == Precision::Library, named = a.targetFile.empty();
    Require(a.curveFile.empty() || (named && !(library && a.rendering.space->ByTable())), "curves that are used");
    Require(a.profileVersion == 4 || (a.profileVersion == 2 && named && !library), "a version that can be had");
    Require(!a.compensateBlack || !library, "no black point where the library converts");
    Require(!a.acceptError || (library && *a.acceptError >= 0 && *a.acceptError <= 100), "an error of the library");
    Require(!a.inputs.empty() || a.filesFrom, "something to convert");
    for (const std::string& input : a.inputs) Require(!input.empty(), "an input has a name");
    Require(a.inPlace == a.output.empty(), "either an output or in place");
    Require(a.jobs <= 1024, "no more threads than there may be");
    Require(a.maxMemory >= (std::uint64_t{32} << 20), "enough memory");
    Require(!a.shard || (a.shard->part >= 1 && a.shard->part <= a.shard->parts), "a part of the whole");
    Require(!(a.json && a.output == "-"), "one writer for standard output");
    Require(a.resume == Resume::No || (!a.inPlace && a.output != "-"), "a folder for the record");
    Require(!a.nul || a.filesFrom, "a list that ends in zero bytes");
}

/// A number that is parsed back to the same value.
std::string Number(double value) { return nlohmann::json(value).dump(); }

/// All options except the contents of the curves.
Words AsWords(const ConvertOptions& a) {
    constexpr const char* kRules[] = {"given", "embedded", "require-match"};
    const Rendering& r = a.rendering;
    Words words{"hueweave", "convert"};
    const auto with = [&](const char* option, const std::string& value) {
        words.push_back(std::string(option) + "=" + value);
    };
    with("--to", r.space != nullptr ? std::string(r.space->name) : a.targetFile);
    with("--precision", a.precision == Precision::Exact ? "exact" : "library");
    with("--icc-version", std::to_string(a.profileVersion));
    if (a.acceptError) with("--accept-error", Number(*a.acceptError));
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
    const std::pair<bool, const char*> flags[] = {
        {a.noTag, "--no-tag"}, {a.force, "--force"},     {a.inPlace, "--in-place"},
        {a.nul, "-0"},         {a.follow, "--follow"},   {a.resume != Resume::No, "--resume"},
        {a.quiet, "--quiet"},  {a.verbose, "--verbose"}, {a.compensateBlack, "--bpc"},
        {a.json, "--json"},    {a.dryRun, "--dry-run"}};
    for (const auto& [flag, name] : flags) {
        if (flag) words.emplace_back(name);
    }
    words.emplace_back("--");
    words.insert(words.end(), a.inputs.begin(), a.inputs.end());
    return words;
}

/// Whether all values are accepted after "=": none is empty, and none has brackets or quotes.
bool CanBeRepeated(const ConvertOptions& a) {
    std::string values = a.output + a.curveFile + a.targetFile + a.profile.value_or("") + a.filesFrom.value_or("");
    for (const std::string& input : a.inputs) values += input;
    return values.find_first_of("[]\"'`{}") == std::string::npos && a.profile != "" && a.filesFrom != "" &&
           std::ranges::find(a.inputs, "--") == a.inputs.end() && a.maxMemory % 1024 == 0 &&
           a.maxMemory <= std::uint64_t{1} << 43;
}

void CheckRepeated(const ConvertOptions& options) {
    if (!CanBeRepeated(options)) return;
    std::unique_ptr<Command> again;
    MustSucceed([&] { again = Parse(AsWords(options)); }, "the words of a conversion");
    const auto* convert = dynamic_cast<const ConvertCommand*>(again.get());
    Require(convert != nullptr, "a conversion again");
    Require(AsWords(convert->options()) == AsWords(options), "the same in words again");
    Require(convert->options().rendering.curves.has_value() == options.rendering.curves.has_value(), "as many curves");
}

/// A valid file of curves.
Bytes Curves() {
    std::string rows;
    for (int i = 0; i < 256; ++i) rows += std::to_string(i) + "," + std::to_string(i) + "," + std::to_string(i) + "\n";
    return {rows.begin(), rows.end()};
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFolder folder;
    if (folder.Names().empty()) test::WriteFile(folder / "curve.csv", Curves());
    const Bytes bytes = input.Rest();
    const Words words = WordsOf(std::string(bytes.begin(), bytes.end()), folder);
    const PrintWatch printed;
    std::unique_ptr<Command> command;
    const auto refusal = RefusalOf([&] { command = Parse(words); });
    Require(folder.Names() == Words{"curve.csv"}, "nothing is written");
    Require(!refusal || refusal->status() == Exit::Usage, "it is the usage that is refused");
    Require(printed.Text().empty() == (refusal || command != nullptr), "help is printed where it was asked for");
    const auto* inspect = dynamic_cast<const InspectCommand*>(command.get());
    Require(inspect == nullptr || !inspect->options().files.empty(), "something to inspect");
    const auto* bake = dynamic_cast<const BakeCommand*>(command.get());
    Require(bake == nullptr || bake->options().output != "-", "a profile is written to a file");
    if (const auto* verify = dynamic_cast<const VerifyCommand*>(command.get())) {
        const VerifyOptions& v = verify->options();
        CheckRendering(v);
        Require((v.bits == 8 || v.bits == 16) && v.points >= 2 && v.points <= 65, "a grid that there is");
        Require(!v.limit || (*v.limit >= 0 && *v.limit <= 100), "a limit within its range");
    }
    if (const auto* check = dynamic_cast<const CheckCommand*>(command.get())) {
        const CheckOptions& c = check->options();
        CheckRendering(c.convert);
        Require(c.convert.profile && (c.measured || c.guideline == nullptr), "a guideline is for measured colours");
        Require(!c.limit || (c.limit->mean >= 0 && c.limit->largest.value_or(0) <= 100), "limits within their range");
    }
    if (const auto* convert = dynamic_cast<const ConvertCommand*>(command.get())) {
        CheckConvert(convert->options());
        CheckRepeated(convert->options());
    }
}

}  // namespace hueweave::fuzz
