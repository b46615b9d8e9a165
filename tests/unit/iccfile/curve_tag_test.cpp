// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Lists of curve entries, alone and inside a larger block; and the reader that keeps every decoder in its block.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

using ICC40::ICCFILE::TagReader;

TEST(CurveTag, HoldsItsEntriesInHostOrder) {
    CCurveType curve;
    EXPECT_EQ(Load(curve, "rTRC", CurveBlock({0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535})), 26U);
    ASSERT_EQ(curve.curveCount, 7U);
    EXPECT_EQ(ValuesOf(curve.curve, 0, 7), (Entries{0, 1, 0x00ff, 0x0100, 0x1234, 0x8000, 65535}));
    EXPECT_EQ(curve.tagSize, 26U);
}

TEST(CurveTag, DoesNotInterpretACountOfNoneOrOne) {
    CCurveType none, gamma;
    Load(none, "rTRC", CurveBlock({}));
    EXPECT_EQ(none.curveCount, 0U);
    Load(gamma, "rTRC", CurveBlock({0x0180}));
    EXPECT_EQ(gamma.curveCount, 1U);
    EXPECT_EQ(gamma.curve[0], 0x0180U);
}

TEST(CurveTag, DoesNotLookAtItsTypeOrItsReservedWord) {
    for (const char* type : {"curv", "para", "text", "XYZ "}) {
        CCurveType curve;
        Load(curve, "gTRC", ByteWriter().Text(type).Big32(0xffffffffU).Big32(2).Big16(7).Big16(9).Done());
        ASSERT_EQ(curve.curveCount, 2U);
        EXPECT_EQ(ValuesOf(curve.curve, 0, 2), (Entries{7, 9}));
    }
}

TEST(CurveTag, TakesNoMoreThanItsCountSays) {
    CCurveType curve;
    Load(curve, "gTRC", ByteWriter().Text("curv").Big32(0).Big32(2).Big16(7).Big16(9).Big16(11).Big16(13).Done());
    EXPECT_EQ(curve.curveCount, 2U);
}

struct Room {
    std::uint32_t announced;
    std::size_t size;
    std::uint32_t taken;
};
const Room kRooms[] = {{4, 19, 3},
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
                       {0x7fffffffU, 18, 3}};

Bytes RoomBlock(const Room& room) {
    return Cut(ByteWriter().Text("curv").Big32(0).Big32(room.announced).Big16(11).Big16(22).Big16(33).Big16(44).Done(),
               room.size);
}

TEST(CurveTag, TakesNoMoreEntriesThanItsBlockHolds) {
    for (const Room& room : kRooms) {
        CCurveType curve;
        EXPECT_EQ(Load(curve, "bTRC", RoomBlock(room)), room.size);
        ASSERT_EQ(curve.curveCount, room.taken) << room.announced << " in " << room.size;
        const Entries all = {11, 22, 33, 44};
        EXPECT_EQ(ValuesOf(curve.curve, 0, room.taken), Entries(all.begin(), all.begin() + room.taken));
        EXPECT_EQ(curve.tagSize, room.size);
    }
}

TEST(CurveWithoutSize, AnswersTwoBytesMoreThanItTakes) {
    for (unsigned n = 0; n <= 9; ++n) {
        Entries entries;
        for (unsigned i = 0; i < n; ++i) entries.push_back(0x1200 + i * 0x0301);
        Bytes block = CurveBlock(entries);
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("A2B0"), block.data()), 2 * n + 14);
        EXPECT_EQ(curve.tagSize, 2 * n + 14);
        ASSERT_EQ(curve.curveCount, n);
        EXPECT_EQ(ValuesOf(curve.curve, 0, n), entries);
        EXPECT_EQ(curve.tagSig, Name("A2B0"));
        EXPECT_EQ(static_cast<std::uint32_t>(curve.sig), Word("curv"));
        EXPECT_EQ(curve.reserved, 0U);
    }
}

TEST(CurveWithoutSize, IsReadThroughTheOrdinaryDoorWithASizeOfZero) {
    for (const Entries& entries : {Entries{}, Entries{5}, Entries{0x1234, 0, 0xfffe}}) {
        Bytes block = CurveBlock(entries);
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("gTRC"), block.data(), 0), 0U);
        EXPECT_EQ(curve.tagSize, 0U);
        ASSERT_EQ(curve.curveCount, entries.size());
        EXPECT_EQ(ValuesOf(curve.curve, 0, entries.size()), entries);
        EXPECT_EQ(static_cast<std::uint32_t>(curve.sig), Word("curv"));
    }
}

TEST(CurveWithoutSize, IsEmptyWithoutData) {
    for (const int size : {0, 20, -1}) {
        CCurveType curve;
        EXPECT_EQ(curve.Initial(Name("gTRC"), nullptr, size), 0U);
        EXPECT_EQ(curve.curveCount, 0U);
    }
    Bytes block = CurveBlock({1, 2, 3});
    CCurveType curve;
    EXPECT_EQ(curve.Initial(Name("gTRC"), block.data(), -1), 0U) << "a negative size is no size of 0";
    EXPECT_EQ(curve.curveCount, 0U);
}

TEST(CurveWithinABlock, AnswersTwoBytesMoreThanItTakes) {
    for (const Room& room : kRooms) {
        const Bytes block = RoomBlock(room);
        CCurveType curve;
        EXPECT_EQ(curve.InitialWithin(Name("A2B0"), TagReader(block.data(), static_cast<int>(block.size()))),
                  2 * room.taken + 14);
        EXPECT_EQ(curve.tagSize, 2 * room.taken + 14);
        ASSERT_EQ(curve.curveCount, room.taken) << room.announced << " in " << room.size;
        const Entries all = {11, 22, 33, 44};
        EXPECT_EQ(ValuesOf(curve.curve, 0, room.taken), Entries(all.begin(), all.begin() + room.taken));
    }
}

TEST(BlockReader, ReadsBigEndianWordsAndZerosPastTheEnd) {
    const Bytes block = {0x81, 0x92, 0xa3, 0xb4, 0xc5};
    const TagReader reader(block.data(), 5);
    EXPECT_EQ(reader.U8(0), 0x81U);
    EXPECT_EQ(reader.U8(4), 0xc5U);
    EXPECT_EQ(reader.U8(5), 0U);
    EXPECT_EQ(reader.U16(3), 0xb4c5U);
    EXPECT_EQ(reader.U16(4), 0xc500U);
    EXPECT_EQ(reader.U16(5), 0U);
    EXPECT_EQ(reader.U32(1), 0x92a3b4c5U);
    EXPECT_EQ(reader.U32(2), 0xa3b4c500U);
    EXPECT_EQ(reader.U32(4), 0xc5000000U);
    EXPECT_EQ(reader.U32(5), 0U);
    EXPECT_EQ(reader.U32(0xffffffffU), 0U);
}

TEST(BlockReader, KnowsWhatItHolds) {
    const Bytes block(10);
    const TagReader reader(block.data(), 10);
    EXPECT_EQ(reader.Size(), 10U);
    EXPECT_EQ(reader.Room(0), 10U);
    EXPECT_EQ(reader.Room(9), 1U);
    EXPECT_EQ(reader.Room(10), 0U);
    EXPECT_EQ(reader.Room(11), 0U);
    EXPECT_EQ(reader.From(7).size(), 3U);
    EXPECT_EQ(reader.From(7).data(), block.data() + 7);
    EXPECT_EQ(reader.From(11).size(), 0U);
    EXPECT_TRUE(reader.Holds(4, 6));
    EXPECT_FALSE(reader.Holds(4, 7));
    EXPECT_TRUE(reader.Holds(10, 0));
    EXPECT_FALSE(reader.Holds(11, 0));
    EXPECT_FALSE(reader.Holds(8, 0xffffffffffffffffU));
    EXPECT_FALSE(reader.Holds(0xffffffffffffffffU, 2));
}

TEST(BlockReader, TakesNullAndNoBytesForAnEmptyBlock) {
    const Bytes block(10, 0xff);
    for (const TagReader& reader : {TagReader(nullptr, 10), TagReader(block.data(), 0), TagReader(block.data(), -1)}) {
        EXPECT_EQ(reader.Size(), 0U);
        EXPECT_EQ(reader.U32(0), 0U);
        EXPECT_FALSE(reader.Holds(0, 1));
    }
}

}  // namespace
}  // namespace hueweave::test::icc
