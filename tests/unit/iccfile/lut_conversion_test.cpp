// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The table that an "mAB " or "mBA " tag is turned into: its sides, its sizes, and what cannot be turned.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// `count` curves of `entries` each; no two entries are alike.
std::vector<Entries> SideOf(std::size_t count, unsigned entries, unsigned base) {
    std::vector<Entries> curves(count);
    for (Entries& curve : curves) {
        for (unsigned i = 0; i < entries; ++i) curve.push_back(base++);
    }
    return curves;
}
Entries Flat(const std::vector<Entries>& curves, std::size_t entries) {
    Entries all;
    for (const Entries& curve : curves)
        all.insert(all.end(), curve.begin(), curve.begin() + static_cast<long>(entries));
    return all;
}
std::size_t Power(std::size_t base, unsigned exponent) {
    std::size_t value = 1;
    while (exponent-- > 0) value *= base;
    return value;
}

constexpr unsigned kAEntries = 3, kBEntries = 5;

struct Turn {
    const char* name;  ///< of the tag
    unsigned in, out, points;
    bool a2b;
};

/// A tag with as many curves on each side as its name and its channels ask for.
void LoadTurn(CLut& lut, const Turn& turn, const std::vector<Entries>& a, const std::vector<Entries>& b) {
    const std::size_t values = Power(turn.points, turn.in) * turn.out;
    Load(lut, turn.name,
         AbBlock(turn.in, turn.out, turn.a2b ? "mAB " : "mBA ")
             .Curves(AbBlock::kB, b)
             .Curves(AbBlock::kM, {{9, 8, 7}})
             .Grid(std::vector<unsigned>(turn.in, turn.points), NthFrom(0, values))
             .Curves(AbBlock::kA, a)
             .Done());
}
void LoadTurn(CLut& lut, const Turn& turn) {
    const unsigned deviceSide = turn.a2b ? turn.in : turn.out, otherSide = turn.a2b ? turn.out : turn.in;
    LoadTurn(lut, turn, SideOf(deviceSide, kAEntries, 20000), SideOf(otherSide, kBEntries, 10000));
}

class TurnedTable : public testing::TestWithParam<Turn> {};

TEST_P(TurnedTable, HasItsTablesInOrder) {
    const Turn& turn = GetParam();
    const std::vector<Entries> a = SideOf(turn.a2b ? turn.in : turn.out, kAEntries, 20000);
    const std::vector<Entries> b = SideOf(turn.a2b ? turn.out : turn.in, kBEntries, 10000);
    CLut source;
    LoadTurn(source, turn, a, b);
    const CLut16Type lut(&source);
    ASSERT_TRUE(HasAll(lut));
    EXPECT_EQ(lut.inputChan, turn.in);
    EXPECT_EQ(lut.outputChan, turn.out);
    EXPECT_EQ(lut.clutPoints, turn.points);
    EXPECT_EQ(lut.pad, 0);
    EXPECT_EQ(lut.inputEnt, turn.a2b ? kAEntries : kBEntries);
    EXPECT_EQ(lut.outputEnt, turn.a2b ? kBEntries : kAEntries);
    const Entries in = turn.a2b ? Flat(a, kAEntries) : Flat(b, kBEntries);
    const Entries out = turn.a2b ? Flat(b, kBEntries) : Flat(a, kAEntries);
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, in.size()), in);
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, out.size()), out);
    const std::size_t values = Power(turn.points, turn.in) * turn.out;
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, values), NthFrom(0, values));
}

TEST_P(TurnedTable, KeepsNameAndTypeAndNothingElse) {
    CLut source;
    LoadTurn(source, GetParam());
    source.reserved = 77;
    const CLut16Type lut(&source);
    EXPECT_EQ(lut.tagSig, Name(GetParam().name));
    EXPECT_EQ(static_cast<std::uint32_t>(lut.sig), Word(GetParam().a2b ? "mAB " : "mBA "));
    EXPECT_EQ(lut.tagData, nullptr);
    EXPECT_EQ(lut.tagSize, 0U);
    EXPECT_EQ(lut.reserved, 0U);
    EXPECT_EQ(lut.matrix, (std::array<std::uint32_t, 9>{}));
}

TEST_P(TurnedTable, OutlivesItsSource) {
    auto source = std::make_unique<CLut>();
    LoadTurn(*source, GetParam());
    const CLut16Type lut(source.get());
    const unsigned first = lut.inputTable[0], node = lut.clutTable[0], last = lut.outputTable[0];
    source.reset();  // the memory checker sees a table that still points there
    EXPECT_EQ(lut.inputTable[0], first);
    EXPECT_EQ(lut.clutTable[0], node);
    EXPECT_EQ(lut.outputTable[0], last);
}

INSTANTIATE_TEST_SUITE_P(
    Every, TurnedTable,
    testing::Values(Turn{"A2B0", 3, 3, 2, true}, Turn{"A2B1", 3, 2, 3, true}, Turn{"A2B2", 2, 3, 4, true},
                    Turn{"A2B0", 1, 1, 5, true}, Turn{"A2B1", 4, 3, 3, true}, Turn{"A2B2", 7, 3, 2, true},
                    Turn{"A2Bz", 3, 1, 2, true}, Turn{"B2A0", 3, 3, 2, false}, Turn{"B2A1", 3, 4, 3, false},
                    Turn{"B2A2", 3, 7, 2, false}, Turn{"B2A0", 1, 4, 5, false}, Turn{"B2A0", 2, 1, 3, false},
                    Turn{"pre0", 3, 3, 2, false}),
    [](const auto& row) {
        return std::string(row.param.name) + "_" + std::to_string(row.param.in) + "to" + std::to_string(row.param.out);
    });

TEST(TurnedTableRoom, HasSevenACurvesAndThreeBCurves) {
    for (const auto& [turn, turned] : {std::pair{Turn{"A2B0", 7, 3, 1, true}, true},
                                       {Turn{"A2B0", 8, 3, 1, true}, false},
                                       {Turn{"A2B0", 3, 4, 2, true}, false},
                                       {Turn{"B2A0", 3, 7, 2, false}, true},
                                       {Turn{"B2A0", 3, 8, 2, false}, false},
                                       {Turn{"B2A0", 4, 3, 2, false}, false},
                                       {Turn{"A2B0", 0, 3, 2, true}, false},
                                       {Turn{"A2B0", 3, 0, 2, true}, false},
                                       {Turn{"B2A0", 0, 3, 2, false}, false},
                                       {Turn{"B2A0", 3, 0, 2, false}, false}}) {
        CLut source;
        LoadTurn(source, turn);
        const CLut16Type lut(&source);
        EXPECT_EQ(HasAll(lut), turned) << turn.name << ": " << turn.in << " to " << turn.out;
        EXPECT_EQ(HasNone(lut), !turned);
        EXPECT_EQ(lut.inputChan, turn.in);
        EXPECT_EQ(lut.outputChan, turn.out);
    }
}

TEST(TurnedTableRoom, NeedsEveryCurveOfBothSides) {
    for (const bool a2b : {true, false}) {
        for (std::size_t missing = 0; missing < 6; ++missing) {
            CLut source;
            LoadTurn(source, {a2b ? "A2B0" : "B2A0", 3, 3, 2, a2b});
            (missing < 3 ? source.aCurves[missing] : source.bCurves[missing - 3]).reset();
            EXPECT_TRUE(HasNone(CLut16Type(&source))) << missing;
        }
        CLut source;
        LoadTurn(source, {a2b ? "A2B0" : "B2A0", 3, 3, 2, a2b});
        source.mCurve.reset();  // takes no part
        EXPECT_TRUE(HasAll(CLut16Type(&source)));
    }
}

TEST(TurnedTableCurves, AreCutToTheLengthOfTheFirst) {
    for (const bool a2b : {true, false}) {
        const std::vector<Entries> a = {{1, 2, 3}, {4, 5, 6, 7, 8}, {9, 10, 11, 12}};
        const std::vector<Entries> b = {{21, 22}, {23, 24}, {25, 26, 27}};
        CLut source;
        LoadTurn(source, {a2b ? "A2B0" : "B2A0", 3, 3, 2, a2b}, a, b);
        const CLut16Type lut(&source);
        ASSERT_TRUE(HasAll(lut));
        const Entries fromA = {1, 2, 3, 4, 5, 6, 9, 10, 11}, fromB = {21, 22, 23, 24, 25, 26};
        EXPECT_EQ(ValuesOf(lut.inputTable, 0, a2b ? 9 : 6), a2b ? fromA : fromB);
        EXPECT_EQ(ValuesOf(lut.outputTable, 0, a2b ? 6 : 9), a2b ? fromB : fromA);
    }
}

TEST(TurnedTableCurves, MustNotBeShorterThanTheFirst) {
    const std::vector<Entries> even = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    for (const bool a2b : {true, false}) {
        for (const bool sideA : {true, false}) {
            for (const std::size_t curve : {1U, 2U}) {
                std::vector<Entries> one = even;
                one[curve].pop_back();
                CLut source;
                LoadTurn(source, {a2b ? "A2B0" : "B2A0", 3, 3, 2, a2b}, sideA ? one : even, sideA ? even : one);
                EXPECT_TRUE(HasNone(CLut16Type(&source))) << sideA << curve;
            }
        }
    }
}

TEST(TurnedTableCurves, HaveTheirCountInSixteenBits) {
    // 65,537 entries leave 1: of each curve the first is taken.
    for (const unsigned entries : {65535U, 65536U, 65537U}) {
        CLut source;
        LoadTurn(source, {"A2B0", 3, 3, 2, true});
        for (unsigned c = 0; c < 3; ++c) {
            Bytes block = CurveBlock(Entries(entries, 100 + c));
            source.aCurves[c] = std::make_unique<CCurveType>();
            Load(*source.aCurves[c], "A2B0", block);
            ASSERT_EQ(source.aCurves[c]->curveCount, entries);
        }
        const CLut16Type lut(&source);
        ASSERT_TRUE(HasAll(lut));
        EXPECT_EQ(lut.inputEnt, entries % 65536);
        for (unsigned c = 0; c < 3 && lut.inputEnt > 0; ++c) EXPECT_EQ(lut.inputTable[c * lut.inputEnt], 100 + c);
    }
}

TEST(TurnedTableGrid, HasTheFirstAxisForAll) {
    struct Row {
        std::vector<unsigned> points;
        bool turned;
    };
    for (const Row& row : {Row{{2, 3, 3}, true}, Row{{2, 2, 2}, true}, Row{{2, 8, 1}, true}, Row{{2, 4, 1}, true},
                           Row{{2, 3, 1}, false}, Row{{3, 2, 2}, false}, Row{{3, 3, 3}, true}, Row{{3, 9, 1}, true}}) {
        CLut source;
        const std::size_t nodes = std::size_t{row.points[0]} * row.points[1] * row.points[2];
        Load(source, "A2B0",
             AbBlock(3, 2)
                 .Curves(AbBlock::kB, SideOf(2, 3, 10))
                 .Grid(row.points, NthFrom(0, nodes * 2))
                 .Curves(AbBlock::kA, SideOf(3, 3, 20))
                 .Done());
        const CLut16Type lut(&source);
        EXPECT_EQ(lut.clutPoints, row.points[0]);
        EXPECT_EQ(HasAll(lut), row.turned);
        EXPECT_EQ(HasNone(lut), !row.turned);
        if (!row.turned) continue;
        const std::size_t values = Power(row.points[0], 3) * 2;
        EXPECT_EQ(ValuesOf(lut.clutTable, 0, values), NthFrom(0, values)) << "from its start on";
    }
}

TEST(TurnedTableGrid, MustHoldEveryNodeToTheLastByte) {
    for (const auto& [bytes, turned] : {std::pair{47U, false}, {48U, true}, {0U, false}, {46U, false}}) {
        CLut source;
        LoadTurn(source, {"A2B0", 3, 3, 2, true});
        ASSERT_EQ(source.clut->gridBytes, 48U);
        source.clut->gridBytes = bytes;
        EXPECT_EQ(HasAll(CLut16Type(&source)), turned) << bytes;
    }
}

TEST(TurnedTableGrid, MustHoldWords) {
    for (const unsigned precision : {0U, 1U, 2U, 3U, 4U, 255U}) {
        CLut source;
        LoadTurn(source, {"A2B0", 3, 3, 2, true});
        source.clut->precision = static_cast<std::uint8_t>(precision);
        EXPECT_EQ(HasAll(CLut16Type(&source)), precision == 2) << precision;
    }
    CLut none, empty;
    LoadTurn(none, {"A2B0", 3, 3, 2, true});
    none.clut->gridData.reset();
    EXPECT_TRUE(HasNone(CLut16Type(&none)));
    LoadTurn(empty, {"A2B0", 3, 3, 2, true});
    empty.clut.reset();
    EXPECT_TRUE(HasNone(CLut16Type(&empty)));
}

TEST(TurnedTableGrid, OfManyPointsIsCountedWideEnough) {
    // 128 to the power of 7 is 2 to the power of 49, 0 in 32 bits; 255 to the power of 7 is more still.
    for (const unsigned points : {64U, 128U, 255U}) {
        CLut source;
        LoadTurn(source, {"A2B0", 7, 3, 1, true});
        source.clut->gridPoints[0] = static_cast<std::uint8_t>(points);
        const CLut16Type lut(&source);
        EXPECT_TRUE(HasNone(lut)) << points;
        EXPECT_EQ(lut.clutPoints, points);
    }
}

TEST(TurnedTableGrid, OfFewInputsIsFilledUpToACubeWithZeros) {
    for (const unsigned in : {1U, 2U, 3U}) {
        CLut source;
        LoadTurn(source, {"A2B0", in, 2, 5, true});
        const CLut16Type lut(&source);
        ASSERT_TRUE(HasAll(lut));
        const std::size_t taken = Power(5, in) * 2;
        EXPECT_EQ(ValuesOf(lut.clutTable, 0, taken), NthFrom(0, taken));
        EXPECT_EQ(ValuesOf(lut.clutTable, taken, 250 - taken), Entries(250 - taken)) << in;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
