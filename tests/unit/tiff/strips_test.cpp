// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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

TEST(StripsTest, BecomeOne) {
    TiffBuilder tiff = ThreeStrips();
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_EQ(Image(read), kThreeStrips);
    EXPECT_EQ(FieldsOf(read, 273).type, 4);
    EXPECT_EQ(FieldsOf(read, 273).count, 1U);
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 18})) << "SHORT, whatever the sum";
    EXPECT_EQ(read.GetTag(Sig(279))->GetData(), nullptr);
    EXPECT_EQ(read.GetTagValue(Sig(278)), 3) << "one strip of the whole height";
}

TEST(StripsTest, OffsetFieldIsLeftAlone) {
    TiffBuilder tiff = ThreeStrips();
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(FieldsOf(read, 273).value, EntryOf(file, 273).value) << "still the place of the array";
}

TEST(StripsTest, FollowTheArrayAndNotTheFile) {
    Tiff read;
    ReadFrom(read, ThreeStrips().StripsBackwards().Build());
    EXPECT_EQ(Image(read), kThreeStrips);
}

TEST(StripsTest, MayDifferInLengthAndBeEmpty) {
    TiffBuilder tiff;
    tiff.Shape(2, 4, 3, 8).Long(278, 1).StripOffsets().StripByteCounts();
    tiff.Strip(CountingBytes(2)).Strip({}).Strip(CountingBytes(9, 50)).Strip(CountingBytes(1, 99));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Joined({CountingBytes(2), CountingBytes(9, 50), CountingBytes(1, 99)}));
    EXPECT_EQ(FieldsOf(read, 279).value, 12U);
}

TEST(StripsTest, ResultIsSavedAsOneStrip) {
    Tiff read;
    ReadFrom(read, ThreeStrips().Build());
    TiffBuilder one;
    one.Shape(2, 3, 3, 8).Long(278, 3).StripOffsets().StripByteCounts(3).Strip(kThreeStrips);
    EXPECT_EQ(Saved(read), one.Build());
}

TEST(StripsTest, TotalAboveSixteenBitsStandsInAShort) {
    TiffBuilder tiff;
    tiff.Shape(200, 200, 3, 8).Long(278, 100).StripOffsets().StripByteCounts();
    tiff.Strip(CountingBytes(60000)).Strip(CountingBytes(60000, 7));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 120000}));
    const Bytes saved = Saved(read);
    EXPECT_EQ(EntryOf(saved, 279), (Fields{279, 3, 1, 120000}));
    Tiff again;
    ReadFrom(again, saved);
    EXPECT_EQ(Image(again), Image(read)) << "this reader reads it back whole";
}

struct ArrayTypes {
    unsigned offsets;
    unsigned counts;
};
class StripArrayTest : public testing::TestWithParam<ArrayTypes> {};

TEST_P(StripArrayTest, IsDecodedByItsDeclaredType) {
    Tiff read;
    ReadFrom(read, ThreeStrips(GetParam().offsets, GetParam().counts).Build());
    EXPECT_EQ(Image(read), kThreeStrips);
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 18}));
    EXPECT_EQ(FieldsOf(read, 273).type, 4);
}

TEST_P(StripArrayTest, OneStripStandsInTheEntry) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 9).StripOffsets(GetParam().offsets).StripByteCounts(GetParam().counts);
    Tiff read;
    ReadFrom(read, tiff.Strip(CountingBytes(12)).Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
}

TEST_P(StripArrayTest, TwoStripsMayStandInTheEntry) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).StripOffsets(GetParam().offsets).StripByteCounts(GetParam().counts);
    Tiff read;
    ReadFrom(read, tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 7)).Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
}

INSTANTIATE_TEST_SUITE_P(Every, StripArrayTest,
                         testing::Values(ArrayTypes{4, 4}, ArrayTypes{3, 3}, ArrayTypes{3, 4}, ArrayTypes{4, 3},
                                         ArrayTypes{1, 1}, ArrayTypes{4, 1}, ArrayTypes{3, 1}),
                         [](const auto& row) {
                             return "Types" + std::to_string(row.param.offsets) + "And" +
                                    std::to_string(row.param.counts);
                         });

TEST(StripArrayTest, BytesFiveAndMoreAreReadAsBytes) {
    TiffBuilder tiff;
    tiff.Shape(1, 6, 1, 8).Long(278, 1).StripOffsets().StripByteCounts(1);
    for (unsigned i = 0; i < 6; ++i) tiff.Strip(CountingBytes(i + 1, 10 * i));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read).size(), 21U);
    EXPECT_EQ(Part(Image(read), 15, 6), CountingBytes(6, 50));
}

class StripWordTypeTest : public testing::TestWithParam<unsigned> {};

TEST_P(StripWordTypeTest, EveryOtherTypeIsThirtyTwoBitWords) {
    // The eight bytes of a RATIONAL are two words; the count of tag 273 still bounds the strips.
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1);
    const Bytes strips = CountingBytes(12);
    const std::uint32_t place = 10 + 12 * 9 + 4 + 6 + 16 + 16;
    const std::uint32_t count = GetParam() == 5 || GetParam() == 11 || GetParam() == 12 ? 2 : 4;
    tiff.Data(273, GetParam(), count, ByteWriter().Little32(place).Little32(place + 6).Little32(0).Little32(0).Done());
    tiff.Data(279, GetParam(), count, ByteWriter().Little32(6).Little32(5).Little32(0).Little32(0).Done());
    const Bytes file = ByteWriter().Append(tiff.Build()).Append(strips).Done();
    ASSERT_EQ(file.size(), place + 12);
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), CountingBytes(11));
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 11}));
}

INSTANTIATE_TEST_SUITE_P(Every, StripWordTypeTest, testing::Values(4, 5, 9, 10, 11, 12, 13));

TEST(StripCountTest, IsTheSmallerOfBothArrays) {
    for (const bool fewerOffsets : {false, true}) {
        TiffBuilder sound = ThreeStrips();
        const std::vector<std::uint32_t> places{sound.StripPlace(0), sound.StripPlace(1), sound.StripPlace(2)};
        TiffBuilder tiff;
        tiff.Shape(2, 3, 3, 8).Long(278, 1);
        // Places stay the same: what one array loses stands between the data and the strips.
        if (fewerOffsets) {
            tiff.Longs(273, {places[0], places[1]}).Longs(279, {6, 6, 6}).GapBeforeStrips(4);
        } else {
            tiff.Longs(273, places).Longs(279, {6, 6}).GapBeforeStrips(4);
        }
        tiff.Strip(CountingBytes(6)).Strip(CountingBytes(6, 101)).Strip(CountingBytes(6, 201));
        Tiff read;
        ReadFrom(read, tiff.Build());
        EXPECT_EQ(Image(read), Part(kThreeStrips, 0, 12));
        EXPECT_EQ(FieldsOf(read, 279).value, 12U);
    }
}

TEST(StripCountTest, WithoutByteCountsTheImageIsEmpty) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).StripOffsets().Strip(CountingBytes(6)).Strip(CountingBytes(6));
    Tiff read;
    EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
    EXPECT_NE(read.GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(FieldsOf(read, 273).count, 1U);
    EXPECT_EQ(read.GetTag(Sig(279)), nullptr) << "none is added";
    EXPECT_EQ(read.GetTagValue(Sig(278)), 2);
}

TEST(StripCountTest, WithoutOffsetsNothingChanges) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).StripByteCounts().Strip(CountingBytes(6)).Strip(CountingBytes(6));
    const Bytes file = tiff.Build();
    Tiff read;
    EXPECT_EQ(ReadFrom(read, file), 0);
    EXPECT_EQ(FieldsOf(read, 279), EntryOf(file, 279));
    EXPECT_EQ(read.GetTagValue(Sig(278)), 1);
}

TEST(StripCountTest, OfZeroIsAnEmptyImage) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).Entry(273, 4, 0, 77).Entry(279, 4, 0, 88);
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_NE(read.GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(FieldsOf(read, 273), (Fields{273, 4, 1, 77}));
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 0}));
}

TEST(StripCountTest, ArraysOfUnknownTypeHoldNothing) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).Entry(273, 14, 2, 8).Entry(279, 4, 1, 6);
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(FieldsOf(read, 273), (Fields{273, 4, 1, 8}));
}

TEST(StripCountTest, LostArrayHoldsNothing) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).Entry(273, 4, 100000, 8).Longs(279, {6, 6});
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), Bytes());
    EXPECT_EQ(FieldsOf(read, 273), (Fields{273, 4, 1, 8}));
    EXPECT_EQ(FieldsOf(read, 279), (Fields{279, 3, 1, 0}));
}

TEST(StripLimitTest, StripsBehindTheFileAreZero) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).Longs(273, {4, 100000}).Longs(279, {4, 6});
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), Joined({Part(file, 4, 4), Bytes(6, 0)}));
    EXPECT_EQ(FieldsOf(read, 279).value, 10U) << "the sum of what was announced";
}

struct ManyStrips {
    std::size_t strips, trailer;
    bool firstIsNegative;
};
void PrintTo(const ManyStrips& row, std::ostream* out) {
    *out << row.strips << " strips, " << row.trailer << " bytes" << (row.firstIsNegative ? ", on from the array" : "");
}

class ManyStripsTest : public testing::TestWithParam<ManyStrips> {};

/// Strips anywhere: inside the file, over its end, at it, far behind it, and at negative offsets, from where the read
/// goes on that came before. The same for a few strips and for many, in a small file and in a large one.
TEST_P(ManyStripsTest, AreReadOneAfterTheOther) {
    const auto [strips, trailer, firstIsNegative] = GetParam();
    const auto build = [&, strips = strips, trailer = trailer](const std::vector<std::uint32_t>& offsets,
                                                               const std::vector<std::uint32_t>& sizes) {
        TiffBuilder tiff;
        tiff.Shape(1, static_cast<std::uint32_t>(strips), 1, 8).Long(278, 1).Longs(273, offsets).Longs(279, sizes);
        return tiff.Trailer(CountingBytes(trailer, 1)).Build();
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
    ASSERT_EQ(file.size(), end);
    Bytes expected;
    std::size_t at = EntryOf(file, 279).value + 4 * strips;  // the last that was read before
    for (std::size_t i = 0; i < strips; ++i) {
        if (offsets[i] < 0x80000000U) at = offsets[i];
        const std::size_t got = at < file.size() ? std::min<std::size_t>(sizes[i], file.size() - at) : 0;
        for (std::size_t n = 0; n < sizes[i]; ++n) expected.push_back(n < got ? file[at + n] : std::uint8_t{0});
        at += got;
    }
    Tiff read;
    EXPECT_EQ(ReadFrom(read, file), 0);
    EXPECT_TRUE(Image(read) == expected);
}

INSTANTIATE_TEST_SUITE_P(Every, ManyStripsTest,
                         testing::Values(ManyStrips{20, 5000, false}, ManyStrips{64, 5000, false},
                                         ManyStrips{65, 5000, false}, ManyStrips{65, 5000, true},
                                         ManyStrips{500, 5000, true}, ManyStrips{500, 5U << 20, false},
                                         ManyStrips{20, 5000, true}, ManyStrips{500, 5U << 20, true}));

TEST(StripLimitTest, SumIsBoundedByTwiceTheFileAndEightMiB) {
    const auto file = [](std::uint32_t second) {
        TiffBuilder tiff;
        return tiff.Shape(2, 2, 3, 8).Long(278, 1).Longs(273, {8, 8}).Longs(279, {1000, second}).Build();
    };
    const auto limit = static_cast<std::uint32_t>(2 * file(0).size() + (8U << 20));
    Tiff read;
    ReadFrom(read, file(limit - 1000));
    EXPECT_EQ(read.GetTag(Sig(273))->dataSize, limit);
    EXPECT_EQ(FieldsOf(read, 279).value, limit);
    // The last one's sum is 999 in 32 bits: the bound sees all of it.
    for (const std::uint32_t second : {limit - 999, 0x80000000U, 0xffffffffU}) {
        Tiff none;
        EXPECT_EQ(ReadFrom(none, file(second)), 0);
        EXPECT_EQ(none.GetTag(Sig(273))->GetData(), nullptr) << second;
        EXPECT_EQ(FieldsOf(none, 273).count, 1U);
        EXPECT_EQ(FieldsOf(none, 279), (Fields{279, 3, 1, 0}));
        EXPECT_EQ(none.GetTagValue(Sig(278)), 2);
    }
}

TEST(StripLimitTest, NegativeOffsetReadsOnWhereTheStreamStands) {
    TiffBuilder tiff;
    tiff.Shape(2, 3, 3, 8).Long(278, 1).Longs(273, {8, 0x80000000U, 0xffffffffU}).Longs(279, {4, 3, 5});
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), Part(file, 8, 12)) << "straight after the strip before";
}

TEST(StripLimitTest, GreatestOffsetIsBehindTheFile) {
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 1).Longs(273, {8, 0x7fffffff}).Longs(279, {4, 3});
    const Bytes file = tiff.Build();
    Tiff read;
    ReadFrom(read, file);
    EXPECT_EQ(Image(read), Joined({Part(file, 8, 4), Bytes(3, 0)}));
}

TEST(StripLimitTest, UnlimitedRowsPerStripIsAnOrdinaryFile) {
    // What many writers put for "all in one strip".
    TiffBuilder tiff;
    tiff.Shape(2, 2, 3, 8).Long(278, 4294967295U).StripOffsets(3).StripByteCounts(3).Strip(CountingBytes(12));
    Tiff read;
    ReadFrom(read, tiff.Build());
    EXPECT_EQ(Image(read), CountingBytes(12));
    EXPECT_EQ(FieldsOf(read, 278).value, 2U);
}

TEST(StripLimitTest, CanBeCalledAlone) {
    TiffBuilder tiff = ChunkyTiff(2, 2, 3, 8, CountingBytes(12));
    const FileHandle stream = StreamOf(tiff.Build());
    Tiff read;
    EXPECT_EQ(read.ReadMultiStripOffset(stream.get()), 0) << "no tags, nothing to do";
    EXPECT_TRUE(read.tags.empty());
}

}  // namespace
}  // namespace hueweave::test
