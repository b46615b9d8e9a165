// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors

// Where reader and writer do not agree: a file goes in, what comes out is another, and reading that gives a third.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

Bytes Rewritten(const Bytes& file) {
    Tiff tiff;
    EXPECT_EQ(ReadFrom(tiff, file), 0);
    return Saved(tiff);
}

TEST(DisagreementTest, WriterWritesMoreEntriesThanTheReaderTakes) {
    Tiff tiff;
    for (unsigned i = 0; i < 30; ++i) tiff.AddTags(Word(4, 1000 + i), 1, i, nullptr);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntriesOf(file).size(), 30U);
    Tiff again;
    EXPECT_EQ(ReadFrom(again, file), -3);
}

TEST(DisagreementTest, WriterKeepsAnyOrderOfEntries) {
    TiffBuilder tiff;
    tiff.Long(300, 1).Long(100, 2).Long(200, 3);
    EXPECT_EQ(Rewritten(tiff.Build()), tiff.Build());
}

TEST(DisagreementTest, WriterPacksDataToOddOffsets) {
    TiffBuilder tiff;
    tiff.Undefined(1000, CountingBytes(5)).Undefined(1001, CountingBytes(7)).Undefined(1002, CountingBytes(6));
    const Bytes file = Rewritten(tiff.GapBeforeDirectory(3).Build());
    EXPECT_EQ(EntryOf(file, 1000).value, 50U);
    EXPECT_EQ(EntryOf(file, 1001).value, 55U);
    EXPECT_EQ(EntryOf(file, 1002).value, 62U);
    EXPECT_EQ(file.size(), 68U);
}

TEST(DisagreementTest, WriterMakesOneStripOfMany) {
    TiffBuilder tiff;
    tiff.Shape(1, 3, 1, 8).Long(278, 1).StripOffsets().StripByteCounts().Strip({1}).Strip({2}).Strip({3});
    const Bytes file = Rewritten(tiff.Build());
    EXPECT_EQ(EntryOf(file, 273).count, 1U);
    EXPECT_EQ(EntryOf(file, 278).value, 3U);
    EXPECT_EQ(Part(file, EntryOf(file, 273).value, 9), (Bytes{1, 2, 3}));
}

TEST(DisagreementTest, ByteCountAfterSeveralStripsIsAShortWithThirtyTwoBits) {
    TiffBuilder tiff;
    tiff.Shape(1000, 100, 1, 8).Long(278, 50).StripOffsets().StripByteCounts();
    tiff.Strip(CountingBytes(50000)).Strip(CountingBytes(50000, 9));
    const Bytes file = Rewritten(tiff.Build());
    EXPECT_EQ(EntryOf(file, 279), (Fields{279, 3, 1, 100000}));
    Tiff again;
    ReadFrom(again, file);
    EXPECT_EQ(Image(again).size(), 100000U);
}

struct SmallRow {
    unsigned type;
    std::uint32_t count;
    std::uint32_t shift;  ///< by which later offsets are too far
};
class SmallDataTest : public testing::TestWithParam<SmallRow> {};

TEST_P(SmallDataTest, AreLostAndMoveAllThatFollows) {
    const auto [type, count, shift] = GetParam();
    TiffBuilder tiff;
    tiff.Shape(2, 2, 1, 8).Long(278, 2).Entry(40000, type, count, 0x00aabbcc);
    tiff.Text(305, "words").StripOffsets().StripByteCounts().Strip(CountingBytes(4, 70));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(read.GetTagValue(Sig(40000)), 0x00aabbcc) << "the reader keeps it in the entry";
    const Bytes file = Saved(read);
    constexpr std::uint32_t kData = 14 + 12 * 11;
    EXPECT_EQ(EntryOf(file, 40000), (Fields{40000, static_cast<int>(type), count, kData}));
    EXPECT_EQ(EntryOf(file, 305).value, kData + shift);
    EXPECT_EQ(EntryOf(file, 273).value, kData + shift + 6);
    EXPECT_EQ(Part(file, kData, 100), Joined({ByteWriter().Text("words").U8(0).Done(), CountingBytes(4, 70)}))
        << "no byte stands where the offsets say";
}

INSTANTIATE_TEST_SUITE_P(Every, SmallDataTest,
                         testing::Values(SmallRow{6, 1, 1}, SmallRow{6, 4, 4}, SmallRow{7, 0, 0}, SmallRow{7, 3, 3},
                                         SmallRow{7, 4, 4}, SmallRow{8, 1, 2}, SmallRow{8, 2, 4}, SmallRow{9, 1, 4},
                                         SmallRow{9, 0, 0}),
                         [](const auto& row) {
                             return "Type" + std::to_string(row.param.type) + "Times" + std::to_string(row.param.count);
                         });

TEST(DisagreementTest, ExifDirectoryIsCutToFortyFourBytesBehindTheImage) {
    // Ten entries are announced inside, with offsets of their own: both stay as they were.
    const Bytes exif = ByteWriter().Little16(10).Append(CountingBytes(120)).Little32(0).Done();
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Exif(exif);
    const Bytes file = Rewritten(tiff.Build());
    const std::uint32_t image = EntryOf(file, 273).value;
    EXPECT_EQ(EntryOf(file, 34665).value, image + 12);
    EXPECT_EQ(Part(file, image, 1000), Joined({CountingBytes(12), Part(exif, 0, 44)}));
    EXPECT_EQ(Rewritten(file), file);
}

TEST(DisagreementTest, PlanesThatStayPlanarAreCalledPlanarWithOneOffset) {
    const std::vector<Bytes> strips{{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, {11, 12}};
    const Bytes file = Rewritten(PlanarTiff(2, 2, 3, 8, 1, strips).Build());
    EXPECT_EQ(EntryOf(file, 284).value, 2U);
    EXPECT_EQ(EntryOf(file, 273).count, 1U);
    EXPECT_EQ(Part(file, EntryOf(file, 273).value, 100), CountingBytes(12));
}

TEST(DisagreementTest, PackedPlanesAreCalledChunky) {
    const Bytes file = Rewritten(PlanarTiff(2, 1, 3, 8, 1, {{1, 2}, {3, 4}, {5, 6}}).Build());
    EXPECT_EQ(EntryOf(file, 284).value, 1U);
    EXPECT_EQ(Part(file, EntryOf(file, 273).value, 100), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST(DisagreementTest, BitmapPlanesAreWrittenAsTagDataToo) {
    // Tag 273 still counts three offsets, so its first 12 bytes, which are image, go out as its data; then the image,
    // as many bytes as the first byte count says.
    TiffBuilder tiff = PlanarTiff(32, 2, 3, 1, 2, {CountingBytes(8), CountingBytes(8, 9), CountingBytes(8, 17)});
    const Bytes file = Rewritten(tiff.Build());
    constexpr std::uint32_t kData = 14 + 12 * 10;
    // Data: 6 bytes of tag 258, 12 of tag 273, 12 of tag 279.
    EXPECT_EQ(EntryOf(file, 273), (Fields{273, 4, 3, kData + 30}));
    EXPECT_EQ(Part(file, kData + 6, 12), CountingBytes(12));
    EXPECT_EQ(Part(file, kData + 30, 100), CountingBytes(8));
    EXPECT_EQ(EntryOf(file, 279).value, kData + 18);
}

TEST(DisagreementTest, ShortBitmapImageIsFilledUpWithZerosAsTagData) {
    // 6 bytes of image, 12 announced by tag 273.
    TiffBuilder tiff = PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}});
    const Bytes file = Rewritten(tiff.Build());
    EXPECT_EQ(Part(file, 14 + 12 * 10 + 6, 12), (Bytes{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0}));
}

TEST(DisagreementTest, SixteenBitSamplesAndRowsStayAsInTheFile) {
    const Bytes pixels = CountingBytes(24);
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 16, pixels);
    EXPECT_EQ(Rewritten(tiff.Build()), tiff.Build());
}

class UnknownTypeRoundTripTest : public testing::TestWithParam<unsigned> {};

TEST_P(UnknownTypeRoundTripTest, EntryIsCarriedVerbatim) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Entry(40000, GetParam(), 9, 0x12345678);
    EXPECT_EQ(Rewritten(tiff.Build()), tiff.Build());
}

INSTANTIATE_TEST_SUITE_P(Some, UnknownTypeRoundTripTest, testing::Values(14, 15, 32768, 65535));

struct WideRow {
    unsigned type;
    std::uint32_t count;
    std::size_t bytes;
};
class WideTypeRoundTripTest : public testing::TestWithParam<WideRow> {};

TEST_P(WideTypeRoundTripTest, DataSurviveASave) {
    const auto [type, count, bytes] = GetParam();
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Data(40000, type, count, CountingBytes(bytes, 90));
    EXPECT_EQ(Rewritten(tiff.Build()), tiff.Build());
}

INSTANTIATE_TEST_SUITE_P(Some, WideTypeRoundTripTest,
                         testing::Values(WideRow{10, 2, 8}, WideRow{11, 1, 8}, WideRow{12, 1, 8}, WideRow{12, 3, 24},
                                         WideRow{13, 2, 8}));

TEST(WideTypeRoundTripTest, SignedRationalLosesItsSecondHalf) {
    // Type 10 is 4 bytes wide here: one item stays an offset in the entry, which points at nothing afterwards.
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Data(40000, 10, 1, CountingBytes(8, 90));
    const Bytes source = tiff.Build();
    const Bytes file = Rewritten(source);
    EXPECT_EQ(EntryOf(file, 40000), EntryOf(source, 40000));
    EXPECT_EQ(file.size(), source.size() - 8);
}

}  // namespace
}  // namespace hueweave::test
