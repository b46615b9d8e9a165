// SPDX-License-Identifier: MIT
// The common part of all tags, and the reader that keeps every decoder within its block.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::TagReader;

template <typename Tag>
class EveryTag : public testing::Test {};
TYPED_TEST_SUITE(EveryTag, AllTags, NameOfTag);

TYPED_TEST(EveryTag, TakesNameTypeAndAVerbatimCopyOfItsBlock) {
    constexpr std::uint32_t kTypes[] = {0, 0x77000000U, 0x77780000U, 0x77787900U,
                                        0x7778797aU};  // as far as the block reaches
    for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 11U, 12U, 52U, 63U, 300U}) {
        TypeParam tag;
        tag.reserved = 1234;
        Bytes block = Block("wxyz", size);
        if (size == 0) block.assign(16, 0);
        const Bytes before = block;
        EXPECT_EQ(tag.Initial(Name("abcd"), block.data(), static_cast<int>(size)), size);
        EXPECT_EQ(block, before) << "is only read";
        block.assign(block.size(), 0);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
        EXPECT_EQ(TypeOf(tag), kTypes[std::min<std::size_t>(size, 4)]) << size;
        EXPECT_EQ(tag.reserved, 0U) << "not what stands at 4";
        EXPECT_EQ(tag.tagSize, size);
        EXPECT_NE(tag.tagData, nullptr) << "an array of no bytes, too";
        EXPECT_THAT(DataOf(tag), EqualTo(Block("wxyz", size)));
    }
}

TYPED_TEST(EveryTag, NamedByNameAndTypeKeepsDataAndReservedWord) {
    for (const bool empty : {true, false}) {
        TypeParam tag;
        EXPECT_EQ(tag.tagData, nullptr);
        if (!empty) Load(tag, "efgh", Block("text", 20));
        tag.reserved = 77;
        const unsigned char* const data = tag.tagData.get();
        EXPECT_EQ(tag.Initial(Name("abcd"), TypeName("wxyz")), 0U);
        EXPECT_EQ(tag.tagSig, Name("abcd"));
        EXPECT_EQ(TypeOf(tag), 0x7778797aU);
        EXPECT_EQ(tag.tagSize, 0U);
        EXPECT_EQ(tag.reserved, 77U);
        ASSERT_EQ(tag.tagData.get(), data);
        if (!empty) {
            EXPECT_THAT(Bytes(data, data + 20), EqualTo(Block("text", 20)));
        }
    }
}

TYPED_TEST(EveryTag, NeitherReadsNorSavesByItself) {
    TypeParam tag;
    EXPECT_EQ(static_cast<iccTagBase&>(tag).Read(nullptr), 0);
    EXPECT_EQ(static_cast<iccTagBase&>(tag).Save(nullptr), 0);
    EXPECT_TRUE((std::is_same_v<decltype(&TypeParam::Read), int (iccTagBase::*)(std::FILE*)>)) << "the base's";
    EXPECT_TRUE((std::is_same_v<decltype(&TypeParam::Save), int (iccTagBase::*)(std::FILE*)>));
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
