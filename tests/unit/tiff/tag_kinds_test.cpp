// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(BitsPerSampleTagTest, ThreeFromAFileAnswerTheFirst) {
    const FileHandle stream = StreamOf(ByteWriter().Little16(8).Little16(16).Little16(16).Done());
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 3, 0, stream.get()).GetValue(), 8U);
}

TEST(BitsPerSampleTagTest, ThreeFromAStreamInMemoryAnswerTheFirst) {
    Bytes bytes = ByteWriter().Fill(2).Little16(8).Little16(16).Little16(16).Done();
    const FileHandle stream(fmemopen(bytes.data(), bytes.size(), "rb"));
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 3, 2, stream.get()).GetValue(), 8U);
    EXPECT_EQ(std::ftell(stream.get()), 8);
}

TEST(BitsPerSampleTagTest, TwoInTheEntryAnswerNothing) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 2, 0x00080008, stream.get()).GetValue(), 0U);
}

TEST(BitsPerSampleTagTest, OneAnswersTheWholeEntry) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 1, 16, stream.get()).GetValue(), 16U);
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 1, 0x00120008, stream.get()).GetValue(), 0x00120008U);
}

TEST(BitsPerSampleTagTest, CountOfOneAnswersTheEntryWhateverTheType) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(BitsPerSampleTag(Word(5, 258), 1, 12, stream.get()).GetValue(), 12U);
}

TEST(BitsPerSampleTagTest, MadeFromThreeSamplesSavesSixBytes) {
    const BitsPerSampleTag tag(Word(3, 258), 3, 8, nullptr);
    EXPECT_EQ(DataOf(tag), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(SavedTag(tag), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(tag.value, 8U);
    EXPECT_EQ(tag.GetValue(), 8U);
}

TEST(BitsPerSampleTagTest, MadeFromOneSampleHasNoData) {
    const BitsPerSampleTag tag(Word(3, 258), 1, 0x12345, nullptr);
    EXPECT_EQ(tag.GetData(), nullptr);
    EXPECT_EQ(tag.GetValue(), 0x12345U);
}

TEST(BitsPerSampleTagTest, MadeFromTwoSamplesHasDataButSavesNone) {
    const BitsPerSampleTag tag(Word(3, 258), 2, 16, nullptr);
    EXPECT_EQ(DataOf(tag), (Bytes{16, 0, 16, 0}));
    EXPECT_EQ(tag.GetValue(), 16U);
    EXPECT_EQ(SavedTag(tag), Bytes());
}

TEST(BitsPerSampleTagTest, MadeFromMoreSamplesThanAnIntCanSizeHasNoData) {
    for (const unsigned count : {0x40000000U, 0x7fffffffU, 0xffffffffU}) {
        const BitsPerSampleTag tag(Word(3, 258), count, 8, nullptr);
        EXPECT_EQ(tag.GetData(), nullptr);
        EXPECT_EQ(tag.dataSize, 0U);
        EXPECT_EQ(tag.count, count);
    }
}

TEST(BitsPerSampleTagTest, MadeFromNoSampleHasAnEmptyArray) {
    const BitsPerSampleTag tag(Word(3, 258), 0, 16, nullptr);
    EXPECT_EQ(tag.dataSize, 0U);
    EXPECT_EQ(tag.GetValue(), 0U);
    EXPECT_EQ(tag.value, 16U);
    EXPECT_EQ(SavedTag(tag), Bytes());
}

TEST(BitsPerSampleTagTest, ItemsAreCutToSixteenBits) {
    const BitsPerSampleTag tag(Word(3, 258), 4, 0x12345, nullptr);
    EXPECT_EQ(DataOf(tag), (Bytes{0x45, 0x23, 0x45, 0x23, 0x45, 0x23, 0x45, 0x23}));
    EXPECT_EQ(tag.GetValue(), 0x2345U);
    EXPECT_EQ(tag.value, 0x12345U);
}

TEST(BitsPerSampleTagTest, ItemsAreShortsWhateverTheType) {
    const BitsPerSampleTag tag(Word(4, 258), 3, 8, nullptr);
    EXPECT_EQ(DataOf(tag), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(SavedTag(tag), (Bytes{8, 0, 8, 0, 8, 0, 0, 0, 0, 0, 0, 0})) << "the type asks for twelve bytes";
}

TEST(BitsPerSampleTagTest, LostArrayAnswersNothing) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(BitsPerSampleTag(Word(3, 258), 21, 0, stream.get()).GetValue(), 0U);
}

TEST(ResolutionTagTest, MadeFromANumberIsHundredthsOfIt) {
    const ResolutionTag tag(Word(5, 282), 1, 72, nullptr);
    EXPECT_EQ(tag.GetValue(), 72U);
    EXPECT_EQ(DataOf(tag), ByteWriter().Little32(7200).Little32(100).Done());
    EXPECT_EQ(SavedTag(tag), DataOf(tag));
    EXPECT_EQ(tag.value, 72U);
}

struct ResolutionRow {
    std::uint32_t value;
    std::uint32_t numerator;
    std::uint32_t answer;
};
class MadeResolutionTest : public testing::TestWithParam<ResolutionRow> {};

TEST_P(MadeResolutionTest, MultipliesInThirtyTwoBits) {
    const ResolutionTag tag(Word(5, 283), 1, GetParam().value, nullptr);
    EXPECT_EQ(DataOf(tag), ByteWriter().Little32(GetParam().numerator).Little32(100).Done());
    EXPECT_EQ(tag.GetValue(), GetParam().answer);
    EXPECT_EQ(tag.value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Some, MadeResolutionTest,
                         testing::Values(ResolutionRow{0, 0, 0}, ResolutionRow{300, 30000, 300},
                                         ResolutionRow{42949672, 4294967200U, 42949672}, ResolutionRow{42949673, 4, 0},
                                         ResolutionRow{0x80000001U, 100, 1}));

struct RationalRow {
    std::uint32_t numerator;
    std::uint32_t denominator;
    std::uint32_t answer;
};
class ReadResolutionTest : public testing::TestWithParam<RationalRow> {};

TEST_P(ReadResolutionTest, DividesUnsignedAndTruncates) {
    const auto [numerator, denominator, answer] = GetParam();
    const FileHandle stream = StreamOf(ByteWriter().Fill(3).Little32(numerator).Little32(denominator).Done());
    EXPECT_EQ(ResolutionTag(Word(5, 282), 1, 3, stream.get()).GetValue(), answer);
}

INSTANTIATE_TEST_SUITE_P(Some, ReadResolutionTest,
                         testing::Values(RationalRow{30000, 100, 300}, RationalRow{7, 2, 3}, RationalRow{0, 5, 0},
                                         RationalRow{0xffffffffU, 1, 0xffffffffU},
                                         RationalRow{0xffffffffU, 0x80000000U, 1}, RationalRow{72, 0, 0},
                                         RationalRow{0, 0, 0}, RationalRow{0xffffffffU, 0xffffffffU, 1}));

TEST(ResolutionTagTest, NumberInTheEntryAnswersNothing) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    EXPECT_EQ(ResolutionTag(Word(3, 282), 1, 72, stream.get()).GetValue(), 0U);
    EXPECT_EQ(ResolutionTag(Word(4, 282), 1, 72, stream.get()).GetValue(), 0U);
}

TEST(ResolutionTagTest, NeedsEightBytesOfAnyType) {
    const FileHandle stream = StreamOf(ByteWriter().Little32(600).Little32(2).Done());
    EXPECT_EQ(ResolutionTag(Word(1, 282), 7, 0, stream.get()).GetValue(), 0U);
    EXPECT_EQ(ResolutionTag(Word(1, 282), 8, 0, stream.get()).GetValue(), 300U);
    EXPECT_EQ(ResolutionTag(Word(4, 282), 2, 0, stream.get()).GetValue(), 300U);
}

TEST(ExifTagTest, TakesFortyFourBytesWhereverItPoints) {
    const FileHandle stream = StreamOf(CountingBytes(100));
    const Exif_IFD_Tag tag(Word(4, 34665), 1, 11, stream.get());
    EXPECT_EQ(DataOf(tag), CountingBytes(44, 12));
    EXPECT_EQ(FieldsOf(tag), (Fields{34665, 4, 1, 11}));
    EXPECT_EQ(tag.GetValue(), 11U) << "the place, not the data";
    EXPECT_EQ(SavedTag(tag), Bytes()) << "one LONG is in the entry";
}

TEST(ExifTagTest, BytesBehindTheFileAreZero) {
    const FileHandle stream = StreamOf(CountingBytes(50));
    Bytes expected = CountingBytes(20, 31);
    expected.resize(44, 0);
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, stream.get())), expected);
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 50, stream.get())), Bytes(44, 0));
}

TEST(ExifTagTest, WithoutStreamIsZeros) {
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, nullptr)), Bytes(44, 0));
}

TEST(ExifTagTest, LargerAnnouncementsAreServedFromTheFortyFour) {
    const FileHandle stream = StreamOf(CountingBytes(100));
    const Exif_IFD_Tag two(Word(4, 34665), 2, 11, stream.get());
    EXPECT_EQ(DataOf(two), CountingBytes(44, 12));
    EXPECT_EQ(two.GetValue(), 13U * 256U + 12U);
    EXPECT_EQ(SavedTag(two), CountingBytes(8, 12));
    const Exif_IFD_Tag twelve(Word(4, 34665), 12, 11, stream.get());
    Bytes expected = CountingBytes(44, 12);
    expected.resize(48, 0);
    EXPECT_EQ(SavedTag(twelve), expected);
}

/// Which object a signature asks for.
std::string KindOf(const TiffTag* tag) {
    if (dynamic_cast<const BitsPerSampleTag*>(tag)) return "BitsPerSample";
    if (dynamic_cast<const ResolutionTag*>(tag)) return "Resolution";
    if (dynamic_cast<const Exif_IFD_Tag*>(tag)) return "Exif";
    return tag ? "plain" : "none";
}

TEST(CreateTagTest, SignatureAloneChoosesTheKind) {
    Tiff tiff;
    for (unsigned type = 0; type < 20; ++type) {
        EXPECT_EQ(KindOf(tiff.CreateTag(Word(type, 258), 1, 8, nullptr).get()), "BitsPerSample");
        EXPECT_EQ(KindOf(tiff.CreateTag(Word(type, 282), 1, 8, nullptr).get()), "Resolution");
        EXPECT_EQ(KindOf(tiff.CreateTag(Word(type, 283), 1, 8, nullptr).get()), "Resolution");
        EXPECT_EQ(KindOf(tiff.CreateTag(Word(type, 34665), 1, 8, nullptr).get()), "Exif");
        EXPECT_EQ(KindOf(tiff.CreateTag(Word(type, 273), 1, 8, nullptr).get()), "plain");
    }
}

TEST(CreateTagTest, EveryOtherSignatureIsPlainAndNoneIsRefused) {
    // The ones that TIFF and its extensions define, and all numbers up to a thousand.
    std::vector<unsigned> signatures{33432, 33723, 34377, 34675, 34664, 34666, 40000, 65535};
    for (unsigned tag = 0; tag <= 1000; ++tag) signatures.push_back(tag);
    const FileHandle stream = StreamOf(CountingBytes(40));
    Tiff tiff;
    for (const unsigned tag : signatures) {
        if (tag == 258 || tag == 282 || tag == 283) continue;
        const std::unique_ptr<TiffTag> made = tiff.CreateTag(Word(1, tag), 6, 4, stream.get());
        ASSERT_EQ(KindOf(made.get()), "plain") << tag;
        ASSERT_EQ(FieldsOf(*made), (Fields{tag, 1, 6, 4}));
        ASSERT_EQ(DataOf(*made), CountingBytes(6, 5)) << tag;
    }
}

TEST(CreateTagTest, FromAStreamBuildsNothing) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    Tiff tiff;
    EXPECT_EQ(tiff.CreateTag(Word(3, 258), 1, 8, stream.get())->GetData(), nullptr);
    EXPECT_EQ(tiff.CreateTag(Word(3, 282), 1, 8, stream.get())->GetData(), nullptr);
    EXPECT_TRUE(tiff.tags.empty()) << "made, not added";
}

}  // namespace
}  // namespace hueweave::test
