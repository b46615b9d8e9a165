// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Several strips that become one buffer, and planes that become pixels.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// 2 x 3 pixels of 3 bytes, a row a strip.
TiffBuilder ThreeStrips(unsigned offsetType = 4, unsigned countType = 4) {
    TiffBuilder tiff;
    tiff.Shape(2, 3, 3, 8).Long(278, 1).StripOffsets(offsetType).StripByteCounts(countType);
    return tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 101)).Strip(CountingBytes(6, 201));
}
const Bytes kThreeStrips = Joined({CountingBytes(6), CountingBytes(6, 101), CountingBytes(6, 201)});

/// 2 x 2 pixels of 3 bytes, a row a strip, without the arrays.
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

TEST(ReadStrips, FollowsTheArrayAndNotTheFile) {
    EXPECT_EQ(Image(TiffOf(ThreeStrips().StripsBackwards())), kThreeStrips);
}

TEST(ReadStrips, TakesStripsOfDifferentLengthsAndEmptyOnes) {
    TiffBuilder file;
    file.Shape(2, 4, 3, 8).Long(278, 1).StripOffsets().StripByteCounts();
    const TiffOf tiff(file.Strip(CountingBytes(2)).Strip({}).Strip(CountingBytes(9, 50)).Strip(CountingBytes(1, 99)));
    EXPECT_EQ(Image(tiff), Joined({CountingBytes(2), CountingBytes(9, 50), CountingBytes(1, 99)}));
    EXPECT_EQ(FieldsOf(tiff, 279).value, 12U);
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

// Which files take this way

TEST(ReadStrips, IsTakenWhereRowsPerStripIsNotTheHeight) {
    for (const std::uint32_t rows : {0U, 1U, 3U, 0xffffffffU}) {  // the last: what many writers put for one strip
        for (const unsigned type : {3U, 4U}) {
            TiffBuilder file;
            file.Shape(2, 2, 3, 8).Long(278, rows).StripOffsets(type).StripByteCounts(type).Strip(CountingBytes(12));
            const TiffOf tiff(file);
            EXPECT_EQ(Image(tiff), CountingBytes(12)) << rows;
            EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 12}));
            EXPECT_EQ(FieldsOf(tiff, 278), (Fields{278, 4, 1, 2}));
        }
    }
    const TiffOf without(TiffBuilder().Shape(2, 2, 3, 8).StripOffsets().StripByteCounts().Strip(CountingBytes(12)));
    EXPECT_EQ(Image(without), CountingBytes(12));
    EXPECT_EQ(FieldsOf(without, 279).type, 3);
    EXPECT_EQ(without.GetTag(Sig(278)), nullptr) << "none is added";
    const TiffOf neither(TiffBuilder().Long(256, 2).StripOffsets().StripByteCounts().Strip(CountingBytes(12)));
    EXPECT_EQ(Image(neither), CountingBytes(12));
    EXPECT_EQ(FieldsOf(neither, 279).type, 4) << "0 = 0: one strip";
}

TEST(ReadStrips, StoresTheHeightInTheEntryOfRowsPerStrip) {
    TiffBuilder tall;
    tall.Shape(1, 70000, 1, 8).Short(278, 1).StripOffsets().StripByteCounts().Strip({1}).Strip({2});
    EXPECT_EQ(FieldsOf(TiffOf(tall), 278), (Fields{278, 3, 1, 70000})) << "whatever its type";
    TiffBuilder none;
    none.Long(256, 2).Short(258, 8).Short(277, 1).Long(278, 5).StripOffsets().StripByteCounts();
    const TiffOf tiff(none.Strip({1, 2}).Strip({3, 4}));
    EXPECT_EQ(Image(tiff), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(FieldsOf(tiff, 278), (Fields{278, 4, 1, 0}));
    EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 4}));
}

TEST(ReadStrips, CanBeCalledAlone) {
    const Bytes file = ThreeStrips().Build();
    const FileHandle stream = StreamOf(file);
    Tiff tiff;
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0) << "no tags, nothing to do";
    EXPECT_TRUE(tiff.tags.empty());
    AddEntries(tiff, file, stream.get());
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0);
    EXPECT_EQ(Image(tiff), kThreeStrips);
}

// The arrays

TEST(ReadStrips, DecodesArraysByTheirDeclaredType) {
    for (const auto& [offsets, counts] :
         {std::pair{4U, 4U}, {3U, 3U}, {3U, 4U}, {4U, 3U}, {1U, 1U}, {4U, 1U}, {3U, 1U}}) {
        SCOPED_TRACE(testing::Message() << "types " << offsets << " and " << counts);
        const TiffOf three(ThreeStrips(offsets, counts));
        EXPECT_EQ(Image(three), kThreeStrips);
        EXPECT_EQ(FieldsOf(three, 279), (Fields{279, 3, 1, 18}));
        EXPECT_EQ(FieldsOf(three, 273).type, 4);
        // One strip, and two, may stand in the entry.
        for (const std::size_t size : {12U, 6U}) {
            TiffBuilder file;
            file.Shape(2, 2, 3, 8).Long(278, size == 12 ? 9 : 1).StripOffsets(offsets).StripByteCounts(counts);
            for (std::size_t at = 0; at < 12; at += size) file.Strip(Part(CountingBytes(12), at, size));
            EXPECT_EQ(Image(TiffOf(file)), CountingBytes(12)) << size;
        }
    }
}

TEST(ReadStrips, ReadsFiveBytesAndMoreAsBytes) {
    TiffBuilder file;
    file.Shape(1, 6, 1, 8).Long(278, 1).StripOffsets().StripByteCounts(1);
    for (unsigned i = 0; i < 6; ++i) file.Strip(CountingBytes(i + 1, 10 * i));
    const Bytes image = Image(TiffOf(file));
    EXPECT_EQ(image.size(), 21U);
    EXPECT_EQ(Part(image, 15, 6), CountingBytes(6, 50));
}

TEST(ReadStrips, DecodesEveryOtherTypeAsThirtyTwoBitWords) {
    // The eight bytes of a RATIONAL are two words; the count of tag 273 still bounds the strips.
    for (const unsigned type : {4U, 5U, 9U, 10U, 11U, 12U, 13U}) {
        const std::uint32_t place = 10 + 12 * 9 + 4 + 6 + 16 + 16;
        const std::uint32_t count = kWidths[type] == 8 ? 2 : 4;
        TiffBuilder file = TwoRows();
        file.Data(273, type, count, ByteWriter().Little32(place).Little32(place + 6).Little32(0).Little32(0).Done());
        file.Data(279, type, count, ByteWriter().Little32(6).Little32(5).Little32(0).Little32(0).Done());
        file.Trailer(CountingBytes(12));
        ASSERT_EQ(file.Build().size(), place + 12);
        const TiffOf tiff(file);
        EXPECT_EQ(Image(tiff), CountingBytes(11)) << type;
        EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 11}));
    }
}

TEST(ReadStrips, TakesAsManyAsTheShorterArrayHas) {
    const std::vector<std::uint32_t> places{ThreeStrips().StripPlace(0), ThreeStrips().StripPlace(1),
                                            ThreeStrips().StripPlace(2)};
    for (const bool fewerOffsets : {false, true}) {
        TiffBuilder file;
        file.Shape(2, 3, 3, 8).Long(278, 1);
        // Places stay the same: what one array loses stands between the data and the strips.
        file.Longs(273, fewerOffsets ? std::vector{places[0], places[1]} : places);
        file.Longs(279, fewerOffsets ? std::vector<std::uint32_t>{6, 6, 6} : std::vector<std::uint32_t>{6, 6});
        file.GapBeforeStrips(4).Strip(CountingBytes(6)).Strip(CountingBytes(6, 101)).Strip(CountingBytes(6, 201));
        const TiffOf tiff(file);
        EXPECT_EQ(Image(tiff), Part(kThreeStrips, 0, 12));
        EXPECT_EQ(FieldsOf(tiff, 279).value, 12U);
    }
}

TEST(ReadStrips, HasAnEmptyImageWithoutItemsInAnArray) {
    struct Row {
        const char* name;
        TiffBuilder file;
        std::uint32_t offset;  ///< in the entry of tag 273, which becomes one LONG
        bool counts;           ///< whether there is a tag 279, which becomes one SHORT of 0
    };
    for (const auto& [name, file, offset, counts] :
         {Row{"counts of 0", TwoRows().Entry(273, 4, 0, 77).Entry(279, 4, 0, 88), 77, true},
          Row{"an unknown type", TwoRows().Entry(273, 14, 2, 8).Entry(279, 4, 1, 6), 8, true},
          Row{"lost offsets", TwoRows().Entry(273, 4, 100000, 8).Longs(279, {6, 6}), 8, true},
          Row{"no byte counts", TwoRows().Longs(273, {8}).Strip(CountingBytes(6)), 8, false}}) {
        SCOPED_TRACE(name);
        const TiffOf tiff(file);
        EXPECT_NE(tiff.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(Image(tiff), Bytes());
        EXPECT_EQ(FieldsOf(tiff, 273), (Fields{273, 4, 1, offset}));
        ASSERT_EQ(tiff.GetTag(Sig(279)) != nullptr, counts) << "none is added";
        if (counts) {
            EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, 0}));
        }
        EXPECT_EQ(tiff.GetTagValue(Sig(278)), 2);
    }
}

TEST(ReadStrips, ChangesNothingWithoutOffsets) {
    TiffBuilder file = TwoRows().StripByteCounts().Strip(CountingBytes(6)).Strip(CountingBytes(6));
    const TiffOf tiff(file);
    EXPECT_EQ(FieldsOf(tiff, 279), EntryOf(file.Build(), 279));
    EXPECT_EQ(tiff.GetTagValue(Sig(278)), 1);
}

TEST(ReadStrips, TakesAsManyItemsOfACallersArrayAsItCounts) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 3, 3, {2, 0, 0, 0, 4, 0}));
    tiff.tags.push_back(Adopting(279, 1, 1, {1, 2, 3, 4, 5}));
    tiff.GetTag(Sig(279))->count = 5;
    const FileHandle stream = StreamOf(CountingBytes(20));
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0);
    EXPECT_EQ(Image(tiff), (Bytes{3, 1, 2, 5, 6, 7}));
}

// Where strips may lie

TEST(ReadStrips, ReadsOnFromWhereTheStreamStandsAtANegativeOffset) {
    TiffBuilder file;
    file.Shape(2, 3, 3, 8).Long(278, 1).Longs(273, {8, 0x80000000U, 0xffffffffU}).Longs(279, {4, 3, 5});
    EXPECT_EQ(Image(TiffOf(file)), Part(file.Build(), 8, 12)) << "straight after the strip before";
}

TEST(ReadStrips, HasZerosBehindTheFile) {
    for (const std::uint32_t place : {100000U, 0x7fffffffU}) {
        TiffBuilder file = TwoRows().Longs(273, {4, place}).Longs(279, {4, 6});
        const TiffOf tiff(file);
        EXPECT_EQ(Image(tiff), Joined({Part(file.Build(), 4, 4), Bytes(6, 0)})) << place;
        EXPECT_EQ(FieldsOf(tiff, 279).value, 10U) << "the sum of what was announced";
    }
}

TEST(ReadStrips, TakesTwiceTheFileAndEightMiBAtTheMost) {
    const auto file = [](std::uint32_t second) { return TwoRows().Longs(273, {8, 8}).Longs(279, {1000, second}); };
    const auto limit = static_cast<std::uint32_t>(2 * file(0).Build().size() + (8U << 20));
    const TiffOf most(file(limit - 1000));
    EXPECT_EQ(most.GetTag(Sig(273))->dataSize, limit);
    EXPECT_EQ(FieldsOf(most, 279).value, limit);
    // The last one's sum is 999 in 32 bits: the bound sees all of it.
    for (const std::uint32_t second : {limit - 999, 0x80000000U, 0xffffffffU}) {
        const TiffOf none(file(second));
        EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr) << second;
        EXPECT_EQ(FieldsOf(none, 273).count, 1U);
        EXPECT_EQ(FieldsOf(none, 279), (Fields{279, 3, 1, 0}));
        EXPECT_EQ(none.GetTagValue(Sig(278)), 2);
    }
}

/// Strips anywhere: inside the file, over its end, at it, far behind it, and at negative offsets, from where the read
/// goes on that came before. The same for a few strips and for many, in a small file and in a large one.
void ExpectStripsInTheirOrder(std::size_t strips, std::size_t trailer, bool firstIsNegative) {
    const auto build = [&](const std::vector<std::uint32_t>& offsets, const std::vector<std::uint32_t>& sizes) {
        TiffBuilder file;
        file.Shape(1, static_cast<std::uint32_t>(strips), 1, 8).Long(278, 1).Longs(273, offsets).Longs(279, sizes);
        return file.Trailer(CountingBytes(trailer)).Build();
    };
    std::vector<std::uint32_t> offsets(strips), sizes(strips);
    const auto end = static_cast<std::uint32_t>(build(offsets, sizes).size());
    const std::uint32_t places[] = {end - 3000, 0xffffffffU, end - 3,      0x80000000U, end,         0xffffffffU,
                                    end - 1,    0xfffffffeU, end + 100000, 0x80000001U, 0x7fffffffU, 0x80000000U,
                                    8};
    for (std::size_t i = 0; i < strips; ++i) {
        offsets[i] = places[(i + (firstIsNegative ? 1 : 0)) % std::size(places)];
        sizes[i] = static_cast<std::uint32_t>(i * 37 % 500);
    }
    const Bytes file = build(offsets, sizes);
    Bytes expected;
    std::size_t at = EntryOf(file, 279).value + 4 * strips;  // the last that was read before
    for (std::size_t i = 0; i < strips; ++i) {
        if (offsets[i] < 0x80000000U) at = offsets[i];
        const std::size_t got = at < file.size() ? std::min<std::size_t>(sizes[i], file.size() - at) : 0;
        for (std::size_t n = 0; n < sizes[i]; ++n) expected.push_back(n < got ? file[at + n] : std::uint8_t{0});
        at += got;
    }
    EXPECT_THAT(Image(TiffOf(file)), EqualsBytes(expected));
}

TEST(ReadStrips, ReadsFewAndManyOneAfterTheOther) {
    for (const std::size_t strips : {20U, 64U, 65U, 500U}) {
        for (const std::size_t trailer : {std::size_t{5000}, std::size_t{5} << 20}) {
            for (const bool firstIsNegative : {false, true}) {
                SCOPED_TRACE(testing::Message() << strips << " strips in " << trailer << " bytes and more"
                                                << (firstIsNegative ? ", on from the array" : ""));
                ExpectStripsInTheirOrder(strips, trailer, firstIsNegative);
            }
        }
    }
}

// Planes

/// Sample bytes of plane p, pixel i.
Bytes SampleOf(unsigned p, std::size_t i, std::size_t bytes) {
    const std::size_t value = 0x100 * (i + 1) + 16 * p + i;
    return bytes == 1 ? Bytes{static_cast<unsigned char>(value)}
                      : Bytes{static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8)};
}

std::vector<Bytes> Planes(unsigned planes, std::size_t pixels, std::size_t bytes) {
    std::vector<Bytes> all(planes);
    for (unsigned p = 0; p < planes; ++p) {
        for (std::size_t i = 0; i < pixels; ++i) all[p] = Joined({all[p], SampleOf(p, i, bytes)});
    }
    return all;
}

/// Pixels of `packed` samples of which the first `planes` are known and the others 0.
Bytes Pixels(unsigned planes, unsigned packed, std::size_t pixels, std::size_t bytes) {
    ByteWriter out;
    for (std::size_t i = 0; i < pixels; ++i) {
        for (unsigned p = 0; p < packed; ++p) out.Append(p < planes ? SampleOf(p, i, bytes) : Bytes(bytes, 0));
    }
    return out.Done();
}

struct PlanarRow {
    unsigned samples;
    unsigned bits;
    unsigned packed;  ///< planes that are taken
};
constexpr PlanarRow kPlanar[] = {{3, 8, 3},  {3, 16, 3}, {4, 8, 4}, {4, 16, 4}, {5, 8, 4},
                                 {5, 16, 4}, {2, 16, 4}, {1, 8, 4}, {1, 16, 4}};

TEST(Pack, MakesPixelsOfPlanes) {
    for (const auto& [samples, bits, packed] : kPlanar) {
        SCOPED_TRACE(testing::Message() << samples << " samples of " << bits << " bits");
        const std::size_t bytes = bits / 8;
        const TiffOf tiff(PlanarTiff(3, 2, samples, bits, 2, Planes(samples, 6, bytes)));
        EXPECT_EQ(Image(tiff), Pixels(samples, packed, 6, bytes));
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), 1);
        EXPECT_EQ(FieldsOf(tiff, 273).count, 1U);
        EXPECT_EQ(FieldsOf(tiff, 273).type, 4);
        EXPECT_EQ(FieldsOf(tiff, 279), (Fields{279, 3, 1, static_cast<std::uint32_t>(6 * bytes * samples)}));
        EXPECT_EQ(tiff.GetTagValue(Sig(278)), 2);
        EXPECT_EQ(tiff.GetTagValue(Sig(277)), static_cast<int>(samples)) << "untouched";
    }
}

TEST(Pack, LeavesPlanesOfSeveralStripsAsTheyAre) {
    for (const auto& [samples, bits, packed] : kPlanar) {
        SCOPED_TRACE(testing::Message() << samples << " samples of " << bits << " bits");
        const std::size_t bytes = bits / 8;
        std::vector<Bytes> strips;
        for (const Bytes& plane : Planes(samples, 6, bytes)) {
            strips.push_back(Part(plane, 0, 3 * bytes));
            strips.push_back(Part(plane, 3 * bytes, 3 * bytes));
        }
        const TiffOf tiff(PlanarTiff(3, 2, samples, bits, 1, strips));
        EXPECT_EQ(Image(tiff), Joined(strips));
        EXPECT_EQ(tiff.GetTagValue(Sig(284)), 2);
        EXPECT_EQ(FieldsOf(tiff, 273).count, 1U);
        EXPECT_EQ(tiff.GetTagValue(Sig(278)), 2);
    }
    const TiffOf bitmap(PlanarTiff(8, 2, 3, 1, 1, {{1}, {2}, {3}, {4}, {5}, {6}}));
    EXPECT_EQ(Image(bitmap), CountingBytes(6));
    EXPECT_EQ(bitmap.GetTagValue(Sig(284)), 2);
    EXPECT_EQ(FieldsOf(bitmap, 273).count, 1U) << "strips were joined";
    EXPECT_EQ(FieldsOf(bitmap, 279), (Fields{279, 3, 1, 6}));
}

/// A list with an image of `planes` and, for `samples` above 0, a tag 277.
class PlanesOf : public Tiff {
public:
    PlanesOf(const Bytes& planes, unsigned samples) {
        tags.push_back(Made(273, 4, 1, 5, planes));
        if (samples > 0) AddTags(Word(3, 277), 1, samples, nullptr);
    }
};

TEST(Pack, TakesThreePlanesForThreeSamplesElseFour) {
    for (const unsigned samples : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 259U, 65539U}) {  // 0: no tag 277
        const unsigned packed = samples == 3 ? 3 : 4;
        PlanesOf narrow(Joined(Planes(8, 6, 1)), samples);
        EXPECT_EQ(narrow.Pack<unsigned char>(3, 2), 0);
        EXPECT_EQ(Image(narrow), Pixels(8, packed, 6, 1)) << samples;
        PlanesOf wide(Joined(Planes(8, 6, 2)), samples);
        EXPECT_EQ(wide.Pack<unsigned short>(2, 3), 0);
        EXPECT_EQ(Image(wide), Pixels(8, packed, 6, 2)) << samples;
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
    // The bytes of the last one are 720,866 in 64 bits.
    for (const auto& [width, height] :
         {std::pair{most + 1, 1}, {65536, 65536}, {0x7fffffff, 0x7fffffff}, {2147450883, 1431677609}}) {
        PlanesOf dropped(CountingBytes(20), 3);
        EXPECT_EQ(dropped.Pack<unsigned short>(width, height), 0);
        EXPECT_EQ(dropped.GetTag(Sig(273))->GetData(), nullptr) << width << " x " << height;
    }
}

}  // namespace
}  // namespace hueweave::test
