// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/options/Command.h"

namespace hueweave::tool {

struct InspectOptions {
    std::vector<std::string> files;
    bool json = false, sandbox = false;
};

/// The subcommand "inspect": describes a profile or a TIFF file.
class InspectCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    Exit Run() override;
    const InspectOptions& options() const { return options_; }

private:
    InspectOptions options_;
};

}  // namespace hueweave::tool
