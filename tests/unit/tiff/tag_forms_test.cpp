// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tags of unusual types and counts: what each kind builds, answers and saves.
#include <type_traits>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(TagForms, HaveThirtyTwoBitTypesAndSignatures) {
    static_assert(sizeof(FieldType) == 4 && std::is_signed_v<std::underlying_type_t<FieldType>>);
    static_assert(sizeof(TiffTagSignature) == 4 && std::is_unsigned_v<std::underlying_type_t<TiffTagSignature>>);
    EXPECT_EQ(std::size(Orvix_Tiff_STL2::DataType), 12U);
    static_assert(sizeof(Orvix_Tiff_STL2::DataType[0]) == 4);
}

TEST(PlainTagForms, WithDataThatFitTheEntryAnswerTheEntry) {
    for (const std::uint32_t count : {0U, 1U, 4U, 5U}) {
        const TiffTag tag(Sig(1000), Type(1), count, 0x12345678, new unsigned char[8]{9, 8, 7, 6, 5, 4, 3, 2});
        EXPECT_EQ(tag.ValueIsOffset(), count == 5);
        EXPECT_EQ(tag.GetValue(), count == 5 ? 0x0809U : 0x12345678U) << count;
        EXPECT_EQ(SavedTag(tag), count == 5 ? (Bytes{9, 8, 7, 6, 5}) : Bytes()) << count;
        EXPECT_EQ(tag.value, 0x12345678U);
    }
}

TEST(PlainTagForms, ReadFromTheFilesStartWhereverTheStreamStands) {
    const FileHandle stream = StreamOf(CountingBytes(80));
    std::fseek(stream.get(), 33, SEEK_SET);
    EXPECT_EQ(DataOf(TiffTag(Word(2, 1000), 6, 20, stream.get())), CountingBytes(6, 21));
    std::fseek(stream.get(), 0, SEEK_END);
    EXPECT_EQ(DataOf(TiffTag(Word(2, 1000), 6, 0, stream.get())), CountingBytes(6, 1));
    EXPECT_EQ(DataOf(Exif_IFD_Tag(Word(4, 34665), 1, 30, stream.get())), CountingBytes(44, 31));
}

TEST(PlainTagForms, LeaveTheStreamAloneWhenTheirDataAreInTheEntry) {
    const FileHandle stream = StreamOf(CountingBytes(80));
    std::fseek(stream.get(), 33, SEEK_SET);
    const TiffTag tag(Word(4, 1000), 1, 20, stream.get());
    EXPECT_EQ(std::ftell(stream.get()), 33);
}

TEST(ResolutionForms, BuildARationalWhateverTypeAndCountSay) {
    for (const unsigned type : {0U, 1U, 3U, 4U, 5U, 11U, 14U}) {
        for (const unsigned count : {0U, 1U, 2U, 9U}) {
            const ResolutionTag tag(Word(type, 283), count, 72, nullptr);
            EXPECT_EQ(DataOf(tag), ByteWriter().Little32(7200).Little32(100).Done()) << type << " x " << count;
            EXPECT_EQ(tag.GetValue(), 72U) << type << " x " << count;
            EXPECT_EQ(FieldsOf(tag), (Fields{283, static_cast<int>(type), count, 72}));
        }
    }
}

TEST(ResolutionForms, SaveWhatTheirTypeAsksFor) {
    const Bytes rational = ByteWriter().Little32(7200).Little32(100).Done();
    EXPECT_EQ(SavedTag(ResolutionTag(Word(3, 282), 1, 72, nullptr)), Bytes());
    EXPECT_EQ(SavedTag(ResolutionTag(Word(4, 282), 1, 72, nullptr)), Bytes());
    EXPECT_EQ(SavedTag(ResolutionTag(Word(5, 282), 0, 72, nullptr)), Bytes());
    EXPECT_EQ(SavedTag(ResolutionTag(Word(1, 282), 5, 72, nullptr)), Part(rational, 0, 5));
    EXPECT_EQ(SavedTag(ResolutionTag(Word(5, 282), 2, 72, nullptr)), Joined({rational, Bytes(8, 0)}));
}

TEST(ResolutionForms, OfSeveralRationalsAnswerTheFirst) {
    const Bytes two = ByteWriter().Little32(900).Little32(3).Little32(70).Little32(7).Done();
    const FileHandle stream = StreamOf(two);
    const ResolutionTag tag(Word(5, 282), 2, 0, stream.get());
    EXPECT_EQ(tag.GetValue(), 300U);
    EXPECT_EQ(SavedTag(tag), two);
}

struct DepthFormRow {
    unsigned type;
    unsigned count;
    unsigned answer;
};
class DepthForms : public testing::TestWithParam<DepthFormRow> {};

TEST_P(DepthForms, FromAFileAnswerTheFirstSixteenBits) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    const BitsPerSampleTag tag(Word(GetParam().type, 258), GetParam().count, 20, stream.get());
    EXPECT_EQ(tag.GetValue(), GetParam().answer);
}

constexpr unsigned kFirst = 22 * 256 + 21;  // what stands at 20
INSTANTIATE_TEST_SUITE_P(Some, DepthForms,
                         testing::Values(DepthFormRow{3, 0, 0},       // nothing at all
                                         DepthFormRow{1, 0, 0},       //
                                         DepthFormRow{1, 4, 0},       // in the entry
                                         DepthFormRow{1, 5, kFirst},  // two samples, in fact
                                         DepthFormRow{3, 2, 0},       //
                                         DepthFormRow{3, 3, kFirst},  //
                                         DepthFormRow{4, 1, 20},      // the entry itself
                                         DepthFormRow{4, 2, kFirst},  //
                                         DepthFormRow{5, 1, 20},      // whatever lies there
                                         DepthFormRow{5, 2, kFirst},  //
                                         DepthFormRow{14, 3, 0}),
                         [](const auto& row) {
                             return "Type" + std::to_string(row.param.type) + "Times" + std::to_string(row.param.count);
                         });

TEST(DepthForms, MadeFromOneSampleSaveNothing) {
    EXPECT_EQ(SavedTag(BitsPerSampleTag(Word(3, 258), 1, 8, nullptr)), Bytes());
    EXPECT_EQ(SavedTag(BitsPerSampleTag(Word(3, 258), 4, 0x1234, nullptr)),
              (Bytes{0x34, 0x12, 0x34, 0x12, 0x34, 0x12, 0x34, 0x12}));
}

}  // namespace
}  // namespace hueweave::test
