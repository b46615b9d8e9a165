// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <limits>

/// Cuts a double to an int toward zero: the one way in which this library turns a double into an integer. Values
/// that an int cannot hold go to its nearest limit and a NaN to 0, so that every machine gives the same.
constexpr int Trunc(double value) {
    if (value >= 2147483648.0) return std::numeric_limits<int>::max();
    if (value <= -2147483649.0) return std::numeric_limits<int>::min();
    return value == value ? static_cast<int>(value) : 0;
}

/// A number that is none, or endless, counts as 0.
constexpr double FiniteOrZero(double value) { return value - value == 0.0 ? value : 0.0; }

/// The low 16 bits of a value, as a sample.
constexpr unsigned short Low16(int value) {
    return static_cast<unsigned short>(static_cast<unsigned>(value) & 0xffffU);
}

// Sums and differences of 32 bits that wrap around instead of overflowing: node values are whatever a caller loads.
constexpr int WrapAdd(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b)); }
constexpr int WrapSubtract(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int WrapMultiply(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}
