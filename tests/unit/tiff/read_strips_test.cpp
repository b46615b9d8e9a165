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
const Bytes kThreeStrips = Joined({CountingBytes(6), CountingBytes(6, 101), CountingBytes(6, 201)});

/// 2 x 2 pixels of 3 bytes, one row per strip, without the arrays.
TiffBuilder TwoRows() {
    TiffBuilder tiff;
    return tiff.Shape(2, 2, 3, 8).Long(278, 1);
}

TEST(ReadStrips, MakesOneOfSeveral) {
    const Bytes file = ThreeStrips().Build();
    TiffOf tiff(file);
    EXPECT_EQ(Image(tiff), kThreeStrips);
    EXPECT_EQ(FieldsOf(tiff, 273), (Fields{273, 4, 1, EntryOf(file, 273).value})) << "still the place of the array";
    EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 18})) << "SHORT, whatever the sum";
    EXPECT_EQ(tiff.GetTag(Sig(279))->GetData(), nullptr);
    EXPECT_EQ(tiff.GetTagValue(Sig(278)), 3) << "one strip of the whole height";
    TiffBuilder one;
    one.Shape(2, 3, 3, 8).Long(278, 3).StripOffsets().StripByteCounts(3).Strip(kThreeStrips);
    EXPECT_EQ(Saved(tiff), one.Build());
}

TEST(ReadStrips, PutsATotalAboveSixteenBitsIntoAShort) {
    TiffBuilder file;
    file.Shape(200, 200, 3, 8).Long(278, 100).StripOffsets().StripByteCounts();
    TiffOf tiff(file.Strip(CountingBytes(60000)).Strip(CountingBytes(60000, 7)));
    EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 120000}));
    const Bytes saved = Saved(tiff);
    EXPECT_EQ(EntryOf(saved, 279), (Fields{279, 3, 1, 120000}));
    EXPECT_THAT(Image(TiffOf(saved)), EqualsBytes(Joined({CountingBytes(60000), CountingBytes(60000, 7)})));
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

TEST(ReadStrips, ReadsOnFromWhereTheStreamStandsAtANegativeOffset) {
    TiffBuilder file;
    file.Shape(2, 3, 3, 8).Long(278, 1).Longs(273, {8, 0x80000000U, 0xffffffffU}).Longs(279, {4, 3, 5});
    EXPECT_EQ(Image(TiffOf(file)), Part(file.Build(), 8, 12)) << "straight after the strip before";
}

// Every other file is read as the reference reads it.

TEST(ReadStrips, FollowsTheArraysByTheirDeclaredType) {
    std::vector<NamedFile> files{{"strips backwards", ThreeStrips().StripsBackwards()}};
    for (const unsigned offsets : {1U, 3U, 4U}) {
        for (const unsigned counts : {1U, 3U, 4U}) {
            const std::string name = "types " + std::to_string(offsets) + " and " + std::to_string(counts);
            files.push_back({name, ThreeStrips(offsets, counts)});
            // The arrays of one or two strips can fit in the IFD entry; from five strips on, byte arrays lie outside it
            // too.
            for (const std::size_t strips : {1U, 2U, 6U}) {
                TiffBuilder file;
                file.Shape(2, 6, 1, 8).Long(278, 9).StripOffsets(offsets).StripByteCounts(counts);
                for (std::size_t i = 0; i < strips; ++i) file.Strip(CountingBytes(i * i, 10));
                files.push_back({name + ", " + std::to_string(strips) + " strips", file});
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
        files.push_back({"type " + std::to_string(type), file});
    }
    ExpectAsReference(files);
}

TEST(ReadStrips, TakesAsManyAsTheShorterArrayHas) {
    ExpectAsReference({{"more offsets", TwoRows().Longs(273, {8, 14, 20}).Longs(279, {6, 6})},
                       {"more byte counts", TwoRows().Longs(273, {8, 14}).Longs(279, {6, 6, 6})},
                       {"counts of 0", TwoRows().Entry(273, 4, 0, 77).Entry(279, 4, 0, 88)},
                       {"offsets of an unknown type", TwoRows().Entry(273, 14, 2, 8).Entry(279, 4, 1, 6)},
                       {"lost offsets", TwoRows().Entry(273, 4, 100000, 8).Longs(279, {6, 6})},
                       {"lost byte counts", TwoRows().Longs(273, {8, 14}).Entry(279, 4, 0x10000000, 8)},
                       {"no byte counts", TwoRows().Longs(273, {8}).Strip(CountingBytes(6))},
                       {"no offsets", TwoRows().StripByteCounts().Strip(CountingBytes(6)).Strip(CountingBytes(6))}});
}

TEST(ReadStrips, IsTakenWhereRowsPerStripIsNotTheHeight) {
    std::vector<NamedFile> files{
        {"no tag 278", TiffBuilder().Shape(2, 2, 3, 8).StripOffsets().StripByteCounts().Strip(CountingBytes(12))},
        {"neither", TiffBuilder().Long(256, 2).StripOffsets().StripByteCounts().Strip(CountingBytes(12))},
        {"no height", TiffBuilder().Long(256, 2).Long(278, 5).StripOffsets().StripByteCounts().Strip({1}).Strip({2})},
        {"a height above 16 bits",
         TiffBuilder().Shape(1, 70000, 1, 8).Short(278, 1).StripOffsets().StripByteCounts().Strip({1}).Strip({2})}};
    for (const std::uint32_t rows : {0U, 1U, 3U, 0xffffffffU}) {  // the last: written by many programs for one strip
        for (const unsigned type : {3U, 4U}) {
            TiffBuilder file;
            file.Shape(2, 2, 3, 8).Long(278, rows).StripOffsets(type).StripByteCounts(type).Strip(CountingBytes(12));
            files.push_back({std::to_string(rows) + " rows", file});
        }
    }
    ExpectAsReference(files);
}

TEST(ReadStrips, TakesTwiceTheFileAndEightMiBAtTheMost) {
    const auto file = [](std::uint32_t second) { return TwoRows().Longs(273, {8, 8}).Longs(279, {1000, second}); };
    const auto limit = static_cast<std::uint32_t>(2 * file(0).Build().size() + (8U << 20));
    std::vector<NamedFile> files;
    // The sum for the last value is 999 in 32 bits: the bound uses the full sum.
    for (const std::uint32_t second : {limit - 1000, limit - 999, 0x80000000U, 0xffffffffU}) {
        files.push_back({std::to_string(second) + " bytes", file(second)});
    }
    ExpectAsReference(files);
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

/// Few strips and many, in a small file and in a large one, which are read by different methods.
TEST(ReadStrips, ReadsFewAndManyOneAfterTheOther) {
    std::vector<NamedFile> files;
    for (const std::size_t strips : {20U, 64U, 65U, 500U}) {
        for (const std::size_t trailer : {std::size_t{5000}, std::size_t{5} << 20}) {
            for (const bool firstIsNegative : {false, true}) {
                files.push_back({std::to_string(strips) + " strips in " + std::to_string(trailer) + " bytes and more" +
                                     (firstIsNegative ? ", on from the array" : ""),
                                 Scattered(strips, trailer, firstIsNegative)});
            }
        }
    }
    ExpectAsReference(files);
}

// Planes

TEST(Pack, LeavesPlanesOfSeveralStripsAsTheyAre) {
    struct Row {
        unsigned samples, bits;
    };
    for (const auto& [samples, bits] :
         {Row{3, 8}, Row{3, 16}, Row{4, 8}, Row{5, 16}, Row{2, 16}, Row{1, 8}, Row{3, 1}}) {
        SCOPED_TRACE(testing::Message() << samples << " samples of " << bits << " bits");
        const std::size_t strip = bits;  // of 8 columns
        std::vector<Bytes> strips;
        for (unsigned i = 0; i < 2 * samples; ++i) strips.push_back(CountingBytes(strip, 20 * i));
        const TiffOf tiff(PlanarTiff(8, 2, samples, bits, 1, strips));
        EXPECT_EQ(Image(tiff), Joined(strips));
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), 2);
        EXPECT_EQ(FieldsOf(tiff, 273).count, 1U) << "strips were joined";
        EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, static_cast<std::uint32_t>(2 * samples * strip)}));
        EXPECT_EQ(tiff.GetTagValue(Sig(278)), 2);
    }
}

/// A list with an image of `planes` and, if `samples` is above 0, a tag 277.
class PlanesOf : public Tiff {
public:
    PlanesOf(const Bytes& planes, unsigned samples) {
        tags.push_back(Made(273, 4, 1, 5, planes));
        if (samples > 0) AddTags(Word(3, 277), 1, samples, nullptr);
    }
};

TEST(Pack, TakesThreePlanesForThreeSamplesElseFour) {
    for (const unsigned samples : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 259U, 65539U}) {  // 0: no tag 277
        SCOPED_TRACE(samples);
        PlanesOf narrow(CountingBytes(20), samples), wide(CountingBytes(20), samples);
        EXPECT_EQ(narrow.Pack<unsigned char>(2, 1), 0);
        EXPECT_EQ(Image(narrow), samples == 3 ? (Bytes{1, 3, 5, 2, 4, 6}) : (Bytes{1, 3, 5, 7, 2, 4, 6, 8}));
        EXPECT_EQ(wide.Pack<unsigned short>(1, 2), 0);
        EXPECT_EQ(Image(wide), samples == 3 ? (Bytes{1, 2, 5, 6, 9, 10, 3, 4, 7, 8, 11, 12})
                                            : (Bytes{1, 2, 5, 6, 9, 10, 13, 14, 3, 4, 7, 8, 11, 12, 15, 16}));
    }
}

TEST(Pack, ChangesNoTagButTheImage) {
    PlanesOf tiff(CountingBytes(12), 3);
    for (const auto& [tag, value] :
         {std::pair{256U, 9U}, {257U, 9U}, {258U, 1U}, {278U, 8U}, {279U, 99U}, {284U, 2U}}) {
        tiff.AddTags(Word(3, tag), 1, value, nullptr);
    }
    const std::vector<Fields> before = AllFields(tiff);
    tiff.Pack<unsigned char>(2, 2);
    EXPECT_EQ(AllFields(tiff), before);
    EXPECT_EQ(Image(tiff), (Bytes{1, 5, 9, 2, 6, 10, 3, 7, 11, 4, 8, 12}));
    Tiff empty;
    EXPECT_EQ(empty.Pack<unsigned char>(2, 2), 0);
    EXPECT_TRUE(empty.tags.empty());
}

TEST(Pack, HasZerosForWhatThePlanesDoNotHold) {
    PlanesOf bytes({1, 2, 3, 4, 5}, 3);
    bytes.Pack<unsigned char>(2, 2);
    EXPECT_EQ(Image(bytes), (Bytes{1, 5, 0, 2, 0, 0, 3, 0, 0, 4, 0, 0}));
    PlanesOf words({1, 2, 3}, 3);
    words.Pack<unsigned short>(1, 1);
    EXPECT_EQ(Image(words), (Bytes{1, 2, 3, 0, 0, 0})) << "also for half a sample";
}

TEST(Pack, TakesAsMuchOfACallersPlanesAsThePixelsNeed) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(6)));
    tiff.AddTags(Word(3, 277), 1, 3, nullptr);
    EXPECT_EQ(tiff.Pack<unsigned char>(2, 1), 0);
    EXPECT_EQ(Image(tiff), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST(Pack, MakesAnEmptyImageOfNoPixels) {
    for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -1}, {-2, -2}}) {
        PlanesOf tiff(CountingBytes(20), 3);
        EXPECT_EQ(tiff.Pack<unsigned char>(width, height), 0);
        EXPECT_EQ(Image(tiff), Bytes()) << width << " x " << height;
        EXPECT_NE(tiff.GetTag(Sig(273))->GetData(), nullptr);
    }
}

TEST(Pack, MakesTwiceThePlanesAndEightMiBAtTheMost) {
    // 3 planes x 2 bytes: 8 MiB + 2 x 20 bytes hold 1,398,108 pixels.
    const int most = ((8 << 20) + 40) / 6;
    PlanesOf fits(CountingBytes(20), 3);
    fits.Pack<unsigned short>(most, 1);
    EXPECT_EQ(fits.GetTag(Sig(273))->dataSize, static_cast<std::size_t>(most) * 6);
    // The byte count for the last one is 720,866 in 64 bits.
    for (const auto& [width, height] :
         {std::pair{most + 1, 1}, {65536, 65536}, {0x7fffffff, 0x7fffffff}, {2147450883, 1431677609}}) {
        PlanesOf dropped(CountingBytes(20), 3);
        EXPECT_EQ(dropped.Pack<unsigned short>(width, height), 0);
        EXPECT_EQ(dropped.GetTag(Sig(273))->GetData(), nullptr) << width << " x " << height;
    }
}

}  // namespace
}  // namespace hueweave::test
