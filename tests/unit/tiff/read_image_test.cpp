// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The four ways from a file to its image: one chunky strip, several strips, planes of bits, and planes that are packed.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

enum class Way { Chunky, Strips, Bitmap, Planes };
constexpr Way kWays[] = {Way::Chunky, Way::Strips, Way::Bitmap, Way::Planes};
constexpr const char* kWayNames[] = {"chunky", "strips", "bitmap", "planes"};

/// A file that goes one of the four ways, with 4 x 2 pixels of 3 samples, or 16 x 2 of bits.
TiffBuilder FileOf(Way way, unsigned photometric = 2) {
    const bool bits = way == Way::Bitmap;
    TiffBuilder tiff;
    tiff.Long(256, bits ? 16 : 4).Long(257, 2).Shorts(258, std::vector<std::uint32_t>(3, bits ? 1 : 8));
    tiff.Short(262, photometric).Short(277, 3).Long(278, way == Way::Strips ? 1 : 2);
    tiff.StripOffsets(3).StripByteCounts().Short(284, way == Way::Chunky ? 1 : 2);
    if (way == Way::Chunky) return tiff.Strip(CountingBytes(24));
    if (bits) return tiff.Strip(CountingBytes(4)).Strip(CountingBytes(4, 5)).Strip(CountingBytes(4, 9));
    if (way == Way::Planes) return tiff.Strip(CountingBytes(8)).Strip(CountingBytes(8, 9)).Strip(CountingBytes(8, 17));
    for (unsigned i = 0; i < 6; ++i) tiff.Strip(CountingBytes(4, 4 * i + 1));
    return tiff;
}

/// The image that each way makes of bytes 1, 2, 3...
Bytes ImageOf(Way way) {
    if (way == Way::Bitmap) return CountingBytes(12);
    if (way != Way::Planes) return CountingBytes(24);
    ByteWriter pixels;
    for (unsigned i = 1; i <= 8; ++i) pixels.U8(i).U8(i + 8).U8(i + 16);
    return pixels.Done();
}

TEST(ReadImage, ChangesTheTagsOfTheStripsAlone) {
    for (const Way way : kWays) {
        SCOPED_TRACE(kWayNames[static_cast<int>(way)]);
        const Bytes file = FileOf(way).Build();
        std::vector<Fields> expected = EntriesOf(file);
        for (Fields& entry : expected) {
            if (way == Way::Chunky || way == Way::Bitmap) continue;
            if (entry.tag == 273) entry = {273, 4, 1, entry.value};
            if (entry.tag == 279) entry = {279, 3, 1, 24};
            if (entry.tag == 278) entry.value = 2;
            if (entry.tag == 284 && way == Way::Planes) entry.value = 1;
        }
        const TiffOf tiff(file);
        EXPECT_EQ(AllFields(tiff), expected);
        EXPECT_EQ(Image(tiff), ImageOf(way));
        EXPECT_EQ(DataOf(tiff, 258).size(), 6U);
        EXPECT_EQ(DataOf(tiff, 279).size(), way == Way::Bitmap ? 12U : 0U) << "the counts go when strips are joined";
    }
}

TEST(ReadImage, CanBeCalledAlone) {
    for (const Way way : kWays) {
        const Bytes file = FileOf(way).Build();
        const FileHandle stream = StreamOf(file);
        Tiff tiff;
        AddEntries(tiff, file, stream.get());
        EXPECT_EQ(tiff.ReadImage(stream.get()), 0);
        EXPECT_EQ(Image(tiff), ImageOf(way)) << kWayNames[static_cast<int>(way)];
    }
    Tiff empty;
    const FileHandle stream = StreamOf(CountingBytes(30));
    EXPECT_EQ(empty.ReadImage(stream.get()), 0);
    EXPECT_TRUE(empty.tags.empty());
}

TEST(ReadImage, CarriesTheOtherTagsOfAFormatAndObeysNone) {
    for (const Way way : kWays) {
        for (const unsigned photometric : {0U, 1U, 3U, 4U, 5U, 6U, 8U, 65535U}) {
            SCOPED_TRACE(testing::Message() << kWayNames[static_cast<int>(way)] << ", photometric " << photometric);
            TiffBuilder file = FileOf(way, photometric);
            file.Short(259, 5).Short(266, 2).Short(274, 8).Short(296, 3).Short(317, 2).Long(322, 16).Long(323, 16);
            file.Longs(324, {8, 8}).Longs(325, {1, 1}).Short(338, 2).Shorts(339, {3, 3, 3}).Short(254, 1);
            const TiffOf tiff(file);
            EXPECT_EQ(Image(tiff), ImageOf(way));
            EXPECT_EQ(tiff.tags.size(), 9U + 12U);
            EXPECT_EQ(tiff.GetTagValue(Sig(262)), static_cast<int>(photometric));
            EXPECT_EQ(tiff.GetTagValue(Sig(284)), way == Way::Strips || way == Way::Bitmap ? 2 : 1);
        }
    }
}

TEST(ReadImage, TakesTheLowHalvesOfTheFirstItemsOfArrays) {
    TiffBuilder file;
    file.Longs(256, {0x00070002, 9}).Longs(257, {0x00050001, 9}).Shorts(258, {8, 16, 16}).Shorts(277, {3, 4, 4});
    file.Longs(278, {0x00010001, 9}).StripOffsets().StripByteCounts().Shorts(284, {2, 1, 1});
    const TiffOf tiff(file.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}));
    EXPECT_EQ(Image(tiff), (Bytes{1, 3, 5, 2, 4, 6}));
    // What is stored goes into the entries; the arrays behind them stay and answer as before.
    EXPECT_EQ(FieldsOf(tiff, 278), (Fields{278, 4, 2, 1}));
    EXPECT_EQ(FieldsOf(tiff, 284), (Fields{284, 3, 3, 1}));
    EXPECT_EQ(DataOf(tiff, 284), (Bytes{2, 0, 1, 0, 1, 0}));
    EXPECT_EQ(tiff.GetTagValue(Sig(284)), 2);
}

TEST(ReadImage, HasNoneWithoutOffsets) {
    const TiffOf plain(TiffBuilder().Shape(2, 2, 3, 8).Long(278, 2).StripByteCounts().Strip(CountingBytes(12)));
    EXPECT_EQ(plain.GetTag(Sig(273)), nullptr);
    EXPECT_EQ(plain.GetTagValue(Sig(279)), 12);
    const TiffOf planes(TiffBuilder().Shape(2, 2, 3, 8).Long(278, 2).StripByteCounts().Short(284, 2).Strip({1}));
    EXPECT_EQ(planes.GetTagValue(Sig(284)), 2) << "nothing is packed";
    const TiffOf tiled(TiffBuilder().Shape(16, 16, 1, 8).Long(322, 16).Long(323, 16).Long(324, 8).Long(325, 256));
    EXPECT_EQ(tiled.GetTag(Sig(273)), nullptr);
    EXPECT_EQ(tiled.tags.size(), 10U);
}

// One chunky strip

/// 2 x 2 pixels of 3 bytes in one strip, with tag 279 to come.
TiffBuilder OneStrip(const Bytes& strip = CountingBytes(12)) {
    TiffBuilder tiff;
    return tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Strip(strip);
}

TEST(ReadImage, TakesAStripAsItStands) {
    TiffOf bytes(ChunkyTiff(5, 3, 3, 8, CountingBytes(45)).GapBeforeStrips(13));
    EXPECT_EQ(Image(bytes), CountingBytes(45));
    const Bytes words = ByteWriter().Little16(0x1234).Little16(0xfffe).Little16(0x0001).Done();
    TiffOf sixteen(ChunkyTiff(1, 1, 3, 16, words));
    EXPECT_EQ(Image(sixteen), (Bytes{0x34, 0x12, 0xfe, 0xff, 0x01, 0x00}));
    EXPECT_EQ(Saved(sixteen), ChunkyTiff(1, 1, 3, 16, words).Build());
    TiffBuilder bits;
    bits.Shape(12, 2, 1, 1).Long(278, 2).StripOffsets().StripByteCounts().Short(284, 1).Strip({1, 2, 3, 4});
    EXPECT_EQ(Image(TiffOf(bits)), CountingBytes(4)) << "as many bytes as tag 279 says, not 2 x (12 >> 3)";
}

TEST(ReadImage, KeepsCompressedBytesAndNeverUndoesThem) {
    for (const unsigned compression : {1U, 5U, 7U, 8U, 32773U}) {
        TiffBuilder file;
        file.Long(256, 4).Long(257, 4).Shorts(258, {8, 8, 8}).Short(259, compression).Short(277, 3).Long(278, 4);
        file.StripOffsets().StripByteCounts().Short(317, 2).Strip(CountingBytes(17, 0x80));
        TiffOf tiff(file);
        EXPECT_EQ(Image(tiff), CountingBytes(17, 0x80)) << compression;
        EXPECT_EQ(tiff.GetTagValue(Sig(259)), static_cast<int>(compression));
        EXPECT_EQ(Saved(tiff), file.Build());
    }
}

TEST(ReadImage, TakesAsManyBytesAsTag279Says) {
    for (const std::uint32_t n : {0U, 1U, 11U, 12U, 20U}) {
        EXPECT_EQ(Image(TiffOf(OneStrip().Long(279, n))), n < 13 ? CountingBytes(n) : Padded(CountingBytes(12), n));
    }
    const TiffOf without(OneStrip());
    EXPECT_EQ(Image(without), Bytes());
    EXPECT_EQ(without.GetTag(Sig(279)), nullptr) << "none is added";
    // A SHORT whose field has more bits, as several strips leave it behind.
    EXPECT_EQ(Image(TiffOf(OneStrip(CountingBytes(70000)).Entry(279, 3, 1, 65541))), CountingBytes(65541));
}

TEST(ReadImage, TakesTwiceTheFileAndEightMiBAtTheMost) {
    const auto limit = static_cast<std::uint32_t>(2 * OneStrip().Long(279, 0).Build().size() + (8U << 20));
    EXPECT_EQ(TiffOf(OneStrip().Long(279, limit)).GetTag(Sig(273))->dataSize, limit);
    for (const std::uint32_t n : {limit + 1, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        const TiffOf none(OneStrip().Long(279, n));
        EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr) << n;
        EXPECT_EQ(static_cast<std::uint32_t>(none.GetTagValue(Sig(279))), n) << "the tag stays";
    }
}

/// RowsPerStrip says one strip, the arrays say two.
TiffBuilder TwoOfOneStrip(unsigned offsetType = 4) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets(offsetType).StripByteCounts();
    return tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 50));
}

TEST(ReadImage, TakesTheFirstAloneOfSeveralStripsInAOneStripFile) {
    const TiffOf tiff(TwoOfOneStrip());
    EXPECT_EQ(Image(tiff), CountingBytes(6));
    EXPECT_EQ(FieldsOf(tiff, 273).count, 2U) << "the entry stays";
    EXPECT_EQ(FieldsOf(tiff, 279).count, 2U);
}

TEST(ReadImage, TakesSixteenBitsOfTheFirstOfTwoOffsets) {
    TiffBuilder file = TwoOfOneStrip().GapBeforeStrips(65536);
    EXPECT_EQ(Image(TiffOf(file)), Part(file.Build(), file.StripPlace(0) - 65536, 6));
    EXPECT_NE(Image(TiffOf(file)), CountingBytes(6));
    const TiffOf shorts(TwoOfOneStrip(3));
    EXPECT_EQ(Image(shorts), Bytes(6, 0)) << "two SHORTs in the entry are one place behind the file";
    EXPECT_EQ(FieldsOf(shorts, 273).type, 3) << "and stay two";
    EXPECT_EQ(FieldsOf(shorts, 273).count, 2U);
}

TEST(ReadImage, TakesSixteenBitsOfTheFirstOfTwoByteCounts) {
    const std::uint32_t place = 10 + 12 * 11 + 4 + 6 + 16;
    for (const auto& [announced, taken] : {std::pair{65541U, 5U}, {65536U, 0U}, {65535U, 65535U}, {0xffff0002U, 2U}}) {
        TiffBuilder file;
        file.Shape(4, 4, 3, 8).Long(278, 4).Longs(279, {announced, 9}).Short(284, 1);
        file.Longs(273, {place, place}).Long(40000, 1).Trailer(CountingBytes(70000));
        const TiffOf tiff(file);
        EXPECT_THAT(Image(tiff), EqualsBytes(Part(file.Build(), place, taken))) << announced;
        EXPECT_EQ(FieldsOf(tiff, 279).count, 2U) << "the entry stays";
    }
}

// Planes of bits

TEST(ReadImage, LeavesPlanesOfBitsAsTheyAreFromTheFirstOffsetOn) {
    const auto file = [](std::uint32_t width) {
        return PlanarTiff(width, 2, 3, 1, 2, {CountingBytes(4), CountingBytes(4, 5), CountingBytes(4, 9)});
    };
    const TiffOf tiff(file(16));
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(tiff.GetTagValue(Sig(284)), 2);
    EXPECT_EQ(FieldsOf(tiff, 273).count, 3U);
    EXPECT_EQ(FieldsOf(tiff, 279).count, 3U);
    EXPECT_EQ(Image(TiffOf(file(15))), CountingBytes(6)) << "rows are rounded down to whole bytes";
    EXPECT_EQ(Image(TiffOf(file(7))), Bytes());
}

TEST(ReadImage, TakesThePlanarValuesZeroAndOneForChunkyAndAllOthersForPlanes) {
    for (const unsigned planar : {0U, 1U, 2U, 3U, 65535U}) {
        TiffBuilder bits;
        bits.Long(256, 16).Long(257, 2).Shorts(258, {1, 1, 1}).Short(277, 3).Long(278, 2).StripOffsets();
        bits.StripByteCounts().Short(284, planar);
        const TiffOf tiff(bits.Strip(CountingBytes(4)).Strip(CountingBytes(4, 5)).Strip(CountingBytes(4, 9)));
        EXPECT_EQ(Image(tiff), CountingBytes(planar < 2 ? 4 : 12)) << planar;
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), static_cast<int>(planar)) << "stays as it was";
        EXPECT_EQ(FieldsOf(tiff, 279).type, 4) << "untouched";
    }
    TiffBuilder bytes;
    bytes.Shape(2, 1, 3, 8).Long(278, 1).StripOffsets().StripByteCounts().Short(284, 3);
    const TiffOf packed(bytes.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}));
    EXPECT_EQ(Image(packed), (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(packed.GetTagValue(Sig(284)), 1);
}

TEST(ReadImage, TakesSixteenBitsOfTheFirstOffsetOfSeveralPlanesOfBits) {
    TiffBuilder three = PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}).GapBeforeStrips(65536);
    EXPECT_EQ(Image(TiffOf(three)), Part(three.Build(), three.StripPlace(0) - 65536, 6));
    const TiffOf one(PlanarTiff(8, 2, 1, 1, 2, {{1, 2}}).GapBeforeStrips(70000));
    EXPECT_EQ(Image(one), (Bytes{1, 2})) << "one sample has all of its offset";
    EXPECT_EQ(one.GetTagValue(Sig(284)), 2);
}

TEST(ReadImage, SizesPlanesOfBitsInThirtyTwoBits) {
    const auto file = [](std::uint32_t width, unsigned samples) {
        TiffBuilder tiff;
        tiff.Long(256, width).Long(257, 32).Short(258, 1).Short(277, samples).Long(278, 32);
        return tiff.StripOffsets().StripByteCounts().Short(284, 2).Strip(CountingBytes(9));
    };
    // 32 x 0x0fffffff x 8 leaves 0xffffff00: too many for this file.
    EXPECT_EQ(TiffOf(file(0x7ffffff8, 8)).GetTag(Sig(273))->GetData(), nullptr);
    // 32 x 0x08000000 = 2^32 leaves none, 32 x 0x08000001 leaves 32; no samples are none either.
    EXPECT_NE(TiffOf(file(0x40000000, 1)).GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(TiffOf(file(0x40000000, 1))), Bytes());
    EXPECT_EQ(Image(TiffOf(file(0x40000008, 1))).size(), 32U);
    EXPECT_NE(TiffOf(file(16, 0)).GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(TiffOf(file(16, 0))), Bytes());
}

// Planes that are packed

TEST(ReadImage, PacksDepthsOtherThanEightAsSixteenBits) {
    for (const unsigned bits : {0U, 2U, 4U, 12U, 16U, 32U}) {
        TiffBuilder file;
        file.Long(256, 2).Long(257, 1).Short(277, 3).Long(278, 1).StripOffsets().StripByteCounts().Short(284, 2);
        if (bits > 0) file.Shorts(258, {bits, bits, bits});
        const TiffOf tiff(file.Strip({1, 2, 3, 4}).Strip({5, 6, 7, 8}).Strip({9, 10, 11, 12}));
        EXPECT_EQ(Image(tiff), (Bytes{1, 2, 5, 6, 9, 10, 3, 4, 7, 8, 11, 12})) << bits;
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), 1);
    }
}

TEST(ReadImage, TakesTwoDepthsInTheEntryForNeitherEightNorOne) {
    // They answer 0, so planes of bytes and of bits are packed as 16-bit samples of four planes.
    const TiffOf bytes(PlanarTiff(3, 2, 2, 8, 2, {CountingBytes(6), CountingBytes(6, 7)}));
    ByteWriter expected;
    for (unsigned i = 0; i < 6; ++i) expected.U8(2 * i + 1).U8(2 * i + 2).Fill(6);
    EXPECT_EQ(Image(bytes), expected.Done());
    const TiffOf bits(PlanarTiff(16, 2, 2, 1, 2, {CountingBytes(4), CountingBytes(4, 5)}));
    EXPECT_EQ(bits.GetTagValue(Sig(284)), 1);
    EXPECT_EQ(Part(Image(bits), 0, 8), Padded({1, 2}, 8)) << "eight bytes are four samples of the first plane only";
    EXPECT_EQ(Image(bits).size(), 256U);
}

TEST(ReadImage, PacksNoMorePixelsThanAnImageOfItsFileMayHave) {
    for (const auto& [samples, bits] : {std::pair{3U, 8U}, {4U, 16U}}) {
        const auto file = [samples = samples, bits = bits](std::uint32_t width) {
            TiffBuilder tiff;
            tiff.Shape(width, 1, samples, bits).Long(278, 1).Longs(273, std::vector<std::uint32_t>(samples, 8));
            return tiff.Longs(279, std::vector<std::uint32_t>(samples, 1U << 20)).Short(284, 2);
        };
        const std::size_t limit = 2 * file(1).Build().size() + (8U << 20);
        const std::size_t pixelBytes = samples * bits / 8;
        const auto most = static_cast<std::uint32_t>(limit / pixelBytes);
        EXPECT_EQ(TiffOf(file(most)).GetTag(Sig(273))->dataSize, most * pixelBytes);
        const TiffOf none(file(most + 1));
        EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(none.GetTagValue(Sig(284)), 1);
    }
}

TEST(ReadImage, PacksNoPixelsWithoutAWidthOrAHeight) {
    for (const bool wide : {true, false}) {
        TiffBuilder file;
        wide ? file.Long(256, 2) : file.Long(257, 1).Long(278, 1);
        file.Shorts(258, {8, 8, 8}).Short(277, 3).StripOffsets().StripByteCounts().Short(284, 2);
        const TiffOf tiff(file.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}));
        EXPECT_NE(tiff.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(Image(tiff), Bytes());
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), 1);
        EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 6})) << "the sum of the strips stays";
    }
}

}  // namespace
}  // namespace hueweave::test
