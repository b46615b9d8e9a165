// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "batch/status/Status.h"
#include "cli/options/Command.h"

namespace hueweave::tool {

/// The subcommand "status": shows the progress of conversions into a folder.
class StatusCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;

private:
    enum class Names { None, Failed, Left };
    bool HasInputs() const { return !options_.inputs.empty() || options_.filesFrom; }
    void CheckInputs() const;
    std::string ListOf(const Status& status, const InputList& inputs) const;

    ConvertOptions options_;  ///< the inputs and the output folder
    Names names_ = Names::None;
    std::string format_;  ///< before parsing
    bool json_ = false;
};

}  // namespace hueweave::tool
