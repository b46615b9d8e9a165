// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "colour/Rendering.h"

namespace hueweave::tool {

/// The words that an option takes, each with what it means. The first is the default.
template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

Choices<const Space*> SpaceChoices();
Choices<ICC40::ICCFILE::Intent> IntentChoices();

/// Adds an option that takes one of these words.
template <typename Value>
CLI::Option* AddChoice(CLI::App& app, const std::string& name, Value& value, const Choices<Value>& choices,
                       const std::string& help) {
    const auto take = [&value, choices](const std::string& word) {
        const auto named = [&](const auto& choice) { return choice.first == word; };
        value = std::find_if(choices.begin(), choices.end(), named)->second;
    };
    value = choices.front().second;
    return app.add_option_function<std::string>(name, take, help)
        ->check(CLI::IsMember(choices).description(""))
        ->default_str(choices.front().first);
}

/// A number from `least` to `most`. CLI::Range takes NaN as well.
CLI::Validator Within(double least, double most);

/// A whole number of bytes, or of K, M or G of them, 32M at the least. CLI::AsSizeValue takes 064M for an octal number,
/// and -1 for the largest one.
CLI::Validator Memory();

}  // namespace hueweave::tool
