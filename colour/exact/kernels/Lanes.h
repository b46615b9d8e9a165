// SPDX-License-Identifier: MIT
// Vectors in the compilers' portable notation. A comparison gives -1 or 0 in each lane, and `?:` chooses by lane.
//
// The lanes of a vector form groups of four, each as wide as a register of the smallest vectors. Instructions that move
// numbers only within groups are fast, so the loops need no others, and are the same for any number of groups.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace hueweave::colour {
// Local to each including file: if files for different processors shared a function, the linker could keep a copy that
// some processors do not support.
namespace {

// Spelled out, because g++ 12 loses a vector size that depends on a template argument.
typedef float Floats4 __attribute__((vector_size(16)));
typedef double Doubles2 __attribute__((vector_size(16)));
typedef std::uint8_t Bytes16 __attribute__((vector_size(16)));

constexpr bool kLittle = std::endian::native == std::endian::little;

template <typename Vector, typename Value>
inline Vector Read(const Value* at) {
    Vector values;
    __builtin_memcpy(&values, at, sizeof values);
    return values;
}
template <typename Vector, typename Value>
inline void Write(Value* at, Vector values) {
    __builtin_memcpy(at, &values, sizeof values);
}

/// Where the lane `choice` of two groups is in two vectors of `count` lanes: 0 to 3 are in the first vector.
constexpr int LaneAt(int choice, int group, int count) { return 4 * group + choice % 4 + (choice < 4 ? 0 : count); }

}  // namespace
}  // namespace hueweave::colour
