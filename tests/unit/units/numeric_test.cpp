// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The one way from a double to an int, at and beside its limits.
#include "Numeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kLowest = std::numeric_limits<int>::min(), kHighest = std::numeric_limits<int>::max();

struct Row {
    double value;
    int whole;
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.value << " is " << row.whole; }

class Truncation : public testing::TestWithParam<Row> {};

TEST_P(Truncation, GoesTowardZeroAndStopsAtTheLimits) {
    volatile double value = GetParam().value;  // not worked out by the compiler, which may have limits of its own
    EXPECT_EQ(Trunc(value), GetParam().whole) << value;
}

INSTANTIATE_TEST_SUITE_P(Edges, Truncation,
                         testing::Values(Row{0.0, 0}, Row{-0.0, 0}, Row{0.999, 0}, Row{-0.999, 0}, Row{1.5, 1},
                                         Row{-1.5, -1}, Row{2147483646.9, 2147483646}, Row{2147483647.0, kHighest},
                                         Row{2147483647.9, kHighest}, Row{2147483648.0, kHighest},
                                         Row{2147483649.0, kHighest}, Row{1e300, kHighest}, Row{kInfinity, kHighest},
                                         Row{-2147483646.5, -2147483646}, Row{-2147483647.0, -2147483647},
                                         Row{-2147483647.9, -2147483647}, Row{-2147483648.0, kLowest},
                                         Row{-2147483648.9, kLowest}, Row{-2147483649.0, kLowest}, Row{-1e300, kLowest},
                                         Row{-kInfinity, kLowest}, Row{kNaN, 0}, Row{-kNaN, 0}, Row{5e-324, 0}));

TEST(FiniteNumbers, PassAndOthersCountAsZero) {
    for (const double value : {0.0, 1.5, -1e308, 5e-324}) {
        volatile double given = value;
        EXPECT_EQ(FiniteOrZero(given), value);
    }
    for (const double value : {kNaN, -kNaN, kInfinity, -kInfinity}) {
        volatile double given = value;
        EXPECT_EQ(FiniteOrZero(given), 0.0) << value;
    }
}

}  // namespace
