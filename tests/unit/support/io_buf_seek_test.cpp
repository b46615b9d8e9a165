// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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

class IoBufSeekTest : public testing::TestWithParam<Step> {};

TEST_P(IoBufSeekTest, StopsAtOneLimitAndTellsTheExcess) {
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

constexpr Step kFromTheStart[] = {
    {3, 0, 0, 0, 0},
    {3, 1, 0, 1, 1},
    {3, 4, 0, 4, 4},
    {3, 9, 0, 9, 9},
    {3, 10, 0, 10, 10},
    {3, 11, 0, 10, 1},
    {3, 25, 0, 10, 15},
    {3, INT_MAX, 0, 10, INT_MAX - 10},
    {3, -1, 0, 0, -1},
    {3, -5, 0, 0, -5},
    {3, INT_MIN, 0, 0, INT_MIN},
};
INSTANTIATE_TEST_SUITE_P(FromTheStart, IoBufSeekTest, testing::ValuesIn(kFromTheStart));

constexpr Step kFromThePosition[] = {
    {3, 0, 1, 3, 0},
    {3, 1, 1, 4, 1},
    {3, 6, 1, 9, 6},
    {3, 7, 1, 10, 7},
    {3, 8, 1, 10, 1},
    {3, 20, 1, 10, 13},
    {3, INT_MAX, 1, 10, INT_MAX - 7},
    {3, -1, 1, 2, -1},
    {3, -3, 1, 0, -3},
    {3, -4, 1, 0, -1},
    {3, -20, 1, 0, -17},
    {3, INT_MIN, 1, 0, INT_MIN + 3},
    {0, 0, 1, 0, 0},
    {10, 0, 1, 10, 0},
    {10, 1, 1, 10, 1},
    {0, -1, 1, 0, -1},
};
INSTANTIATE_TEST_SUITE_P(FromThePosition, IoBufSeekTest, testing::ValuesIn(kFromThePosition));

constexpr Step kFromTheEnd[] = {
    {3, 0, 2, 10, 0},    {3, 1, 2, 10, 1},
    {3, 5, 2, 10, 5},    {3, INT_MAX, 2, 10, INT_MAX},
    {3, -1, 2, 9, -1},   {3, -9, 2, 1, -9},
    {3, -10, 2, 0, -10}, {3, -11, 2, 0, -1},
    {3, -30, 2, 0, -20}, {3, INT_MIN, 2, 0, INT_MIN + 10},
};
INSTANTIATE_TEST_SUITE_P(FromTheEnd, IoBufSeekTest, testing::ValuesIn(kFromTheEnd));

constexpr Step kFromNowhere[] = {
    {3, 0, 3, 3, 0},
    {3, 5, 3, 3, 5},
    {3, -5, 3, 3, -5},
    {3, 100, 3, 3, 100},
    {3, -100, -1, 3, -100},
    {3, 5, -1, 3, 5},
    {3, 5, INT_MAX, 3, 5},
    {3, INT_MIN, INT_MIN, 3, INT_MIN},
    {3, INT_MAX, 4, 3, INT_MAX},
    {10, 1, 3, 10, 1},
    {0, -1, 3, 0, -1},
};
INSTANTIATE_TEST_SUITE_P(FromNowhere, IoBufSeekTest, testing::ValuesIn(kFromNowhere));

// Beyond the end after an overrun: only a forward seek looks at the end, from whatever origin.
constexpr Step kFromBeyond[] = {
    {16, 0, 1, 16, 0},   {16, 1, 1, 10, 7}, {16, -1, 1, 15, -1}, {16, -6, 1, 10, -6}, {16, -16, 1, 0, -16},
    {16, -17, 1, 0, -1}, {16, 1, 3, 10, 6}, {16, 0, 3, 16, 0},   {16, -1, 3, 16, -1}, {16, 3, 0, 3, 3},
    {16, 12, 0, 10, 2},  {16, 0, 0, 0, 0},  {16, 0, 2, 10, 0},   {16, -2, 2, 8, -2},
};
INSTANTIATE_TEST_SUITE_P(FromBeyond, IoBufSeekTest, testing::ValuesIn(kFromBeyond));

TEST(IoBufSeekEdges, FivePastTheEndStaysThereAndAnswersFive) {
    FencedBlock block(Rising(10, 0));
    IO_Buf stream(block.Data(), 10);
    EXPECT_EQ(stream.Seek(5, 2), 5);
    EXPECT_EQ(stream.position, stream.end);
}

TEST(IoBufSeekEdges, FiveBeforeTheStartStaysThereAndAnswersMinusFive) {
    FencedBlock block(Rising(10, 0));
    IO_Buf stream(block.Data(), 10);
    stream.Seek(4, 0);
    EXPECT_EQ(stream.Seek(-5, 0), -5);
    EXPECT_EQ(stream.position, stream.begin);
}

TEST(IoBufSeekEdges, NothingFromTheEndStandsAtTheEnd) {
    FencedBlock block(Rising(10, 0));
    IO_Buf stream(block.Data(), 10);
    EXPECT_EQ(stream.Seek(0, 2), 0);
    EXPECT_EQ(stream.position, stream.end);
}

TEST(IoBufSeekEdges, AnExcessAboveThirtyTwoBitsIsCut) {
    FencedBlock block(Rising(10, 0));
    ByteList bytes = Rising(10, 0x80);
    for (const auto& [written, excess] : {std::pair<unsigned long, int>{(1UL << 32) + 16, 7},
                                          {(1UL << 33) + 10, 1},
                                          {(1UL << 32) + 8, -1},
                                          {(1UL << 31) + 9, INT_MIN}}) {
        IO_Buf stream(block.Data(), 10);
        EXPECT_EQ(stream.Write(bytes.data(), 1, written), stream.begin + written);
        EXPECT_EQ(stream.Seek(1, 1), excess) << written;
        EXPECT_EQ(stream.position, stream.end);
    }
    EXPECT_TRUE(block.FencesStand());
}

// From before the start: forward the end alone is a limit, backward the start alone.
constexpr std::int64_t k31 = std::int64_t{1} << 31, k32 = std::int64_t{1} << 32;
constexpr Step kFromBefore[] = {
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
INSTANTIATE_TEST_SUITE_P(FromBefore, IoBufSeekTest, testing::ValuesIn(kFromBefore));

}  // namespace
}  // namespace hueweave::test
