// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>

/// Truncates a double toward zero. The library uses only this function to convert doubles to integers. Values outside
/// the range of int give the nearest limit and NaN gives 0, so that all machines give the same results.
constexpr int Trunc(double value) {
    if (value >= 2147483648.0) return std::numeric_limits<int>::max();
    if (value <= -2147483649.0) return std::numeric_limits<int>::min();
    return value == value ? static_cast<int>(value) : 0;
}

/// NaN and infinities become 0.
constexpr double FiniteOrZero(double value) { return value - value == 0.0 ? value : 0.0; }

/// The low 16 bits of a value, as a sample.
constexpr unsigned short Low16(int value) {
    return static_cast<unsigned short>(static_cast<unsigned>(value) & 0xffffU);
}

// 32-bit arithmetic that wraps around instead of overflowing, because callers can load any node values.
constexpr int WrapAdd(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b)); }
constexpr int WrapSubtract(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int WrapMultiply(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}
