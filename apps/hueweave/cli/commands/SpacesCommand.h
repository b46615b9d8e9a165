// SPDX-License-Identifier: MIT
#pragma once

#include "cli/options/Command.h"

namespace hueweave::tool {

/// The subcommand "spaces": lists the output colour spaces.
class SpacesCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    Exit Run() override;

private:
    bool json_ = false;
};

}  // namespace hueweave::tool
