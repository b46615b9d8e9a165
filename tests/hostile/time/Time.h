// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <ctime>

namespace hueweave::test {

/// The size of the slow files.
inline constexpr std::uint32_t kMiB = std::uint32_t{1} << 20;

/// Seconds of processor time that a call takes.
template <typename Call>
double ProcessorSeconds(const Call& call) {
    timespec before{}, after{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
    call();
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
    return static_cast<double>(after.tv_sec - before.tv_sec) +
           1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec);
}

}  // namespace hueweave::test
