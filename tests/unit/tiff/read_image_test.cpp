// SPDX-License-Identifier: MIT
// The four ways to read the image of a file: one chunky strip, several strips, bit planes, and planes that are packed
// into pixels.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

enum class Way { Chunky, Strips, Bitmap, Planes };
constexpr Way kWays[] = {Way::Chunky, Way::Strips, Way::Bitmap, Way::Planes};
constexpr const char* kWayNames[] = {"chunky", "strips", "bitmap", "planes"};

/// A file that is read in one of the four ways, with 4 x 2 pixels of 3 samples, or 16 x 2 pixels of bit planes.
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

TEST(ReadImage, CanBeCalledAlone) {
    for (const Way way : kWays) {
        const Bytes file = FileOf(way).Build();
        const FileHandle stream = StreamOf(file);
        Tiff tiff;
        AddEntries(tiff, file, stream.get());
        EXPECT_EQ(tiff.ReadImage(stream.get()), 0);
        EXPECT_EQ(Image(tiff), Image(TiffOf(file))) << kWayNames[static_cast<int>(way)];
    }
    Tiff empty;
    const FileHandle stream = StreamOf(CountingBytes(30));
    EXPECT_EQ(empty.ReadImage(stream.get()), 0);
    EXPECT_TRUE(empty.tags.empty());
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

/// RowsPerStrip gives one strip, the arrays give two.
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

// Bit planes

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

// Every other file is read as the reference reads it.

/// 2 x 2 pixels of 3 bytes in one strip; the caller adds tag 279.
TiffBuilder OneStrip(const Bytes& strip = CountingBytes(12)) {
    TiffBuilder tiff;
    return tiff.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().Strip(strip);
}

TEST(ReadImage, CarriesTheOtherTagsOfAFormatAndObeysNone) {
    std::vector<NamedFile> files;
    for (const Way way : kWays) {
        for (const unsigned photometric : {0U, 1U, 3U, 4U, 5U, 6U, 8U, 65535U}) {
            TiffBuilder file = FileOf(way, photometric);
            file.Short(259, 5).Short(266, 2).Short(274, 8).Short(296, 3).Short(317, 2).Long(322, 16).Long(323, 16);
            file.Longs(324, {8, 8}).Longs(325, {1, 1}).Short(338, 2).Shorts(339, {3, 3, 3}).Short(254, 1);
            files.push_back({kWayNames[static_cast<int>(way)], file});
        }
    }
    const TiffBuilder noOffsets = TiffBuilder().Shape(2, 2, 3, 8).Long(278, 2).StripByteCounts().Strip({1});
    files.push_back({"no offsets", noOffsets});
    files.push_back({"no offsets of planes", TiffBuilder(noOffsets).Short(284, 2)});
    files.push_back({"tiles", TiffBuilder().Shape(16, 16, 1, 8).Long(322, 16).Long(323, 16).Long(324, 8)});
    ExpectAsReference(files);
}

TEST(ReadImage, OfOneStripIsAsLongAsTag279SaysUpToTwiceTheFileAnd8MiB) {
    std::vector<NamedFile> files{{"no count", OneStrip()},
                                 {"a gap", OneStrip().Long(279, 12).GapBeforeStrips(13)},
                                 {"a SHORT of more bits", OneStrip(CountingBytes(70000)).Entry(279, 3, 1, 65541)},
                                 {"16 bits", ChunkyTiff(1, 1, 3, 16, {0x34, 0x12, 0xfe, 0xff, 0x01, 0x00})},
                                 // Four bytes, not 2 x (12 >> 3).
                                 {"bits", TiffBuilder().Shape(12, 2, 1, 1).Long(278, 2).StripOffsets().Long(279, 4)}};
    const auto limit = static_cast<std::uint32_t>(2 * OneStrip().Long(279, 0).Build().size() + (8U << 20));
    for (const std::uint32_t n : {0U, 1U, 11U, 12U, 20U, limit, limit + 1, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        files.push_back({std::to_string(n) + " bytes", OneStrip().Long(279, n)});
    }
    ExpectAsReference(files);
}

TEST(ReadImage, TakesSixteenBitsOfTheFirstItemOfAnArray) {
    const std::uint32_t place = 10 + 12 * 11 + 4 + 6 + 16;
    std::vector<NamedFile> files{
        {"far offsets", TwoOfOneStrip().GapBeforeStrips(65536)},
        {"two SHORTs in the entry", TwoOfOneStrip(3)},
        {"far planes of bits", PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}).GapBeforeStrips(65536)},
        {"one far plane of bits", PlanarTiff(8, 2, 1, 1, 2, {{1, 2}}).GapBeforeStrips(70000)}};
    for (const std::uint32_t announced : {65541U, 65536U, 65535U, 0xffff0002U}) {
        TiffBuilder file;
        file.Shape(4, 4, 3, 8).Long(278, 4).Longs(279, {announced, 9}).Short(284, 1);
        file.Longs(273, {place, place}).Long(40000, 1).Trailer(CountingBytes(70000));
        files.push_back({std::to_string(announced) + " bytes", file});
    }
    TiffBuilder all;
    all.Longs(256, {0x00070002, 9}).Longs(257, {0x00050001, 9}).Shorts(258, {8, 16, 16}).Shorts(277, {3, 4, 4});
    all.Longs(278, {0x00010001, 9}).StripOffsets().StripByteCounts().Shorts(284, {2, 1, 1});
    files.push_back({"every tag", all.Strip({1, 2}).Strip({3, 4}).Strip({5, 6})});
    ExpectAsReference(files);
}

TEST(ReadImage, OfPlanesIsPackedUnlessTheyHoldBits) {
    const auto planes = [](const std::vector<std::uint32_t>& depths, unsigned planar) {
        TiffBuilder tiff;
        tiff.Long(256, 16).Long(257, 2).Short(277, 3).Long(278, 2).StripOffsets().StripByteCounts().Short(284, planar);
        if (!depths.empty()) tiff.Shorts(258, depths);
        return tiff.Strip(CountingBytes(64)).Strip(CountingBytes(64, 5)).Strip(CountingBytes(64, 9));
    };
    std::vector<NamedFile> files{{"no depth", planes({}, 2)}};
    for (const unsigned bits : {1U, 2U, 4U, 8U, 12U, 16U, 32U}) {
        files.push_back({std::to_string(bits) + " bits", planes({bits, bits, bits}, 2)});
        // Two depths inside the IFD entry give 0, so byte planes and bit planes are packed as 16-bit samples.
        files.push_back({std::to_string(bits) + " bits twice", planes({bits, bits}, 2)});
    }
    for (const unsigned planar : {0U, 1U, 3U, 65535U}) {
        files.push_back({"bits, tag 284 = " + std::to_string(planar), planes({1, 1, 1}, planar)});
        files.push_back({"bytes, tag 284 = " + std::to_string(planar), planes({8, 8, 8}, planar)});
    }
    // 32 x 0x0fffffff x 8 leaves 0xffffff00 bytes, 32 x 0x08000000 none, 32 x 0x08000001 leaves 32.
    for (const auto& [width, samples] : {std::pair{0x7ffffff8U, 8U}, {0x40000000U, 1U}, {0x40000008U, 1U}, {16U, 0U}}) {
        TiffBuilder bits;
        bits.Long(256, width).Long(257, 32).Short(258, 1).Short(277, samples).Long(278, 32);
        bits.StripOffsets().StripByteCounts().Short(284, 2).Strip(CountingBytes(9));
        files.push_back({std::to_string(width) + " columns of bits", bits});
    }
    ExpectAsReference(files);
}

TEST(ReadImage, PacksNoMorePixelsThanAnImageOfItsFileMayHave) {
    std::vector<NamedFile> files{{"no height", PlanarTiff(2, 0, 3, 8, 0, {{1, 2}, {3, 4}, {5, 6}})}};
    for (const auto& [samples, bits] : {std::pair{3U, 8U}, {4U, 16U}}) {
        const auto file = [samples = samples, bits = bits](std::uint32_t width) {
            TiffBuilder tiff;
            tiff.Shape(width, 1, samples, bits).Long(278, 1).Longs(273, std::vector<std::uint32_t>(samples, 8));
            return tiff.Longs(279, std::vector<std::uint32_t>(samples, 1U << 20)).Short(284, 2);
        };
        const auto most = static_cast<std::uint32_t>((2 * file(1).Build().size() + (8U << 20)) / (samples * bits / 8));
        for (const std::uint32_t width : {0U, most, most + 1}) {
            files.push_back({std::to_string(width) + " columns", file(width)});
        }
    }
    ExpectAsReference(files);
}

}  // namespace
}  // namespace hueweave::test
