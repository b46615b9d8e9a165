// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"

namespace hueweave::tool {

struct VerifyOptions {
    std::string profile;
    std::optional<std::string> image;
    colour::Rendering rendering;
    std::string targetFile;
    Precision precision = Precision::Exact;  ///< to which `limit` applies
    unsigned bits = 16, points = 33;
    std::optional<double> limit;
    bool json = false, sandbox = false;
};

/// The subcommand "verify": compares both precisions with Little CMS.
class VerifyCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const VerifyOptions& options() const { return options_; }

private:
    VerifyOptions options_;
};

}  // namespace hueweave::tool
