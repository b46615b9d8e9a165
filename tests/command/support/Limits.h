// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>
#include <vector>

#include "command/support/Command.h"

namespace hueweave::test {

/// A limit of memory in KiB, or the one for a build with a sanitizer, whose own memory counts.
constexpr long MemoryKb([[maybe_unused]] long kb, [[maybe_unused]] long sanitized = 1024L * 1024) {
#ifdef __SANITIZE_ADDRESS__
    return sanitized;
#else
    return kb;
#endif
}

// A build that counts its lines takes memory for the counts, and is slow.
#ifdef HUEWEAVE_COUNTS_LINES
inline constexpr long kCountsKb = 24L * 1024;
inline constexpr unsigned kSlower = 12;
#elif defined(__SANITIZE_ADDRESS__)
inline constexpr long kCountsKb = 0;
inline constexpr unsigned kSlower = 6;
#else
inline constexpr long kCountsKb = 0;
inline constexpr unsigned kSlower = 1;
#endif

/// What the command may take for one file that is made to cost much: KiB of memory, seconds of the processor.
inline constexpr long kFileKb = MemoryKb(256L * 1024 + kCountsKb, 2048L * 1024);
inline constexpr unsigned kFileSeconds = 10 * kSlower;

/// The command with these words, ended by SIGXCPU beyond the time of one file. Fails the test beyond its memory.
Outcome HueweaveWithinLimits(const Words& words);

}  // namespace hueweave::test
