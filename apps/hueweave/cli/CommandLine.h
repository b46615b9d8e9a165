// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>

#include "cli/Command.h"

namespace hueweave::tool {

/// The subcommand that the words name, settled and ready to run; null once help or the version was printed. Refuses
/// what makes no sense with `Exit::Usage`.
std::unique_ptr<Command> ParseCommandLine(int count, const char* const* words);

}  // namespace hueweave::tool
