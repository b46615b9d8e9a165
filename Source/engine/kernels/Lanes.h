// SPDX-License-Identifier: MIT
// Vectors of 32-bit integers in the compilers' portable notation, for all instruction sets.
#pragma once

#include <cstdint>
#include <utility>

namespace ICC40::ICC_ENG_S4 {
// Local to each including file, see Samples.h.
namespace {

// Spelled out, because g++ 12 loses a vector size that depends on a template argument.
typedef std::int32_t Ints4 __attribute__((vector_size(16)));
typedef std::int32_t Ints8 __attribute__((vector_size(32)));

/// Operations on vectors of 4 or 8 values, in groups of four.
template <typename Ints>
struct Lanes {
    static constexpr int kCount = sizeof(Ints) / sizeof(std::int32_t);

    template <typename Value>
    static Ints Read(const Value* at) {
        static_assert(sizeof(Value) == sizeof(std::int32_t));
        Ints values;
        __builtin_memcpy(&values, at, sizeof values);
        return values;
    }
    template <typename Value>
    static void Write(Value* at, Ints values) {
        static_assert(sizeof(Value) == sizeof(std::int32_t));
        __builtin_memcpy(at, &values, sizeof values);
    }

    /// The columns of a table of `kCount` rows with four values each: `row(n)` points to row n.
    struct Columns {
        Ints at[4];
    };
    template <typename RowOf>
    static Columns Transpose(RowOf row) {
        const Ints a = RowsFrom(row, 0), b = RowsFrom(row, 1), c = RowsFrom(row, 2), d = RowsFrom(row, 3);
        const Ints ac = Zip<0>(a, c, kEach), bd = Zip<0>(b, d, kEach);
        const Ints acHigh = Zip<2>(a, c, kEach), bdHigh = Zip<2>(b, d, kEach);
        return {{Zip<0>(ac, bd, kEach), Zip<2>(ac, bd, kEach), Zip<0>(acHigh, bdHigh, kEach),
                 Zip<2>(acHigh, bdHigh, kEach)}};
    }

private:
    static constexpr auto kEach = std::make_integer_sequence<int, kCount>();

    /// Row `first` and, in the second group, the row four after it.
    template <typename RowOf>
    static Ints RowsFrom(RowOf row, int first) {
        if constexpr (kCount == 4) {
            return Read(row(first));
        } else {
            const Ints4 low = Lanes<Ints4>::Read(row(first)), high = Lanes<Ints4>::Read(row(first + 4));
            return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
        }
    }

    /// Two adjacent elements of each group, from `kFrom` on: first of a, first of b, second of a, second of b.
    template <int kFrom, int... kLane>
    static Ints Zip(Ints a, Ints b, std::integer_sequence<int, kLane...>) {
        return __builtin_shufflevector(a, b, (kLane / 4 * 4 + kFrom + kLane % 4 / 2 + kLane % 2 * kCount)...);
    }
};

}  // namespace
}  // namespace ICC40::ICC_ENG_S4
