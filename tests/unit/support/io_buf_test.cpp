// SPDX-License-Identifier: MIT
// A stream over a block of memory.
#include <climits>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

__extension__ typedef unsigned __int128 Wide;  // holds any sum and product of numbers of 64 bits

constexpr unsigned long kLength = 10;
constexpr unsigned kFirst = 0x40;    // the block holds 0x40, 0x41, ...
constexpr unsigned kWritten = 0x90;  // and is overwritten with 0x90, 0x91, ...

class IoBuf : public testing::Test {
protected:
    ~IoBuf() override {
        EXPECT_TRUE(block_.FencesStand());
        EXPECT_EQ(stream_.begin, begin_);
        EXPECT_EQ(stream_.end, end_);
    }
    void Close() {
        stream_.Close();
        begin_ = end_ = 0;
    }
    /// Restores the original block and puts the stream at this place, inside the block or not.
    void StartAt(std::int64_t place) {
        for (unsigned i = 0; i < kLength; ++i) block_.Data()[i] = static_cast<unsigned char>(kFirst + i);
        stream_.position = stream_.begin + static_cast<std::uint64_t>(place);
    }
    /// Calls `check` with a place and a size and a count, how many bytes these are, and how many of them the block
    /// holds.
    template <typename Check>
    void ForEveryTransfer(const Check& check) {
        constexpr unsigned long kFactors[] = {
            0, 1, 2, 3, 4, 5, 10, 11, 1UL << 32, 1UL << 33, 1UL << 62, LONG_MAX, 1UL << 63, ULONG_MAX - 3, ULONG_MAX};
        for (const std::int64_t from : {0, 6, 9, 10, 16, -3}) {  // 16: after an overrun; -3: before the block
            for (const unsigned long size : kFactors) {
                for (const unsigned long count : kFactors) {
                    SCOPED_TRACE(testing::Message() << size << " x " << count << " from " << from);
                    StartAt(from);
                    const Wide asked = Wide{size} * count;
                    const Wide room = from >= 0 && from < 10 ? static_cast<unsigned>(10 - from) : 0;
                    check(from, size, count, asked, static_cast<unsigned>(std::min(asked, room)));
                }
            }
        }
    }
    FencedBlock block_{CountingBytes(kLength, kFirst)};
    IO_Buf stream_{block_.Data(), kLength};
    std::uint64_t begin_ = Address(block_.Data()), end_ = begin_ + kLength;
};

TEST_F(IoBuf, AReadStopsAtTheEndAndReturnsThePosition) {
    ForEveryTransfer([&](std::int64_t from, unsigned long size, unsigned long count, Wide, unsigned moved) {
        Bytes bytes(20, kUntouched);
        EXPECT_EQ(stream_.Read(bytes.data(), size, count), stream_.position);
        EXPECT_EQ(Place(stream_), from + moved);
        EXPECT_EQ(bytes, ReadInto(20, CountingBytes(moved, kFirst + static_cast<unsigned>(from))));
        EXPECT_EQ(block_.Content(), CountingBytes(kLength, kFirst)) << "reading changes nothing";
    });
}

TEST_F(IoBuf, AWriteStopsAtTheEndAndAdvancesByItsFullSize) {
    ForEveryTransfer([&](std::int64_t from, unsigned long size, unsigned long count, Wide asked, unsigned moved) {
        Bytes bytes = CountingBytes(20, kWritten), expected = CountingBytes(kLength, kFirst);
        const Wide end = std::min<Wide>(stream_.position + asked, ULONG_MAX);  // as far as numbers reach
        EXPECT_EQ(stream_.Write(bytes.data(), size, count), static_cast<std::uint64_t>(end));
        EXPECT_EQ(stream_.position, static_cast<std::uint64_t>(end));
        std::copy_n(bytes.begin(), moved, expected.begin() + (moved > 0 ? from : 0));
        EXPECT_EQ(block_.Content(), expected);
        EXPECT_EQ(bytes, CountingBytes(20, kWritten)) << "the source is only read";
    });
}

TEST_F(IoBuf, APositionWrapsToZero) {
    stream_.position = ULONG_MAX;
    EXPECT_EQ(stream_.Seek(5, 1), 5);
    EXPECT_EQ(stream_.position, 4U);
    Close();
    Bytes bytes(10);
    EXPECT_EQ(stream_.Write(bytes.data(), 2, ULONG_MAX / 2), ULONG_MAX - 1) << "from 0, the last even number";
}

TEST_F(IoBuf, AnEmptyBlockHoldsNothing) {
    for (unsigned char* block : {block_.Data(), static_cast<unsigned char*>(nullptr)}) {
        IO_Buf empty(block, 0);
        EXPECT_EQ(empty.begin, Address(block));
        EXPECT_EQ(empty.end, Address(block));
        Bytes bytes(3, kUntouched);
        EXPECT_EQ(empty.Read(bytes.data(), 1, 3), Address(block));
        EXPECT_EQ(bytes, Bytes(3, kUntouched));
        EXPECT_EQ(empty.Read(nullptr, 1, 5), Address(block)) << "nothing to copy needs no buffer";
        EXPECT_EQ(empty.Write(nullptr, 3, 0), Address(block));
        EXPECT_EQ(empty.Seek(2, 0), 2);
        EXPECT_EQ(empty.position, Address(block));
        EXPECT_EQ(empty.Write(bytes.data(), 1, 3), Address(block) + 3);
    }
    EXPECT_EQ(block_.Content(), CountingBytes(kLength, kFirst));
}

/// Where a seek leads in a block of 10 bytes, and its answer. Origins 0 to 2 are the start, the position and the end;
/// any other leaves the position unchanged. Forward, the end alone is a limit, and backward the start. The answer is
/// the offset, or the low 32 bits of the distance beyond the limit.
std::pair<std::int64_t, int> Sought(std::int64_t from, int offset, int origin) {
    constexpr std::int64_t end = kLength;
    const std::int64_t place = origin == 0 ? offset : origin == 1 ? from + offset : origin == 2 ? end + offset : from;
    const std::int64_t limit = offset > 0 ? end : 0;
    const bool beyond = offset > 0 ? place > limit : place < limit;
    return beyond ? std::pair(limit, static_cast<int>(place - limit)) : std::pair(place, offset);
}

TEST_F(IoBuf, SeekStopsAtOneLimitAndReturnsTheLow32BitsOfTheExcess) {
    constexpr std::int64_t k31 = std::int64_t{1} << 31, k32 = std::int64_t{1} << 32;
    // 16 is after an overrun; what is negative lies before the block.
    for (const std::int64_t from : {-k32 - 5, -k31 - 1, -k31, std::int64_t{-3}, std::int64_t{-1}, std::int64_t{0},
                                    std::int64_t{3}, std::int64_t{10}, std::int64_t{16}, k31 + 9, k32 + 8, k32 + 16}) {
        for (const int offset : {INT_MIN, INT_MIN + 1, -17, -16, -12, -11, -10, -6, -5, -4, -3, -2, -1,
                                 0,       1,           2,   3,   5,   7,   8,   10, 11, 12, 13, 14, INT_MAX}) {
            for (const int origin : {INT_MIN, -1, 0, 1, 2, 3}) {
                SCOPED_TRACE(testing::Message() << offset << " of origin " << origin << " at " << from);
                StartAt(from);
                const auto& [to, result] = Sought(from, offset, origin);
                EXPECT_EQ(stream_.Seek(offset, origin), result);
                EXPECT_EQ(Place(stream_), to);
                EXPECT_EQ(stream_.begin, begin_);
                EXPECT_EQ(stream_.end, end_);
                EXPECT_EQ(block_.Content(), CountingBytes(kLength, kFirst));
            }
        }
    }
}

TEST_F(IoBuf, TheHandleIsTheStartAtAnyPosition) {
    EXPECT_EQ(Place(stream_), 0) << "at first";
    for (const std::int64_t place : {0, 7, 10, 16, -3}) {
        StartAt(place);
        EXPECT_EQ(stream_.GetHandle(), block_.Data()) << place;
    }
}

TEST_F(IoBuf, CloseClearsAllPointersAndKeepsTheBlock) {
    for (int time = 0; time < 2; ++time) {
        stream_.position += 7;
        Close();
        EXPECT_EQ(stream_.begin, 0U);
        EXPECT_EQ(stream_.end, 0U);
        EXPECT_EQ(stream_.position, 0U);
        EXPECT_EQ(stream_.GetHandle(), nullptr);
    }
    EXPECT_EQ(block_.Content(), CountingBytes(kLength, kFirst));
}

TEST_F(IoBuf, AClosedStreamIsAnEmptyBlock) {
    Close();
    Bytes bytes = CountingBytes(5, kWritten);
    EXPECT_EQ(stream_.Write(bytes.data(), 1, 5), 5U);
    EXPECT_EQ(stream_.position, 5U);
    bytes.assign(5, kUntouched);
    EXPECT_EQ(stream_.Read(bytes.data(), 1, 5), 5U);
    for (const int origin : {0, 1, 2, 3}) {
        for (const int offset : {INT_MIN, -5, 0, 5, INT_MAX}) {
            stream_.Close();
            EXPECT_EQ(stream_.Seek(offset, origin), offset);
            stream_.Read(bytes.data(), 1, 5);
            EXPECT_EQ(bytes, Bytes(5, kUntouched)) << offset << " from " << origin;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
