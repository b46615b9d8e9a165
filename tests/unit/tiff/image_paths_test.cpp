// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The four ways to an image at the places where they part, and what each leaves in the tags.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(ReadingATiff, BeginsAtTheFilesStartWhereverTheStreamStands) {
    const FileHandle stream = StreamOf(ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    std::fseek(stream.get(), 0, SEEK_END);
    Tiff tiff;
    EXPECT_EQ(tiff.ReadTiff(stream.get()), 0);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
}

TEST(ReadingATiff, AppendsToTheListThatIsThere) {
    Tiff tiff;
    tiff.AddTags(Word(4, 40000), 1, 7, nullptr);
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 1).Build()), 0);
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 2).Build()), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{40000, 256, 256}));
}

TEST(ChunkyPath, TakesOneSampleOfOneBit) {
    TiffBuilder tiff;
    tiff.Shape(12, 2, 1, 1).Long(278, 2).StripOffsets().StripByteCounts().Short(284, 1).Strip({1, 2, 3, 4});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), (Bytes{1, 2, 3, 4})) << "as many bytes as tag 279 says, not 2 x (12 >> 3)";
    EXPECT_EQ(FieldsOf(read, 279).type, 4);
}

TEST(ChunkyPath, TakesSixteenBitsOfTheFirstByteCount) {
    const std::uint32_t place = 10 + 12 * 11 + 4 + 6 + 16;
    for (const auto& [announced, taken] : {std::pair{65541U, 5U}, {65536U, 0U}, {65535U, 65535U}, {0xffff0002U, 2U}}) {
        TiffBuilder tiff;
        tiff.Shape(4, 4, 3, 8).Long(278, 4).Longs(279, {announced, 9}).Short(284, 1);
        tiff.Longs(273, {place, place});
        tiff.Long(40000, 1);
        const Bytes file = ByteWriter().Append(tiff.Build()).Append(CountingBytes(70000)).Done();
        Tiff read;
        ReadFrom(read, file);
        EXPECT_EQ(Image(read), Part(file, place, taken)) << announced;
        EXPECT_EQ(FieldsOf(read, 279).count, 2U) << "the entry stays";
    }
}

TEST(ChunkyPath, TakesAllThirtyTwoBitsOfAnEntry) {
    // A SHORT whose field has more bits, as several strips leave it behind.
    TiffBuilder tiff;
    tiff.Shape(4, 4, 3, 8).Long(278, 4).StripOffsets().Entry(279, 3, 1, 65541).Strip(CountingBytes(70000));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(65541));
}

TEST(StripsPath, WithoutAHeightSetsRowsToNone) {
    TiffBuilder tiff;
    tiff.Long(256, 2).Short(258, 8).Short(277, 1).Long(278, 5).StripOffsets().StripByteCounts();
    tiff.Strip({1, 2}).Strip({3, 4});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(FieldsOf(read, 278), (Fields{278, 4, 1, 0}));
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 4}));
}

TEST(StripsPath, StoresTheHeightInTheEntryOfRowsWhateverItsType) {
    TiffBuilder tiff;
    tiff.Shape(1, 70000, 1, 8).Short(278, 1).StripOffsets().StripByteCounts().Strip({1}).Strip({2});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(FieldsOf(read, 278), (Fields{278, 3, 1, 70000}));
}

TEST(StripsPath, LeavesBitmapPlanesAsTheyAre) {
    TiffBuilder tiff = PlanarTiff(8, 2, 3, 1, 1, {{1}, {2}, {3}, {4}, {5}, {6}});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(6));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 2);
    EXPECT_EQ(FieldsOf(read, 273).count, 1U) << "strips were joined";
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 6}));
}

TiffBuilder Bitmap(unsigned planar, bool samples = true) {
    TiffBuilder tiff;
    tiff.Long(256, 16).Long(257, 2).Shorts(258, {1, 1, 1});
    if (samples) tiff.Short(277, 3);
    tiff.Long(278, 2).StripOffsets().StripByteCounts().Short(284, planar);
    return tiff.Strip(CountingBytes(4)).Strip(CountingBytes(4, 5)).Strip(CountingBytes(4, 9));
}

TEST(BitmapPlanesPath, BeginsAtAPlanarValueOfTwo) {
    for (const unsigned planar : {0U, 1U, 2U, 3U, 65535U}) {
        Tiff read;
        ReadFrom(read, Bitmap(planar).Build());
        EXPECT_EQ(Image(read), CountingBytes(planar < 2 ? 4 : 12)) << planar;
        EXPECT_EQ(read.GetTagValue(Sig(284)), static_cast<int>(planar)) << "stays as it was";
    }
}

TEST(BitmapPlanesPath, WithoutANumberOfSamplesIsEmpty) {
    Tiff read;
    ReadFrom(read, Bitmap(2, false).Build());
    EXPECT_NE(read.GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(read), Bytes());
}

TEST(BitmapPlanesPath, PutsExifBehindTheFirstByteCount) {
    // Both the length that is written and the place of the Exif bytes are the low half of the first count.
    TiffBuilder tiff = Bitmap(2).Exif(CountingBytes(44, 60));
    Tiff read;
    ReadFrom(read, tiff.Build());
    const Bytes file = Saved(read);
    EXPECT_EQ(EntryOf(file, 34665).value, EntryOf(file, 273).value + 4);
    EXPECT_EQ(Part(file, EntryOf(file, 273).value, 100), Joined({CountingBytes(4), CountingBytes(44, 60)}));
}

TEST(PackedPath, WithoutADepthTakesSixteenBits) {
    TiffBuilder tiff;
    tiff.Long(256, 2).Long(257, 1).Short(277, 3).Long(278, 1).StripOffsets().StripByteCounts().Short(284, 2);
    Tiff read;
    ReadFrom(read, tiff.Strip({1, 2, 3, 4}).Strip({5, 6, 7, 8}).Strip({9, 10, 11, 12}).Build());
    EXPECT_EQ(Image(read), (Bytes{1, 2, 5, 6, 9, 10, 3, 4, 7, 8, 11, 12}));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 1);
}

TEST(PackedPath, WithoutAWidthOrAHeightIsEmpty) {
    for (const bool wide : {true, false}) {
        TiffBuilder tiff;
        wide ? tiff.Long(256, 2) : tiff.Long(257, 1).Long(278, 1);
        tiff.Shorts(258, {8, 8, 8}).Short(277, 3).StripOffsets().StripByteCounts().Short(284, 2);
        Tiff read;
        ReadFrom(read, tiff.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}).Build());
        EXPECT_NE(read.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(Image(read), Bytes());
        EXPECT_EQ(read.GetTagValue(Sig(284)), 1);
        EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 6})) << "the sum of the strips stays";
    }
}

class RowWidthTest : public testing::TestWithParam<std::tuple<int, int, int, int>> {};

TEST_P(RowWidthTest, IsASignedProductOfThirtyTwoBits) {
    const auto [width, samples, bits, rowBytes] = GetParam();
    CTiff tiff;
    tiff.CreateNew(width, 0, 72, samples, bits, 0);
    EXPECT_EQ(tiff.rowBytes, rowBytes);
}

INSTANTIATE_TEST_SUITE_P(Some, RowWidthTest,
                         testing::Values(std::tuple{0x0fffffff, 1, 8, 0x0fffffff},   // 2^31 - 8 bits
                                         std::tuple{0x7fffffff, 1, 1, 0x10000000},   // rounded up
                                         std::tuple{0x10000000, 1, 8, -0x10000000},  // 2^31 bits
                                         std::tuple{0x10000000, 3, 8, -0x10000000},  // 3 x 2^31
                                         std::tuple{0x20000000, 1, 8, 0},            // 2^32
                                         std::tuple{0x20000001, 1, 8, 1}, std::tuple{0x20000001, 3, 8, 3},
                                         std::tuple{0x7fffffff, 3, 1, 0x10000000}));  // 2^31 - 3

TEST(RowCounts, AtTheEndsOfAnIntStayOnTheLastAndTheFirstRow) {
    CTiff tiff;
    tiff.CreateNew(2, 3, 72, 1, 8, 1);
    for (int i = 0; i < 6; ++i) tiff.GetImageBuf()[i] = static_cast<unsigned char>(10 + i);
    Bytes buf(10, 9);
    EXPECT_EQ(tiff.GetRowColumn(buf.data(), 0, 2147483646, 2, 4), 0);
    EXPECT_EQ(buf, (Bytes{14, 15, 14, 15, 14, 15, 14, 15, 9, 9}));
    EXPECT_EQ(tiff.GetRowColumn(buf.data(), 0, -2147483647 - 1, 2, 2), 0);
    EXPECT_EQ(Part(buf, 0, 4), (Bytes{10, 11, 10, 11}));
    Bytes source{1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(tiff.SetRowColumn(source.data(), 0, 2147483646, 2, 4), 0);
    EXPECT_EQ(Image(tiff), (Bytes{10, 11, 12, 13, 7, 8}));
    EXPECT_EQ(tiff.SetRowColumn(source.data(), 0, -2147483647 - 1, 2, 2), 0);
    EXPECT_EQ(Image(tiff), (Bytes{3, 4, 12, 13, 7, 8}));
}

TEST(RowCounts, BelowZeroCopyNothingAndComeBack) {
    CTiff tiff;
    tiff.CreateNew(4, 2, 72, 3, 8, 1);
    Bytes buf(64, 9);
    for (const int count : {-1, -8, -1000, -2147483647 - 1}) {
        EXPECT_EQ(tiff.GetRow(buf.data(), 1, count), count);
        EXPECT_EQ(tiff.PutRow(buf.data(), 1, count), count);
        EXPECT_EQ(tiff.GetRowColumn(buf.data(), 0, 0, count, 2), 0);
        EXPECT_EQ(tiff.SetRowColumn(buf.data(), 0, 0, count, 2), 0);
    }
    EXPECT_EQ(buf, Bytes(64, 9));
    EXPECT_EQ(Image(tiff), Bytes(24, 0));
}

}  // namespace
}  // namespace hueweave::test
