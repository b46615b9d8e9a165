// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "system/Refusal.h"

namespace CLI {
class App;
}

namespace hueweave::tool {

/// A subcommand: its options and its function. The functions are called in this order.
class Command {
public:
    virtual ~Command() = default;
    /// Adds the subcommand, with its options and their help, to the parser.
    virtual CLI::App* Declare(CLI::App& app) = 0;
    /// Converts the parsed arguments to options. Refuses invalid ones with `Exit::Usage`.
    virtual void Settle() {}
    virtual Exit Run() = 0;
};

/// The sandbox option of subcommands that read untrusted files; by default `sandbox` is true.
void AddSandbox(CLI::App& app, bool& sandbox);

[[noreturn]] void RefuseUsage(const std::string& reason, const std::string& remedy = "see hueweave --help");

}  // namespace hueweave::tool
