// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/options/Command.h"
#include "system/Json.h"

namespace hueweave::tool {

struct InspectOptions {
    std::vector<std::string> files;
    bool json = false, sandbox = false;
};

/// The output of the command for a profile or picture. Refuses other files.
nlohmann::ordered_json DescribeFile(const std::string& path);

/// The subcommand "inspect": describes a profile or a picture.
class InspectCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    Exit Run() override;
    const InspectOptions& options() const { return options_; }

private:
    InspectOptions options_;
};

}  // namespace hueweave::tool
