// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/Limits.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace hueweave::test {

Outcome HueweaveWithinLimits(const Words& words) {
    const auto limit = [] {
        const struct rlimit seconds { kFileSeconds, kFileSeconds };
        setrlimit(RLIMIT_CPU, &seconds);
    };
    Outcome outcome = Hueweave(words, {.inChild = limit});
    EXPECT_EQ(outcome.signal, 0) << words[0] << " takes more than " << kFileSeconds << " s, or crashes";
    EXPECT_LT(outcome.peakKb, kFileKb) << words[0];
    return outcome;
}

}  // namespace hueweave::test
