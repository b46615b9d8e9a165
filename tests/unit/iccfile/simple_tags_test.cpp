// SPDX-License-Identifier: MIT
// The tags that hold one text, fixed-point values, or one curve.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::FromFixed;
using ICC40::ICCFILE::TagReader;

TEST(CTextType, HoldsEveryByteAfterTheEighth) {
    for (std::size_t size = 0; size <= 40; ++size) {
        const Bytes block = Block("desc", size);
        const Bytes expected = size < 8 ? Bytes() : Part(block, 8, size - 8);
        const Loaded<CTextType> text("cprt", block);
        const Loaded<CTextDescriptionType> description("desc", block);
        EXPECT_EQ(text.taken, size);
        EXPECT_EQ(description.taken, size);
        ASSERT_EQ(description.textLength, expected.size());
        for (const unsigned char* bytes : {text.text.get(), description.text.get()}) {
            ASSERT_NE(bytes, nullptr) << "an array of no bytes for a block of up to eight";
            EXPECT_THAT(Bytes(bytes, bytes + expected.size()), EqualTo(expected));
        }
    }
}

TEST(CXYZType, ReadsFixedPointAsUnsigned) {
    EXPECT_EQ(FromFixed(0xffff0000U), 65535.0) << "not -1";
    for (const std::uint32_t word : {0U, 1U, 0x8000U, 0xf6d6U, 65536U, 65537U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        EXPECT_EQ(FromFixed(word), word / 65536.0) << word;
    }
}

TEST(CXYZType, ReadsZerosBeyondTheBlock) {
    for (std::size_t size = 0; size <= 48; ++size) {
        SCOPED_TRACE(size);
        const Bytes block = Block("sf32", size);
        const Loaded<CXYZType> xyz("wtpt", block);
        const Loaded<CChad> chad("chad", block);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(xyz.rawXYZ[i], Big32At(block, 8 + 4 * i));
            EXPECT_EQ(xyz.XYZ[i], Big32At(block, 8 + 4 * i) / 65536.0);
        }
        for (std::size_t i = 0; i < 9; ++i) EXPECT_EQ(chad.chad[i], Big32At(block, 8 + 4 * i) / 65536.0);
    }
}

TEST(CCurveType, HoldsItsEntriesInHostOrder) {
    ByteWriter block;  // type and reserved word are ignored
    block.Append(CurveBlock({0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535})).PatchBig32(0, Word("para"));
    block.PatchBig32(4, 0xffffffffU);
    const Loaded<CCurveType> curve("rTRC", block.Done());
    EXPECT_EQ(curve.taken, 26U);
    EXPECT_THAT(EntriesOf(&curve), EqualTo(Values{0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535}));
    EXPECT_EQ(curve.tagSize, 26U);
}

TEST(CCurveType, ReadsNoMoreEntriesThanDeclaredOrPresent) {
    struct Row {
        std::uint32_t announced;
        std::size_t size;  ///< of the block
        std::size_t taken;
    };
    const Bytes four = ByteWriter().Big16(11).Big16(22).Big16(33).Big16(44).Done();
    for (const Row& row :
         {Row{2, 20, 2}, Row{4, 19, 3}, Row{4, 20, 4}, Row{4, 21, 4}, Row{4, 22, 4}, Row{1, 13, 0}, Row{1, 14, 1},
          Row{1, 12, 0}, Row{4, 11, 0}, Row{4, 8, 0}, Row{4, 0, 0}, Row{5, 20, 4}, Row{6, 21, 4},
          Row{0xffffffffU, 20, 4}, Row{0x80000000U, 20, 4}, Row{0x80000004U, 20, 4}, Row{0x7fffffffU, 18, 3}}) {
        SCOPED_TRACE(std::to_string(row.announced) + " in " + std::to_string(row.size));
        const Bytes block = Cut(ByteWriter().Text("curv").Big32(0).Big32(row.announced).Append(four).Done(), row.size);
        Values taken = {11, 22, 33, 44};
        taken.resize(row.taken);
        const Loaded<CCurveType> alone("bTRC", block);
        EXPECT_EQ(alone.taken, row.size);
        EXPECT_EQ(alone.tagSize, row.size);
        EXPECT_THAT(EntriesOf(&alone), EqualTo(taken));
        EXPECT_NE(alone.curve, nullptr) << "an array of no entries, too";
        CCurveType within;  // the same inside a larger block
        EXPECT_EQ(within.InitialWithin(Name("A2B0"), TagReader(block.data(), static_cast<int>(block.size()))),
                  2 * row.taken + 14);
        EXPECT_EQ(within.tagSize, 2 * row.taken + 14);
        EXPECT_THAT(EntriesOf(&within), EqualTo(taken));
    }
}

TEST(CCurveType, ReadsTheDeclaredCountWithoutASizeAndReturnsTwoBytesMore) {
    Values entries;
    for (unsigned n = 0; n <= 9; entries.push_back(0x1200 + n * 0x0301), ++n) {
        Bytes block = CurveBlock(entries);
        CCurveType ofSizeZero, stepped;
        EXPECT_EQ(ofSizeZero.Initial(Name("A2B0"), block.data(), 0), 0U);
        EXPECT_EQ(ofSizeZero.tagSize, 0U);
        EXPECT_EQ(stepped.Initial(Name("A2B0"), block.data()), 2 * n + 14);
        EXPECT_EQ(stepped.tagSize, 2 * n + 14);
        for (const CCurveType* curve : {&ofSizeZero, &stepped}) {
            EXPECT_THAT(EntriesOf(curve), EqualTo(entries));
            EXPECT_EQ(curve->tagSig, Name("A2B0"));
            EXPECT_EQ(TypeOf(*curve), Word("curv"));
            EXPECT_EQ(curve->reserved, 0U);
        }
    }
}

TEST(CCurveType, IsEmptyWithoutDataOrWithANegativeSize) {
    Bytes block = CurveBlock({1, 2, 3});
    struct Row {
        unsigned char* data;
        int size;
    };
    for (const Row& row : {Row{nullptr, 0}, {nullptr, 20}, {nullptr, -1}, {block.data(), -1}}) {
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("gTRC"), row.data, row.size), 0U);
        EXPECT_EQ(curve.curveCount, 0U) << row.size;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
