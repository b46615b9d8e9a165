// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Seeking from before a block's start: forward the end alone is a limit, backward the start alone.
#include <climits>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

struct Step {
    std::int64_t from;  ///< place before, in a block of 10 bytes
    int offset, origin;
    std::int64_t to;
    int result;
};

class IoBufBeforeTest : public testing::TestWithParam<Step> {};

TEST_P(IoBufBeforeTest, OnlyABackwardSeekLooksAtTheStart) {
    const Step& step = GetParam();
    FencedBlock block(Rising(10, 0));
    IO_Buf stream(block.Data(), 10);
    stream.position = stream.begin + static_cast<std::uint64_t>(step.from);
    EXPECT_EQ(stream.Seek(step.offset, step.origin), step.result) << step.offset << " from " << step.origin;
    EXPECT_EQ(Place(stream), step.to) << step.offset << " from " << step.origin;
    EXPECT_EQ(stream.begin, Address(block.Data()));
    EXPECT_EQ(stream.end, Address(block.Data()) + 10);
    EXPECT_EQ(block.Content(), Rising(10, 0));
}

constexpr std::int64_t k31 = std::int64_t{1} << 31, k32 = std::int64_t{1} << 32;
constexpr Step kSteps[] = {
    // forward: stays before the start
    {-3, 1, 1, -2, 1},
    {-3, 3, 1, 0, 3},
    {-3, 13, 1, 10, 13},
    {-3, 14, 1, 10, 1},
    {-3, 5, 3, -3, 5},
    {-3, 5, -1, -3, 5},
    {-1, INT_MAX, 1, 10, INT_MAX - 11},
    // nothing and backward: comes back to the start, and tells how far it was
    {-3, 0, 1, 0, -3},
    {-3, -1, 1, 0, -4},
    {-3, 0, 3, 0, -3},
    {-3, -5, 3, 0, -3},
    {-1, INT_MIN + 1, 1, 0, INT_MIN},
    // from the start and the end the place before does not count
    {-3, 0, 0, 0, 0},
    {-3, 2, 0, 2, 2},
    {-3, -2, 0, 0, -2},
    {-3, 0, 2, 10, 0},
    {-3, -12, 2, 0, -2},
    // of the distance the low 32 bits
    {-k32 - 5, 0, 1, 0, -5},
    {-k32, 0, 1, 0, 0},
    {-k31 - 1, 0, 1, 0, INT_MAX},
    {-k31, 0, 1, 0, INT_MIN},
    {-1, INT_MIN, 1, 0, INT_MAX},
};
INSTANTIATE_TEST_SUITE_P(Every, IoBufBeforeTest, testing::ValuesIn(kSteps));

}  // namespace
}  // namespace hueweave::test
