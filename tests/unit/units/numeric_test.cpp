// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The one way from a double to an int, at and beside its limits.
#include "base/Numeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <ostream>

namespace hueweave::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kLeastInt = std::numeric_limits<int>::min(), kMostInt = std::numeric_limits<int>::max();

struct CutNumber {
    double value;
    int whole;
};
void PrintTo(const CutNumber& row, std::ostream* out) { *out << row.value << " is " << row.whole; }

class Truncation : public testing::TestWithParam<CutNumber> {};

TEST_P(Truncation, GoesTowardZeroAndStopsAtTheLimits) {
    volatile double value = GetParam().value;  // not worked out by the compiler, which may have limits of its own
    EXPECT_EQ(Trunc(value), GetParam().whole) << value;
}

INSTANTIATE_TEST_SUITE_P(Edges, Truncation,
                         testing::Values(CutNumber{0.0, 0}, CutNumber{-0.0, 0}, CutNumber{0.999, 0},
                                         CutNumber{-0.999, 0}, CutNumber{1.5, 1}, CutNumber{-1.5, -1},
                                         CutNumber{2147483646.9, 2147483646}, CutNumber{2147483647.0, kMostInt},
                                         CutNumber{2147483647.9, kMostInt}, CutNumber{2147483648.0, kMostInt},
                                         CutNumber{2147483649.0, kMostInt}, CutNumber{1e300, kMostInt},
                                         CutNumber{kInfinity, kMostInt}, CutNumber{-2147483646.5, -2147483646},
                                         CutNumber{-2147483647.0, -2147483647}, CutNumber{-2147483647.9, -2147483647},
                                         CutNumber{-2147483648.0, kLeastInt}, CutNumber{-2147483648.9, kLeastInt},
                                         CutNumber{-2147483649.0, kLeastInt}, CutNumber{-1e300, kLeastInt},
                                         CutNumber{-kInfinity, kLeastInt}, CutNumber{kNaN, 0}, CutNumber{-kNaN, 0},
                                         CutNumber{5e-324, 0}));

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
}  // namespace hueweave::test
