// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tags by themselves: the base class, arrays of no entries, curves that are asked without a size, parts that lie
// outside their block, and the changes that no saving sees.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICC4_HEADER::TypeName;

TEST(BaseTag, TakesNameTypeAndAVerbatimCopy) {
    for (const std::size_t size : {4U, 5U, 8U, 300U}) {
        iccTagBase tag;
        EXPECT_EQ(tag.tagData, nullptr);
        tag.reserved = 1234;
        EXPECT_EQ(Load(tag, "abcd", Block("wxyz", size)), size);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), 0x7778797aU);
        EXPECT_EQ(tag.reserved, 0U);
        EXPECT_EQ(tag.tagSize, size);
        EXPECT_EQ(DataOf(tag), Block("wxyz", size));
    }
}

TEST(BaseTag, MadeFromNameAndTypeKeepsItsOtherFields) {
    iccTagBase tag;
    Load(tag, "abcd", Block("wxyz", 20));
    tag.reserved = 77;
    EXPECT_EQ(tag.Initial(Name("efgh"), TypeName("text")), 0U);
    EXPECT_EQ(tag.tagSig, Name("efgh"));
    EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), Word("text"));
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.reserved, 77U);
    EXPECT_EQ(Bytes(tag.tagData.get(), tag.tagData.get() + 20), Block("wxyz", 20));
}

TEST(BaseTag, NeitherReadsNorSavesByItself) {
    iccTagBase tag;
    Load(tag, "abcd", Block("wxyz", 20));
    const FileHandle stream(std::tmpfile());
    ASSERT_NE(stream, nullptr);
    std::fputs("content", stream.get());
    std::rewind(stream.get());
    EXPECT_EQ(tag.Read(stream.get()), 0);
    EXPECT_EQ(tag.Save(stream.get()), 0);
    EXPECT_EQ(std::ftell(stream.get()), 0);
    EXPECT_EQ(std::fgetc(stream.get()), 'c');
    EXPECT_EQ(DataOf(tag), Block("wxyz", 20));
}

// --- arrays of no entries are there all the same

template <typename Tag>
class EmptyBlock : public testing::Test {};
TYPED_TEST_SUITE(EmptyBlock, AllTags);

TYPED_TEST(EmptyBlock, IsCopiedAsAnArrayOfNoBytes) {
    unsigned char room[16] = {};
    TypeParam tag;
    EXPECT_EQ(tag.Initial(Name("abcd"), room, 0), 0U);
    EXPECT_NE(tag.tagData, nullptr);
    EXPECT_EQ(tag.tagSize, 0U);
}

TEST(EmptyArrays, AreThereForATextOfNoBytes) {
    CTextType text;
    Load(text, "cprt", Block("text", 8));
    EXPECT_NE(text.text, nullptr);
    CTextDescriptionType description;
    description.textLength = 99;
    Load(description, "desc", Block("desc", 8));
    EXPECT_NE(description.text, nullptr);
    EXPECT_EQ(description.textLength, 0U);
}

TEST(EmptyArrays, AreThereForACurveOfNoEntries) {
    CCurveType curve;
    Load(curve, "rTRC", CurveBlock({}));
    EXPECT_NE(curve.curve, nullptr);
    EXPECT_EQ(curve.curveCount, 0U);
}

TEST(EmptyArrays, AreTheDataOfCurvesInsideATable) {
    CLut lut;
    Load(lut, "A2B0",
         AbBlock(1, 1).Curves(AbBlock::kB, {{1, 2, 3}}).Curves(AbBlock::kM, {{4}}).Curves(AbBlock::kA, {{}}).Done());
    for (const CCurveType* curve : {lut.bCurves[0].get(), lut.mCurve.get(), lut.aCurves[0].get()}) {
        ASSERT_NE(curve, nullptr);
        EXPECT_NE(curve->tagData, nullptr);
        EXPECT_NE(curve->curve, nullptr);
    }
}

// --- curves without a size

/// Remembers the sizes that it was given.
class WatchedCurve : public CCurveType {
public:
    using CCurveType::Initial;
    unsigned Initial(icTagSignature tagName, unsigned char* data, int size) override {
        sizes.push_back(size);
        return CCurveType::Initial(tagName, data, size);
    }
    std::vector<int> sizes;
};

TEST(CurveWithoutASize, GoesThroughTheVirtualOperationWithASizeOfZero) {
    Bytes block = CurveBlock({7, 8, 9});
    WatchedCurve curve;
    CCurveType& seen = curve;
    EXPECT_EQ(seen.Initial(Name("A2B0"), block.data()), 20U);
    EXPECT_EQ(curve.sizes, std::vector<int>{0});
    EXPECT_EQ(curve.tagSize, 20U);
    EXPECT_NE(curve.tagData, nullptr);
    EXPECT_EQ(ValuesOf(curve.curve, 0, 3), (Entries{7, 8, 9}));
}

// --- parts of a table that lie outside its block

TEST(PartsOutside, AreEmptyCurves) {
    for (const std::uint32_t offset : {33U, 100U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        for (const std::size_t place : {AbBlock::kA, AbBlock::kB, AbBlock::kM}) {
            CLut lut;
            const Bytes block = ByteWriter().Append(AbBlock(2, 2).Offset(place, offset).Done()).U8(0xff).Done();
            EXPECT_EQ(Load(lut, "A2B0", block), 33U);
            std::vector<const CCurveType*> curves = {lut.mCurve.get()};
            if (place == AbBlock::kA) curves = {lut.aCurves[0].get(), lut.aCurves[1].get()};
            if (place == AbBlock::kB) curves = {lut.bCurves[0].get(), lut.bCurves[1].get()};
            for (const CCurveType* curve : curves) {
                ASSERT_NE(curve, nullptr) << offset;
                EXPECT_EQ(curve->curveCount, 0U) << offset;
                EXPECT_EQ(curve->tagSize, 14U) << offset;
            }
        }
    }
}

TEST(PartsOutside, AreAGridOfZeros) {
    for (const std::uint32_t offset : {33U, 100U, 0x7fffffffU, 0xffffffffU}) {
        CLut lut;
        Load(lut, "A2B0", ByteWriter().Append(AbBlock(3, 3).Offset(AbBlock::kGrid, offset).Done()).U8(0xff).Done());
        ASSERT_NE(lut.clut, nullptr);
        EXPECT_EQ(lut.clut->gridPoints, (std::array<std::uint8_t, 16>{})) << offset;
        EXPECT_EQ(lut.clut->precision, 0);
        EXPECT_EQ(lut.clut->gridBytes, 0U);
        EXPECT_EQ(CLut16Type(&lut).clutTable, nullptr);
    }
}

TEST(PartsOutside, OfAGridsFirstTwentyBytesAreZero) {
    const Bytes whole = AbBlock(3, 3).Grid({2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}, 2, {}).Done();
    ASSERT_EQ(whole.size(), 52U);
    for (std::size_t size = 32; size <= 52; ++size) {
        CLut lut;
        Load(lut, "A2B0", Cut(whole, size));
        ASSERT_NE(lut.clut, nullptr);
        for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(lut.clut->gridPoints[i], 32 + i < size ? i + 2 : 0) << size;
        EXPECT_EQ(lut.clut->precision, size > 48 ? 2 : 0);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(lut.clut->padding[i], 49 + i < size ? 0x71 + i : 0) << size;
        EXPECT_EQ(lut.clut->gridBytes, 0U);
    }
}

TEST(PartsOutside, OfATablesFieldsAreZero) {
    ByteWriter block;
    block.Append(AbBlock(3, 4).Done());
    for (std::size_t place = 12; place < 32; place += 4) block.PatchBig32(place, 0x80808080U);
    for (std::size_t size = 0; size <= 32; ++size) {
        CLut lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(block.Done(), size)), size);
        EXPECT_EQ(lut.inputChan, size > 8 ? 3 : 0);
        EXPECT_EQ(lut.outputChan, size > 9 ? 4 : 0);
        EXPECT_EQ(lut.lutPad[0], size > 10 ? 0x5a : 0);
        EXPECT_EQ(lut.lutPad[1], size > 11 ? 0xa7 : 0);
        const std::uint32_t offsets[] = {lut.bCurveOffset, lut.matrixOffset, lut.mCurveOffset, lut.clutOffset,
                                         lut.aCurveOffset};
        for (std::size_t i = 0; i < 5; ++i) {
            std::uint32_t expected = 0;
            for (std::size_t at = 12 + 4 * i; at < 16 + 4 * i; ++at)
                expected = expected << 8 | (at < size ? 0x80U : 0U);
            EXPECT_EQ(offsets[i], expected) << i << " in " << size;
        }
    }
}

}  // namespace
}  // namespace hueweave::test::icc
