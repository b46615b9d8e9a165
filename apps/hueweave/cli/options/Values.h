// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "colour/library/Rendering.h"

namespace hueweave::tool {

/// The values of an option, each with its meaning. The first is the default.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

/// Adds the option --to: `space` for a name of a space, or `file` for a profile, where `space` becomes null.
CLI::Option* AddTarget(CLI::App& app, const colour::Space*& space, std::string& file);
Choices<ICC40::ICCFILE::Intent> IntentChoices();

/// One of these words. CLI::IsMember would report the rest as a set in braces.
CLI::Validator OneOf(std::vector<std::string> words);

/// Adds an option with one of these values.
template <typename Value>
CLI::Option* AddChoice(CLI::App& app, const std::string& name, Value& value, const Choices<Value>& choices,
                       const std::string& help) {
    const auto take = [&value, choices](const std::string& word) {
        const auto named = [&](const auto& choice) { return choice.first == word; };
        value = std::find_if(choices.begin(), choices.end(), named)->second;
    };
    value = choices.front().second;
    std::vector<std::string> words;
    for (const auto& choice : choices) words.push_back(choice.first);
    return app.add_option_function<std::string>(name, take, help)
        ->check(OneOf(std::move(words)))
        ->default_str(choices.front().first);
}

/// A number from `least` to `most`. CLI::Range would accept NaN as well.
CLI::Validator Within(double least, double most);

/// An integer number of bytes, K, M or G (also KiB and so on, in upper or lower case), at least 32M. CLI::AsSizeValue
/// would parse 064M as an octal number and -1 as the largest number.
CLI::Validator Memory();

}  // namespace hueweave::tool
