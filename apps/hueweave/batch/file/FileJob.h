// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/session/Session.h"

namespace hueweave::tool {

/// The result of a conversion that was not refused.
enum class Outcome { Converted, Skipped, Planned };

/// Converts one file or, with --dry-run, reports what would be done. Throws a `Refusal`, after which no output file
/// remains.
Outcome ConvertFile(const FileTask& task);

}  // namespace hueweave::tool
