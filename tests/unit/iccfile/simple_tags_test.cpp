// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What all tags have in common, and the types of one value or one text.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICC4_HEADER::TypeName;
using ICC40::ICCFILE::FromFixed;

template <typename Tag>
class EveryTag : public testing::Test {};
using DerivedTags = testing::Types<CTextType, CTextDescriptionType, CXYZType, CDataType, CCurveType, CChad, CLut16Type,
                                   CLut8Type, CLut>;

class TagTypeName {
public:
    template <typename Tag>
    static std::string GetName(int index) {
        static const char* const names[] = {"Text", "TextDescription", "Xyz",  "Data", "Curve",
                                            "Chad", "Lut16",           "Lut8", "Lut"};
        return names[index];
    }
};
TYPED_TEST_SUITE(EveryTag, DerivedTags, TagTypeName);

TYPED_TEST(EveryTag, TakesNameTypeAndAVerbatimCopyOfItsBlock) {
    for (const std::size_t size : {4U, 8U, 11U, 12U, 52U, 63U, 300U}) {
        TypeParam tag;
        tag.reserved = 1234;
        const Bytes block = Block("wxyz", size);
        EXPECT_EQ(Load(tag, "abcd", block), size);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), 0x7778797aU);
        EXPECT_EQ(tag.reserved, 0U);  // not what stands at 4
        EXPECT_EQ(tag.tagSize, size);
        EXPECT_EQ(DataOf(tag), block);
    }
}

TYPED_TEST(EveryTag, LeavesTheBlockThatItCopied) {
    Bytes block = Block("wxyz", 64);
    TypeParam tag;
    tag.Initial(Name("abcd"), block.data(), 64);
    EXPECT_EQ(block, Block("wxyz", 64));
    block.assign(64, 0);
    EXPECT_EQ(DataOf(tag), Block("wxyz", 64));
}

TYPED_TEST(EveryTag, OfABlockTooShortForATypeTakesWhatIsThere) {
    const std::uint32_t types[] = {0, 0x77000000U, 0x77780000U, 0x77787900U};
    for (std::size_t size = 0; size < 4; ++size) {
        TypeParam tag;
        EXPECT_EQ(Load(tag, "abcd", Block("wxyz", size)), size);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), types[size]);
        EXPECT_EQ(tag.tagSize, size);
    }
}

TYPED_TEST(EveryTag, MadeFromNameAndTypeCarriesNoData) {
    TypeParam tag;
    tag.reserved = 77;
    EXPECT_EQ(tag.Initial(Name("abcd"), TypeName("wxyz")), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), 0x61626364U);
    EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), 0x7778797aU);
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.reserved, 77U);
    EXPECT_EQ(tag.tagData, nullptr);
}

TYPED_TEST(EveryTag, RenamedByNameAndTypeKeepsItsData) {
    TypeParam tag;
    Load(tag, "abcd", Block("wxyz", 20));
    const unsigned char* const data = tag.tagData.get();
    EXPECT_EQ(tag.Initial(Name("efgh"), TypeName("text")), 0U);
    EXPECT_EQ(tag.tagSig, Name("efgh"));
    EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), Word("text"));
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.tagData.get(), data);
    EXPECT_EQ(Bytes(data, data + 20), Block("wxyz", 20));
}

TYPED_TEST(EveryTag, NeitherReadsNorSavesByItself) {
    TypeParam tag;
    Load(tag, "abcd", Block("wxyz", 20));
    const FileHandle stream(std::tmpfile());
    ASSERT_NE(stream, nullptr);
    std::fputs("content", stream.get());
    std::rewind(stream.get());
    iccTagBase& base = tag;
    EXPECT_EQ(base.Read(stream.get()), 0);
    EXPECT_EQ(base.Save(stream.get()), 0);
    EXPECT_EQ(std::ftell(stream.get()), 0);
    char text[16] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, stream.get()), 7U);
    EXPECT_STREQ(text, "content");
    EXPECT_EQ(DataOf(tag), Block("wxyz", 20));
}

TYPED_TEST(EveryTag, StartsWithoutData) {
    const TypeParam tag;
    EXPECT_EQ(tag.tagData, nullptr);
}

TEST(NewTags, OwnNothing) {
    EXPECT_EQ(CTextType().text, nullptr);
    EXPECT_EQ(CTextDescriptionType().text, nullptr);
    EXPECT_EQ(CCurveType().curve, nullptr);
    EXPECT_EQ(CXYZType().XYZ, (std::array<double, 3>{}));
    EXPECT_EQ(CLut16Type().inputTable, nullptr);
    EXPECT_EQ(CLut16Type().clutTable, nullptr);
    EXPECT_EQ(CLut16Type().outputTable, nullptr);
    EXPECT_EQ(CLut8Type().inputTable, nullptr);
    EXPECT_EQ(CLut8Type().clutTable, nullptr);
    EXPECT_EQ(CLut8Type().outputTable, nullptr);
    const CLut lut;
    for (const auto& curve : lut.bCurves) EXPECT_EQ(curve, nullptr);
    for (const auto& curve : lut.aCurves) EXPECT_EQ(curve, nullptr);
    EXPECT_EQ(lut.mCurve, nullptr);
    EXPECT_EQ(lut.clut, nullptr);
}

TEST(TextTag, OfSixteenBytesHasEightOfText) {
    CTextType tag;
    Load(tag, "cprt", ByteWriter().Text("text").Big32(0xffffffffU).Text("Nobody's").Done());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(tag.text.get()), 8), "Nobody's");
}

TEST(TextTag, TakesEveryByteBehindTheEighth) {
    for (std::size_t size = 9; size <= 40; ++size) {
        CTextType text;
        CTextDescriptionType description;
        const Bytes block = Block("text", size);
        Load(text, "cprt", block);
        Load(description, "desc", block);
        EXPECT_EQ(Bytes(text.text.get(), text.text.get() + size - 8), Part(block, 8, size - 8));
        ASSERT_EQ(description.textLength, size - 8);
        EXPECT_EQ(Bytes(description.text.get(), description.text.get() + size - 8), Part(block, 8, size - 8));
    }
}

TEST(TextTag, IsEmptyUpToEightBytes) {
    for (std::size_t size = 0; size <= 12; ++size) {
        CTextDescriptionType description;
        description.textLength = 99;
        EXPECT_EQ(Load(description, "desc", Block("desc", size)), size);
        EXPECT_EQ(description.textLength, size < 8 ? 0 : size - 8) << size;
        CTextType text;
        EXPECT_EQ(Load(text, "cprt", Block("text", size)), size);
        EXPECT_EQ(DataOf(text), Block("text", size));
    }
}

TEST(DescriptionTag, KeepsItsInnerCountAsText) {
    CTextDescriptionType tag;
    const Bytes inner = ByteWriter().Big32(5).Text("Scan").U8(0).Big32(0).Big32(0).Fill(70).Done();
    Load(tag, "desc", ByteWriter().Text("desc").Big32(0).Append(inner).Done());
    ASSERT_EQ(tag.textLength, inner.size());
    EXPECT_EQ(Bytes(tag.text.get(), tag.text.get() + tag.textLength), inner);
}

struct FixedRow {
    std::uint32_t word;
    double value;
};
const FixedRow kFixed[] = {{0, 0.0},
                           {1, 0.0000152587890625},
                           {0x8000, 0.5},
                           {0xf6d6, 0.9642028808593750},
                           {65536, 1.0},
                           {65537, 1.0000152587890625},
                           {0x7fffffffU, 32767.9999847412109375},
                           {0x80000000U, 32768.0},
                           {0xffff0000U, 65535.0},  // stands for -1
                           {0xffff8000U, 65535.5},
                           {0xffffffffU, 65535.9999847412109375}};

TEST(FixedPoint, IsReadWithoutASign) {
    for (const FixedRow& row : kFixed) EXPECT_EQ(FromFixed(row.word), row.value) << row.word;
}

TEST(XyzTag, KeepsTheWordsAndTheirUnsignedValues) {
    for (std::size_t place = 0; place < 3; ++place) {
        for (const FixedRow& row : kFixed) {
            ByteWriter block;
            block.Text("XYZ ").Big32(0xffffffffU).Big32(0x10000).Big32(0x20000).Big32(0x30000);
            block.PatchBig32(8 + 4 * place, row.word);
            CXYZType tag;
            EXPECT_EQ(Load(tag, "wtpt", block.Done()), 20U);
            for (std::size_t i = 0; i < 3; ++i) {
                const auto other = static_cast<std::uint32_t>(i + 1);
                EXPECT_EQ(tag.rawXYZ[i], i == place ? row.word : other << 16);
                EXPECT_EQ(tag.XYZ[i], i == place ? row.value : other);
            }
        }
    }
}

TEST(XyzTag, TakesTheFirstOfSeveralTriples) {
    CXYZType tag;
    const Bytes triple = ByteWriter().Big32(1).Big32(2).Big32(3).Done();
    Load(tag, "rXYZ", ByteWriter().Text("XYZ ").Big32(0).Append(triple).Fill(12, 0xff).Done());
    EXPECT_EQ(tag.rawXYZ, (std::array<std::uint32_t, 3>{1, 2, 3}));
}

TEST(XyzTag, TakesWordsBeyondItsBlockForZero) {
    const Bytes whole = Block("XYZ ", 24);
    for (std::size_t size = 0; size <= 24; ++size) {
        CXYZType cut, padded;
        Load(cut, "wtpt", Cut(whole, size));
        Load(padded, "wtpt", Cut(Cut(whole, size), 24));
        EXPECT_EQ(cut.rawXYZ, padded.rawXYZ) << size;
        EXPECT_EQ(cut.XYZ, padded.XYZ) << size;
        EXPECT_EQ(cut.tagSize, size);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(cut.rawXYZ[i] == 0, size <= 8 + 4 * i) << size;
    }
}

TEST(ChadTag, HoldsNineUnsignedValuesRowByRow) {
    for (std::size_t place = 0; place < 9; ++place) {
        for (const FixedRow& row : kFixed) {
            ByteWriter block;
            block.Text("sf32").Big32(0xffffffffU);
            for (std::uint32_t i = 0; i < 9; ++i) block.Big32((i + 1) << 16);
            block.PatchBig32(8 + 4 * place, row.word);
            CChad tag;
            EXPECT_EQ(Load(tag, "chad", block.Done()), 44U);
            for (std::size_t i = 0; i < 9; ++i) {
                EXPECT_EQ(tag.chad[i], i == place ? row.value : static_cast<double>(i + 1));
            }
        }
    }
}

TEST(ChadTag, TakesWordsBeyondItsBlockForZero) {
    const Bytes whole = Block("sf32", 48);
    for (std::size_t size = 0; size <= 48; ++size) {
        CChad cut, padded;
        Load(cut, "chad", Cut(whole, size));
        Load(padded, "chad", Cut(Cut(whole, size), 48));
        EXPECT_EQ(cut.chad, padded.chad) << size;
        for (std::size_t i = 0; i < 9; ++i) EXPECT_EQ(cut.chad[i] == 0, size <= 8 + 4 * i) << size;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
