// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables of 16-bit entries: where each part of the block goes, and which tables can be worked with.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

TEST(Lut16, TakesEveryFieldFromItsPlace) {
    CLut16Type lut;
    const MftSpec contents{.in = 3, .out = 2, .points = 4, .inEntries = 5, .outEntries = 7};
    EXPECT_EQ(Load(lut, "A2B0", contents.Done()), 52U + 2 * (15 + 128 + 14));
    EXPECT_EQ(lut.inputChan, 3);
    EXPECT_EQ(lut.outputChan, 2);
    EXPECT_EQ(lut.clutPoints, 4);
    EXPECT_EQ(lut.pad, 0xa5);
    for (std::uint32_t i = 0; i < 9; ++i)
        EXPECT_EQ(lut.matrix[i], static_cast<std::uint32_t>(0xfff01234U + i * 0x01020304U));  // unscaled
    EXPECT_EQ(lut.inputEnt, 5);
    EXPECT_EQ(lut.outputEnt, 7);
    EXPECT_EQ(lut.reserved, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(lut.sig), Word("mft2"));
    EXPECT_EQ(DataOf(lut), contents.Done());
}

TEST(Lut16, TakesItsCountsAsTwoBytes) {
    CLut16Type lut;
    Load(lut, "A2B0", MftSpec{.in = 1, .out = 1, .inEntries = 0x0102, .outEntries = 0x0304}.Done());
    EXPECT_EQ(lut.inputEnt, 0x0102);
    EXPECT_EQ(lut.outputEnt, 0x0304);
}

TEST(Lut16, OfThreeChannelsAndSeventeenPointsComesInHostOrder) {
    CLut16Type lut;
    Load(lut, "A2B0", MftSpec{.points = 17, .inEntries = 256, .outEntries = 4}.Done());
    constexpr std::size_t kGrid = 17 * 17 * 17 * 3;
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, 768), NthFrom(0, 768));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, kGrid), NthFrom(768, kGrid));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, 12), NthFrom(768 + kGrid, 12));
    EXPECT_EQ(lut.inputTable[0], 0x0102U);  // the bytes 01 02 of the file
    EXPECT_TRUE(lut.Usable());
}

TEST(Lut16, CarriesTablesOfTwoEntriesAsTheyAre) {
    CLut16Type lut;
    Load(lut, "A2B1", MftSpec{.inEntries = 2, .outEntries = 2}.Done());
    EXPECT_EQ(lut.inputEnt, 2);
    EXPECT_EQ(lut.outputEnt, 2);
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, 6), NthFrom(0, 6));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, 6), NthFrom(30, 6));
}

struct WordTable {
    const char* name;
    MftSpec contents;
    std::size_t input, grid, output;  ///< entries, by hand
};
const WordTable kWordTables[] = {
    {"Scanner", {.points = 2, .inEntries = 3, .outEntries = 5}, 9, 24, 15},
    {"OneToOne", {.in = 1, .out = 1, .points = 3, .inEntries = 4, .outEntries = 5}, 4, 27, 5},
    {"OneToThree", {.in = 1, .out = 3, .points = 2, .inEntries = 4, .outEntries = 2}, 4, 24, 6},
    {"TwoToThree", {.in = 2, .out = 3, .points = 3, .inEntries = 2, .outEntries = 2}, 4, 81, 6},
    {"ThreeToFour", {.in = 3, .out = 4, .points = 3, .inEntries = 2, .outEntries = 3}, 6, 108, 12},
    {"ThreeToSeven", {.in = 3, .out = 7, .points = 2, .inEntries = 2, .outEntries = 3}, 6, 56, 21},
    {"FourToThree", {.in = 4, .out = 3, .points = 3, .inEntries = 2, .outEntries = 3}, 8, 81, 9},
    {"NoInputEntries", {.points = 2, .inEntries = 0, .outEntries = 2}, 0, 24, 6},
    {"NoInputs", {.in = 0, .out = 1, .points = 2, .inEntries = 9, .outEntries = 2}, 0, 8, 2},
    {"OnePoint", {.points = 1, .inEntries = 2, .outEntries = 2}, 6, 3, 6},
};

class Lut16Shape : public testing::TestWithParam<WordTable> {};

TEST_P(Lut16Shape, LaysInputGridAndOutputBehindOneAnother) {
    const WordTable& shape = GetParam();
    CLut16Type lut;
    EXPECT_EQ(Load(lut, "A2B0", shape.contents.Done()), 52 + 2 * (shape.input + shape.grid + shape.output));
    ASSERT_FALSE(lut.inputTable == nullptr || lut.clutTable == nullptr || lut.outputTable == nullptr);
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, shape.input), NthFrom(0, shape.input));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, shape.grid), NthFrom(shape.input, shape.grid));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, shape.output), NthFrom(shape.input + shape.grid, shape.output));
}

TEST_P(Lut16Shape, HasEightSpareEntriesOfZeroBehindEveryTable) {
    const WordTable& shape = GetParam();
    CLut16Type lut;
    Load(lut, "A2B0", ByteWriter().Append(shape.contents.Done()).Fill(40, 0xff).Done());
    EXPECT_EQ(ValuesOf(lut.inputTable, shape.input, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.clutTable, shape.grid, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.outputTable, shape.output, 8), Entries(8));
}

TEST_P(Lut16Shape, NeedsABlockThatHoldsAllThreeTables) {
    const WordTable& shape = GetParam();
    const Bytes whole = shape.contents.Done();
    const std::size_t need = 52 + 2 * (shape.input + shape.grid + shape.output);
    for (const std::size_t size : {std::size_t{52}, std::size_t{53}, need - 2, need - 1}) {
        CLut16Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(whole, size)), size);
        EXPECT_TRUE(HasNone(lut)) << size;
        EXPECT_FALSE(lut.Usable());
        EXPECT_EQ(lut.inputChan, shape.contents.in);
        EXPECT_EQ(lut.outputChan, shape.contents.out);
        EXPECT_EQ(lut.clutPoints, shape.contents.points);
        EXPECT_EQ(lut.inputEnt, shape.contents.inEntries);
        EXPECT_EQ(lut.outputEnt, shape.contents.outEntries);
        EXPECT_EQ(lut.matrix[8], 0xfff01234U + 8 * 0x01020304U);
    }
    for (const std::size_t size : {need, need + 1, need + 2, need + 100}) {
        CLut16Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(whole, size)), size);
        ASSERT_FALSE(lut.inputTable == nullptr || lut.clutTable == nullptr || lut.outputTable == nullptr) << size;
        EXPECT_EQ(ValuesOf(lut.outputTable, 0, shape.output), NthFrom(shape.input + shape.grid, shape.output));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Lut16Shape, testing::ValuesIn(kWordTables),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Lut16, OfFourChannelsTakesOneCubeAndTheOutputFromBehindIt) {
    // the block of a sound four-channel table: the grid has 3 to the power of 4 nodes
    CLut16Type lut;
    constexpr std::size_t kInput = 4 * 2, kCube = 27 * 3, kPower = 81 * 3, kOutput = 3 * 5;
    Load(lut, "A2B0",
         MftSpec{.in = 4, .out = 3, .points = 3, .inEntries = 2, .outEntries = 5, .values = kInput + kPower + kOutput}
             .Done());
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, kCube), NthFrom(kInput, kCube));
    EXPECT_EQ(ValuesOf(lut.clutTable, kCube, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, kOutput), NthFrom(kInput + kCube, kOutput));
    EXPECT_FALSE(lut.Usable());
}

TEST(Lut16, OfOneChannelAsksForACubeToo) {
    // the block of a sound one-channel table: 5 nodes, where a cube has 125
    CLut16Type lut;
    Load(lut, "A2B0", MftSpec{.in = 1, .out = 3, .points = 5, .values = 2 + 5 * 3 + 2 * 3}.Done());
    EXPECT_TRUE(HasNone(lut));
    EXPECT_EQ(lut.clutPoints, 5);
}

TEST(Lut16, TakesFieldsBeyondItsBlockForZero) {
    const Bytes whole = MftSpec{.in = 3, .out = 3, .points = 2, .inEntries = 0x0102, .outEntries = 0x0304}.Done();
    for (std::size_t size = 0; size < 52; ++size) {
        CLut16Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(whole, size)), size);
        EXPECT_EQ(lut.inputChan, size > 8 ? 3 : 0);
        EXPECT_EQ(lut.outputChan, size > 9 ? 3 : 0);
        EXPECT_EQ(lut.clutPoints, size > 10 ? 2 : 0);
        EXPECT_EQ(lut.pad, size > 11 ? 0xa5 : 0);
        for (std::size_t i = 0; i < 9; ++i) {
            if (size <= 12 + 4 * i) {
                EXPECT_EQ(lut.matrix[i], 0U) << size;
            }
            if (size >= 16 + 4 * i) {
                EXPECT_EQ(lut.matrix[i], static_cast<std::uint32_t>(0xfff01234U + i * 0x01020304U)) << size;
            }
        }
        EXPECT_EQ(lut.inputEnt, size >= 50 ? 0x0102 : size == 49 ? 0x0100 : 0);
        EXPECT_EQ(lut.outputEnt, size == 51 ? 0x0300 : 0);
        EXPECT_FALSE(lut.Usable());
        if (size > 10) {
            EXPECT_TRUE(HasNone(lut));
        }
    }
}

TEST(Lut16, CountsWideEnoughForTheLargestTables) {
    // each pair of numbers: bytes that the tables ask for, and what 32 bits would make of them
    for (const MftSpec& contents : {
             MftSpec{.in = 255, .out = 255, .points = 255, .inEntries = 65535, .outEntries = 65535, .values = 0},
             MftSpec{
                 .in = 1, .out = 255, .points = 203, .inEntries = 128, .outEntries = 56077, .values = 0},  // 2^32, 0
             MftSpec{.in = 1, .out = 128, .points = 128, .inEntries = 0, .outEntries = 0, .values = 0},    // 2^29
             MftSpec{.in = 255, .out = 0, .points = 255, .inEntries = 65535, .outEntries = 65535, .values = 0},
         }) {
        CLut16Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(contents.Done(), 200)), 200U);
        EXPECT_TRUE(HasNone(lut));
        EXPECT_EQ(lut.inputEnt, contents.inEntries);
        EXPECT_EQ(lut.outputEnt, contents.outEntries);
    }
}

TEST(Lut16, IsMadeByTheContainerToo) {
    Bytes block = MftSpec{.points = 3}.Done();
    const auto tag =
        ICC40::ICCFILE::IccFile4().CreateNewTag(Name("B2A1"), block.data(), static_cast<int>(block.size()));
    const auto& lut = dynamic_cast<const CLut16Type&>(*tag);
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 81), NthFrom(6, 81));
}

// --- which tables the units can work with

struct Limit {
    const char* name;
    std::uint8_t in, out, points;
    std::uint16_t inEntries, outEntries;
    bool usable;
};
const Limit kLimits[] = {
    {"Plain", 3, 3, 17, 256, 256, true},
    {"NoInputs", 0, 3, 17, 256, 256, true},
    {"OneInput", 1, 3, 17, 256, 256, true},
    {"TwoInputs", 2, 3, 17, 256, 256, true},
    {"FourInputs", 4, 3, 17, 256, 256, false},
    {"MostInputs", 255, 3, 17, 256, 256, false},
    {"NoOutputs", 3, 0, 17, 256, 256, true},
    {"SevenOutputs", 3, 7, 17, 256, 256, true},
    {"EightOutputs", 3, 8, 17, 256, 256, false},
    {"NoPoints", 3, 3, 0, 256, 256, false},
    {"OnePoint", 3, 3, 1, 256, 256, false},
    {"TwoPoints", 3, 3, 2, 256, 256, true},
    {"ThirtyThreePoints", 3, 3, 33, 256, 256, true},
    {"ThirtyFourPoints", 3, 3, 34, 256, 256, false},
    {"MostPoints", 3, 3, 255, 256, 256, false},
    {"FewestEntries", 3, 3, 17, 0, 0, true},
    {"Entries4096", 3, 3, 17, 4096, 4096, true},
    {"InputEntries4097", 3, 3, 17, 4097, 2, false},
    {"OutputEntries4097", 3, 3, 17, 2, 4097, false},
    {"MostEntries", 3, 3, 17, 65535, 65535, false},
    {"AllAtTheirLimits", 3, 7, 33, 4096, 4096, true},
};

class Lut16Limit : public testing::TestWithParam<Limit> {
protected:
    void Fill(CLut16Type& lut) const {
        lut.inputChan = GetParam().in;
        lut.outputChan = GetParam().out;
        lut.clutPoints = GetParam().points;
        lut.inputEnt = GetParam().inEntries;
        lut.outputEnt = GetParam().outEntries;
        lut.inputTable = std::make_unique<std::uint16_t[]>(1);
        lut.clutTable = std::make_unique<std::uint16_t[]>(1);
        lut.outputTable = std::make_unique<std::uint16_t[]>(1);
    }
};

TEST_P(Lut16Limit, DecidesWhetherATableCanBeUsed) {
    CLut16Type lut;
    Fill(lut);
    EXPECT_EQ(lut.Usable(), GetParam().usable);
}

TEST_P(Lut16Limit, NeedsAllThreeTables) {
    for (int missing = 0; missing < 3; ++missing) {
        CLut16Type lut;
        Fill(lut);
        (missing == 0 ? lut.inputTable : missing == 1 ? lut.clutTable : lut.outputTable).reset();
        EXPECT_FALSE(lut.Usable()) << missing;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Lut16Limit, testing::ValuesIn(kLimits),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Lut16, FreshFromItsConstructorCannotBeUsed) { EXPECT_FALSE(CLut16Type().Usable()); }

}  // namespace
}  // namespace hueweave::test::icc
