// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables of one-byte entries, which are read in the layout of the 16-bit ones.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

TEST(Lut8, TakesEveryFieldFromItsPlace) {
    CLut8Type lut;
    const MftSpec contents{
        .type = "mft1", .in = 3, .out = 2, .points = 4, .inEntries = 0x0105, .outEntries = 0x0207, .width = 1};
    EXPECT_EQ(Load(lut, "A2B0", contents.Done()), 52U + 783 + 128 + 1038);
    EXPECT_EQ(lut.inputChan, 3);
    EXPECT_EQ(lut.outputChan, 2);
    EXPECT_EQ(lut.clutPoints, 4);
    EXPECT_EQ(lut.pad, 0xa5);
    for (std::uint32_t i = 0; i < 9; ++i) EXPECT_EQ(lut.matrix[i], 0xfff01234U + i * 0x01020304U);
    EXPECT_EQ(lut.inputEnt, 0x0105);  // the counts are words and swapped
    EXPECT_EQ(lut.outputEnt, 0x0207);
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, 783), NthFrom(0, 783, 1));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 128), NthFrom(783, 128, 1));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, 1038), NthFrom(783 + 128, 1038, 1));
    EXPECT_EQ(static_cast<std::uint32_t>(lut.sig), Word("mft1"));
    EXPECT_EQ(lut.reserved, 0U);
    EXPECT_EQ(DataOf(lut), contents.Done());
}

TEST(Lut8, OfFourChannelsTakesOneCubeAndTheOutputFromBehindIt) {
    CLut8Type lut;
    Load(lut, "A2B0",
         MftSpec{.type = "mft1",
                 .in = 4,
                 .out = 3,
                 .points = 3,
                 .inEntries = 2,
                 .outEntries = 5,
                 .width = 1,
                 .values = 8 + 81 * 3 + 15}
             .Done());
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 81), NthFrom(8, 81, 1));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, 15), NthFrom(8 + 81, 15, 1));
}

TEST(Lut8, NeedsABlockThatHoldsAllThreeTables) {
    const MftSpec contents{.type = "mft1", .inEntries = 3, .outEntries = 5, .width = 1};
    constexpr std::size_t kNeed = 52 + 9 + 24 + 15;
    for (const std::size_t size : {std::size_t{52}, kNeed - 1, kNeed, kNeed + 1}) {
        CLut8Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(contents.Done(), size)), size);
        EXPECT_EQ(HasNone(lut), size < kNeed) << size;
        EXPECT_EQ(lut.inputTable == nullptr, lut.clutTable == nullptr);
        EXPECT_EQ(lut.outputTable == nullptr, lut.clutTable == nullptr);
        EXPECT_EQ(lut.inputEnt, 3);
        EXPECT_EQ(lut.outputEnt, 5);
        EXPECT_EQ(lut.matrix[0], 0xfff01234U);
        if (size >= kNeed) {
            EXPECT_EQ(ValuesOf(lut.outputTable, 0, 15), NthFrom(33, 15, 1));
        }
    }
}

TEST(Lut8, HasEightSpareBytesOfZeroBehindEveryTable) {
    CLut8Type lut;
    const MftSpec contents{.type = "mft1", .inEntries = 3, .outEntries = 5, .width = 1};
    Load(lut, "A2B0", ByteWriter().Append(contents.Done()).Fill(40, 0xff).Done());
    EXPECT_EQ(ValuesOf(lut.inputTable, 9, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.clutTable, 24, 8), Entries(8));
    EXPECT_EQ(ValuesOf(lut.outputTable, 15, 8), Entries(8));
}

/// A table as published for one-byte entries: no counts, curves of 256 entries from 48 on.
Bytes PublishedLayout(unsigned first, unsigned second, unsigned third, unsigned fourth) {
    ByteWriter block;
    block.Text("mft1").Big32(0).U8(3).U8(3).U8(2).U8(0);
    for (int i = 0; i < 9; ++i) block.Big32(i % 4 == 0 ? 0x10000 : 0);
    block.U8(first).U8(second).U8(third).U8(fourth);
    for (unsigned i = 4; i < 256 * 3 + 24 + 256 * 3; ++i) block.U8((i * 7 + 3) & 0xffU);
    return block.Done();
}

TEST(Lut8, TakesTheFirstBytesOfThePublishedLayoutForItsCounts) {
    CLut8Type lut;
    const Bytes block = PublishedLayout(0, 1, 0, 2);
    Load(lut, "A2B0", block);
    EXPECT_EQ(lut.inputEnt, 1);
    EXPECT_EQ(lut.outputEnt, 2);
    const auto bytes = [&](std::size_t at, std::size_t count) {
        const Bytes part = Part(block, at, count);
        return Entries(part.begin(), part.end());
    };
    EXPECT_EQ(ValuesOf(lut.inputTable, 0, 3), bytes(52, 3));
    EXPECT_EQ(ValuesOf(lut.clutTable, 0, 24), bytes(55, 24));
    EXPECT_EQ(ValuesOf(lut.outputTable, 0, 6), bytes(79, 6));
}

TEST(Lut8, OfAPublishedRampAsksForMoreThanTheBlock) {
    CLut8Type lut;
    Load(lut, "A2B0", PublishedLayout(0, 1, 2, 3));  // 1 and 515 entries: 52 + 3 + 24 + 1545 bytes of 1608
    EXPECT_EQ(lut.inputEnt, 1);
    EXPECT_EQ(lut.outputEnt, 515);
    EXPECT_TRUE(HasNone(lut));
}

TEST(Lut8, TakesFieldsBeyondItsBlockForZero) {
    const Bytes whole = MftSpec{.type = "mft1", .inEntries = 0x0102, .outEntries = 0x0304, .width = 1}.Done();
    for (std::size_t size = 0; size < 52; ++size) {
        CLut8Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(whole, size)), size);
        EXPECT_EQ(lut.inputChan, size > 8 ? 3 : 0);
        EXPECT_EQ(lut.outputChan, size > 9 ? 3 : 0);
        EXPECT_EQ(lut.clutPoints, size > 10 ? 2 : 0);
        EXPECT_EQ(lut.pad, size > 11 ? 0xa5 : 0);
        EXPECT_EQ(lut.inputEnt, size >= 50 ? 0x0102 : size == 49 ? 0x0100 : 0);
        EXPECT_EQ(lut.outputEnt, size == 51 ? 0x0300 : 0);
        if (size > 10) {
            EXPECT_TRUE(HasNone(lut)) << size;
        }
    }
}

TEST(Lut8, CountsWideEnoughForTheLargestTables) {
    for (const MftSpec& contents :
         {MftSpec{
              .in = 255, .out = 255, .points = 255, .inEntries = 65535, .outEntries = 65535, .width = 1, .values = 0},
          // 2 to the power of 31 bytes, negative as an int
          MftSpec{
              .in = 1, .out = 255, .points = 203, .inEntries = 128, .outEntries = 56077, .width = 1, .values = 0}}) {
        CLut8Type lut;
        EXPECT_EQ(Load(lut, "A2B0", Cut(contents.Done(), 200)), 200U);
        EXPECT_TRUE(HasNone(lut));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
