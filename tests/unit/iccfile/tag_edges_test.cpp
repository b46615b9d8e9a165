// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The decoded tags at their edges: simple types, and the tables.
#include <cstring>
#include <vector>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

TEST(SimpleTagEdges, ATextIsWhatStandsBehindTheFirstEightBytes) {
    for (unsigned size = 0; size <= 16; ++size) {
        Bytes block = ByteWriter().Text("text").Fill(4).Text("abcdefgh").Done();
        block.resize(size);
        CTextType text;
        CTextDescriptionType description;
        EXPECT_EQ(Load(text, "cprt", block), size);
        EXPECT_EQ(Load(description, "desc", block), size);
        EXPECT_EQ(description.textLength, size < 8 ? 0 : size - 8);
        if (size <= 8) continue;
        EXPECT_EQ(std::memcmp(text.text.get(), "abcdefgh", size - 8), 0);
        EXPECT_EQ(std::memcmp(description.text.get(), "abcdefgh", size - 8), 0);
    }
}

TEST(SimpleTagEdges, FixedPointIsReadWithoutSign) {
    CXYZType xyz;
    Load(xyz, "wtpt", ByteWriter().Text("XYZ ").Big32(0).Big32(65536).Big32(0xffff0000U).Big32(1).Done());
    EXPECT_EQ(xyz.rawXYZ[0], 65536U);
    EXPECT_EQ(xyz.XYZ[0], 1.0);
    EXPECT_EQ(xyz.rawXYZ[1], 0xffff0000U);
    EXPECT_EQ(xyz.XYZ[1], 65535.0);  // -1.0 in the file
    EXPECT_EQ(xyz.XYZ[2], 1.52587890625e-5);
    CChad chad;
    ByteWriter block;
    block.Text("sf32").Big32(0);
    for (std::uint32_t i = 0; i < 9; ++i) block.Big32(i == 4 ? 0xffff0000U : i * 65536U);
    Load(chad, "chad", block.Done());
    for (std::size_t i = 0; i < 9; ++i) EXPECT_EQ(chad.chad[i], i == 4 ? 65535.0 : static_cast<double>(i));
}

TEST(SimpleTagEdges, WordsThatABlockDoesNotHoldAreZero) {
    const Bytes whole = ByteWriter().Text("XYZ ").Big32(0).Big32(0x01010101).Big32(0x02020202).Big32(0x03030303).Done();
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        CXYZType xyz;
        Load(xyz, "wtpt", Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        for (std::size_t i = 0; i < 3; ++i) {
            std::uint32_t expected = 0;
            for (std::size_t at = 8 + 4 * i; at < 12 + 4 * i; ++at) {
                expected = expected << 8 | (at < size ? static_cast<std::uint32_t>(i + 1) : 0U);
            }
            EXPECT_EQ(xyz.rawXYZ[i], expected) << size;
        }
    }
}

TEST(SimpleTagEdges, ACurveTakesNoMoreEntriesThanTheBlockHolds) {
    struct Row {
        std::uint32_t announced;
        std::size_t size;
        std::uint32_t taken;
    };
    for (const Row& row : {Row{0, 12, 0}, Row{1, 14, 1}, Row{1, 12, 0}, Row{3, 18, 3}, Row{3, 17, 2}, Row{4, 18, 3},
                           Row{0xffffffffU, 18, 3}, Row{2, 11, 0}}) {
        Bytes block =
            ByteWriter().Text("curv").Big32(0).Big32(row.announced).Big16(1).Big16(0x8000).Big16(65535).Done();
        block.resize(row.size);
        CCurveType curve;
        Load(curve, "rTRC", block);
        const std::uint16_t values[3] = {1, 0x8000, 65535};
        ASSERT_EQ(curve.curveCount, row.taken) << row.announced << " in " << row.size;
        for (std::uint32_t i = 0; i < row.taken; ++i) EXPECT_EQ(curve.curve[i], values[i]);
        EXPECT_EQ(curve.tagSize, row.size);
    }
}

TEST(SimpleTagEdges, ACurveOfUnknownSizeReportsTwoBytesMoreThanItTakes) {
    for (unsigned entries : {0U, 1U, 2U, 5U}) {
        ByteWriter block;
        block.Text("curv").Big32(0).Big32(entries);
        for (unsigned i = 0; i < entries; ++i) block.Big16(i + 40);
        Bytes bytes = block.Done();
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("A2B0"), bytes.data()), 2 * entries + 14);
        EXPECT_EQ(curve.tagSize, 2 * entries + 14);
        EXPECT_EQ(curve.curveCount, entries);
        EXPECT_EQ(static_cast<std::uint32_t>(curve.sig), ICC40::ICC4_HEADER::Signature("curv"));
        for (unsigned i = 0; i < entries; ++i) EXPECT_EQ(curve.curve[i], i + 40);
    }
}

TEST(SimpleTagEdges, ATagMadeFromNameAndTypeCarriesNothing) {
    CDataType tag;
    tag.reserved = 77;
    EXPECT_EQ(tag.Initial(Name("abcd"), ICC40::ICC4_HEADER::TypeName("data")), 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), ICC40::ICC4_HEADER::Signature("abcd"));
    EXPECT_EQ(static_cast<std::uint32_t>(tag.sig), ICC40::ICC4_HEADER::Signature("data"));
    EXPECT_EQ(tag.tagSize, 0U);
    EXPECT_EQ(tag.reserved, 77U);
    EXPECT_EQ(tag.tagData, nullptr);
    EXPECT_EQ(tag.Read(nullptr), 0);
    EXPECT_EQ(tag.Save(nullptr), 0);
}

/// A block in the layout of "mft2", or of one-byte tables.
Bytes TableBlock(const char* type, unsigned in, unsigned out, unsigned points, unsigned inEntries, unsigned outEntries,
                 unsigned width, unsigned nodes) {
    ByteWriter block;
    block.Text(type).Big32(0).U8(in).U8(out).U8(points).U8(9);
    for (std::uint32_t i = 0; i < 9; ++i) block.Big32(0x10000 + i);
    block.Big16(inEntries).Big16(outEntries);
    const unsigned total = inEntries * in + nodes * out + outEntries * out;
    for (unsigned i = 0; i < total; ++i) width == 2 ? block.Big16((i * 3 + 1) & 0xffffU) : block.U8(i & 0xffU);
    return block.Done();
}

TEST(TableEdges, SeventeenPointsComeInHostOrder) {
    CLut16Type lut;
    const Bytes block = TableBlock("mft2", 3, 3, 17, 2, 2, 2, 17 * 17 * 17);
    EXPECT_EQ(Load(lut, "A2B0", block), block.size());
    EXPECT_EQ(lut.inputChan, 3);
    EXPECT_EQ(lut.outputChan, 3);
    EXPECT_EQ(lut.clutPoints, 17);
    EXPECT_EQ(lut.pad, 9);
    for (std::uint32_t i = 0; i < 9; ++i) EXPECT_EQ(lut.matrix[i], 0x10000 + i);
    EXPECT_EQ(lut.inputEnt, 2);
    EXPECT_EQ(lut.outputEnt, 2);
    const auto value = [](unsigned place) { return (place * 3 + 1) & 0xffffU; };
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(lut.inputTable[i], value(i));
    for (unsigned i = 0; i < 14739; ++i) ASSERT_EQ(lut.clutTable[i], value(6 + i));
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(lut.outputTable[i], value(6 + 14739 + i));
    EXPECT_TRUE(lut.Usable());
}

TEST(TableEdges, FourChannelsTakeOneCubeAndTheOutputFromBehindIt) {
    CLut16Type lut;
    Load(lut, "A2B0", TableBlock("mft2", 4, 3, 3, 2, 2, 2, 81));
    const auto value = [](unsigned place) { return place * 3 + 1; };
    EXPECT_EQ(lut.clutTable[0], value(8));
    EXPECT_EQ(lut.clutTable[80], value(88));
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(lut.outputTable[i], value(8 + 81 + i));
    EXPECT_FALSE(lut.Usable());
}

TEST(TableEdges, TheBlockMustHoldEveryTable) {
    for (unsigned width : {1U, 2U}) {
        const Bytes whole = TableBlock("mft2", 3, 3, 2, 3, 4, width, 8);
        for (int missing : {1, 0, -1}) {
            Bytes block = whole;
            block.resize(static_cast<std::size_t>(static_cast<int>(whole.size()) - missing));
            CLut16Type wide;
            CLut8Type narrow;
            width == 2 ? Load(wide, "A2B0", block) : Load(narrow, "A2B0", block);
            const bool there = width == 2 ? wide.inputTable && wide.clutTable && wide.outputTable
                                          : narrow.inputTable && narrow.clutTable && narrow.outputTable;
            const bool anything = width == 2 ? wide.inputTable || wide.clutTable || wide.outputTable
                                             : narrow.inputTable || narrow.clutTable || narrow.outputTable;
            EXPECT_EQ(there, missing <= 0) << width << " " << missing;
            EXPECT_EQ(anything, missing <= 0);
            EXPECT_EQ(width == 2 ? wide.outputEnt : narrow.outputEnt, 4);
        }
    }
}

TEST(TableEdges, LimitsOfWhatTheUnitsTake) {
    struct Row {
        unsigned in, out, points, inEntries, outEntries;
        bool usable;
    };
    for (const Row& row :
         {Row{3, 7, 2, 2, 2, true}, Row{3, 8, 2, 2, 2, false}, Row{4, 3, 2, 2, 2, false}, Row{1, 1, 2, 0, 0, true},
          Row{0, 1, 2, 5, 5, true}, Row{3, 3, 1, 2, 2, false}, Row{3, 3, 0, 2, 2, false}, Row{1, 1, 33, 2, 2, true},
          Row{1, 1, 34, 2, 2, false}, Row{1, 1, 2, 4096, 4096, true}, Row{1, 1, 2, 4097, 2, false},
          Row{1, 1, 2, 2, 4097, false}}) {
        CLut16Type lut;
        Load(lut, "A2B0",
             TableBlock("mft2", row.in, row.out, row.points, row.inEntries, row.outEntries, 2,
                        row.points * row.points * row.points));
        EXPECT_EQ(lut.Usable(), row.usable) << row.in << " " << row.out << " " << row.points << " " << row.inEntries;
    }
}

TEST(TableEdges, ByteTablesAreReadInTheLayoutOfWords) {
    CLut8Type lut;
    Load(lut, "A2B0", TableBlock("mft1", 3, 3, 2, 5, 4, 1, 8));
    EXPECT_EQ(lut.inputEnt, 5);
    EXPECT_EQ(lut.outputEnt, 4);
    EXPECT_EQ(lut.inputTable[14], 14);
    EXPECT_EQ(lut.clutTable[0], 15);
    EXPECT_EQ(lut.outputTable[0], 39);
    EXPECT_EQ(lut.matrix[8], 0x10008U);
}

struct CurvedSpec {
    const char* name = "A2B0";
    const char* type = "mAB ";
    unsigned in = 3, out = 3, points = 3, precision = 2;
    std::vector<unsigned> a = {3, 3, 3}, b = {5, 5, 5};  // entries
    bool grid = true;
};

/// Block of "mAB " with curves laid out as they are stepped through.
Bytes CurvedBlock(const CurvedSpec& contents) {
    ByteWriter block;
    block.Text(contents.type).Big32(0).U8(contents.in).U8(contents.out).U8(1).U8(2).Fill(20);
    const auto curves = [&](const std::vector<unsigned>& entries, std::size_t place, unsigned base) {
        if (entries.empty()) return;
        block.PatchBig32(place, static_cast<std::uint32_t>(block.Size()));
        for (unsigned count : entries) {
            block.Text("curv").Big32(0).Big32(count);
            for (unsigned i = 0; i < count; ++i) block.Big16(base + i);
            block.Big16(0);
            base += 1000;
        }
    };
    curves(contents.b, 12, 10000);
    if (contents.grid) {
        block.PatchBig32(24, static_cast<std::uint32_t>(block.Size()));
        for (unsigned i = 0; i < 16; ++i) block.U8(i < contents.in ? contents.points : 0);
        block.U8(contents.precision).U8(3).U8(4).U8(5);
        unsigned nodes = 1;
        for (unsigned i = 0; i < contents.in; ++i) nodes *= contents.points;
        for (unsigned i = 0; i < nodes * contents.out * contents.precision; ++i) block.U8(i & 0xffU);
    }
    curves(contents.a, 28, 20000);
    return block.Done();
}

TEST(CurvedTableEdges, ACurvesBecomeInputAndBCurvesOutputTables) {
    CLut source;
    Load(source, "A2B0", CurvedBlock({}));
    EXPECT_EQ(source.lutPad[0], 1);
    EXPECT_EQ(source.lutPad[1], 2);
    EXPECT_EQ(source.clut->padding[2], 5);
    EXPECT_EQ(source.aCurves[0]->tagSize, 2 * 3 + 14U);
    const CLut16Type lut(&source);
    EXPECT_EQ(lut.tagData, nullptr);
    EXPECT_EQ(lut.tagSize, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(lut.sig), ICC40::ICC4_HEADER::Signature("mAB "));
    EXPECT_EQ(lut.tagSig, Name("A2B0"));
    EXPECT_EQ(lut.clutPoints, 3);
    EXPECT_EQ(lut.pad, 0);
    EXPECT_EQ(lut.inputEnt, 3);
    EXPECT_EQ(lut.outputEnt, 5);
    for (unsigned c = 0; c < 3; ++c) {
        for (unsigned i = 0; i < 3; ++i) EXPECT_EQ(lut.inputTable[3 * c + i], 20000 + 1000 * c + i);
        for (unsigned i = 0; i < 5; ++i) EXPECT_EQ(lut.outputTable[5 * c + i], 10000 + 1000 * c + i);
    }
    for (unsigned i = 0; i < 81; ++i) EXPECT_EQ(lut.clutTable[i], (2 * i & 0xffU) << 8 | ((2 * i + 1) & 0xffU));
    EXPECT_TRUE(lut.Usable());
}

TEST(CurvedTableEdges, TheReverseTagTakesItsSidesTheOtherWayRound) {
    CLut source;
    Load(source, "B2A0", CurvedBlock({.name = "B2A0", .type = "mBA "}));
    const CLut16Type lut(&source);
    EXPECT_EQ(lut.inputEnt, 5);
    EXPECT_EQ(lut.outputEnt, 3);
    EXPECT_EQ(lut.inputTable[0], 10000);
    EXPECT_EQ(lut.outputTable[0], 20000);
}

TEST(CurvedTableEdges, WhatCannotBeConvertedHasNoTables) {
    struct Row {
        const char* why;
        CurvedSpec contents;
        bool usable;
    };
    const Row rows[] = {
        {"sound", {}, true},
        {"no grid", {.grid = false}, false},
        {"bytes", {.precision = 1}, false},
        {"three bytes", {.precision = 3}, false},
        {"no input curves", {.a = {}}, false},
        {"no output curves", {.b = {}}, false},
        {"a shorter curve", {.a = {3, 2, 3}}, false},
        {"a longer curve", {.a = {3, 4, 3}}, true},
        {"identity", {.a = {0, 0, 0}, .b = {0, 0, 0}}, true},
        {"four outputs", {.out = 4, .b = {5, 5, 5, 5}}, false},
        {"one input", {.in = 1, .points = 9, .a = {3}}, true},
        {"two outputs", {.out = 2, .b = {5, 5}}, true},
        {"one point", {.in = 1, .points = 1, .a = {3}}, false},
    };
    for (const Row& row : rows) {
        CLut source;
        Load(source, "A2B0", CurvedBlock(row.contents));
        EXPECT_EQ(CLut16Type(&source).Usable(), row.usable) << row.why;
    }
    EXPECT_FALSE(CLut16Type(static_cast<CLut*>(nullptr)).Usable());
}

TEST(CurvedTableEdges, NodesBeyondThePowerOfTheInputsAreZero) {
    CLut source;
    Load(source, "A2B0", CurvedBlock({.in = 1, .points = 9, .a = {3}}));
    const CLut16Type lut(&source);
    for (unsigned i = 0; i < 27; ++i) EXPECT_EQ(lut.clutTable[i], (2 * i & 0xffU) << 8 | ((2 * i + 1) & 0xffU));
    for (unsigned i = 27; i < 9 * 9 * 9 * 3; ++i) ASSERT_EQ(lut.clutTable[i], 0);
}

TEST(CurvedTableEdges, OneMiddleCurveIsReadWhateverTheChannels) {
    ByteWriter block;
    block.Text("mAB ").Big32(0).U8(3).U8(3).Big16(0).Fill(8).Big32(32).Fill(8);
    for (unsigned c = 0; c < 3; ++c) block.Text("curv").Big32(0).Big32(1).Big16(7 + c).Big16(0);
    CLut lut;
    Load(lut, "A2B0", block.Done());
    ASSERT_NE(lut.mCurve, nullptr);
    EXPECT_EQ(lut.mCurve->curve[0], 7);
    EXPECT_EQ(lut.mCurve->tagSize, 16U);
    EXPECT_EQ(lut.clut, nullptr);
    EXPECT_EQ(lut.bCurves[0], nullptr);
    EXPECT_EQ(lut.aCurves[0], nullptr);
}

TEST(CurvedTableEdges, NoMoreCurvesAreReadThanThereIsRoomFor) {
    CLut lut;
    Load(lut, "A2B0",
         CurvedBlock(
             {.in = 8, .out = 5, .points = 1, .a = std::vector<unsigned>(8, 1), .b = std::vector<unsigned>(5, 1)}));
    EXPECT_EQ(lut.bCurves[2]->curve[0], 12000);
    EXPECT_EQ(lut.aCurves[6]->curve[0], 26000);
    CLut all;
    Load(all, "A2B0",
         CurvedBlock({.in = 255,
                      .out = 255,
                      .points = 1,
                      .a = std::vector<unsigned>(255, 0),
                      .b = std::vector<unsigned>(255, 0)}));
    EXPECT_FALSE(CLut16Type(&all).Usable());
}

TEST(CurvedTableEdges, AGridThatTheBlockDoesNotHoldIsNotRead) {
    Bytes block = CurvedBlock({.a = {}});
    CLut whole;
    Load(whole, "A2B0", block);
    EXPECT_EQ(whole.clut->gridBytes, 162U);
    block.pop_back();
    CLut cut;
    Load(cut, "A2B0", block);
    EXPECT_EQ(cut.clut->gridData, nullptr);
    EXPECT_EQ(cut.clut->gridBytes, 0U);
    EXPECT_EQ(cut.clut->gridPoints[2], 3);
}

}  // namespace
}  // namespace hueweave::test::icc
