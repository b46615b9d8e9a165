// SPDX-License-Identifier: MIT
#include "cli/options/Values.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <map>

namespace hueweave::tool {
namespace {

std::string Lower(std::string word) {
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

/// Converts the argument to a number of bytes; returns the reason if it is invalid.
std::string TakeMemory(std::string& word) {
    static const std::map<std::string, int> kShifts{{"", 0},     {"k", 10}, {"kib", 10}, {"m", 20},
                                                    {"mib", 20}, {"g", 30}, {"gib", 30}};
    std::uint64_t value = 0;
    const char* const last = word.data() + word.size();
    const auto [end, error] = std::from_chars(word.data(), last, value);
    const auto shift = kShifts.find(Lower({end, last}));
    if (error != std::errc() || shift == kShifts.end() || value > (std::uint64_t{1} << 33)) {
        return word + " is not a size, use a number of bytes or of K, M or G (KiB, MiB, GiB), 32M or more";
    }
    const std::uint64_t bytes = value << shift->second;
    if (bytes < (std::uint64_t{32} << 20)) return word + " is too little, use 32M or more";
    word = std::to_string(bytes);
    return "";
}

/// A name of a space has no dot and no slash.
bool IsProfileName(const std::string& word) { return word.find_first_of("./") != std::string::npos; }

std::string UnknownSpace(const std::string& word) {
    const std::string_view near = colour::NearestSpace(word);
    const std::string question = near.empty() ? "" : fmt::format(" (did you mean {}?)", near);
    return fmt::format("{} is not a colour space{}, hueweave spaces lists them", word, question);
}

}  // namespace

CLI::Option* AddTarget(CLI::App& app, const colour::Space*& space, std::string& file) {
    space = colour::Spaces().data();
    const auto take = [&](const std::string& word) {
        space = colour::FindSpace(word);
        if (space == nullptr && !IsProfileName(word)) throw CLI::ValidationError("--to", UnknownSpace(word));
        file = space == nullptr ? word : "";
    };
    return app
        .add_option_function<std::string>("--to", take,
                                          "Colour space of the output, see: hueweave spaces; or an RGB profile, as a "
                                          "file (.icc, .icm)")
        ->default_str(std::string(space->name));
}

Choices<ICC40::ICCFILE::Intent> IntentChoices() {
    Choices<ICC40::ICCFILE::Intent> choices;
    for (const colour::NamedIntent& named : colour::Intents()) choices.emplace_back(named.name, named.intent);
    return choices;
}

CLI::Validator Within(double least, double most) {
    const auto check = [least, most](std::string& word) -> std::string {
        double value = 0;
        if (CLI::detail::lexical_cast(word, value) && value >= least && value <= most) return "";
        return fmt::format("{} is out of range, use {} to {}", word, least, most);
    };
    return {check, ""};
}

CLI::Validator OneOf(std::vector<std::string> words) {
    const auto check = [words = std::move(words)](std::string& word) -> std::string {
        if (std::find(words.begin(), words.end(), word) != words.end()) return "";
        return fmt::format("{} is not known, use {}", word, fmt::join(words, ", "));
    };
    return {check, ""};
}

CLI::Validator Memory() { return {TakeMemory, ""}; }

}  // namespace hueweave::tool
