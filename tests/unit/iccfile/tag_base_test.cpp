// SPDX-License-Identifier: MIT
// The common part of all tags, and the reader that keeps every decoder within its block.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::TagReader;

template <typename Tag>
class IccTagBase : public testing::Test {};
TYPED_TEST_SUITE(IccTagBase, AllTags);

TYPED_TEST(IccTagBase, StoresNameTypeAndAVerbatimCopyOfItsBlock) {
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

TYPED_TEST(IccTagBase, KeepsDataAndReservedWordWhenGivenNameAndType) {
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

TYPED_TEST(IccTagBase, ReadAndSaveDoNothing) {
    TypeParam tag;
    EXPECT_EQ(static_cast<iccTagBase&>(tag).Read(nullptr), 0);
    EXPECT_EQ(static_cast<iccTagBase&>(tag).Save(nullptr), 0);
    EXPECT_TRUE((std::is_same_v<decltype(&TypeParam::Read), int (iccTagBase::*)(std::FILE*)>)) << "the base's";
    EXPECT_TRUE((std::is_same_v<decltype(&TypeParam::Save), int (iccTagBase::*)(std::FILE*)>));
}

TEST(TagReader, ReadsBigEndianWordsAndZerosPastTheEnd) {
    const Bytes block = {0x81, 0x92, 0xa3, 0xb4, 0xc5};
    const TagReader reader(block.data(), 5);
    for (const std::uint64_t at : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 0xffffffffU}) {
        EXPECT_EQ(reader.U8(at), ByteAt(block, at));
        EXPECT_EQ(reader.U16(at), Big16At(block, at));
        EXPECT_EQ(reader.U32(at), Big32At(block, at));
    }
}

TEST(TagReader, ReportsTheBytesLeftInItsBlock) {
    const Bytes block(10);
    const TagReader reader(block.data(), 10);
    EXPECT_EQ(reader.Size(), 10U);
    for (std::size_t at = 0; at < 13; ++at) {
        const std::size_t rest = at < 10 ? 10 - at : 0;
        EXPECT_EQ(reader.Room(at), rest);
        EXPECT_EQ(reader.From(at).size(), rest);
        EXPECT_EQ(reader.From(at).data(), block.data() + 10 - rest);
        for (std::size_t bytes = 0; bytes < 13; ++bytes) EXPECT_EQ(reader.Holds(at, bytes), at + bytes <= 10) << at;
    }
    EXPECT_FALSE(reader.Holds(8, 0xffffffffffffffffU));
    EXPECT_FALSE(reader.Holds(0xffffffffffffffffU, 2));
}

TEST(TagReader, TreatsNullAndSizesBelowOneAsAnEmptyBlock) {
    const Bytes block(10, 0xff);
    for (const TagReader& reader : {TagReader(nullptr, 10), TagReader(block.data(), 0), TagReader(block.data(), -1)}) {
        EXPECT_EQ(reader.Size(), 0U);
        EXPECT_EQ(reader.U32(0), 0U);
        EXPECT_FALSE(reader.Holds(0, 1));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
