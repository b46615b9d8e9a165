// SPDX-License-Identifier: MIT
// Several strips that are joined in one buffer, and planes that are packed into pixels.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

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

TEST(ReadStrips, TakesAsManyItemsOfACallersArrayAsItCounts) {
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

TEST(ReadStrips, PutsATotalAboveSixteenBitsIntoAShort) {
    TiffBuilder file;
    file.Shape(200, 200, 3, 8).Long(278, 100).StripOffsets().StripByteCounts();
    ExpectRead("two strips", file.Strip(CountingBytes(60000)).Strip(CountingBytes(60000, 7)));
}

TEST(ReadStrips, FollowsTheArraysByTheirDeclaredType) {
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

TEST(ReadStrips, TakesAsManyAsTheShorterArrayHas) {
    ExpectRead("more offsets", TwoRows().Longs(273, {8, 14, 20}).Longs(279, {6, 6}));
    ExpectRead("more byte counts", TwoRows().Longs(273, {8, 14}).Longs(279, {6, 6, 6}));
    ExpectRead("counts of 0", TwoRows().Entry(273, 4, 0, 77).Entry(279, 4, 0, 88));
    ExpectRead("offsets of an unknown type", TwoRows().Entry(273, 14, 2, 8).Entry(279, 4, 1, 6));
    ExpectRead("lost offsets", TwoRows().Entry(273, 4, 100000, 8).Longs(279, {6, 6}));
    ExpectRead("lost byte counts", TwoRows().Longs(273, {8, 14}).Entry(279, 4, 0x10000000, 8));
    ExpectRead("no byte counts", TwoRows().Longs(273, {8}).Strip(CountingBytes(6)));
    ExpectRead("no offsets", TwoRows().StripByteCounts().Strip(CountingBytes(6)).Strip(CountingBytes(6)));
}

TEST(ReadStrips, IsTakenWhereRowsPerStripIsNotTheHeight) {
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

TEST(ReadStrips, TakesTwiceTheFileAndEightMiBAtTheMost) {
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

TEST(ReadStrips, ReadsOnFromWhereTheStreamStandsAtANegativeOffset) {
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

TEST(Pack, HasZerosForWhatThePlanesDoNotHoldAndNothingWithoutPixels) {
    ExpectRead("half a sample", PlanarTiff(2, 2, 3, 16, 2, {{1, 2, 3}, {4}, {5}}));
    for (const auto& [width, height] : {std::pair{0U, 4U}, {4U, 0U}, {~0U, 4U}, {4U, ~0U}, {~1U, ~1U}, {3U, 2U}}) {
        ExpectRead(testing::PrintToString(std::pair(width, height)),
                   PlanarTiff(width, height, 3, 8, height, {{1, 2}, {3, 4}, {5, 6}}));
    }
}

TEST(Pack, TakesAsMuchOfACallersPlanesAsThePixelsNeed) {
    Tiff tiff, empty;
    tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(6)));
    tiff.AddTags(Word(3, 277), 1, 3, nullptr);
    EXPECT_EQ(tiff.Pack<unsigned char>(2, 1), 0);
    EXPECT_EQ(Image(tiff), (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(empty.Pack<unsigned char>(2, 1), 0);
    EXPECT_TRUE(empty.tags.empty());
}

TEST(Pack, MakesTwiceThePlanesAndEightMiBAtTheMost) {
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
