// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

// The layout of fields and virtual functions, which programs built earlier depend on.
namespace hueweave::test {

/// The two words of a pointer to a member function.
struct Member {
    template <typename Function>
    explicit Member(Function function) {
        static_assert(sizeof function == sizeof words);
        std::memcpy(words, &function, sizeof words);
    }
    /// Marked by the lowest bit of the first word or, where functions may have odd addresses, of the second.
    bool IsVirtual() const { return ((words[0] | words[1]) & 1U) != 0; }
    /// Index in the vtable of its class; the two destructors are at 0 and 1. 99 for a non-virtual function.
    std::uintptr_t Slot() const { return IsVirtual() ? words[0] / sizeof(void*) : 99; }

    std::uintptr_t words[2];
};

/// Addresses of the fields in declaration order.
inline void ExpectInOrder(const std::vector<const void*>& fields) {
    for (std::size_t n = 1; n < fields.size(); ++n) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(fields[n - 1]), reinterpret_cast<std::uintptr_t>(fields[n])) << n;
    }
}

}  // namespace hueweave::test
