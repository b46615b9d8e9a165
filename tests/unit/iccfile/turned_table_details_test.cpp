// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What takes no part in the table that an "mAB " or "mBA " tag is turned into, and counts wider than 16 bits on each
// of its sides.
#include <algorithm>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

const std::vector<Entries> kA = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
const std::vector<Entries> kB = {{11, 12, 13, 14, 15}, {21, 22, 23, 24, 25}, {31, 32, 33, 34, 35}};

/// Three to three channels, two points an axis.
void LoadTable(CLut& lut, bool a2b, AbBlock block) {
    Load(lut, a2b ? "A2B0" : "B2A0",
         block.Curves(AbBlock::kB, kB).Grid({2, 2, 2}, NthFrom(0, 24)).Curves(AbBlock::kA, kA).Done());
}
AbBlock Plain(bool a2b) { return AbBlock(3, 3, a2b ? "mAB " : "mBA "); }

void ExpectTurned(const CLut16Type& lut, bool a2b) {
    ASSERT_NE(lut.clutTable, nullptr);
    const Entries a = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const Entries b = {11, 12, 13, 14, 15, 21, 22, 23, 24, 25, 31, 32, 33, 34, 35};
    const Entries& in = a2b ? a : b;
    const Entries& out = a2b ? b : a;
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, in.size()), in);
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 24), NthFrom(0, 24));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, out.size()), out);
    EXPECT_EQ(lut.inputEnt, in.size() / 3);
    EXPECT_EQ(lut.outputEnt, out.size() / 3);
    EXPECT_EQ(lut.matrix, (std::array<std::uint32_t, 9>{}));
}

TEST(TurnedTableParts, MatrixAndMiddleCurveAreNone) {
    ByteWriter matrix;
    for (std::uint32_t i = 0; i < 12; ++i) matrix.Big32(0x8000 + i * 0x1111);
    for (const bool a2b : {true, false}) {
        CLut none, withMatrix, withCurve, withBoth, outside;
        LoadTable(none, a2b, Plain(a2b));
        LoadTable(withMatrix, a2b, Plain(a2b).Raw(AbBlock::kMatrix, matrix.Done()));
        LoadTable(withCurve, a2b, Plain(a2b).Curves(AbBlock::kM, {{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}));
        LoadTable(withBoth, a2b, Plain(a2b).Raw(AbBlock::kMatrix, matrix.Done()).Curves(AbBlock::kM, {{40000}}));
        LoadTable(outside, a2b, Plain(a2b).Offset(AbBlock::kMatrix, 0xffffffffU).Offset(AbBlock::kM, 0xfffffff0U));
        for (const CLut* source : {&none, &withMatrix, &withCurve, &withBoth, &outside}) {
            ExpectTurned(CLut16Type(source), a2b);
        }
    }
}

TEST(TurnedTableParts, TheSourceStaysAsItWas) {
    for (const bool a2b : {true, false}) {
        CLut source;
        LoadTable(source, a2b, Plain(a2b));
        const Bytes data = DataOf(source);
        for (int time = 0; time < 2; ++time) ExpectTurned(CLut16Type(&source), a2b);  // a second one is the same
        EXPECT_EQ(DataOf(source), data);
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(ValuesOf(source.aCurves[c]->curve, 0, 3), kA[c]);
            EXPECT_EQ(ValuesOf(source.bCurves[c]->curve, 0, 5), kB[c]);
        }
        EXPECT_EQ(source.clut->gridBytes, 48U);
    }
}

TEST(TurnedTableParts, TheLastLetterOfItsNameDecidesNothing) {
    for (const char* name : {"A2B0", "A2B1", "A2B2", "A2Bz"}) {
        CLut source;
        LoadTable(source, true, Plain(true));
        source.tagSig = Name(name);
        ExpectTurned(CLut16Type(&source), true);
    }
    for (const char* name : {"B2A0", "B2A1", "B2A2", "a2b0", "A2A0"}) {
        CLut source;
        LoadTable(source, false, Plain(false));
        source.tagSig = Name(name);
        ExpectTurned(CLut16Type(&source), false);
    }
}

TEST(TurnedTableCounts, HaveSixteenBitsOnEverySide) {
    // 65,537 entries leave 1: of each curve the first is taken.
    for (const bool a2b : {true, false}) {
        for (const bool inputSide : {true, false}) {
            for (const unsigned entries : {65535U, 65536U, 65537U, 65538U}) {
                CLut source;
                LoadTable(source, a2b, Plain(a2b));
                const bool sideA = a2b == inputSide;
                for (unsigned c = 0; c < 3; ++c) {
                    auto curve = std::make_unique<CCurveType>();
                    Entries values(entries, 100 + c);
                    values[1] = 200 + c;
                    Load(*curve, "A2B0", CurveBlock(values));
                    ASSERT_EQ(curve->curveCount, entries);
                    (sideA ? source.aCurves[c] : source.bCurves[c]) = std::move(curve);
                }
                const CLut16Type lut(&source);
                const unsigned taken = entries % 65536;
                ASSERT_NE(lut.clutTable, nullptr) << entries;
                EXPECT_EQ(inputSide ? lut.inputEnt : lut.outputEnt, taken);
                EXPECT_EQ(inputSide ? lut.outputEnt : lut.inputEnt, sideA ? 5 : 3);
                const auto& table = inputSide ? lut.inputTable : lut.outputTable;
                for (unsigned c = 0; c < 3; ++c) {
                    const Entries expected = {100 + c, 200 + c};
                    const std::size_t seen = std::min(taken, 2U);
                    EXPECT_EQ(ValuesOf(table, c * taken, seen),
                              Entries(expected.begin(), expected.begin() + static_cast<long>(seen)));
                }
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test::icc
