// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/session/Session.h"

namespace hueweave::tool {

/// What became of a file.
enum class Outcome { Converted, Skipped, Planned };

/// Converts one file, or says what would happen. Refuses by `Refusal`, after which nothing is left behind.
Outcome ConvertFile(const FileTask& task);

}  // namespace hueweave::tool
