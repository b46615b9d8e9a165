// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

// Where fields and virtual operations stand: what a program that was built before relies on.
namespace hueweave::test {

/// A pointer to a member function as its two words.
struct Member {
    template <typename Function>
    explicit Member(Function function) {
        static_assert(sizeof function == sizeof words);
        std::memcpy(words, &function, sizeof words);
    }
    /// The lowest bit tells, of the first word or, where functions may have odd addresses, of the second.
    bool IsVirtual() const { return ((words[0] | words[1]) & 1U) != 0; }
    /// Place in the table of its class; the two destructors stand at 0 and 1. 99 for a plain function.
    std::uintptr_t Slot() const { return IsVirtual() ? words[0] / sizeof(void*) : 99; }

    std::uintptr_t words[2];
};

/// Addresses in the order in which the fields are declared.
inline void ExpectInOrder(const std::vector<const void*>& fields) {
    for (std::size_t n = 1; n < fields.size(); ++n) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(fields[n - 1]), reinterpret_cast<std::uintptr_t>(fields[n])) << n;
    }
}

}  // namespace hueweave::test
