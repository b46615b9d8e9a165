// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace hueweave::test {

/// Two sequences of the same length and items. Reports the first difference instead of printing both.
MATCHER_P(EqualTo, expected, "equals a sequence of " + std::to_string(std::size(expected)) + " items") {
    const std::size_t shorter = std::min<std::size_t>(std::size(arg), std::size(expected));
    for (std::size_t i = 0; i < shorter; ++i) {
        if (arg[i] == expected[i]) continue;
        *result_listener << "item " << i << ": expected " << testing::PrintToString(expected[i]) << ", got "
                         << testing::PrintToString(arg[i]);
        return false;
    }
    if (std::size(arg) == std::size(expected)) return true;
    *result_listener << "the first " << shorter << " items are equal, but it has " << std::size(arg);
    return false;
}

/// The same for bytes.
template <typename Expected>
auto EqualsBytes(const Expected& expected) {
    return EqualTo(expected);
}

}  // namespace hueweave::test
