// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"

namespace hueweave::tool {

struct ReportOptions {
    ConvertOptions convert;  ///< profile, target and intent
    std::vector<std::string> files;
    std::optional<std::string> chart;
    std::string output;
    bool force = false, quiet = false, sandbox = false;
};

/// The subcommand "report": writes a page that shows what a profile does to colours and pictures.
class ReportCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const ReportOptions& options() const { return options_; }

private:
    /// The command line that makes the same report, with the options that differ from their defaults.
    std::vector<std::string> Words() const;

    ReportOptions options_;
};

}  // namespace hueweave::tool
