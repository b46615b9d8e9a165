// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <climits>
#include <memory>

#include "unit/support/StreamHelpers.h"

namespace hueweave::test {
namespace {

constexpr unsigned long kLength = 10;
constexpr unsigned kFirst = 0x40;    // the block holds 0x40, 0x41, ...
constexpr unsigned kWritten = 0x90;  // and is overwritten with 0x90, 0x91, ...

class IoBufTest : public testing::Test {
protected:
    ~IoBufTest() override { EXPECT_TRUE(block_.FencesStand()); }
    /// Stands beyond the end: a write of 13 bytes from place 3.
    void Overrun() {
        stream_.Seek(3, 0);
        ByteList bytes = Rising(13, kWritten);
        stream_.Write(bytes.data(), 1, 13);
        ASSERT_EQ(Place(stream_), 16);
    }
    FencedBlock block_{Rising(kLength, kFirst)};
    IO_Buf stream_{block_.Data(), kLength};
};

TEST_F(IoBufTest, StartsAtTheStartOfItsBlock) {
    EXPECT_EQ(stream_.begin, Address(block_.Data()));
    EXPECT_EQ(stream_.position, Address(block_.Data()));
    EXPECT_EQ(stream_.end, Address(block_.Data()) + kLength);
}

struct Transfer {
    std::int64_t from;
    unsigned long size, count;
    std::int64_t moved;
};
constexpr Transfer kTransfers[] = {
    {0, 1, 0, 0},   {0, 0, 1, 0},  {0, 0, 0, 0},  {0, 1, 1, 1},   {0, 1, 4, 4},   {0, 4, 1, 4},
    {0, 2, 3, 6},   {0, 3, 2, 6},  {0, 5, 2, 10}, {0, 1, 10, 10}, {0, 10, 1, 10}, {0, 1, 11, 10},
    {0, 11, 1, 10}, {0, 4, 3, 10}, {6, 1, 4, 4},  {6, 1, 5, 4},   {6, 1, 10, 4},  {6, 10, 1, 4},
    {6, 3, 2, 4},   {9, 1, 1, 1},  {9, 1, 2, 1},  {10, 1, 0, 0},  {10, 1, 1, 0},  {10, 7, 9, 0},
};

class IoBufTransferTest : public IoBufTest, public testing::WithParamInterface<Transfer> {
protected:
    void SetUp() override { stream_.Seek(static_cast<int>(GetParam().from), 0); }
};

TEST_P(IoBufTransferTest, AReadStopsAtTheEndAndTellsItsPosition) {
    const auto& [from, size, count, moved] = GetParam();
    ByteList bytes(100, kUntouched);
    EXPECT_EQ(stream_.Read(bytes.data(), size, count), stream_.begin + static_cast<std::uint64_t>(from + moved));
    EXPECT_EQ(Place(stream_), from + moved);

    ByteList expected(100, kUntouched);
    for (std::int64_t i = 0; i < moved; ++i) {
        expected[static_cast<std::size_t>(i)] = static_cast<unsigned char>(kFirst + from + i);
    }
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(block_.Content(), Rising(kLength, kFirst)) << "reading changes nothing";
    EXPECT_EQ(stream_.begin, Address(block_.Data()));
    EXPECT_EQ(stream_.end, Address(block_.Data()) + kLength);
}

TEST_P(IoBufTransferTest, AWriteStopsAtTheEndAndMovesOnByAllOfIt) {
    const auto& [from, size, count, moved] = GetParam();
    ByteList bytes = Rising(100, kWritten);
    const std::int64_t asked = static_cast<std::int64_t>(size * count);
    EXPECT_EQ(stream_.Write(bytes.data(), size, count), stream_.begin + static_cast<std::uint64_t>(from + asked));
    EXPECT_EQ(Place(stream_), from + asked);

    ByteList expected = Rising(kLength, kFirst);
    for (std::int64_t i = 0; i < moved; ++i) {
        expected[static_cast<std::size_t>(from + i)] = static_cast<unsigned char>(kWritten + i);
    }
    EXPECT_EQ(block_.Content(), expected);
    EXPECT_EQ(bytes, Rising(100, kWritten)) << "the source is only read";
    EXPECT_EQ(stream_.begin, Address(block_.Data()));
    EXPECT_EQ(stream_.end, Address(block_.Data()) + kLength);
}

INSTANTIATE_TEST_SUITE_P(Every, IoBufTransferTest, testing::ValuesIn(kTransfers));

TEST_F(IoBufTest, ReadsFollowOneAnother) {
    ByteList bytes(3);
    stream_.Read(bytes.data(), 1, 3);
    EXPECT_EQ(bytes, Rising(3, kFirst));
    stream_.Read(bytes.data(), 3, 1);
    EXPECT_EQ(bytes, Rising(3, kFirst + 3));
}

TEST_F(IoBufTest, WritesFollowOneAnother) {
    ByteList bytes = Rising(4, kWritten);
    stream_.Write(bytes.data(), 2, 1);
    stream_.Write(bytes.data(), 1, 4);
    EXPECT_EQ(block_.Content(), (ByteList{0x90, 0x91, 0x90, 0x91, 0x92, 0x93, 0x46, 0x47, 0x48, 0x49}));
}

TEST_F(IoBufTest, AReadOfTenWithFourLeftCopiesFour) {
    stream_.Seek(6, 0);
    ByteList bytes(10, kUntouched);
    EXPECT_EQ(stream_.Read(bytes.data(), 1, 10), stream_.end);
    EXPECT_EQ(stream_.position, stream_.end);
    EXPECT_EQ(bytes, (ByteList{0x46, 0x47, 0x48, 0x49, 0xcc, 0xcc, 0xcc, 0xcc, 0xcc, 0xcc}));
}

TEST_F(IoBufTest, AWriteOfTenWithFourLeftStandsSixBeyondTheEnd) {
    stream_.Seek(6, 0);
    ByteList bytes = Rising(10, kWritten);
    EXPECT_EQ(stream_.Write(bytes.data(), 1, 10), stream_.end + 6);
    EXPECT_EQ(stream_.position, stream_.end + 6);
    EXPECT_EQ(block_.Content(), (ByteList{0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x90, 0x91, 0x92, 0x93}));
}

TEST_F(IoBufTest, AReadFromBeyondTheEndCopiesNothing) {
    Overrun();
    ByteList bytes(20, kUntouched);
    const std::uint64_t result = stream_.Read(bytes.data(), 1, 20);
    EXPECT_EQ(result, stream_.position);
    EXPECT_EQ(bytes, ByteList(20, kUntouched));
}

TEST_F(IoBufTest, AWriteFromBeyondTheEndMovesOnAndCopiesNothing) {
    Overrun();
    const ByteList before = block_.Content();
    ByteList bytes = Rising(4, 0);
    EXPECT_EQ(stream_.Write(bytes.data(), 2, 2), stream_.end + 10);
    EXPECT_EQ(Place(stream_), 20);
    EXPECT_EQ(block_.Content(), before);
}

TEST_F(IoBufTest, AfterAnOverrunASeekToTheStartReadsAgain) {
    Overrun();
    stream_.Seek(0, 0);
    ByteList bytes(10);
    EXPECT_EQ(stream_.Read(bytes.data(), 1, 10), stream_.end);
    EXPECT_EQ(bytes, (ByteList{0x40, 0x41, 0x42, 0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96}));
}

/// Lengths whose sum with the position, or whose product, does not fit in 64 bits.
constexpr std::pair<unsigned long, unsigned long> kVast[] = {{ULONG_MAX, 1}, {1, ULONG_MAX}, {ULONG_MAX - 3, 1},
                                                             {LONG_MAX, 1},  {1UL << 63, 1}, {ULONG_MAX, ULONG_MAX}};

TEST_F(IoBufTest, AVastReadCopiesNoMoreThanTheBlock) {
    for (const auto& [size, count] : kVast) {
        stream_.Seek(6, 0);
        ByteList bytes(20, kUntouched);
        const std::uint64_t result = stream_.Read(bytes.data(), size, count);
        EXPECT_EQ(result, stream_.position);
        EXPECT_LE(stream_.position, stream_.end);
        EXPECT_EQ(ByteList(bytes.begin() + 4, bytes.end()), ByteList(16, kUntouched)) << size << " x " << count;
    }
    EXPECT_EQ(block_.Content(), Rising(kLength, kFirst));
}

TEST_F(IoBufTest, AVastLengthThatFitsIn64BitsReadsToTheEnd) {
    for (const unsigned long length : {ULONG_MAX, ULONG_MAX - 3, 1UL << 63, 1UL << 32}) {
        stream_.Seek(6, 0);
        ByteList bytes(20, kUntouched);
        EXPECT_EQ(stream_.Read(bytes.data(), 1, length), stream_.end) << length;
        EXPECT_EQ(bytes[0], 0x46);
        EXPECT_EQ(bytes[3], 0x49);
    }
}

TEST_F(IoBufTest, AProductAbove64BitsReadsToTheEnd) {
    for (const auto& [size, count] : {std::pair{1UL << 33, 1UL << 33}, {1UL << 63, 2UL}, {3UL, ULONG_MAX}}) {
        stream_.Seek(6, 0);
        ByteList bytes(4, kUntouched);
        EXPECT_EQ(stream_.Read(bytes.data(), size, count), stream_.end) << size << " x " << count;
        EXPECT_EQ(bytes, Rising(4, 0x46));
    }
}

TEST_F(IoBufTest, AWriteMovesOnByAllOfAVastLength) {
    ByteList bytes = Rising(10, kWritten);
    for (const unsigned long length : {1UL << 32, 1UL << 50, 1UL << 62}) {
        stream_.Seek(0, 0);
        EXPECT_EQ(stream_.Write(bytes.data(), 1, length), stream_.begin + length) << length;
        EXPECT_EQ(stream_.position, stream_.begin + length);
    }
    stream_.Close();
    EXPECT_EQ(stream_.Write(bytes.data(), 2, ULONG_MAX / 2), ULONG_MAX - 1) << "from 0, the last even number";
}

TEST_F(IoBufTest, AVastWriteChangesNoMoreThanTheRestOfTheBlock) {
    for (const auto& [size, count] : kVast) {
        stream_.Seek(6, 0);
        ByteList bytes = Rising(4, kWritten);
        stream_.Write(bytes.data(), size, count);
        EXPECT_EQ(ByteList(block_.Data(), block_.Data() + 6), Rising(6, kFirst));
        EXPECT_TRUE(block_.FencesStand()) << size << " x " << count;
        ByteList target(4, kUntouched);
        stream_.Read(target.data(), 1, 4);
        EXPECT_EQ(target, ByteList(4, kUntouched)) << "it stands beyond the end, not before the start";
    }
}

TEST_F(IoBufTest, NoLengthNeedsNoBuffer) {
    stream_.Seek(4, 0);
    EXPECT_EQ(stream_.Read(nullptr, 1, 0), stream_.begin + 4);
    EXPECT_EQ(stream_.Read(nullptr, 0, 7), stream_.begin + 4);
    EXPECT_EQ(stream_.Write(nullptr, 0, 7), stream_.begin + 4);
    EXPECT_EQ(stream_.Write(nullptr, 3, 0), stream_.begin + 4);
    stream_.Seek(0, 2);
    EXPECT_EQ(stream_.Read(nullptr, 1, 5), stream_.end) << "nothing is left to copy";
}

TEST_F(IoBufTest, AnEmptyBlockReadsNothing) {
    for (unsigned char* block : {block_.Data(), static_cast<unsigned char*>(nullptr)}) {
        IO_Buf empty(block, 0);
        EXPECT_EQ(empty.begin, Address(block));
        EXPECT_EQ(empty.end, Address(block));
        ByteList bytes(3, kUntouched);
        EXPECT_EQ(empty.Read(bytes.data(), 1, 3), Address(block));
        EXPECT_EQ(bytes, ByteList(3, kUntouched));
        EXPECT_EQ(empty.Seek(2, 0), 2);
        EXPECT_EQ(empty.position, Address(block));
        EXPECT_EQ(empty.Write(bytes.data(), 1, 3), Address(block) + 3);
    }
    EXPECT_EQ(block_.Content(), Rising(kLength, kFirst));
}

TEST_F(IoBufTest, TheHandleIsTheStartWhereverItStands) {
    EXPECT_EQ(stream_.GetHandle(), block_.Data());
    stream_.Seek(7, 0);
    EXPECT_EQ(stream_.GetHandle(), block_.Data());
    Overrun();
    EXPECT_EQ(stream_.GetHandle(), block_.Data());
}

TEST_F(IoBufTest, ClosingClearsAllThree) {
    stream_.Seek(7, 0);
    stream_.Close();
    EXPECT_EQ(stream_.begin, 0U);
    EXPECT_EQ(stream_.end, 0U);
    EXPECT_EQ(stream_.position, 0U);
    EXPECT_EQ(stream_.GetHandle(), nullptr);
    EXPECT_EQ(block_.Content(), Rising(kLength, kFirst)) << "the block is the caller's";
    stream_.Close();
    EXPECT_EQ(stream_.begin, 0U);
}

TEST_F(IoBufTest, AClosedStreamReadsNothing) {
    stream_.Close();
    ByteList bytes(5, kUntouched);
    EXPECT_EQ(stream_.Read(bytes.data(), 1, 5), 0U);
    EXPECT_EQ(stream_.position, 0U);
    EXPECT_EQ(bytes, ByteList(5, kUntouched));
}

TEST_F(IoBufTest, AClosedStreamReadsNothingWhereverItIsSought) {
    for (const int origin : {0, 1, 2, 3}) {
        for (const int offset : {INT_MIN, -5, 0, 5, INT_MAX}) {
            stream_.Close();
            EXPECT_EQ(stream_.Seek(offset, origin), offset);
            ByteList bytes(5, kUntouched);
            stream_.Read(bytes.data(), 1, 5);
            EXPECT_EQ(bytes, ByteList(5, kUntouched)) << offset << " from " << origin;
        }
    }
}

TEST_F(IoBufTest, AClosedStreamWritesNothingAndMovesOn) {
    stream_.Close();
    ByteList bytes = Rising(5, kWritten);
    EXPECT_EQ(stream_.Write(bytes.data(), 1, 5), 5U);
    EXPECT_EQ(stream_.position, 5U);
    EXPECT_EQ(stream_.end, 0U);
    ByteList target(5, kUntouched);
    stream_.Read(target.data(), 1, 5);
    EXPECT_EQ(target, ByteList(5, kUntouched));
}

TEST(IoBufLifeTest, TheBlockOutlivesItsStream) {
    const auto block = std::make_unique<unsigned char[]>(kLength);
    block[3] = 7;
    std::unique_ptr<IO_Interface> stream = std::make_unique<IO_Buf>(block.get(), kLength);
    stream.reset();
    EXPECT_EQ(block[3], 7);
    IO_Buf again(block.get(), kLength);
    again.Seek(3, 0);
    unsigned char byte = 0;
    again.Read(&byte, 1, 1);
    EXPECT_EQ(byte, 7);
}

TEST(IoBufLifeTest, TheStreamSeesWhatTheCallerWritesLater) {
    ByteList memory(4, 0);
    IO_Buf stream(memory.data(), 4);
    memory[2] = 9;
    ByteList bytes(4);
    stream.Read(bytes.data(), 4, 1);
    EXPECT_EQ(bytes, (ByteList{0, 0, 9, 0}));
}

}  // namespace
}  // namespace hueweave::test
