// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "batch/session/Session.h"

namespace hueweave::tool {

/// The outcome for a file that was not refused.
enum class Outcome {
    Converted,  ///< or copied, because it was in the output's colours already
    Skipped,    ///< done already
    Copied,     ///< not RGB, with --others copy
    LeftOut     ///< not RGB, with --others skip, or --others copy and --in-place
};

struct Result {
    Outcome outcome;
    std::uint64_t pixels = 0;  ///< converted
    std::string kind{};        ///< of a file that is not RGB
};

/// Converts one file or, with --dry-run, reports what would be done. Throws a `Refusal`, after which no output file
/// remains.
Result ConvertFile(const FileTask& task);

}  // namespace hueweave::tool
