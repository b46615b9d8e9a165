// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(TiffTagTest, DefaultIsEmpty) {
    const TiffTag tag;
    EXPECT_EQ(FieldsOf(tag), (Fields{0, 0, 0, 0}));
    EXPECT_EQ(tag.GetData(), nullptr);
}

TEST(TiffTagTest, SignatureAloneLeavesTheRestZero) {
    const TiffTag tag(Sig(305));
    EXPECT_EQ(FieldsOf(tag), (Fields{305, 0, 0, 0}));
    EXPECT_EQ(tag.GetData(), nullptr);
}

TEST(TiffTagTest, FiveArgumentsAreStoredAndThePointerIsAdopted) {
    auto* bytes = new unsigned char[6]{1, 2, 3, 4, 5, 6};
    const TiffTag tag(Sig(258), Type(3), 3, 77, bytes);
    EXPECT_EQ(FieldsOf(tag), (Fields{258, 3, 3, 77}));
    EXPECT_EQ(tag.GetData(), bytes);
    EXPECT_EQ(tag.GetValue(), 0x0201U);
}

TEST(TiffTagTest, FileEntrySplitsItsFirstWord) {
    const TiffTag tag(Word(3, 262), 1, 2, nullptr);
    EXPECT_EQ(FieldsOf(tag), (Fields{262, 3, 1, 2}));
    const TiffTag high(0xffffffffU, 0, 0, nullptr);
    EXPECT_EQ(FieldsOf(high), (Fields{65535, 65535, 0, 0}));
}

TEST(TiffTagTest, FourBytesStayInTheEntry) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    const TiffTag tag(Word(1, 700), 4, 0x12345678, stream.get());
    EXPECT_EQ(tag.GetData(), nullptr);
    EXPECT_FALSE(tag.ValueIsOffset());
    EXPECT_EQ(tag.GetValue(), 0x12345678U);
}

TEST(TiffTagTest, FiveBytesAreReadAndAnswerTheirFirstTwo) {
    const FileHandle stream = StreamOf(CountingBytes(40));
    const TiffTag tag(Word(1, 700), 5, 9, stream.get());
    EXPECT_EQ(DataOf(tag), CountingBytes(5, 10));
    EXPECT_TRUE(tag.ValueIsOffset());
    EXPECT_EQ(tag.GetValue(), 0x0b0aU);
    EXPECT_EQ(tag.value, 9U);
}

TEST(TiffTagTest, LongArrayAnswersTheLowHalfOfItsFirstItem) {
    const FileHandle stream = StreamOf(ByteWriter().Little32(0x12348765).Little32(7).Done());
    EXPECT_EQ(TiffTag(Word(4, 273), 2, 0, stream.get()).GetValue(), 0x8765U) << "zero-extended";
}

TEST(TiffTagTest, RationalAnswersTheLowHalfOfItsNumerator) {
    const FileHandle stream = StreamOf(ByteWriter().Little32(0x0001fffe).Little32(100).Done());
    EXPECT_EQ(TiffTag(Word(5, 33434), 1, 0, stream.get()).GetValue(), 0xfffeU);
}

/// Bytes an item of a type, as the table has them.
struct WidthRow {
    unsigned type;
    unsigned width;
};
class ItemWidthTest : public testing::TestWithParam<WidthRow> {};

TEST_P(ItemWidthTest, DecidesWhatIsOutOfLine) {
    const auto [type, width] = GetParam();
    const Bytes file = CountingBytes(64);
    const FileHandle stream = StreamOf(file);
    const unsigned inEntry = 4 / width;  // items
    const TiffTag small(Word(type, 1000), inEntry, 20, stream.get());
    EXPECT_EQ(small.Size(), static_cast<int>(inEntry * width));
    EXPECT_FALSE(small.ValueIsOffset());
    EXPECT_EQ(small.GetData(), nullptr);
    EXPECT_EQ(small.GetValue(), 20U);
    const TiffTag large(Word(type, 1000), inEntry + 1, 20, stream.get());
    const std::size_t size = (inEntry + 1) * width;
    EXPECT_EQ(large.Size(), static_cast<int>(size));
    EXPECT_TRUE(large.ValueIsOffset());
    EXPECT_EQ(DataOf(large), Part(file, 20, size));
    EXPECT_EQ(large.GetValue(), 22U * 256U + 21U);
}

TEST_P(ItemWidthTest, DecidesWhatIsSaved) {
    const auto [type, width] = GetParam();
    const FileHandle stream = StreamOf(CountingBytes(64));
    const unsigned inEntry = 4 / width;
    const TiffTag small(Word(type, 1000), inEntry, 20, stream.get());
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(small.SaveFile(f), 0); }), Bytes());
    const TiffTag large(Word(type, 1000), inEntry + 1, 20, stream.get());
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(large.SaveFile(f), static_cast<int>(inEntry + 1)); }),
              CountingBytes((inEntry + 1) * width, 21));
}

TEST_P(ItemWidthTest, StandsInTheTable) {
    const auto [type, width] = GetParam();
    EXPECT_EQ(Orvix_Tiff_STL2::ItemWidth(Type(static_cast<int>(type))), static_cast<int>(width));
    if (type < 12) {
        EXPECT_EQ(Orvix_Tiff_STL2::DataType[type], static_cast<int>(width));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ItemWidthTest,
                         testing::Values(WidthRow{0, 1}, WidthRow{1, 1}, WidthRow{2, 1}, WidthRow{3, 2}, WidthRow{4, 4},
                                         WidthRow{5, 8}, WidthRow{6, 1}, WidthRow{7, 1}, WidthRow{8, 2}, WidthRow{9, 4},
                                         WidthRow{10, 4}, WidthRow{11, 8}, WidthRow{12, 8}, WidthRow{13, 4}),
                         [](const auto& row) { return "Type" + std::to_string(row.param.type); });

class UnknownTypeTest : public testing::TestWithParam<int> {};

TEST_P(UnknownTypeTest, IsCarriedAsItStands) {
    EXPECT_EQ(Orvix_Tiff_STL2::ItemWidth(Type(GetParam())), 0);
    const FileHandle stream = StreamOf(CountingBytes(64));
    for (const unsigned count : {0U, 1U, 5U, 0xffffffffU}) {
        const TiffTag tag(Word(static_cast<unsigned>(GetParam()), 1000), count, 20, stream.get());
        EXPECT_EQ(tag.Size(), 0);
        EXPECT_EQ(tag.GetData(), nullptr);
        EXPECT_FALSE(tag.ValueIsOffset());
        EXPECT_EQ(tag.GetValue(), 20U);
        EXPECT_EQ(tag.count, count);
        EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 0); }), Bytes());
    }
}

INSTANTIATE_TEST_SUITE_P(Some, UnknownTypeTest, testing::Values(14, 15, 255, 256, 32767, 32768, 65535));

TEST(TagLimitTest, NegativeTypeHasNoWidth) {
    EXPECT_EQ(Orvix_Tiff_STL2::ItemWidth(Type(-1)), 0);
    EXPECT_EQ(Orvix_Tiff_STL2::ItemWidth(Type(-2147483647 - 1)), 0);
}

TEST(TagLimitTest, SizeThatNoIntHoldsIsNone) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    const TiffTag above(Word(4, 1000), 0x20000000, 20, stream.get());  // 2^31 bytes
    EXPECT_EQ(above.Size(), 0);
    EXPECT_FALSE(above.ValueIsOffset());
    EXPECT_EQ(above.GetValue(), 20U);
    EXPECT_EQ(above.count, 0x20000000U);
    const TiffTag wraps(Word(4, 1000), 0x40000002, 20, stream.get());  // 8 in 32 bits
    EXPECT_EQ(wraps.Size(), 0);
    EXPECT_EQ(wraps.GetData(), nullptr);
    EXPECT_EQ(wraps.GetValue(), 20U);
}

TEST(TagLimitTest, SizeThatTheFileCannotHoldGivesNoData) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    const TiffTag tag(Word(4, 1000), 0x1fffffff, 20, stream.get());  // just below 2^31 bytes
    EXPECT_EQ(tag.Size(), 0x7ffffffc);
    EXPECT_EQ(tag.GetData(), nullptr);
    EXPECT_EQ(tag.GetValue(), 0U);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 0); }), Bytes());
}

TEST(TagLimitTest, DataMayBeAsLongAsTheFileAndNoLonger) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 64, 0, stream.get())), CountingBytes(64));
    EXPECT_EQ(TiffTag(Word(1, 1000), 65, 0, stream.get()).GetData(), nullptr);
}

TEST(TagLimitTest, BytesBehindTheFileAreZero) {
    const FileHandle stream = StreamOf(CountingBytes(64));
    const Bytes tail = DataOf(TiffTag(Word(1, 1000), 10, 60, stream.get()));
    EXPECT_EQ(tail, (Bytes{61, 62, 63, 64, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 10, 64, stream.get())), Bytes(10, 0));
    EXPECT_EQ(DataOf(TiffTag(Word(1, 1000), 10, 0x7fffffff, stream.get())), Bytes(10, 0));
}

TEST(TagLimitTest, LargeTagWithoutStreamHasNoData) {
    const TiffTag tag(Word(2, 1000), 9, 20, nullptr);
    EXPECT_EQ(tag.GetData(), nullptr);
    EXPECT_TRUE(tag.ValueIsOffset());
    EXPECT_EQ(tag.GetValue(), 0U);
    EXPECT_EQ(tag.value, 20U);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 0); }), Bytes());
}

TEST(TagLimitTest, ShortDataAreSavedWithZeros) {
    TiffTag tag(Word(1, 1000), 7, 0, nullptr);
    unsigned char* bytes = tag.Allocate(3);
    EXPECT_EQ(DataOf(tag), Bytes(3, 0));
    bytes[0] = 8;
    bytes[2] = 9;
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 7); }), (Bytes{8, 0, 9, 0, 0, 0, 0}));
}

TEST(TagLimitTest, ChangedCountChangesTheSize) {
    // The size is nowhere kept: type and count make it anew.
    const FileHandle stream = StreamOf(CountingBytes(64));
    TiffTag tag(Word(3, 1000), 6, 0, stream.get());
    tag.count = 3;
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { EXPECT_EQ(tag.SaveFile(f), 3); }), CountingBytes(6));
    tag.count = 2;
    EXPECT_EQ(tag.GetValue(), 0U) << "the entry's value again";
}

TEST(TagLimitTest, AdoptedBytesReplaceTheOldOnes) {
    TiffTag tag(Word(1, 1000), 5, 0, nullptr);
    tag.Allocate(5);
    auto* bytes = new unsigned char[5]{1, 2, 3, 4, 5};
    tag.Adopt(bytes, 5);
    EXPECT_EQ(tag.GetData(), bytes);
    EXPECT_EQ(DataOf(tag), CountingBytes(5));
    tag.Adopt(nullptr, 0);
    EXPECT_EQ(tag.GetData(), nullptr);
}

}  // namespace
}  // namespace hueweave::test
