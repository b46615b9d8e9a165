// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/Command.h"

namespace hueweave::test {

/// A memory limit in KiB; a build with a sanitizer has its own, because the sanitizer's memory counts.
constexpr long MemoryKb([[maybe_unused]] long kb, [[maybe_unused]] long sanitized = 1024L * 1024) {
#ifdef __SANITIZE_ADDRESS__
    return sanitized;
#else
    return kb;
#endif
}

// A build that measures coverage is slow, and its program is 62 MiB larger, most of it counters.
#ifdef HUEWEAVE_COUNTS_LINES
inline constexpr long kCountsKb = 64L * 1024;
inline constexpr unsigned kSlower = 12;
#elif defined(__SANITIZE_ADDRESS__)
inline constexpr long kCountsKb = 0;
inline constexpr unsigned kSlower = 6;
#else
inline constexpr long kCountsKb = 0;
inline constexpr unsigned kSlower = 1;
#endif

/// Limits for one expensive file: memory in KiB, processor time in seconds.
inline constexpr long kFileKb = MemoryKb(256L * 1024 + kCountsKb, 2048L * 1024);
inline constexpr unsigned kFileSeconds = 10 * kSlower;

/// Runs the command with these arguments; SIGXCPU ends it when it exceeds the time for one file. Fails the test if it
/// exceeds the memory.
inline Outcome HueweaveWithinLimits(const Words& words) {
    Outcome outcome = Hueweave(words, {.limits = {{RLIMIT_CPU, kFileSeconds}}});
    EXPECT_EQ(outcome.signal, 0) << words[0] << " takes more than " << kFileSeconds << " s, or crashes";
    EXPECT_LT(outcome.peakKb, kFileKb) << words[0];
    return outcome;
}

}  // namespace hueweave::test
