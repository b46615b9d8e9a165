// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <vector>

#include "command/support/Command.h"

namespace hueweave::test {

#ifdef __SANITIZE_ADDRESS__
inline constexpr long kFileKb = 2048 * 1024;  ///< the sanitizer's own memory counts
inline constexpr unsigned kFileSeconds = 60;
#elif defined(HUEWEAVE_COUNTS_LINES)
inline constexpr long kFileKb = (256 + 24) * 1024;  ///< with what the counts take
inline constexpr unsigned kFileSeconds = 120;       ///< code that counts its lines is slow
#else
/// What the command may take for one file that is made to cost much: KiB of memory, seconds of the processor.
inline constexpr long kFileKb = 256 * 1024;
inline constexpr unsigned kFileSeconds = 10;
#endif

/// The command with these words, ended by SIGXCPU beyond the time of one file. Fails the test beyond its memory.
Outcome HueweaveWithinLimits(std::vector<std::string> words);

}  // namespace hueweave::test
