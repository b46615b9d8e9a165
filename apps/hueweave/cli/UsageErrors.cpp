// SPDX-License-Identifier: MIT
#include "cli/UsageErrors.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <vector>

#include "cli/options/Command.h"
#include "colour/base/EditDistance.h"

namespace hueweave::tool {
namespace {

/// The known word that is probably meant by a mistyped one: the only one that begins with it, or one that differs in a
/// letter, or in one of three. Empty if there is none.
std::string Nearest(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kLeast = 2, kLongest = 40;
    if (word.size() < kLeast || word.size() > kLongest) return "";
    const auto begins = [&](const std::string& candidate) { return candidate.starts_with(word); };
    if (std::count_if(known.begin(), known.end(), begins) == 1)
        return *std::find_if(known.begin(), known.end(), begins);
    const auto distance = [&](const std::string& candidate) { return colour::EditDistance(word, candidate); };
    const auto nearest = std::min_element(known.begin(), known.end(),
                                          [&](const auto& a, const auto& b) { return distance(a) < distance(b); });
    const bool near = nearest != known.end() && distance(*nearest) <= std::max<std::size_t>(1, word.size() / 3);
    return near ? *nearest : "";
}

/// Refuses with a suggestion, or with the help that lists what there is.
[[noreturn]] void RefuseUnknown(const std::string& reason, const std::string& suggestion, const std::string& help) {
    RefuseUsage(reason, suggestion.empty() ? help : "did you mean " + suggestion + "?");
}

[[noreturn]] void RefuseUnexpected(const CLI::App& command, const std::string& word, const std::string& help) {
    if (!word.starts_with('-')) RefuseUsage("unexpected argument " + word, help);
    const std::string option = word.substr(0, word.find('='));
    std::vector<std::string> known;
    for (const CLI::Option* each : command.get_options()) {
        known.insert(known.end(), each->get_lnames().begin(), each->get_lnames().end());
    }
    const std::string nearest = Nearest(option.substr(std::min(option.size(), option.find_first_not_of('-'))), known);
    RefuseUnknown("unknown option " + option, nearest.empty() ? "" : "--" + nearest, help);
}

/// The parser's message in plain words. It begins or ends with the name of an option or argument.
std::string Plain(const CLI::ParseError& error) {
    constexpr std::string_view kRequired = " is required", kConvert = "Could not convert: ", kIs = " = ";
    std::string text = error.what();
    if (text == "A subcommand is required") return "no command was given";
    if (text.ends_with(kRequired)) return "no " + text.substr(0, text.size() - kRequired.size()) + " was given";
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ArgumentMismatch)) {
        const std::string name = text.substr(0, text.find(": "));
        return name + (text.ends_with("missing") ? " needs a value" : " is given more than once");
    }
    const std::size_t is = text.find(kIs);
    if (!text.starts_with(kConvert) || is == std::string::npos) return text;
    const std::string name = text.substr(kConvert.size(), is - kConvert.size());
    return name + ": " + text.substr(is + kIs.size()) + " is not a whole number";
}

}  // namespace

void RefuseArguments(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<const CLI::App*> chosen =
        app.get_subcommands([](const CLI::App* each) { return each->parsed(); });
    const CLI::App& command = chosen.empty() ? app : *chosen.front();
    const std::string help = "see hueweave " + (chosen.empty() ? "" : command.get_name() + " ") + "--help";
    std::vector<std::string> unexpected = app.remaining(true);
    std::erase(unexpected, "--");
    if (!unexpected.empty()) RefuseUnexpected(command, unexpected.front(), help);
    RefuseUsage(Plain(error), help);
}

void RefuseValuesOfFlags(const CLI::App& app, const std::vector<const char*>& words) {
    const CLI::App* command = words.size() > 1 && words[1][0] != '-' ? app.get_subcommand(words[1]) : nullptr;
    for (std::size_t n = 1; n < words.size() && std::string_view(words[n]) != "--"; ++n) {
        const std::string word = words[n], name = word.substr(0, word.find('='));
        if (!name.starts_with('-') || name.size() == word.size()) continue;
        if (name == "--resume") continue;  // may be --resume=fast; its subcommand refuses other values
        const CLI::App& of = command != nullptr ? *command : app;
        const CLI::Option* option = of.get_option_no_throw(name);
        if (option == nullptr || option->get_expected_max() != 0) continue;
        RefuseUsage(name + " takes no value",
                    "see hueweave " + (command != nullptr ? of.get_name() + " " : "") + "--help");
    }
}

void RequireCommand(const CLI::App& app, const std::string& word) {
    if (word.starts_with('-')) return;
    std::vector<std::string> known;
    for (const CLI::App* command : app.get_subcommands({})) known.push_back(command->get_name());
    if (std::find(known.begin(), known.end(), word) != known.end()) return;
    RefuseUnknown("'" + word + "' is not a command", Nearest(word, known), "see hueweave --help");
}

}  // namespace hueweave::tool
