// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "system/Refusal.h"

namespace CLI {
class App;
}

namespace hueweave::tool {

/// A subcommand: the words it takes, and what it does. Its functions are called in this order.
class Command {
public:
    virtual ~Command() = default;
    /// Adds the subcommand, with its options and their help, to the parser.
    virtual CLI::App* Declare(CLI::App& app) = 0;
    /// Turns the words that were parsed into options. Refuses what makes no sense with `Exit::Usage`.
    virtual void Settle() {}
    virtual Exit Run() = 0;
};

/// The switch of the subcommands that read files of strangers; `sandbox` is true without it.
void AddSandbox(CLI::App& app, bool& sandbox);

[[noreturn]] void RefuseUsage(const std::string& reason, const std::string& remedy = "see hueweave --help");

}  // namespace hueweave::tool
