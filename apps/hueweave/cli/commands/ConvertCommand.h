// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"

namespace hueweave::tool {

/// The subcommand "convert": converts many files on several threads.
class ConvertCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const ConvertOptions& options() const { return options_; }

private:
    void SettleFormat();

    ConvertOptions options_;
    std::string shard_, resume_;  ///< before parsing
    std::string format_;          ///< empty for that of each input
};

}  // namespace hueweave::tool
