// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(OneStripTest, BytesComeAsTheyStand) {
    Tiff tiff;
    ReadFrom(tiff, ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).GapBeforeStrips(13).Build());
    EXPECT_EQ(Image(tiff), CountingBytes(45));
    EXPECT_EQ(FieldsOf(tiff, 273).type, 4);
    EXPECT_EQ(FieldsOf(tiff, 273).count, 1U);
}

TEST(OneStripTest, SixteenBitSamplesStayLittleEndian) {
    const Bytes pixels = ByteWriter().Little16(0x1234).Little16(0xfffe).Little16(0x0001).Done();
    Tiff tiff;
    ReadFrom(tiff, ChunkyTiff(1, 1, 3, 16, pixels).Build());
    EXPECT_EQ(Image(tiff), (Bytes{0x34, 0x12, 0xfe, 0xff, 0x01, 0x00}));
    EXPECT_EQ(Saved(tiff), ChunkyTiff(1, 1, 3, 16, pixels).Build());
}

class CompressionTest : public testing::TestWithParam<unsigned> {};

TEST_P(CompressionTest, IsKeptAndNeverUndone) {
    TiffBuilder tiff;
    tiff.Long(256, 4).Long(257, 4).Shorts(258, {8, 8, 8}).Short(259, GetParam()).Short(277, 3).Long(278, 4);
    tiff.StripOffsets().StripByteCounts().Short(317, 2).Strip(CountingBytes(17, 0x80));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(17, 0x80)) << "the compressed bytes";
    EXPECT_EQ(read.GetTagValue(Sig(259)), static_cast<int>(GetParam()));
    EXPECT_EQ(Saved(read), tiff.Build());
}

INSTANTIATE_TEST_SUITE_P(Some, CompressionTest, testing::Values(1, 5, 7, 8, 32773));

TEST(OneStripTest, ByteCountAloneDecidesTheLength) {
    for (const std::uint32_t n : {0U, 1U, 11U, 12U}) {
        TiffBuilder tiff;
        tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Long(279, n).Strip(CountingBytes(12));
        Tiff read;
        ReadFrom(read, tiff.Build());
        EXPECT_EQ(Image(read), CountingBytes(n));
    }
}

TEST(OneStripTest, BytesBehindTheFileAreZero) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Long(279, 20).Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    Bytes expected = CountingBytes(12);
    expected.resize(20, 0);
    EXPECT_EQ(Image(read), expected);
}

TEST(OneStripTest, LengthIsBoundedByTwiceTheFileAndEightMiB) {
    const auto file = [](std::uint32_t n) {
        TiffBuilder tiff;
        return tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Long(279, n).Strip(CountingBytes(12)).Build();
    };
    const auto limit = static_cast<std::uint32_t>(2 * file(0).size() + (8U << 20));
    Tiff read;
    ReadFrom(read, file(limit));
    EXPECT_EQ(read.GetTag(Sig(273))->dataSize, limit);
    for (const std::uint32_t n : {limit + 1, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        Tiff none;
        EXPECT_EQ(ReadFrom(none, file(n)), 0);
        EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr) << n;
        EXPECT_EQ(static_cast<std::uint32_t>(none.GetTagValue(Sig(279))), n) << "the tag stays";
    }
}

TEST(OneStripTest, WithoutByteCountsIsEmpty) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(read.GetTag(Sig(279)), nullptr) << "none is added";
}

TEST(OneStripTest, WithoutOffsetsThereIsNoImage) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripByteCounts().Strip(CountingBytes(12));
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(read.GetTag(Sig(273)), nullptr);
    EXPECT_EQ(read.GetTagValue(Sig(279)), 12);
}

TEST(OneStripTest, PlanarValueOfOneOrNoneIsChunky) {
    for (const unsigned planar : {0U, 1U}) {
        TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Short(284, planar);
        Tiff read;
        ReadFrom(read, tiff.Build());
        EXPECT_EQ(Image(read), CountingBytes(12));
        EXPECT_EQ(FieldsOf(read, 279).type, 4) << "untouched";
        EXPECT_EQ(read.GetTagValue(Sig(284)), static_cast<int>(planar));
    }
}

TEST(OneStripTest, SeveralStripsGiveOnlyTheFirst) {
    // RowsPerStrip says one strip, the arrays say two: offset and length are the low halves of the first items.
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().StripByteCounts();
    tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 50));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(6));
    EXPECT_EQ(FieldsOf(read, 273).count, 2U) << "the entry stays";
    EXPECT_EQ(FieldsOf(read, 279).count, 2U);
}

TEST(OneStripTest, ArrayAnswersWithSixteenBitsOfTheOffset) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().StripByteCounts();
    tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 50)).GapBeforeStrips(65536);
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), Part(file, tiff.StripPlace(0) - 65536, 6));
    EXPECT_NE(Image(read), CountingBytes(6));
}

TEST(OneStripTest, TwoShortOffsetsInTheEntryAreOneNumber) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets(3).StripByteCounts().Strip(CountingBytes(6)).Strip(Bytes(6, 9));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Bytes(6, 0)) << "a place behind the file";
}

TEST(OneStripTest, LostOffsetArrayBecomesOneLong) {
    // 1,000 offsets announced, which the file cannot hold: the place is 0.
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).Entry(273, 4, 1000, 8).Long(279, 4).Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), (Bytes{0x49, 0x49, 0x2a, 0x00}));
    EXPECT_EQ(FieldsOf(read, 273).count, 1U);
    EXPECT_EQ(FieldsOf(read, 273).type, 4);
}

TEST(OneStripTest, LostByteCountsAreNone) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Entry(279, 4, 1000, 8).Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 4, 1000, 8}));
}

TEST(BitmapPlanesTest, StayPlanarAndAreReadFromTheFirstOffset) {
    TiffBuilder tiff = PlanarTiff(16, 2, 3, 1, 2, {CountingBytes(4), CountingBytes(4, 5), CountingBytes(4, 9)});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 2);
    EXPECT_EQ(FieldsOf(read, 273).count, 3U);
    EXPECT_EQ(FieldsOf(read, 279).count, 3U);
}

TEST(BitmapPlanesTest, TwoSamplesAreNotKnownAsBitmaps) {
    // Two depths in the entry answer 0, so these planes are packed as 16-bit samples of four planes.
    Tiff read;
    ReadFrom(read, PlanarTiff(16, 2, 2, 1, 2, {CountingBytes(4), CountingBytes(4, 5)}).Build());
    EXPECT_EQ(read.GetTagValue(Sig(284)), 1);
    Bytes expected{1, 2};
    expected.resize(8, 0);
    EXPECT_EQ(Part(Image(read), 0, 8), expected) << "eight bytes are four samples of the first plane only";
    EXPECT_EQ(Image(read).size(), 256U);
}

TEST(BitmapPlanesTest, WidthIsRoundedDownToWholeBytes) {
    // 15 pixels are one byte a row here: 2 rows x 1 x 3 samples.
    TiffBuilder tiff = PlanarTiff(15, 2, 3, 1, 2, {CountingBytes(4), CountingBytes(4, 5), CountingBytes(4, 9)});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(6));
}

TEST(BitmapPlanesTest, NarrowerThanAByteIsEmpty) {
    Tiff read;
    ReadFrom(read, PlanarTiff(7, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}).Build());
    EXPECT_EQ(Image(read), Bytes());
}

TEST(BitmapPlanesTest, FirstPlaneBeyondSixtyFourKiBIsReadFromAnotherPlace) {
    TiffBuilder tiff = PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}).GapBeforeStrips(65536);
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), Part(file, tiff.StripPlace(0) - 65536, 6));
}

TEST(BitmapPlanesTest, OneSampleInOneStripIsReadFromItsWholeOffset) {
    TiffBuilder tiff = PlanarTiff(8, 2, 1, 1, 2, {{1, 2}}).GapBeforeStrips(70000);
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), (Bytes{1, 2}));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 2);
}

TEST(BitmapPlanesTest, LengthWrapsInThirtyTwoBits) {
    const auto file = [](std::uint32_t width, unsigned samples) {
        TiffBuilder tiff;
        tiff.Long(256, width).Long(257, 32).Short(258, 1).Short(277, samples).Long(278, 32);
        return tiff.StripOffsets().StripByteCounts().Short(284, 2).Strip(CountingBytes(9)).Build();
    };
    Tiff none;
    ReadFrom(none, file(0x7ffffff8, 8));  // 32 x 0x0fffffff x 8 leaves 0xffffff00: too many for this file
    EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr);
    Tiff wrapped;
    ReadFrom(wrapped, file(0x40000000, 1));  // 32 x 0x08000000 = 2^32 leaves none
    EXPECT_NE(wrapped.GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(wrapped), Bytes());
    Tiff some;
    ReadFrom(some, file(0x40000008, 1));  // 32 x 0x08000001 leaves 32
    EXPECT_EQ(Image(some).size(), 32U);
}

TEST(RowsPerStripTest, MustEqualTheHeightForOneStrip) {
    // Any other value takes the way of several strips, which makes tag 279 a SHORT and sets tag 278.
    for (const std::uint32_t rows : {0U, 1U, 3U, 0xffffffffU}) {
        TiffBuilder tiff;
        tiff.Shape(2, 2, 3, 8).Long(278, rows).StripOffsets().StripByteCounts().Strip(CountingBytes(12));
        Tiff read;
        ReadFrom(read, tiff.Build());
        EXPECT_EQ(Image(read), CountingBytes(12)) << rows;
        EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 12}));
        EXPECT_EQ(read.GetTagValue(Sig(278)), 2);
    }
}

TEST(RowsPerStripTest, AbsentIsNotTheHeight) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).StripOffsets().StripByteCounts().Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(FieldsOf(read, 279).type, 3);
    EXPECT_EQ(read.GetTag(Sig(278)), nullptr) << "none is added";
}

TEST(RowsPerStripTest, AbsentWithoutHeightIsOneStrip) {
    TiffBuilder tiff;
    tiff.Long(256, 2).StripOffsets().StripByteCounts().Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(FieldsOf(read, 279).type, 4) << "0 = 0: one strip";
}

TEST(ReadImageTest, ListWithoutTagsHasNoImage) {
    Tiff tiff;
    const FileHandle stream = StreamOf(CountingBytes(30));
    EXPECT_EQ(tiff.ReadImage(stream.get()), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(ReadImageTest, OtherLayoutTagsPlayNoPart) {
    // Orientation, fill order, extra samples, sample format and tiles are carried, not obeyed.
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    tiff.Short(274, 3).Short(266, 2).Short(338, 1).Shorts(339, {3, 3, 3}).Long(322, 16).Long(323, 16);
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(Saved(read), tiff.Build());
}

TEST(ReadImageTest, TiledFileHasNoImage) {
    TiffBuilder tiff;
    tiff.Shape(16, 16, 1, 8).Long(322, 16).Long(323, 16).Long(324, 8).Long(325, 256);
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(read.GetTag(Sig(273)), nullptr);
    EXPECT_EQ(read.tags.size(), 10U);
}

}  // namespace
}  // namespace hueweave::test
