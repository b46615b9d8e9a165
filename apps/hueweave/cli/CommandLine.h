// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "cli/options/Command.h"

namespace hueweave::tool {

/// The help of the whole command.
std::string UsageText();

/// The subcommand selected by the arguments, ready to run; null after printing help or the version. Refuses invalid
/// arguments with `Exit::Usage`.
std::unique_ptr<Command> ParseCommandLine(int count, const char* const* words);

}  // namespace hueweave::tool
