// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"
#include "report/measure/ChartVerdict.h"

namespace hueweave::tool {

/// The largest differences that are accepted, in CIEDE2000.
struct ChartLimit {
    double mean;
    std::optional<double> largest;
};

struct CheckOptions : ChartQuestion {
    std::optional<ChartLimit> limit;
    bool json = false, sandbox = false;
};

/// The subcommand "check": compares the converted colours of a chart with their reference.
class CheckCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const CheckOptions& options() const { return options_; }

private:
    CheckOptions options_;
    std::string limit_;
};

}  // namespace hueweave::tool
