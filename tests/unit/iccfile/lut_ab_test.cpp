// SPDX-License-Identifier: MIT
// Tags of the types "mAB " and "mBA ": offsets, curves and grid, and the step from curve to curve.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// The entries of the curves that exist.
template <typename Curves>
std::vector<Values> AllEntries(const Curves& curves) {
    std::vector<Values> all;
    for (const auto& curve : curves) {
        if (curve != nullptr) all.push_back(EntriesOf(curve.get()));
    }
    return all;
}
Bytes GridBytes(const CLut& lut) {
    return Bytes(lut.clut->gridData.get(), lut.clut->gridData.get() + lut.clut->gridBytes);
}
Values GridOf(const CLut& lut) {
    std::vector<std::uint16_t> values(lut.clut->gridBytes / 2);
    std::memcpy(values.data(), lut.clut->gridData.get(), 2 * values.size());
    return Values(values.begin(), values.end());
}

const std::vector<Values> kThree = {{11, 12, 13}, {21, 22, 23, 24, 25}, {31}};

TEST(CLut, ReadsEveryFieldAndZeroBeyondItsBlock) {
    ByteWriter block;
    block.Append(AbBlock(3, 4).Done());
    for (std::uint32_t i = 0; i < 5; ++i) block.PatchBig32(12 + 4 * i, 0x81828384U + 0x04040404U * i);
    for (std::size_t size = 0; size <= 40; ++size) {
        const Bytes cut = Cut(block.Done(), size);
        const Loaded<CLut> lut("A2B0", cut);
        EXPECT_EQ(lut.taken, size);
        EXPECT_EQ(lut.inputChan, ByteAt(cut, 8)) << size;
        EXPECT_EQ(lut.outputChan, ByteAt(cut, 9)) << size;
        EXPECT_EQ(lut.lutPad[0] * 256U + lut.lutPad[1], Big16At(cut, 10)) << size;
        EXPECT_EQ(lut.bCurveOffset, Big32At(cut, 12)) << size;
        EXPECT_EQ(lut.matrixOffset, Big32At(cut, 16)) << size;
        EXPECT_EQ(lut.mCurveOffset, Big32At(cut, 20)) << size;
        EXPECT_EQ(lut.clutOffset, Big32At(cut, 24)) << size;
        EXPECT_EQ(lut.aCurveOffset, Big32At(cut, 28)) << size;
    }
}

struct Side {
    const char* name;  ///< of the tag
    unsigned in, out;
    std::ptrdiff_t aCurves, bCurves;  ///< how many are read
};
constexpr Side kSides[] = {
    {"A2B0", 3, 2, 3, 2}, {"A2B1", 3, 3, 3, 3}, {"A2B2", 2, 3, 2, 3}, {"A2B0", 4, 3, 4, 3},     {"A2B0", 7, 3, 7, 3},
    {"A2B0", 8, 3, 7, 3}, {"A2B0", 3, 4, 3, 3}, {"A2B0", 1, 1, 1, 1}, {"A2B0", 0, 3, 0, 3},     {"A2B0", 3, 0, 3, 0},
    {"A2B9", 3, 2, 3, 2}, {"A2B/", 3, 2, 3, 2}, {"B2A0", 3, 2, 2, 3}, {"B2A1", 3, 4, 4, 3},     {"B2A2", 1, 4, 4, 1},
    {"B2A0", 4, 7, 7, 3}, {"B2A0", 3, 8, 7, 3}, {"B2A0", 0, 3, 3, 0}, {"pre0", 3, 2, 2, 3},     {"a2b0", 3, 2, 2, 3},
    {"A2C0", 3, 2, 2, 3}, {"A1B0", 3, 2, 2, 3}, {"B2B0", 3, 2, 2, 3}, {"A2B0", 255, 255, 7, 3},
};

TEST(CLut, HasACurvesOnTheDeviceSideAndBCurvesOnTheOther) {
    std::vector<Values> a, b;
    for (unsigned c = 0; c < 8; ++c) {
        a.push_back({100 + c, 200 + c, 300 + c});
        b.push_back({500 + c});
    }
    for (const Side& side : kSides) {
        for (const char* type : {"mAB ", "mBA "}) {  // the name decides, not the type
            SCOPED_TRACE(side.name + std::to_string(side.in) + " to " + std::to_string(side.out) + type);
            const Loaded<CLut> lut(
                side.name, AbBlock(side.in, side.out, type).Curves(AbBlock::kB, b).Curves(AbBlock::kA, a).Done());
            EXPECT_EQ(AllEntries(lut.aCurves), std::vector<Values>(a.begin(), a.begin() + side.aCurves));
            EXPECT_EQ(AllEntries(lut.bCurves), std::vector<Values>(b.begin(), b.begin() + side.bCurves));
            EXPECT_EQ(lut.mCurve, nullptr) << "at the offset 0";
            EXPECT_EQ(lut.clut, nullptr);
        }
    }
}

TEST(CLut, SetsTypeAndSizeOfItsCurvesButNoData) {
    const Loaded<CLut> lut("A2B0", AbBlock(3, 3)
                                       .Curves(AbBlock::kB, kThree)
                                       .Curves(AbBlock::kM, {{1, 2, 3, 4}})
                                       .Curves(AbBlock::kA, {{}, {1, 2}, {7}})
                                       .Done());
    EXPECT_EQ(AllEntries(lut.bCurves), kThree);
    EXPECT_EQ(EntriesOf(lut.mCurve.get()), (Values{1, 2, 3, 4}));
    EXPECT_EQ(AllEntries(lut.aCurves), (std::vector<Values>{{}, {1, 2}, {7}}));
    for (const auto* curve : {&lut.bCurves[0], &lut.bCurves[1], &lut.bCurves[2], &lut.mCurve, &lut.aCurves[0],
                              &lut.aCurves[1], &lut.aCurves[2]}) {
        EXPECT_EQ((*curve)->tagSize, 14 + 2 * (*curve)->curveCount);
        EXPECT_EQ(TypeOf(**curve), Word("curv"));
        EXPECT_NE((*curve)->tagData, nullptr) << "an array of no bytes";
        EXPECT_NE((*curve)->curve, nullptr);
    }
}

TEST(CLut, ReadsOneMCurveWhateverItsChannels) {
    for (const unsigned channels : {0U, 1U, 3U, 7U}) {
        for (const char* name : {"A2B0", "B2A0"}) {
            const Loaded<CLut> lut(name,
                                   AbBlock(channels, channels).Curves(AbBlock::kM, {{5, 6}, {7, 8}, {9, 10}}).Done());
            EXPECT_EQ(EntriesOf(lut.mCurve.get()), (Values{5, 6}));
            EXPECT_EQ(AllEntries(lut.aCurves), std::vector<Values>());
            EXPECT_EQ(AllEntries(lut.bCurves), std::vector<Values>());
            EXPECT_EQ(lut.clut, nullptr);
        }
    }
}

TEST(CLut, ReadsAGridOfAnyOtherPrecisionByteForByte) {
    for (const unsigned precision : {1U, 3U, 4U, 8U}) {
        const Bytes data = Block("", 24 * 2 * precision);
        const Loaded<CLut> lut("A2B0", AbBlock(3, 2).Grid({2, 3, 4}, precision, data).Done());
        EXPECT_EQ(lut.clut->precision, precision);
        EXPECT_THAT(GridBytes(lut), EqualTo(data));
    }
}

TEST(CLut, CountsTheNodesOverItsInputAxesOnly) {
    struct Row {
        unsigned in, out;
        std::uint64_t bytes;
    };
    for (const char* name : {"A2B0", "B2A0"}) {
        for (const Row& row : {Row{0, 3, 6}, Row{1, 3, 30}, Row{2, 3, 60}, Row{3, 3, 180}, Row{4, 3, 180},
                               Row{5, 3, 720}, Row{3, 1, 60}, Row{3, 7, 420}}) {
            const Loaded<CLut> lut(
                name,
                AbBlock(row.in, row.out).Grid({5, 2, 3, 1, 4, 200, 200, 200, 200, 200}, TableValues(0, 500)).Done());
            ASSERT_EQ(lut.clut->gridBytes, row.bytes) << row.in << " to " << row.out;
            EXPECT_THAT(GridOf(lut), EqualTo(TableValues(0, row.bytes / 2)));
        }
    }
}

TEST(CLut, CountsAtMostSixteenAxes) {
    for (const unsigned in : {15U, 16U, 17U, 255U}) {
        Values points(16, 1);
        points.front() = 2;
        points.back() = 3;
        const Loaded<CLut> lut("A2B0", AbBlock(in, 1).Grid(points, TableValues(0, 20)).Done());
        EXPECT_THAT(GridOf(lut), EqualTo(TableValues(0, in == 15 ? 2 : 6))) << in;
    }
}

TEST(CLut, ReadsNoGridThatItsBlockDoesNotHold) {
    const Bytes whole = AbBlock(3, 3).Grid({3, 3, 3}, TableValues(0, 81)).Done();
    for (const std::size_t missing : {0U, 1U, 2U}) {
        const Loaded<CLut> lut("A2B0", Cut(whole, whole.size() - missing));
        EXPECT_EQ(lut.clut->gridData == nullptr, missing != 0) << missing;
        EXPECT_EQ(lut.clut->gridBytes, missing == 0 ? 162U : 0U) << missing;
        EXPECT_EQ(lut.clut->gridPoints[2], 3);
    }
}

TEST(CLut, ReadsGridFieldsBeyondItsBlockAsZero) {
    const Bytes whole = AbBlock(3, 3).Grid({2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}, 2, {}).Done();
    ASSERT_EQ(whole.size(), 52U);
    for (std::size_t size = 32; size <= 52; ++size) {
        const Bytes cut = Cut(whole, size);
        const Loaded<CLut> lut("A2B0", cut);
        ASSERT_NE(lut.clut, nullptr);
        for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(lut.clut->gridPoints[i], ByteAt(cut, 32 + i)) << size;
        EXPECT_EQ(lut.clut->precision, ByteAt(cut, 48)) << size;
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(lut.clut->padding[i], ByteAt(cut, 49 + i)) << size;
        EXPECT_EQ(lut.clut->gridBytes, 0U) << size;
    }
}

TEST(CLut, HasEmptyPartsWhereTheyLieOutsideItsBlock) {
    for (const std::uint32_t offset : {33U, 100U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        SCOPED_TRACE(offset);
        AbBlock block(2, 2);
        for (const std::size_t place : {AbBlock::kA, AbBlock::kB, AbBlock::kM, AbBlock::kGrid})
            block.Offset(place, offset);
        const Loaded<CLut> lut("A2B0", ByteWriter().Append(block.Done()).U8(0xff).Done());
        EXPECT_EQ(lut.taken, 33U);
        for (const CCurveType* curve : {lut.mCurve.get(), lut.aCurves[0].get(), lut.aCurves[1].get(),
                                        lut.bCurves[0].get(), lut.bCurves[1].get()}) {
            ASSERT_NE(curve, nullptr);
            EXPECT_EQ(curve->curveCount, 0U);
            EXPECT_EQ(curve->tagSize, 14U);
        }
        ASSERT_NE(lut.clut, nullptr);
        EXPECT_EQ(lut.clut->gridPoints, (std::array<std::uint8_t, 16>{}));
        EXPECT_EQ(lut.clut->precision, 0);
        EXPECT_EQ(lut.clut->gridBytes, 0U);
        EXPECT_EQ(TablesIn(CLut16Type(&lut)), 0);
    }
}

}  // namespace
}  // namespace hueweave::test::icc
