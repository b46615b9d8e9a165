// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <optional>
#include <string>

#include "cli/Command.h"
#include "colour/library/Rendering.h"

namespace hueweave::tool {

struct VerifyOptions {
    std::string profile;
    std::optional<std::string> image;
    colour::Rendering rendering;
    unsigned bits = 16, points = 33;
    std::optional<double> limit;
    bool json = false, sandbox = false;
};

/// The subcommand "verify": compares the engine with Little CMS.
class VerifyCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    Exit Run() override;
    const VerifyOptions& options() const { return options_; }

private:
    VerifyOptions options_;
};

}  // namespace hueweave::tool
