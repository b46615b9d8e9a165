// SPDX-License-Identifier: MIT
// The four ways to read an image: one chunky strip, several strips, bit planes, and planes packed into pixels.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(ReadImage, CanBeCalledAlone) {
    const Bytes file = ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build();
    const FileHandle stream = StreamOf(file);
    TiffOf tiff(file);
    tiff.GetTag(Sig(273))->Allocate(1);
    EXPECT_EQ(tiff.ReadImage(stream.get()), 0);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    Tiff empty;
    EXPECT_EQ(empty.ReadImage(stream.get()), 0);
    EXPECT_TRUE(empty.tags.empty());
}

// Every other file is read as the reference reads it.

/// RowsPerStrip gives one strip, the arrays give two.
TiffBuilder TwoOfOneStrip(unsigned offsetType = 4) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets(offsetType).StripByteCounts();
    return tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 50));
}

TEST(ReadImage, TakesTheFirstAloneOfSeveralStripsInAOneStripFile) {
    ExpectRead("two strips", TwoOfOneStrip());
    ExpectRead("two SHORTs in the entry", TwoOfOneStrip(3));
    ExpectRead("far offsets", TwoOfOneStrip().GapBeforeStrips(65536));
}

TEST(ReadImage, LeavesPlanesOfBitsAsTheyAreFromTheFirstOffsetOn) {
    ExpectRead("far planes", PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}).GapBeforeStrips(65536));
    ExpectRead("one far plane", PlanarTiff(8, 2, 1, 1, 2, {{1, 2}}).GapBeforeStrips(70000));
    for (const std::uint32_t width : {7U, 8U, 15U, 16U}) {  // rows are rounded down to whole bytes
        ExpectRead(std::to_string(width) + " columns",
                   PlanarTiff(width, 2, 3, 1, 2, {CountingBytes(4), CountingBytes(4, 5), CountingBytes(4, 9)}));
    }
    // 32 x 0x0fffffff x 8 leaves 0xffffff00 bytes, 32 x 0x08000000 none, 32 x 0x08000001 leaves 32.
    for (const auto& [width, samples] : {std::pair{0x7ffffff8U, 8U}, {0x40000000U, 1U}, {0x40000008U, 1U}, {16U, 0U}}) {
        TiffBuilder bits;
        bits.Long(256, width).Long(257, 32).Short(258, 1).Short(277, samples).Long(278, 32);
        bits.StripOffsets().StripByteCounts().Short(284, 2).Strip(CountingBytes(9));
        ExpectRead(std::to_string(width) + " columns of bits", bits);
    }
}

/// 2 x 2 pixels of 3 bytes in one strip; the caller adds tag 279.
TiffBuilder OneStrip(const Bytes& strip = CountingBytes(12)) {
    TiffBuilder tiff;
    return tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Strip(strip);
}

/// A file that is read in one of the four ways, with 4 x 2 pixels of 3 samples, or 16 x 2 pixels of bit planes.
TiffBuilder FileOf(const std::string& way) {
    const bool bits = way == "bitmap";
    TiffBuilder tiff;
    tiff.Long(256, bits ? 16 : 4).Long(257, 2).Shorts(258, std::vector<std::uint32_t>(3, bits ? 1 : 8));
    tiff.Short(277, 3).Long(278, way == "strips" ? 1 : 2).StripOffsets(3).StripByteCounts();
    tiff.Short(284, way == "chunky" ? 1 : 2);
    const unsigned strips = way == "chunky" ? 1 : way == "strips" ? 6 : 3, bytes = bits ? 12 : 24;
    for (unsigned i = 0; i < strips; ++i) tiff.Strip(CountingBytes(bytes / strips, bytes / strips * i + 1));
    return tiff;
}

TEST(ReadImage, CarriesTheOtherTagsOfAFormatAndObeysNone) {
    for (const char* way : {"chunky", "strips", "bitmap", "planes"}) {
        for (const auto& [photometric, compression] :
             {std::pair{0U, 1U}, {1U, 5U}, {3U, 7U}, {4U, 8U}, {5U, 32773U}, {6U, 7U}, {8U, 5U}, {65535U, 65535U}}) {
            TiffBuilder file = FileOf(way);
            file.Short(262, photometric).Short(259, compression).Short(266, 2).Short(274, 8).Short(296, 3);
            file.Short(317, 2).Long(322, 16).Long(323, 16).Longs(324, {8, 8}).Longs(325, {1, 1}).Short(338, 2);
            ExpectRead(way + (", compression " + std::to_string(compression)),
                       file.Shorts(339, {3, 3, 3}).Short(254, 1));
        }
    }
    const TiffBuilder noOffsets = TiffBuilder().Shape(2, 2, 3, 8).Long(278, 2).StripByteCounts().Strip({1});
    ExpectRead("no offsets", noOffsets);
    ExpectRead("no offsets of planes", TiffBuilder(noOffsets).Short(284, 2));
    ExpectRead("tiles", TiffBuilder().Shape(16, 16, 1, 8).Long(322, 16).Long(323, 16).Long(324, 8));
}

TEST(ReadImage, OfOneStripIsAsLongAsTag279SaysUpToTwiceTheFileAnd8MiB) {
    ExpectRead("no count", OneStrip());
    ExpectRead("a gap", OneStrip().Long(279, 12).GapBeforeStrips(13));
    ExpectRead("a SHORT of more bits", OneStrip(CountingBytes(70000)).Entry(279, 3, 1, 65541));
    ExpectRead("16 bits", ChunkyTiff(1, 1, 3, 16, {0x34, 0x12, 0xfe, 0xff, 0x01, 0x00}));
    // Four bytes, not 2 x (12 >> 3).
    ExpectRead("bits", TiffBuilder().Shape(12, 2, 1, 1).Long(278, 2).StripOffsets().Long(279, 4));
    const auto limit = static_cast<std::uint32_t>(2 * OneStrip().Long(279, 0).Build().size() + (8U << 20));
    for (const std::uint32_t n : {0U, 1U, 11U, 12U, 20U, limit, limit + 1, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        ExpectRead(std::to_string(n) + " bytes", OneStrip().Long(279, n));
    }
}

TEST(ReadImage, TakesSixteenBitsOfTheFirstItemOfAnArray) {
    const std::uint32_t place = 10 + 12 * 11 + 4 + 6 + 16;
    for (const std::uint32_t announced : {65541U, 65536U, 65535U, 0xffff0002U}) {
        TiffBuilder file;
        file.Shape(4, 4, 3, 8).Long(278, 4).Longs(279, {announced, 9}).Short(284, 1);
        file.Longs(273, {place, place}).Long(40000, 1).Trailer(CountingBytes(70000));
        ExpectRead(std::to_string(announced) + " bytes", file);
    }
    TiffBuilder all;
    all.Longs(256, {0x00070002, 9}).Longs(257, {0x00050001, 9}).Shorts(258, {8, 16, 16}).Shorts(277, {3, 4, 4});
    all.Longs(278, {0x00010001, 9}).StripOffsets().StripByteCounts().Shorts(284, {2, 1, 1});
    ExpectRead("every tag", all.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}));
}

TEST(ReadImage, OfPlanesIsPackedUnlessTheyHoldBits) {
    const auto expect = [](const std::vector<std::uint32_t>& depths, unsigned planar) {
        TiffBuilder tiff;
        tiff.Long(256, 16).Long(257, 2).Short(277, 3).Long(278, 2).StripOffsets().StripByteCounts().Short(284, planar);
        if (!depths.empty()) tiff.Shorts(258, depths);
        tiff.Strip(CountingBytes(64)).Strip(CountingBytes(64, 5)).Strip(CountingBytes(64, 9));
        ExpectRead(testing::PrintToString(std::pair(depths, planar)), tiff);
    };
    expect({}, 2);
    for (const unsigned bits : {1U, 2U, 4U, 8U, 12U, 16U, 32U}) {
        expect({bits, bits, bits}, 2);
        // Two depths inside the IFD entry give 0, so byte planes and bit planes are packed as 16-bit samples.
        expect({bits, bits}, 2);
    }
    for (const unsigned planar : {0U, 1U, 3U, 65535U}) {
        expect({1, 1, 1}, planar);
        expect({8, 8, 8}, planar);
    }
}

TEST(ReadImage, PacksNoMorePixelsThanAnImageOfItsFileMayHave) {
    ExpectRead("no height", PlanarTiff(2, 0, 3, 8, 0, {{1, 2}, {3, 4}, {5, 6}}));
    for (const auto& [samples, bits] : {std::pair{3U, 8U}, {4U, 16U}}) {
        const auto file = [samples = samples, bits = bits](std::uint32_t width) {
            TiffBuilder tiff;
            tiff.Shape(width, 1, samples, bits).Long(278, 1).Longs(273, std::vector<std::uint32_t>(samples, 8));
            return tiff.Longs(279, std::vector<std::uint32_t>(samples, 1U << 20)).Short(284, 2);
        };
        const auto most = static_cast<std::uint32_t>((2 * file(1).Build().size() + (8U << 20)) / (samples * bits / 8));
        for (const std::uint32_t width : {0U, most, most + 1}) {
            ExpectRead(std::to_string(width) + " columns", file(width));
        }
    }
}

}  // namespace
}  // namespace hueweave::test
