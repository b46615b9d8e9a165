// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "cli/options/Command.h"

namespace hueweave::tool {

struct BakeOptions {
    std::string profile, output;
    bool force = false, quiet = false, json = false, sandbox = false;
};

/// The subcommand "bake": makes a profile that the engine supports for all intents.
class BakeCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const BakeOptions& options() const { return options_; }

private:
    BakeOptions options_;
};

}  // namespace hueweave::tool
