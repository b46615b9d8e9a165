// SPDX-License-Identifier: MIT
// The four ways to read an image: one chunky strip, several strips joined in one buffer, bit planes, and planes packed
// into pixels.
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

TEST(ReadImage, ReadsOnlyTheFirstStripInAOneStripFile) {
    ExpectRead("two strips", TwoOfOneStrip());
    ExpectRead("two SHORTs in the entry", TwoOfOneStrip(3));
    ExpectRead("far offsets", TwoOfOneStrip().GapBeforeStrips(65536));
}

TEST(ReadImage, KeepsPlanesOfBitsFromTheFirstOffset) {
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

TEST(ReadImage, KeepsTheOtherTagsOfAFormatAndIgnoresThem) {
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

TEST(ReadImage, ReadsTheLengthInTag279UpToTwiceTheFileAnd8MiB) {
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

TEST(ReadImage, PacksPlanesUnlessTheyHoldBits) {
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

/// 2 x 3 pixels of 3 bytes, one row per strip.
TiffBuilder ThreeStrips(unsigned offsetType = 4, unsigned countType = 4) {
    TiffBuilder tiff;
    tiff.Shape(2, 3, 3, 8).Long(278, 1).StripOffsets(offsetType).StripByteCounts(countType);
    return tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 101)).Strip(CountingBytes(6, 201));
}
/// 2 x 2 pixels of 3 bytes, one row per strip, without the arrays.
TiffBuilder TwoRows() {
    TiffBuilder tiff;
    return tiff.Shape(2, 2, 3, 8).Long(278, 1);
}

TEST(ReadMultiStripOffset, UsesTheCountedItemsOfACallersArray) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 3, 3, {2, 0, 0, 0, 4, 0}));
    tiff.tags.push_back(Adopting(279, 1, 1, {1, 2, 3, 4, 5}));
    tiff.GetTag(Sig(279))->count = 5;
    const FileHandle stream = StreamOf(CountingBytes(20));
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0);
    EXPECT_EQ(Image(tiff), (Bytes{3, 1, 2, 5, 6, 7}));
    Tiff empty;
    EXPECT_EQ(empty.ReadMultiStripOffset(stream.get()), 0) << "no tags, nothing to do";
    EXPECT_TRUE(empty.tags.empty());
}

// Every other file is read as the reference reads it.

TEST(ReadMultiStripOffset, PutsATotalAboveSixteenBitsIntoAShort) {
    TiffBuilder file;
    file.Shape(200, 200, 3, 8).Long(278, 100).StripOffsets().StripByteCounts();
    ExpectRead("two strips", file.Strip(CountingBytes(60000)).Strip(CountingBytes(60000, 7)));
}

TEST(ReadMultiStripOffset, FollowsTheArraysByTheirDeclaredType) {
    ExpectRead("strips backwards", ThreeStrips().StripsBackwards());
    for (const unsigned offsets : {1U, 3U, 4U}) {
        for (const unsigned counts : {1U, 3U, 4U}) {
            const std::string name = "types " + std::to_string(offsets) + " and " + std::to_string(counts);
            ExpectRead(name, ThreeStrips(offsets, counts));
            // The arrays of one or two strips can fit in the IFD entry; from five strips on, byte arrays lie outside it
            // too.
            for (const std::size_t strips : {1U, 2U, 6U}) {
                TiffBuilder file;
                file.Shape(2, 6, 1, 8).Long(278, 9).StripOffsets(offsets).StripByteCounts(counts);
                for (std::size_t i = 0; i < strips; ++i) file.Strip(CountingBytes(i * i, 10));
                ExpectRead(name + ", " + std::to_string(strips) + " strips", file);
            }
        }
    }
    // All other types count as 32-bit words: the eight bytes of a RATIONAL are two. The count of tag 273 still bounds
    // the strips.
    for (const unsigned type : {0U, 2U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 14U, 200U}) {
        const std::uint32_t count = type < 14 && kWidths[type] == 8 ? 2 : 4;
        TiffBuilder file = TwoRows();
        file.Data(273, type, count, ByteWriter().Little32(60).Little32(66).Little32(0).Little32(0).Done());
        file.Data(279, type, count, ByteWriter().Little32(6).Little32(5).Little32(0).Little32(0).Done());
        ExpectRead("type " + std::to_string(type), file);
    }
}

TEST(ReadMultiStripOffset, ReadsAsManyStripsAsTheShorterArrayHas) {
    ExpectRead("more offsets", TwoRows().Longs(273, {8, 14, 20}).Longs(279, {6, 6}));
    ExpectRead("more byte counts", TwoRows().Longs(273, {8, 14}).Longs(279, {6, 6, 6}));
    ExpectRead("counts of 0", TwoRows().Entry(273, 4, 0, 77).Entry(279, 4, 0, 88));
    ExpectRead("offsets of an unknown type", TwoRows().Entry(273, 14, 2, 8).Entry(279, 4, 1, 6));
    ExpectRead("lost offsets", TwoRows().Entry(273, 4, 100000, 8).Longs(279, {6, 6}));
    ExpectRead("lost byte counts", TwoRows().Longs(273, {8, 14}).Entry(279, 4, 0x10000000, 8));
    ExpectRead("no byte counts", TwoRows().Longs(273, {8}).Strip(CountingBytes(6)));
    ExpectRead("no offsets", TwoRows().StripByteCounts().Strip(CountingBytes(6)).Strip(CountingBytes(6)));
}

TEST(ReadMultiStripOffset, IsUsedIfRowsPerStripIsNotTheHeight) {
    const TiffBuilder oneStrip = TiffBuilder().StripOffsets().StripByteCounts().Strip(CountingBytes(12));
    const TiffBuilder twoStrips = TiffBuilder().StripOffsets().StripByteCounts().Strip({1}).Strip({2});
    ExpectRead("no tag 278", TiffBuilder(oneStrip).Shape(2, 2, 3, 8));
    ExpectRead("neither", TiffBuilder(oneStrip).Long(256, 2));
    ExpectRead("no height", TiffBuilder(twoStrips).Long(256, 2).Long(278, 5));
    ExpectRead("a height above 16 bits", TiffBuilder(twoStrips).Shape(1, 70000, 1, 8).Short(278, 1));
    for (const std::uint32_t rows : {0U, 1U, 3U, 0xffffffffU}) {  // the last: written by many programs for one strip
        for (const unsigned type : {3U, 4U}) {
            TiffBuilder file;
            file.Shape(2, 2, 3, 8).Long(278, rows).StripOffsets(type).StripByteCounts(type).Strip(CountingBytes(12));
            ExpectRead(std::to_string(rows) + " rows", file);
        }
    }
}

TEST(ReadMultiStripOffset, ReadsTwiceTheFileAnd8MiBAtMost) {
    const auto file = [](std::uint32_t second) { return TwoRows().Longs(273, {8, 8}).Longs(279, {1000, second}); };
    const auto limit = static_cast<std::uint32_t>(2 * file(0).Build().size() + (8U << 20));
    // The sum for the last value is 999 in 32 bits: the bound uses the full sum.
    for (const std::uint32_t second : {limit - 1000, limit - 999, 0x80000000U, 0xffffffffU}) {
        ExpectRead(std::to_string(second) + " bytes", file(second));
    }
}

/// Strips anywhere: inside the file, across its end, at it, far past it, and at negative offsets, which continue where
/// the previous read ended.
TiffBuilder Scattered(std::size_t strips, std::size_t trailer, bool firstIsNegative) {
    const auto build = [&](const std::vector<std::uint32_t>& offsets, const std::vector<std::uint32_t>& sizes) {
        TiffBuilder file;
        file.Shape(1, static_cast<std::uint32_t>(strips), 1, 8).Long(278, 1).Longs(273, offsets).Longs(279, sizes);
        return file.Trailer(CountingBytes(trailer));
    };
    std::vector<std::uint32_t> offsets(strips), sizes(strips);
    const auto end = static_cast<std::uint32_t>(build(offsets, sizes).Build().size());
    const std::uint32_t places[] = {end - 3000, 0xffffffffU, end - 3,      0x80000000U, end,         0xffffffffU,
                                    end - 1,    0xfffffffeU, end + 100000, 0x80000001U, 0x7fffffffU, 0x80000000U,
                                    8};
    for (std::size_t i = 0; i < strips; ++i) {
        offsets[i] = places[(i + (firstIsNegative ? 1 : 0)) % std::size(places)];
        sizes[i] = static_cast<std::uint32_t>(i * 37 % 500);
    }
    return build(offsets, sizes);
}

TEST(ReadMultiStripOffset, ReadsFromTheStreamPositionAtANegativeOffset) {
    // Few strips and many, in a small file and in a large one, are read by different methods.
    for (const std::size_t strips : {20U, 64U, 65U, 500U}) {
        for (const std::size_t trailer : {std::size_t{5000}, std::size_t{5} << 20}) {
            for (const bool firstIsNegative : {false, true}) {
                ExpectRead(testing::PrintToString(std::tuple(strips, trailer, firstIsNegative)),
                           Scattered(strips, trailer, firstIsNegative));
            }
        }
    }
}

TEST(Pack, LeavesPlanesOfSeveralStripsAsTheyAre) {
    for (const auto& [samples, bits] :
         {std::pair{3U, 8U}, {3U, 16U}, {4U, 8U}, {5U, 16U}, {2U, 16U}, {1U, 8U}, {3U, 1U}}) {
        std::vector<Bytes> strips;
        for (unsigned i = 0; i < 2 * samples; ++i) strips.push_back(CountingBytes(bits, 20 * i));  // of 8 columns
        ExpectRead(testing::PrintToString(std::pair(samples, bits)), PlanarTiff(8, 2, samples, bits, 1, strips));
    }
}

TEST(Pack, TakesThreePlanesForThreeSamplesElseFour) {
    for (const unsigned bits : {8U, 16U}) {
        TiffBuilder planes;
        planes.Long(256, 2).Long(257, 1).Short(258, bits).Long(278, 1).StripOffsets().StripByteCounts().Short(284, 2);
        for (unsigned i = 0; i < 7; ++i) planes.Strip(CountingBytes(4, 4 * i));
        ExpectRead("no number of " + std::to_string(bits) + " bits", planes);
        for (const unsigned samples : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 259U, 65539U}) {
            ExpectRead(testing::PrintToString(std::pair(samples, bits)), TiffBuilder(planes).Long(277, samples));
        }
    }
}

TEST(Pack, FillsMissingDataWithZerosAndReturnsNothingWithoutPixels) {
    ExpectRead("half a sample", PlanarTiff(2, 2, 3, 16, 2, {{1, 2, 3}, {4}, {5}}));
    for (const auto& [width, height] : {std::pair{0U, 4U}, {4U, 0U}, {~0U, 4U}, {4U, ~0U}, {~1U, ~1U}, {3U, 2U}}) {
        ExpectRead(testing::PrintToString(std::pair(width, height)),
                   PlanarTiff(width, height, 3, 8, height, {{1, 2}, {3, 4}, {5, 6}}));
    }
}

TEST(Pack, ReadsOnlyWhatThePixelsNeedOfACallersPlanes) {
    Tiff tiff, empty;
    tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(6)));
    tiff.AddTags(Word(3, 277), 1, 3, nullptr);
    EXPECT_EQ(tiff.Pack<unsigned char>(2, 1), 0);
    EXPECT_EQ(Image(tiff), (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(empty.Pack<unsigned char>(2, 1), 0);
    EXPECT_TRUE(empty.tags.empty());
}

TEST(Pack, AllocatesTwiceThePlanesAnd8MiBAtMost) {
    // 3 planes x 2 bytes: 8 MiB + 2 x 20 bytes hold 1,398,108 pixels. The byte count for the last one is 720,866 in 64
    // bits.
    constexpr int most = ((8 << 20) + 40) / 6;
    for (const auto& [width, height] :
         {std::pair{most, 1}, {most + 1, 1}, {65536, 65536}, {0x7fffffff, 0x7fffffff}, {2147450883, 1431677609}}) {
        Tiff tiff;
        tiff.tags.push_back(Made(273, 4, 1, 5, CountingBytes(20)));
        tiff.AddTags(Word(3, 277), 1, 3, nullptr);
        EXPECT_EQ(tiff.Pack<unsigned short>(width, height), 0);
        EXPECT_EQ(tiff.tags[0]->dataSize, width == most ? std::size_t{most} * 6 : 0U) << width << " x " << height;
        EXPECT_EQ(tiff.tags[0]->GetData() == nullptr, width != most);
    }
}

}  // namespace
}  // namespace hueweave::test
