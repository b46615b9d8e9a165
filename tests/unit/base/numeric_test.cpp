// SPDX-License-Identifier: MIT
// The only conversion from a double to an int, at and near its limits.
#include "base/Numeric.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace hueweave::test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kLeastInt = std::numeric_limits<int>::min(), kMostInt = std::numeric_limits<int>::max();

TEST(Trunc, RoundsTowardZeroAndClampsToTheLimits) {
    const std::pair<int, std::vector<double>> rows[] = {
        {0, {0.0, -0.0, 5e-324, 0.999, -0.999, kNaN, -kNaN}},
        {1, {1.5}},
        {-1, {-1.5}},
        {2147483646, {2147483646.9}},
        {kMostInt, {2147483647.0, 2147483647.9, 2147483648.0, 2147483649.0, 1e300, kInfinity}},
        {-2147483646, {-2147483646.5}},
        {-2147483647, {-2147483647.0, -2147483647.9}},
        {kLeastInt, {-2147483648.0, -2147483648.9, -2147483649.0, -1e300, -kInfinity}},
    };
    for (const auto& [whole, values] : rows) {
        for (const double value : values) {
            volatile double given = value;  // not evaluated by the compiler, whose limits may differ
            EXPECT_EQ(Trunc(given), whole) << value;
        }
    }
}

TEST(FiniteOrZero, KeepsFiniteNumbersAndReplacesOthersByZero) {
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
