// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace ICC40::ICC_ENG_S4 {
// Local to each including file: the kernels are compiled for different processors, and if they shared a function, the
// linker could keep a copy that some processors do not support.
namespace {

/// A sample in the machine's byte order, at any address.
template <typename Sample>
Sample Load(const unsigned char* at) {
    Sample sample;
    __builtin_memcpy(&sample, at, sizeof sample);
    return sample;
}

/// Stores the low bits of `value` in the same way.
template <typename Sample>
void Store(unsigned char* at, std::uint32_t value) {
    const auto sample = static_cast<Sample>(value);
    __builtin_memcpy(at, &sample, sizeof sample);
}

}  // namespace
}  // namespace ICC40::ICC_ENG_S4
