// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What all tags have in common, and the reader that keeps every decoder within its block.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::TagReader;

template <typename Tag>
class EveryTag : public testing::Test {};
TYPED_TEST_SUITE(EveryTag, AllTags, NameOfTag);

TYPED_TEST(EveryTag, TakesNameTypeAndAVerbatimCopyOfItsBlock) {
    struct Row {
        std::size_t size;
        std::uint32_t type;  ///< of a block too short for one what is there
    };
    for (const auto& [size, type] : {Row{0, 0},
                                     {1, 0x77000000U},
                                     {2, 0x77780000U},
                                     {3, 0x77787900U},
                                     {4, 0x7778797aU},
                                     {5, 0x7778797aU},
                                     {8, 0x7778797aU},
                                     {11, 0x7778797aU},
                                     {12, 0x7778797aU},
                                     {52, 0x7778797aU},
                                     {63, 0x7778797aU},
                                     {300, 0x7778797aU}}) {
        TypeParam tag;
        tag.reserved = 1234;
        const Bytes block = Block("wxyz", size);
        EXPECT_EQ(Load(tag, "abcd", block), size);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
        EXPECT_EQ(TypeOf(tag), type) << size;
        EXPECT_EQ(tag.reserved, 0U) << "not what stands at 4";
        EXPECT_EQ(tag.tagSize, size);
        EXPECT_THAT(DataOf(tag), EqualTo(block));
    }
}

TYPED_TEST(EveryTag, LeavesTheBlockThatItCopied) {
    Bytes block = Block("wxyz", 64);
    TypeParam tag;
    tag.Initial(Name("abcd"), block.data(), 64);
    EXPECT_THAT(block, EqualTo(Block("wxyz", 64)));
    block.assign(64, 0);
    EXPECT_THAT(DataOf(tag), EqualTo(Block("wxyz", 64)));
}

TYPED_TEST(EveryTag, CopiesAnEmptyBlockAsAnArrayOfNoBytes) {
    unsigned char room[16] = {};
    TypeParam tag;
    EXPECT_EQ(tag.Initial(Name("abcd"), room, 0), 0U);
    EXPECT_NE(tag.tagData, nullptr);
    EXPECT_EQ(tag.tagSize, 0U);
}

TYPED_TEST(EveryTag, MadeFromNameAndTypeHasNoData) {
    TypeParam tag;
    EXPECT_EQ(tag.tagData, nullptr);
    tag.reserved = 77;
    EXPECT_EQ(tag.Initial(Name("abcd"), TypeName("wxyz")), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
    EXPECT_EQ(TypeOf(tag), 0x7778797aU);
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.reserved, 77U);
    EXPECT_EQ(tag.tagData, nullptr);
}

TYPED_TEST(EveryTag, RenamedByNameAndTypeKeepsDataAndReservedWord) {
    TypeParam tag;
    Load(tag, "abcd", Block("wxyz", 20));
    tag.reserved = 77;
    const unsigned char* const data = tag.tagData.get();
    EXPECT_EQ(tag.Initial(Name("efgh"), TypeName("text")), 0U);
    EXPECT_EQ(tag.tagSig, Name("efgh"));
    EXPECT_EQ(TypeOf(tag), Word("text"));
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.reserved, 77U);
    EXPECT_EQ(tag.tagData.get(), data);
    EXPECT_THAT(Bytes(data, data + 20), EqualTo(Block("wxyz", 20)));
}

TYPED_TEST(EveryTag, NeitherReadsNorSavesByItself) {
    TypeParam tag;
    Load(tag, "abcd", Block("wxyz", 20));
    const FileHandle stream(std::tmpfile());
    ASSERT_NE(stream, nullptr);
    std::fputs("content", stream.get());
    std::rewind(stream.get());
    iccTagBase& base = tag;
    for (std::FILE* given : {stream.get(), static_cast<std::FILE*>(nullptr)}) {
        EXPECT_EQ(base.Read(given), 0);
        EXPECT_EQ(base.Save(given), 0);
    }
    EXPECT_EQ(std::ftell(stream.get()), 0);
    char text[16] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, stream.get()), 7U);
    EXPECT_STREQ(text, "content");
    EXPECT_THAT(DataOf(tag), EqualTo(Block("wxyz", 20)));
}

TEST(NewTags, OwnNothing) {
    EXPECT_EQ(CTextType().text, nullptr);
    EXPECT_EQ(CTextDescriptionType().text, nullptr);
    EXPECT_EQ(CCurveType().curve, nullptr);
    EXPECT_EQ(CXYZType().XYZ, (std::array<double, 3>{}));
    EXPECT_TRUE(HasNone(CLut16Type()));
    EXPECT_TRUE(HasNone(CLut8Type()));
    const CLut lut;
    for (const auto& curve : lut.bCurves) EXPECT_EQ(curve, nullptr);
    for (const auto& curve : lut.aCurves) EXPECT_EQ(curve, nullptr);
    EXPECT_EQ(lut.mCurve, nullptr);
    EXPECT_EQ(lut.clut, nullptr);
}

TEST(TagReader, ReadsBigEndianWordsAndZerosPastTheEnd) {
    const Bytes block = {0x81, 0x92, 0xa3, 0xb4, 0xc5};
    const TagReader reader(block.data(), 5);
    EXPECT_EQ(reader.U8(0), 0x81U);
    EXPECT_EQ(reader.U8(4), 0xc5U);
    EXPECT_EQ(reader.U8(5), 0U);
    EXPECT_EQ(reader.U16(3), 0xb4c5U);
    EXPECT_EQ(reader.U16(4), 0xc500U);
    EXPECT_EQ(reader.U16(5), 0U);
    EXPECT_EQ(reader.U32(1), 0x92a3b4c5U);
    EXPECT_EQ(reader.U32(2), 0xa3b4c500U);
    EXPECT_EQ(reader.U32(4), 0xc5000000U);
    EXPECT_EQ(reader.U32(5), 0U);
    EXPECT_EQ(reader.U32(0xffffffffU), 0U);
}

TEST(TagReader, KnowsWhatItsBlockHolds) {
    const Bytes block(10);
    const TagReader reader(block.data(), 10);
    EXPECT_EQ(reader.Size(), 10U);
    EXPECT_EQ(reader.Room(0), 10U);
    EXPECT_EQ(reader.Room(9), 1U);
    EXPECT_EQ(reader.Room(10), 0U);
    EXPECT_EQ(reader.Room(11), 0U);
    EXPECT_EQ(reader.From(7).size(), 3U);
    EXPECT_EQ(reader.From(7).data(), block.data() + 7);
    EXPECT_EQ(reader.From(11).size(), 0U);
    EXPECT_TRUE(reader.Holds(4, 6));
    EXPECT_FALSE(reader.Holds(4, 7));
    EXPECT_TRUE(reader.Holds(10, 0));
    EXPECT_FALSE(reader.Holds(11, 0));
    EXPECT_FALSE(reader.Holds(8, 0xffffffffffffffffU));
    EXPECT_FALSE(reader.Holds(0xffffffffffffffffU, 2));
}

TEST(TagReader, TakesNullAndASizeBelowOneForAnEmptyBlock) {
    const Bytes block(10, 0xff);
    for (const TagReader& reader : {TagReader(nullptr, 10), TagReader(block.data(), 0), TagReader(block.data(), -1)}) {
        EXPECT_EQ(reader.Size(), 0U);
        EXPECT_EQ(reader.U32(0), 0U);
        EXPECT_FALSE(reader.Holds(0, 1));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
