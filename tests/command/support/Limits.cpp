// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/Limits.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace hueweave::test {

Outcome HueweaveWithinLimits(std::vector<std::string> words) {
    words.insert(words.begin(), HUEWEAVE_COMMAND);
    const auto limit = [] {
        const struct rlimit seconds { kFileSeconds, kFileSeconds };
        setrlimit(RLIMIT_CPU, &seconds);
    };
    Outcome outcome = RunProgram({words, "", {}, limit, {}});
    EXPECT_EQ(outcome.signal, 0) << words[1] << " takes more than " << kFileSeconds << " s, or crashes";
    EXPECT_LT(outcome.peakKb, kFileKb) << words[1];
    return outcome;
}

}  // namespace hueweave::test
