// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables of the types "mAB " and "mBA ": curves, grid and offsets, and how one steps from curve to curve.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// The entries of a curve that is expected to be there.
Entries EntriesOf(const std::unique_ptr<CCurveType>& curve) {
    return curve == nullptr ? Entries{0xdeadU, 0xdeadU} : ValuesOf(curve->curve, 0, curve->curveCount);
}
Entries GridOf(const CLut& lut) {
    Entries values;
    for (std::uint64_t i = 0; i + 1 < lut.clut->gridBytes; i += 2) {
        std::uint16_t value = 0;
        std::memcpy(&value, lut.clut->gridData.get() + i, 2);
        values.push_back(value);
    }
    return values;
}
template <typename Curves>
std::size_t CountOf(const Curves& curves) {
    std::size_t count = 0;
    for (const auto& curve : curves) count += curve != nullptr;
    return count;
}

const std::vector<Entries> kThree = {{11, 12, 13}, {21, 22, 23, 24, 25}, {31}};

TEST(LutAB, TakesEveryFieldFromItsPlace) {
    CLut lut;
    Bytes block = AbBlock(3, 2).Done();
    ByteWriter patched;
    patched.Append(block).Fill(100);
    patched.PatchBig32(16, 0x89abcdefU);
    EXPECT_EQ(Load(lut, "A2B0", patched.Done()), 132U);
    EXPECT_EQ(lut.inputChan, 3);
    EXPECT_EQ(lut.outputChan, 2);
    EXPECT_EQ(lut.lutPad, (std::array<std::uint8_t, 2>{0x5a, 0xa7}));
    EXPECT_EQ(lut.matrixOffset, 0x89abcdefU);  // not looked at
    EXPECT_EQ(lut.reserved, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(lut.sig), Word("mAB "));
    EXPECT_EQ(DataOf(lut), patched.Done());
}

TEST(LutAB, KeepsItsFiveOffsets) {
    const std::size_t places[] = {12, 16, 20, 24, 28};
    for (std::size_t place = 0; place < 5; ++place) {
        CLut lut;
        Load(lut, "A2B0", AbBlock(1, 1).Offset(places[place], 0x81020304U).Done());
        const std::uint32_t offsets[] = {lut.bCurveOffset, lut.matrixOffset, lut.mCurveOffset, lut.clutOffset,
                                         lut.aCurveOffset};
        for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(offsets[i], i == place ? 0x81020304U : 0U);
    }
}

TEST(LutAB, WithoutOffsetsHasNoParts) {
    CLut lut;
    Load(lut, "A2B0", ByteWriter().Append(AbBlock(3, 3).Done()).Fill(200, 0xff).Done());
    EXPECT_EQ(CountOf(lut.bCurves), 0U);
    EXPECT_EQ(CountOf(lut.aCurves), 0U);
    EXPECT_EQ(lut.mCurve, nullptr);
    EXPECT_EQ(lut.clut, nullptr);
}

struct Side {
    const char* name;  ///< of the tag
    unsigned in, out;
    std::size_t aCurves, bCurves;  ///< how many are read
};
const Side kSides[] = {
    {"A2B0", 3, 2, 3, 2}, {"A2B1", 3, 3, 3, 3}, {"A2B2", 2, 3, 2, 3}, {"A2B0", 4, 3, 4, 3},     {"A2B0", 7, 3, 7, 3},
    {"A2B0", 8, 3, 7, 3}, {"A2B0", 3, 4, 3, 3}, {"A2B0", 1, 1, 1, 1}, {"A2B0", 0, 3, 0, 3},     {"A2B0", 3, 0, 3, 0},
    {"A2B9", 3, 2, 3, 2}, {"A2B/", 3, 2, 3, 2}, {"B2A0", 3, 2, 2, 3}, {"B2A1", 3, 4, 4, 3},     {"B2A2", 1, 4, 4, 1},
    {"B2A0", 4, 7, 7, 3}, {"B2A0", 3, 8, 7, 3}, {"B2A0", 0, 3, 3, 0}, {"pre0", 3, 2, 2, 3},     {"a2b0", 3, 2, 2, 3},
    {"A2C0", 3, 2, 2, 3}, {"A1B0", 3, 2, 2, 3}, {"B2B0", 3, 2, 2, 3}, {"A2B0", 255, 255, 7, 3},
};

class LutABSide : public testing::TestWithParam<Side> {};

TEST_P(LutABSide, HasACurvesOnTheDeviceSideAndBCurvesOnTheOther) {
    std::vector<Entries> a, b;
    for (unsigned c = 0; c < 8; ++c) {
        a.push_back({100 + c, 200 + c, 300 + c});
        b.push_back({500 + c});
    }
    for (const char* type : {"mAB ", "mBA "}) {  // the name decides, not the type
        CLut lut;
        Load(lut, GetParam().name,
             AbBlock(GetParam().in, GetParam().out, type).Curves(AbBlock::kB, b).Curves(AbBlock::kA, a).Done());
        EXPECT_EQ(CountOf(lut.aCurves), GetParam().aCurves);
        EXPECT_EQ(CountOf(lut.bCurves), GetParam().bCurves);
        for (std::size_t c = 0; c < GetParam().aCurves; ++c) EXPECT_EQ(EntriesOf(lut.aCurves[c]), a[c]);
        for (std::size_t c = 0; c < GetParam().bCurves; ++c) EXPECT_EQ(EntriesOf(lut.bCurves[c]), b[c]);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, LutABSide, testing::ValuesIn(kSides), [](const auto& row) {
    std::string name = row.param.name;
    if (name == "A2B/") name = "A2BSlash";
    return name + "_" + std::to_string(row.param.in) + "to" + std::to_string(row.param.out);
});

TEST(LutAB, TellsItsDirectionByNameWithoutTheLastLetter) {
    for (const char* name : {"A2B0", "A2B1", "A2B2", "A2B3", "A2B ", "A2Bz"}) EXPECT_TRUE(IsA2B(Name(name))) << name;
    EXPECT_TRUE(IsA2B(static_cast<icTagSignature>(0x41324200U)));
    EXPECT_TRUE(IsA2B(static_cast<icTagSignature>(0x413242ffU)));
    for (const char* name : {"B2A0", "a2B0", "A2C0", "A3B0", "B2B0", "D2B0"}) EXPECT_FALSE(IsA2B(Name(name))) << name;
    EXPECT_FALSE(IsA2B(icTagSignature{}));
}

TEST(LutAB, GivesItsCurvesTypeAndSteppedSize) {
    CLut lut;
    Load(lut, "A2B0",
         AbBlock(3, 3)
             .Curves(AbBlock::kB, kThree)
             .Curves(AbBlock::kM, {{1, 2, 3, 4}})
             .Curves(AbBlock::kA, {{}, {1, 2}, {7}})
             .Done());
    const std::uint32_t sizes[] = {14 + 6, 14 + 10, 14 + 2};
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(EntriesOf(lut.bCurves[c]), kThree[c]);
        EXPECT_EQ(lut.bCurves[c]->tagSize, sizes[c]);
        EXPECT_EQ(static_cast<std::uint32_t>(lut.bCurves[c]->sig), Word("curv"));
    }
    EXPECT_EQ(lut.mCurve->tagSize, 14U + 8);
    EXPECT_EQ(lut.aCurves[0]->tagSize, 14U);
    EXPECT_EQ(lut.aCurves[1]->tagSize, 14U + 4);
    EXPECT_EQ(lut.aCurves[2]->tagSize, 14U + 2);
}

/// Curves where the format has them: each at a multiple of 4 bytes.
Bytes AlignedCurves(const std::vector<Entries>& curves) {
    ByteWriter bytes;
    for (const Entries& curve : curves) bytes.Append(CurveBlock(curve)).Align(4);
    return bytes.Done();
}

TEST(LutAB, StepsAsTheFormatAlignsOddNumbersOfEntries) {
    for (const std::vector<Entries>& curves :
         {std::vector<Entries>{{1}, {2}, {3}}, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}, {{1, 2, 3, 4, 5}, {6}, {7, 8, 9}}}) {
        CLut lut;
        Load(lut, "A2B0",
             AbBlock(3, 3).Raw(AbBlock::kB, AlignedCurves(curves)).Raw(AbBlock::kA, AlignedCurves(curves)).Done());
        for (std::size_t c = 0; c < 3; ++c) {
            EXPECT_EQ(EntriesOf(lut.bCurves[c]), curves[c]);
            EXPECT_EQ(EntriesOf(lut.aCurves[c]), curves[c]);
        }
    }
}

TEST(LutAB, StepsTwoBytesTooFarOverAnEvenNumberOfEntries) {
    // Aligned curves stand at 32, 48 and 64, the block ends at 80. The second is looked for at 50: its count is the
    // two low bytes of the true count and the first entry, 0x00023333, and the nine words up to the end are taken.
    const Bytes aligned = AlignedCurves({{0x1111, 0x2222}, {0x3333, 0x4444}, {0x5555, 0x6666}});
    for (const std::size_t place : {AbBlock::kA, AbBlock::kB}) {
        CLut lut;
        const Bytes block = AbBlock(3, 3).Raw(place, aligned).Done();
        ASSERT_EQ(block.size(), 80U);
        Load(lut, "A2B0", block);
        const auto curve = [&](std::size_t c) -> const auto& {
            return place == AbBlock::kA ? lut.aCurves[c] : lut.bCurves[c];
        };
        EXPECT_EQ(EntriesOf(curve(0)), (Entries{0x1111, 0x2222}));
        EXPECT_EQ(EntriesOf(curve(1)), (Entries{0x4444, 0x6375, 0x7276, 0, 0, 0, 2, 0x5555, 0x6666}));
        EXPECT_EQ(static_cast<std::uint32_t>(curve(1)->sig), 0x72760000U);
        EXPECT_EQ(curve(1)->tagSize, 14U + 18);
        EXPECT_EQ(EntriesOf(curve(2)), Entries{});  // past the end
        EXPECT_EQ(curve(2)->tagSize, 14U);
    }
}

TEST(LutAB, StepsTwoBytesTooFarOverIdentityCurves) {
    // Aligned curves without entries stand at 32, 44 and 56, the block ends at 68. The second is looked for at 46,
    // its count 0x00006375 stands at 54; room for five entries is left.
    CLut lut;
    Load(lut, "A2B0", AbBlock(3, 3).Raw(AbBlock::kB, AlignedCurves({{}, {}, {}})).Done());
    EXPECT_EQ(lut.bCurves[0]->curveCount, 0U);
    EXPECT_EQ(EntriesOf(lut.bCurves[1]), (Entries{0x7276, 0, 0, 0, 0}));
    EXPECT_EQ(lut.bCurves[2]->curveCount, 0U);
}

TEST(LutAB, ReadsEvenNumbersOfEntriesWhereItStepsTo) {
    const std::vector<Entries> even = {{1, 2}, {3, 4, 5, 6}, {}};
    CLut lut;
    Load(lut, "B2A0", AbBlock(3, 3, "mBA ").Curves(AbBlock::kB, even).Curves(AbBlock::kA, even).Done());
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(EntriesOf(lut.bCurves[c]), even[c]);
        EXPECT_EQ(EntriesOf(lut.aCurves[c]), even[c]);
    }
}

TEST(LutAB, ReadsOneMiddleCurveWhateverItsChannels) {
    for (const unsigned channels : {0U, 1U, 3U, 7U}) {
        for (const char* name : {"A2B0", "B2A0"}) {
            CLut lut;
            Load(lut, name, AbBlock(channels, channels).Curves(AbBlock::kM, {{5, 6}, {7, 8}, {9, 10}}).Done());
            EXPECT_EQ(EntriesOf(lut.mCurve), (Entries{5, 6}));
            EXPECT_EQ(lut.mCurve->tagSize, 18U);
            EXPECT_EQ(CountOf(lut.aCurves) + CountOf(lut.bCurves), 0U);
        }
    }
}

TEST(LutAB, ReadsAGridOfWordsInHostOrder) {
    const std::vector<unsigned> points = {2, 3, 4, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 255, 254, 253};
    CLut lut;
    Load(lut, "A2B0", AbBlock(3, 2).Grid(points, NthFrom(0, 2 * 3 * 4 * 2)).Done());
    ASSERT_NE(lut.clut, nullptr);
    EXPECT_EQ(ValuesOf(lut.clut->gridPoints, 0, 16), points);
    EXPECT_EQ(lut.clut->precision, 2);
    EXPECT_EQ(lut.clut->padding, (std::array<std::uint8_t, 3>{0x71, 0x72, 0x73}));
    EXPECT_EQ(lut.clut->gridBytes, 96U);
    EXPECT_EQ(GridOf(lut), NthFrom(0, 48));
}

TEST(LutAB, ReadsAGridOfBytesAsItIs) {
    const Bytes data = Block("", 48);
    CLut lut;
    Load(lut, "A2B0", AbBlock(3, 2).Grid({2, 3, 4}, 1, data).Done());
    EXPECT_EQ(lut.clut->precision, 1);
    ASSERT_EQ(lut.clut->gridBytes, 48U);
    EXPECT_EQ(Bytes(lut.clut->gridData.get(), lut.clut->gridData.get() + 48), data);
}

TEST(LutAB, SwapsNothingOfAnyOtherPrecision) {
    for (const unsigned precision : {3U, 4U, 8U}) {
        const Bytes data = Block("", 8 * precision);
        CLut lut;
        Load(lut, "A2B0", AbBlock(3, 1).Grid({2, 2, 2}, precision, data).Done());
        ASSERT_EQ(lut.clut->gridBytes, data.size());
        EXPECT_EQ(Bytes(lut.clut->gridData.get(), lut.clut->gridData.get() + data.size()), data);
    }
}

TEST(LutAB, CountsTheNodesOverItsInputAxesOnly) {
    struct Row {
        unsigned in, out;
        std::uint64_t bytes;
    };
    for (const char* name : {"A2B0", "B2A0"}) {
        for (const Row& row : {Row{0, 3, 6}, Row{1, 3, 30}, Row{2, 3, 60}, Row{3, 3, 180}, Row{4, 3, 180},
                               Row{5, 3, 720}, Row{3, 1, 60}, Row{3, 7, 420}}) {
            CLut lut;
            Load(lut, name,
                 AbBlock(row.in, row.out).Grid({5, 2, 3, 1, 4, 200, 200, 200, 200, 200}, NthFrom(0, 500)).Done());
            ASSERT_EQ(lut.clut->gridBytes, row.bytes) << row.in << " to " << row.out;
            EXPECT_EQ(GridOf(lut), NthFrom(0, row.bytes / 2));
        }
    }
}

TEST(LutAB, CountsAtMostSixteenAxes) {
    for (const unsigned in : {15U, 16U, 17U, 255U}) {
        CLut lut;
        const std::vector<unsigned> points = {2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3};
        Load(lut, "A2B0", AbBlock(in, 1).Grid(points, NthFrom(0, 20)).Done());
        EXPECT_EQ(GridOf(lut), NthFrom(0, in == 15 ? 2 : 6)) << in;
    }
}

TEST(LutAB, OfAProfileIsOwnedByItsContainer) {
    ICC40::ICCFILE::IccFile4 file;
    Bytes block = AbBlock(3, 3, "mBA ").Curves(AbBlock::kB, kThree).Grid({2, 2, 2}, NthFrom(0, 24)).Done();
    file.tagList.push_back(file.CreateNewTag(Name("B2A1"), block.data(), static_cast<int>(block.size())));
    const auto& lut = dynamic_cast<const CLut&>(*file.GetTag(Name("B2A1")));
    EXPECT_EQ(EntriesOf(lut.bCurves[1]), kThree[1]);
    EXPECT_EQ(GridOf(lut), NthFrom(0, 24));
    file.Reset();  // the memory checker sees that all of it goes
    EXPECT_TRUE(file.tagList.empty());
}

}  // namespace
}  // namespace hueweave::test::icc
