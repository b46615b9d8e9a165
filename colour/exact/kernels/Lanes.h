// SPDX-License-Identifier: MIT
// Vectors in the compilers' portable notation. A comparison gives -1 or 0 in each lane, and `?:` chooses by lane.
#pragma once

#include <cstdint>

namespace hueweave::colour {
// Local to each including file: if files for different processors shared a function, the linker could keep a copy that
// some processors do not support.
namespace {

// Spelled out, because g++ 12 loses a vector size that depends on a template argument.
typedef float Floats4 __attribute__((vector_size(16)));
typedef float Floats8 __attribute__((vector_size(32)));
typedef double Doubles2 __attribute__((vector_size(16)));
typedef std::int32_t Ints4 __attribute__((vector_size(16)));
typedef std::int32_t Ints8 __attribute__((vector_size(32)));

struct FourLanes {
    using Floats = Floats4;
    using Ints = Ints4;
    static constexpr int kCount = 4;
};
struct EightLanes {
    using Floats = Floats8;
    using Ints = Ints8;
    static constexpr int kCount = 8;
};

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

}  // namespace
}  // namespace hueweave::colour
