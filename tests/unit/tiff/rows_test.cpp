// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

constexpr unsigned char kUntouched = 251;

/// A new image with bytes that tell their place (all below 251).
void Make(CTiff& tiff, int width, int height, int samples, int bits) {
    tiff.CreateNew(width, height, 72, samples, bits, 1);
    ASSERT_LT(tiff.ImageBytes(), 251U);
    const Bytes image = CountingBytes(tiff.ImageBytes(), 0);
    std::copy(image.begin(), image.end(), tiff.GetImageBuf());
}

/// Room for pixels, at an address that fits 16-bit items.
class Buffer {
public:
    Buffer() { std::fill(std::begin(bytes_), std::end(bytes_), kUntouched); }
    explicit Buffer(const Bytes& bytes) : Buffer() { std::copy(bytes.begin(), bytes.end(), bytes_); }
    unsigned char* Narrow() { return bytes_; }
    unsigned short* Wide() { return reinterpret_cast<unsigned short*>(bytes_); }
    /// All that was written; the rest must be untouched.
    Bytes Front(std::size_t n) const {
        EXPECT_TRUE(std::all_of(bytes_ + n, std::end(bytes_), [](unsigned char b) { return b == kUntouched; }))
            << "more than " << n << " bytes are written";
        return Bytes(bytes_, bytes_ + n);
    }

private:
    alignas(8) unsigned char bytes_[512];
};

struct RowCase {
    int samples;
    int bits;
    int row;
    int count;
    std::size_t from;    ///< in the image
    std::size_t length;  ///< bytes
};
class RowTest : public testing::TestWithParam<RowCase> {
protected:
    void SetUp() override { Make(tiff_, 6, 4, GetParam().samples, GetParam().bits); }
    CTiff tiff_;
};

TEST_P(RowTest, IsReadFromItsStart) {
    const RowCase& c = GetParam();
    Buffer narrow;
    EXPECT_EQ(tiff_.GetRow(narrow.Narrow(), c.row, c.count), c.count);
    EXPECT_EQ(narrow.Front(c.length), CountingBytes(c.length, static_cast<unsigned>(c.from)));
    Buffer wide;
    EXPECT_EQ(tiff_.GetRow(wide.Wide(), c.row, c.count), c.count);
    EXPECT_EQ(wide.Front(c.length), CountingBytes(c.length, static_cast<unsigned>(c.from)));
}

TEST_P(RowTest, IsWrittenToItsStart) {
    const RowCase& c = GetParam();
    const Bytes before = Image(tiff_);
    Bytes expected = before;
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(c.from), c.length, static_cast<unsigned char>(252));
    Buffer source(Bytes(512, 252));
    EXPECT_EQ(tiff_.PutRow(source.Narrow(), c.row, c.count), c.count);
    EXPECT_EQ(Image(tiff_), expected);
    std::copy(before.begin(), before.end(), tiff_.GetImageBuf());
    EXPECT_EQ(tiff_.PutRow(source.Wide(), c.row, c.count), c.count);
    EXPECT_EQ(Image(tiff_), expected);
}

INSTANTIATE_TEST_SUITE_P(Some, RowTest,
                         testing::Values(RowCase{3, 8, 0, 0, 0, 18},     // a whole row
                                         RowCase{3, 8, 2, 4, 36, 12},    // four pixels
                                         RowCase{3, 8, -1, 1, 0, 3},     // clamped to the first row
                                         RowCase{3, 8, 104, 0, 54, 18},  // and to the last
                                         RowCase{3, 8, 1, 10, 18, 30},   // on into the next row
                                         RowCase{3, 8, 3, 10, 54, 18},   // no further than the image
                                         RowCase{3, 8, 0, 1000, 0, 72},  // all of it
                                         RowCase{3, 16, 1, 2, 36, 12},   // six bytes a pixel
                                         RowCase{3, 16, 1, 0, 36, 36},   //
                                         RowCase{1, 8, 3, 0, 18, 6},     //
                                         RowCase{1, 16, 2, 3, 24, 6},    //
                                         RowCase{4, 8, 2, 1, 48, 4},     //
                                         RowCase{1, 1, 2, 0, 2, 1},      // bitmap: a row is a byte
                                         RowCase{1, 1, 1, 7, 1, 0},      // seven bits are no byte
                                         RowCase{1, 1, 1, 17, 1, 2},     // seventeen are two
                                         RowCase{3, 1, 1, 6, 3, 2}));    // a row has 18 bits in 3 bytes

struct BlockCase {
    int samples;
    int bits;
    int x;
    int y;
    int w;
    int h;
    std::vector<std::size_t> from;  ///< start of each copied piece in the image
    std::size_t length;             ///< bytes a piece
};
class BlockTest : public testing::TestWithParam<BlockCase> {
protected:
    void SetUp() override { Make(tiff_, 6, 4, GetParam().samples, GetParam().bits); }
    template <typename T>
    void Read(T* at, const Buffer& buf) {
        const BlockCase& c = GetParam();
        EXPECT_EQ(tiff_.GetRowColumn(at, c.x, c.y, c.w, c.h), 0);
        ByteWriter expected;
        for (const std::size_t from : c.from) expected.Append(CountingBytes(c.length, static_cast<unsigned>(from)));
        EXPECT_EQ(buf.Front(expected.Size()), expected.Done());
    }
    template <typename T>
    void Write(T* at) {
        const BlockCase& c = GetParam();
        Bytes expected = Image(tiff_);
        unsigned char value = 100;  // as the buffer counts on
        for (const std::size_t from : c.from) {
            for (std::size_t i = 0; i < c.length; ++i) expected.at(from + i) = value++;
        }
        EXPECT_EQ(tiff_.SetRowColumn(at, c.x, c.y, c.w, c.h), 0);
        EXPECT_EQ(Image(tiff_), expected);
    }
    CTiff tiff_;
};

TEST_P(BlockTest, IsReadPieceByPiece) {
    Buffer buf;
    if (GetParam().bits == 8) {
        Read(buf.Narrow(), buf);
    } else {
        Read(buf.Wide(), buf);
    }
}

TEST_P(BlockTest, IsWrittenPieceByPiece) {
    Buffer buf(CountingBytes(256, 100));
    Write(buf.Narrow());
}

TEST_P(BlockTest, IsWrittenAlikeThroughBothSignatures) {
    Buffer buf(CountingBytes(256, 100));
    Write(buf.Wide());
}

INSTANTIATE_TEST_SUITE_P(
    Some, BlockTest,
    testing::Values(BlockCase{3, 8, 0, 0, 6, 4, {0, 18, 36, 54}, 18},  // the whole image
                    BlockCase{3, 8, 2, 1, 3, 2, {24, 42}, 9},          //
                    BlockCase{3, 8, 5, 0, 1, 4, {15, 33, 51, 69}, 3},  // last column
                    BlockCase{3, 8, 2, -2, 1, 3, {6, 6, 6}, 3},        // rows above are the first
                    BlockCase{3, 8, 2, 3, 1, 3, {60, 60, 60}, 3},      // rows below are the last, again and again
                    BlockCase{3, 8, 1, 1, 2, 0, {}, 6},                // no rows
                    BlockCase{3, 8, 1, 1, 2, -3, {}, 6},               //
                    BlockCase{3, 8, 1, 1, 0, 2, {18, 36}, 0},          // no columns
                    BlockCase{1, 8, 2, 1, 3, 2, {8, 14}, 3},           //
                    BlockCase{4, 8, 1, 2, 2, 2, {52, 76}, 8},          //
                    BlockCase{3, 16, 2, 1, 3, 2, {48, 84}, 18},        //
                    BlockCase{1, 16, 1, 0, 2, 2, {2, 14}, 4},          //
                    BlockCase{4, 16, 5, 3, 1, 2, {184, 184}, 8}));

class BlockDepthTest : public testing::TestWithParam<int> {};

TEST_P(BlockDepthTest, MustBeEightOrSixteen) {
    CTiff tiff;
    Make(tiff, 6, 4, 1, GetParam());
    const Bytes before = Image(tiff);
    Buffer buf;
    EXPECT_EQ(tiff.GetRowColumn(buf.Narrow(), 0, 0, 2, 2), -1);
    EXPECT_EQ(tiff.GetRowColumn(buf.Wide(), 0, 0, 2, 2), -1);
    EXPECT_EQ(tiff.GetRowColumn(buf.Wide(), 0, 0, 2, 0), -1) << "whatever the block";
    buf.Front(0);
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 0, 0, 2, 2), -1);
    EXPECT_EQ(tiff.SetRowColumn(buf.Wide(), 0, 0, 2, 2), -1);
    EXPECT_EQ(Image(tiff), before);
}

INSTANTIATE_TEST_SUITE_P(Some, BlockDepthTest, testing::Values(1, 2, 4, 7, 9, 12, 32));

TEST(BlockClampTest, WritingClampsColumns) {
    CTiff tiff;
    Make(tiff, 6, 4, 3, 8);
    Bytes expected = Image(tiff);
    Buffer buf(CountingBytes(16, 100));
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 9, 1, 1, 1), 0);
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), -4, 2, 1, 1), 0);
    for (std::size_t i = 0; i < 3; ++i) {
        expected[33 + i] = static_cast<unsigned char>(100 + i);
        expected[36 + i] = static_cast<unsigned char>(100 + i);
    }
    EXPECT_EQ(Image(tiff), expected);
}

TEST(BlockClampTest, WritingBeyondARowGoesOnInTheNextButNotBeyondTheImage) {
    CTiff tiff;
    Make(tiff, 6, 4, 1, 8);
    Buffer buf(CountingBytes(16, 100));
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 4, 0, 4, 1), 0);
    EXPECT_EQ(Part(Image(tiff), 3, 6), (Bytes{3, 100, 101, 102, 103, 8}));
    EXPECT_EQ(tiff.SetRowColumn(buf.Narrow(), 4, 3, 4, 1), 0);
    EXPECT_EQ(Part(Image(tiff), 21, 3), (Bytes{21, 100, 101})) << "the rest has no place";
}

TEST(BlockClampTest, ReadingItemsOfTheOtherWidthCountsColumnsInItems) {
    // The start is x times samples in items of the buffer's type, the length in bytes of the image's depth.
    CTiff wide;
    Make(wide, 6, 2, 1, 16);
    Buffer buf;
    EXPECT_EQ(wide.GetRowColumn(buf.Narrow(), 2, 1, 1, 1), 0);
    EXPECT_EQ(buf.Front(2), CountingBytes(2, 12 + 2));
    CTiff narrow;
    Make(narrow, 6, 2, 1, 8);
    Buffer other;
    EXPECT_EQ(narrow.GetRowColumn(other.Wide(), 2, 1, 2, 1), 0);
    EXPECT_EQ(other.Front(2), CountingBytes(2, 6 + 4));
}

TEST(BlockClampTest, ReadingColumnsOutsideARowNeverWritesBeyondTheBlock) {
    CTiff tiff;
    Make(tiff, 6, 4, 3, 8);
    for (const int x : {-2147483647 - 1, -3, -1, 4, 5, 6, 50, 2147483647}) {
        Buffer buf;
        EXPECT_EQ(tiff.GetRowColumn(buf.Narrow(), x, 3, 4, 2), 0);
        buf.Front(24);
    }
}

TEST(BlockClampTest, ReadingColumnsTakesWhatTheRowHas) {
    CTiff tiff;
    Make(tiff, 6, 4, 3, 8);
    Buffer buf;
    tiff.GetRowColumn(buf.Narrow(), 5, 1, 2, 1);
    EXPECT_EQ(Part(buf.Front(6), 0, 3), CountingBytes(3, 33));
    EXPECT_EQ(Part(buf.Front(6), 3, 3), Bytes(3, kUntouched));
}

}  // namespace
}  // namespace hueweave::test
