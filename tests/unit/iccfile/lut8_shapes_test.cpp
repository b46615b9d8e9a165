// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables of one-byte entries in every shape that those of two bytes are tested in.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

struct ByteTable {
    const char* name;
    unsigned in, out, points, inEntries, outEntries;
    std::size_t input, grid, output;  ///< entries, by hand

    MftSpec Contents() const {
        return {.type = "mft1",
                .in = in,
                .out = out,
                .points = points,
                .inEntries = inEntries,
                .outEntries = outEntries,
                .width = 1};
    }
};
const ByteTable kByteTables[] = {
    {"Scanner", 3, 3, 2, 3, 5, 9, 24, 15},        {"SeventeenPoints", 3, 3, 17, 256, 4, 768, 14739, 12},
    {"TwoEntries", 3, 3, 2, 2, 2, 6, 24, 6},      {"OneToOne", 1, 1, 3, 4, 5, 4, 27, 5},
    {"OneToThree", 1, 3, 2, 4, 2, 4, 24, 6},      {"TwoToThree", 2, 3, 3, 2, 2, 4, 81, 6},
    {"ThreeToFour", 3, 4, 3, 2, 3, 6, 108, 12},   {"ThreeToSeven", 3, 7, 2, 2, 3, 6, 56, 21},
    {"FourToThree", 4, 3, 3, 2, 3, 8, 81, 9},     {"NoInputEntries", 3, 3, 2, 0, 2, 0, 24, 6},
    {"NoOutputEntries", 3, 3, 2, 2, 0, 6, 24, 0}, {"NoInputs", 0, 1, 2, 9, 2, 0, 8, 2},
    {"NoOutputs", 3, 0, 2, 2, 9, 6, 0, 0},        {"OnePoint", 3, 3, 1, 2, 2, 6, 3, 6},
    {"NoPoints", 3, 3, 0, 2, 2, 6, 0, 6},
};

class Lut8Shape : public testing::TestWithParam<ByteTable> {};

TEST_P(Lut8Shape, LaysInputGridAndOutputBehindOneAnother) {
    const ByteTable& shape = GetParam();
    CLut8Type lut;
    EXPECT_EQ(Load(lut, "A2B0", shape.Contents().Done()), 52 + shape.input + shape.grid + shape.output);
    ASSERT_TRUE(HasAll(lut));
    EXPECT_EQ(lut.inputChan, shape.in);
    EXPECT_EQ(lut.outputChan, shape.out);
    EXPECT_EQ(lut.clutPoints, shape.points);
    EXPECT_EQ(lut.inputEnt, shape.inEntries);
    EXPECT_EQ(lut.outputEnt, shape.outEntries);
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, shape.input), NthFrom(0, shape.input, 1));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, shape.grid), NthFrom(shape.input, shape.grid, 1));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, shape.output), NthFrom(shape.input + shape.grid, shape.output, 1));
}

TEST_P(Lut8Shape, HasEightSpareBytesOfZeroBehindEveryTable) {
    const ByteTable& shape = GetParam();
    CLut8Type lut;
    Load(lut, "A2B0", ByteWriter().Append(shape.Contents().Done()).Fill(40, 0xff).Done());
    EXPECT_EQ(ValuesOf(lut.inputTable, shape.input, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.clutTable, shape.grid, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.outputTable, shape.output, 8), Entries(8));
}

TEST_P(Lut8Shape, NeedsABlockThatHoldsAllThreeTables) {
    const ByteTable& shape = GetParam();
    const Bytes whole = shape.Contents().Done();
    const std::size_t need = 52 + shape.input + shape.grid + shape.output;
    for (const std::size_t size : {std::size_t{52}, need - 2, need - 1, need, need + 1, need + 100}) {
        CLut8Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(whole, size)), size);
        EXPECT_EQ(HasAll(lut), size >= need) << size;
        EXPECT_EQ(HasNone(lut), size < need) << size;
        EXPECT_EQ(lut.inputChan, shape.in);
        EXPECT_EQ(lut.clutPoints, shape.points);
        EXPECT_EQ(lut.inputEnt, shape.inEntries);
        EXPECT_EQ(lut.outputEnt, shape.outEntries);
        EXPECT_EQ(lut.matrix[8], 0xfff01234U + 8 * 0x01020304U);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Lut8Shape, testing::ValuesIn(kByteTables),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Lut8Block, OfOneChannelAsksForACubeToo) {
    // the block of a sound one-channel table: 5 nodes, where a cube has 125
    CLut8Type lut;
    Load(lut, "A2B0",
         MftSpec{.type = "mft1", .in = 1, .out = 3, .points = 5, .width = 1, .values = 2 + 5 * 3 + 2 * 3}.Done());
    EXPECT_TRUE(HasNone(lut));
    EXPECT_EQ(lut.clutPoints, 5);
}

TEST(Lut8Block, TakesMatrixWordsBeyondItForZero) {
    const Bytes whole = MftSpec{.type = "mft1", .width = 1}.Done();
    for (std::size_t size = 0; size <= 52; ++size) {
        CLut8Type lut;
        Load(lut, "A2B0", Cut(whole, size));
        for (std::size_t i = 0; i < 9; ++i) {
            const auto word = static_cast<std::uint32_t>(0xfff01234U + i * 0x01020304U);
            if (size <= 12 + 4 * i) {
                EXPECT_EQ(lut.matrix[i], 0U) << size;
            }
            if (size >= 16 + 4 * i) {
                EXPECT_EQ(lut.matrix[i], word) << size;
            }
        }
    }
}

TEST(Lut8Block, IsTakenFromAProfileToo) {
    ICC40::ICCFILE::IccFile4 file;
    Bytes block = MftSpec{.type = "mft1", .points = 3, .width = 1}.Done();
    file.tagList.push_back(file.CreateNewTag(Name("B2A1"), block.data(), static_cast<int>(block.size())));
    const auto& lut = dynamic_cast<const CLut8Type&>(*file.GetTag(Name("B2A1")));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 81), NthFrom(6, 81, 1));
}

}  // namespace
}  // namespace hueweave::test::icc
