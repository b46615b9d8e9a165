// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The tags of one text, of fixed-point values, or of one curve.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::FromFixed;
using ICC40::ICCFILE::TagReader;

TEST(CTextType, HoldsEveryByteBehindTheEighth) {
    CTextType tag;
    Load(tag, "cprt", ByteWriter().Text("text").Big32(0xffffffffU).Text("Nobody's").Done());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(tag.text.get()), 8), "Nobody's");
    for (std::size_t size = 0; size <= 40; ++size) {
        const Bytes block = Block("text", size);
        EXPECT_EQ(Load(tag, "cprt", block), size);
        EXPECT_THAT(DataOf(tag), EqualTo(block));
        ASSERT_NE(tag.text, nullptr) << "an array of no bytes for a block of up to eight";
        if (size <= 8) continue;
        EXPECT_THAT(Bytes(tag.text.get(), tag.text.get() + size - 8), EqualTo(Part(block, 8, size - 8)));
    }
}

TEST(CTextDescriptionType, HoldsEveryByteBehindTheEighthAndTheirNumber) {
    for (std::size_t size = 0; size <= 40; ++size) {
        CTextDescriptionType tag;
        tag.textLength = 99;
        const Bytes block = Block("desc", size);
        EXPECT_EQ(Load(tag, "desc", block), size);
        ASSERT_EQ(tag.textLength, size < 8 ? 0 : size - 8);
        ASSERT_NE(tag.text, nullptr);
        EXPECT_THAT(Bytes(tag.text.get(), tag.text.get() + tag.textLength),
                    EqualTo(Part(block, std::min<std::size_t>(size, 8), tag.textLength)));
    }
}

TEST(CTextDescriptionType, KeepsItsInnerCountAsText) {
    CTextDescriptionType tag;
    const Bytes inner = ByteWriter().Big32(5).Text("Scan").U8(0).Big32(0).Big32(0).Fill(70).Done();
    Load(tag, "desc", ByteWriter().Text("desc").Big32(0).Append(inner).Done());
    ASSERT_EQ(tag.textLength, inner.size());
    EXPECT_THAT(Bytes(tag.text.get(), tag.text.get() + tag.textLength), EqualTo(inner));
}

// --- fixed-point values

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

/// A block of `count` words 1.0, 2.0, ..., of which the one at `place` is another.
Bytes FixedBlock(std::string_view type, std::uint32_t count, std::size_t place, std::uint32_t word) {
    ByteWriter block;
    block.Text(type).Big32(0xffffffffU);
    for (std::uint32_t i = 0; i < count; ++i) block.Big32((i + 1) << 16);
    block.PatchBig32(8 + 4 * place, word);
    return block.Done();
}

TEST(CXYZType, KeepsTheWordsAndTheirUnsignedValues) {
    for (std::size_t place = 0; place < 3; ++place) {
        for (const FixedRow& row : kFixed) {
            CXYZType tag;
            // A second triple takes no part.
            Load(tag, "wtpt", ByteWriter().Append(FixedBlock("XYZ ", 3, place, row.word)).Fill(12, 0xff).Done());
            for (std::size_t i = 0; i < 3; ++i) {
                const auto other = static_cast<std::uint32_t>(i + 1);
                EXPECT_EQ(tag.rawXYZ[i], i == place ? row.word : other << 16);
                EXPECT_EQ(tag.XYZ[i], i == place ? row.value : other);
            }
        }
    }
}

TEST(CChad, HoldsNineUnsignedValuesRowByRow) {
    for (std::size_t place = 0; place < 9; ++place) {
        for (const FixedRow& row : kFixed) {
            CChad tag;
            Load(tag, "chad", FixedBlock("sf32", 9, place, row.word));
            for (std::size_t i = 0; i < 9; ++i) {
                EXPECT_EQ(tag.chad[i], i == place ? row.value : static_cast<double>(i + 1));
            }
        }
    }
}

TEST(FixedPoint, IsZeroWhereTheBlockHasEnded) {
    for (std::size_t size = 0; size <= 48; ++size) {
        const Bytes block = Block("sf32", size), padded = Cut(block, 48);
        CXYZType xyz;
        CChad chad;
        Load(xyz, "wtpt", block);
        Load(chad, "chad", block);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(xyz.rawXYZ[i], Big32(padded, 8 + 4 * i)) << size;
            EXPECT_EQ(xyz.XYZ[i], Big32(padded, 8 + 4 * i) / 65536.0) << size;
        }
        for (std::size_t i = 0; i < 9; ++i) EXPECT_EQ(chad.chad[i], Big32(padded, 8 + 4 * i) / 65536.0) << size;
    }
}

// --- curves

TEST(CCurveType, HoldsItsEntriesInHostOrder) {
    CCurveType curve;
    EXPECT_EQ(Load(curve, "rTRC", CurveBlock({0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535})), 26U);
    EXPECT_THAT(EntriesOf(&curve), EqualTo(Values{0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535}));
    EXPECT_EQ(curve.tagSize, 26U);
}

TEST(CCurveType, DoesNotInterpretACountOfNoneOrOne) {
    CCurveType none, gamma;
    Load(none, "rTRC", CurveBlock({}));
    EXPECT_EQ(none.curveCount, 0U);
    EXPECT_NE(none.curve, nullptr) << "an array of no entries";
    Load(gamma, "rTRC", CurveBlock({0x0180}));
    EXPECT_EQ(gamma.curveCount, 1U);
    EXPECT_EQ(gamma.curve[0], 0x0180U);
}

TEST(CCurveType, DoesNotLookAtItsTypeOrItsReservedWord) {
    for (const char* type : {"curv", "para", "text", "XYZ "}) {
        CCurveType curve;
        Load(curve, "gTRC", ByteWriter().Text(type).Big32(0xffffffffU).Big32(2).Big16(7).Big16(9).Done());
        EXPECT_THAT(EntriesOf(&curve), EqualTo(Values{7, 9})) << type;
    }
}

TEST(CCurveType, TakesNoMoreEntriesThanItAnnouncesAndItsBlockHolds) {
    struct Row {
        std::uint32_t announced;
        std::size_t size;  ///< of the block
        std::size_t taken;
    };
    const Bytes four = ByteWriter().Big16(11).Big16(22).Big16(33).Big16(44).Done();
    for (const Row& row : {Row{2, 20, 2},
                           {4, 19, 3},
                           {4, 20, 4},
                           {4, 21, 4},
                           {4, 22, 4},
                           {1, 13, 0},
                           {1, 14, 1},
                           {1, 12, 0},
                           {4, 11, 0},
                           {4, 8, 0},
                           {4, 0, 0},
                           {5, 20, 4},
                           {6, 21, 4},
                           {0xffffffffU, 20, 4},
                           {0x80000000U, 20, 4},
                           {0x80000004U, 20, 4},
                           {0x7fffffffU, 18, 3}}) {
        SCOPED_TRACE(std::to_string(row.announced) + " in " + std::to_string(row.size));
        const Bytes block = Cut(ByteWriter().Text("curv").Big32(0).Big32(row.announced).Append(four).Done(), row.size);
        const Values all = {11, 22, 33, 44};
        const Values taken(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(row.taken));
        CCurveType alone, within;
        EXPECT_EQ(Load(alone, "bTRC", block), row.size);
        EXPECT_EQ(alone.tagSize, row.size);
        EXPECT_THAT(EntriesOf(&alone), EqualTo(taken));
        // The same inside a larger block.
        EXPECT_EQ(within.InitialWithin(Name("A2B0"), TagReader(block.data(), static_cast<int>(block.size()))),
                  2 * row.taken + 14);
        EXPECT_EQ(within.tagSize, 2 * row.taken + 14);
        EXPECT_THAT(EntriesOf(&within), EqualTo(taken));
    }
}

TEST(CCurveType, WithoutASizeAnswersTwoBytesMoreThanItTakes) {
    Values entries;
    for (unsigned n = 0; n <= 9; entries.push_back(0x1200 + n * 0x0301), ++n) {
        Bytes block = CurveBlock(entries);
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("A2B0"), block.data()), 2 * n + 14);
        EXPECT_EQ(curve.tagSize, 2 * n + 14);
        EXPECT_THAT(EntriesOf(&curve), EqualTo(entries));
        EXPECT_EQ(curve.tagSig, Name("A2B0"));
        EXPECT_EQ(TypeOf(curve), Word("curv"));
        EXPECT_EQ(curve.reserved, 0U);
    }
}

TEST(CCurveType, OfSizeZeroIsReadAsFarAsItsCountSays) {
    for (const Values& entries : {Values{}, Values{5}, Values{0x1234, 0, 0xfffe}}) {
        Bytes block = CurveBlock(entries);
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("gTRC"), block.data(), 0), 0U);
        EXPECT_EQ(curve.tagSize, 0U);
        EXPECT_THAT(EntriesOf(&curve), EqualTo(entries));
        EXPECT_EQ(TypeOf(curve), Word("curv"));
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

TEST(CCurveType, WithoutASizeCallsTheVirtualOperationWithZero) {
    Bytes block = CurveBlock({7, 8, 9});
    WatchedCurve curve;
    CCurveType& seen = curve;
    EXPECT_EQ(seen.Initial(Name("A2B0"), block.data()), 20U);
    EXPECT_EQ(curve.sizes, std::vector<int>{0});
    EXPECT_NE(curve.tagData, nullptr);
    EXPECT_THAT(EntriesOf(&curve), EqualTo(Values{7, 8, 9}));
}

}  // namespace
}  // namespace hueweave::test::icc
