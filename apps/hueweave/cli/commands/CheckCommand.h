// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "cli/options/Command.h"
#include "colour/chart/Guidelines.h"

namespace hueweave::tool {

/// The largest differences that are accepted, in CIEDE2000.
struct ChartLimit {
    double mean;
    std::optional<double> largest;
};

struct CheckOptions {
    std::string reference;            ///< with the device colours as well, unless `scan` has them
    std::optional<std::string> scan;  ///< the device colours
    ConvertOptions convert;           ///< profile, target, intent, precision and black point
    bool measured = false;            ///< compare with the reference as it was measured
    unsigned worst = 5;
    std::optional<ChartLimit> limit;
    const colour::Guideline* guideline = nullptr;
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
