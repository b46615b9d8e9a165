// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "batch/ConvertOptions.h"
#include "cli/Command.h"
#include "cli/RenderingWords.h"

namespace hueweave::tool {

/// The subcommand "convert": many files on several threads.
class ConvertCommand : public Command {
public:
    CLI::App* Declare(CLI::App& app) override;
    void Settle() override;
    Exit Run() override;
    const ConvertOptions& options() const { return options_; }

private:
    ConvertOptions options_;
    struct {
        RenderingWords rendering;
        std::string source = "given", memory = "64M", shard;
    } words_;  ///< before they are understood
};

}  // namespace hueweave::tool
