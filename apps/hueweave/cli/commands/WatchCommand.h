// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"

namespace hueweave::tool {

class Inbox;
class Report;

/// The subcommand "watch": converts the files that arrive in a folder, until a signal.
class WatchCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const ConvertOptions& options() const { return options_; }

private:
    void RunIn(Report& report);
    void Confine(const Inbox& inbox) const;

    ConvertOptions options_;
    std::string folder_;
    double settle_ = 2;  ///< seconds
};

}  // namespace hueweave::tool
