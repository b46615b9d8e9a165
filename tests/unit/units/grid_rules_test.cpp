// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Rules of the grids that every member has to keep by itself: where shift and mask come from, the order of the stores,
// slots that a profile does not fill, and transformations that are run again.
#include <gtest/gtest.h>

#include "unit/color/NaiveLch.h"
#include "unit/units/GridMembers.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;

class GridMember : public testing::TestWithParam<int> {
protected:
    void Fill(int points, const Nodes& nodes) {
        std::vector<int> packed;
        for (const auto& node : nodes) packed.insert(packed.end(), node.begin(), node.end());
        EXPECT_EQ(table_->SetColorTable(packed.data(), points), 0);
    }
    std::size_t channels_ = static_cast<std::size_t>(GetParam());
    std::unique_ptr<ColorTable33> table_ = MakeGridMember(GetParam());
};

/// Whole fractions by any shift and mask, in a cube of 33 points.
Seven NaiveSeven(const Nodes& nodes, int shift, int mask, const std::array<int, 3>& at) {
    std::array<int, 3> cell{}, f{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        cell[axis] = at[axis] >> shift;
        f[axis] = at[axis] & mask;
    }
    const NaiveCase& row = CaseOf(f[0], f[1], f[2]);
    Seven result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto difference = [&](int to, int from) {
            return std::int64_t{Corner(nodes, 33, cell, to, c)} - Corner(nodes, 33, cell, from, c);
        };
        const std::int64_t sum = std::int64_t{Corner(nodes, 33, cell, 0, c)} * (1 << shift) +
                                 difference(row.xTo, row.xFrom) * f[0] + difference(row.yTo, row.yFrom) * f[1] +
                                 difference(row.zTo, row.zFrom) * f[2];
        result[c] = static_cast<unsigned short>((sum >> shift) & 0xffff);
    }
    return result;
}

TEST_P(GridMember, TakesShiftAndMaskAsTheyStand) {
    const Nodes nodes = ScatteredNodes(33, 41);
    Fill(33, nodes);
    struct Row {
        int shift, mask;
    };
    // Those of the three sizes, and masks that belong to no shift.
    for (const Row& row : {Row{11, 2047}, Row{12, 4095}, Row{13, 8191}, Row{12, 0x7f0}, Row{13, 0}, Row{14, 2047}}) {
        table_->LUT_Shift = row.shift;
        table_->LUT_Mask = row.mask;
        Scatter scatter(42);
        for (int n = 0; n < 3000; ++n) {
            Seven s{};
            for (auto& sample : s) sample = static_cast<unsigned short>(scatter.Next());
            Seven expected = s;
            const Seven whole = NaiveSeven(nodes, row.shift, row.mask, {s[0], s[1], s[2]});
            std::copy_n(whole.begin(), channels_, expected.begin());
            table_->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
            ASSERT_EQ(s, expected) << row.shift << " " << row.mask;
        }
        EXPECT_EQ(table_->LUT_Shift, row.shift);
        EXPECT_EQ(table_->LUT_Mask, row.mask);
    }
}

TEST_P(GridMember, StoresItsChannelsInTheirOrder) {
    const Nodes nodes = ScatteredNodes(33, 43);
    Fill(33, nodes);
    for (const int value : {0, 1, 2047, 2048, 30000, 65535}) {
        // All of one sample: the last store stays.
        auto all = static_cast<unsigned short>(value);
        unsigned short other = 7;
        unsigned short* place[7];
        for (std::size_t c = 0; c < 7; ++c) place[c] = c < channels_ ? &all : &other;
        table_->Conversion(*place[0], *place[1], *place[2], *place[3], *place[4], *place[5], *place[6]);
        EXPECT_EQ(all, NaiveSeven(nodes, 11, 2047, {value, value, value})[channels_ - 1]) << value;
        EXPECT_EQ(other, 7);
    }
}

TEST_P(GridMember, ReadsSlotsThatTheProfileDoesNotFillAllTheSame) {
    for (int outputs = 1; outputs <= 7; ++outputs) {
        std::fill_n(&table_->Color[0][0][0][0], 33 * 33 * 33 * 7, 4242);
        const auto lut = MakeLut({.outputs = outputs, .points = 9}, 44);
        EXPECT_EQ(table_->Initial(lut.get()), 0);
        // On node 3, 4, 5.
        const std::size_t node = NodeAt(9, 3, 4, 5) * static_cast<std::size_t>(outputs);
        Seven s = {3 * 8192, 4 * 8192, 5 * 8192, 64, 65, 66, 67};
        Job job(257, 1);
        job.Work({s[0], s[1], s[2]});
        table_->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        EXPECT_EQ(table_->Conversion(&job.info), 0);
        for (std::size_t c = 0; c < 7; ++c) {
            const int filled = c < static_cast<std::size_t>(outputs) ? lut->clutTable[node + c] : 4242;
            EXPECT_EQ(s[c], c < channels_ ? filled : static_cast<int>(61 + c)) << outputs << " outputs, channel " << c;
            EXPECT_EQ(job.info.WorkBuf[c], c < channels_ ? filled : Job::kMark16) << outputs << ", channel " << c;
        }
    }
}

Triple LabOfNode(const std::array<int, 7>& node) {
    return {(node[0] & 0xffff) * 100.0 / 65280.0, ((node[1] & 0xffff) - 32768) * 0.00390625,
            ((node[2] & 0xffff) - 32768) * 0.00390625};
}

/// A node shifted in L*, C* and h.
std::array<int, 7> ShiftedNode(const std::array<int, 7>& node, const Triple& by) {
    const Triple lab = LabOfNode(node);
    const auto polar = NaiveChromaHue(lab[1], lab[2]);
    const Triple lch = NaiveAdjust({lab[0], polar[0], polar[1]}, by[0], by[1], by[2]);
    const auto ab = NaiveAB(lch[1], lch[2]);
    std::array<int, 7> result = node;
    result[0] = static_cast<int>(lch[0] * 65280.0 / 100.0) & 0xffff;
    result[1] = static_cast<int>(256.0 * ab[0] + 32768.0) & 0xffff;
    result[2] = static_cast<int>(256.0 * ab[1] + 32768.0) & 0xffff;
    return result;
}

/// A node turned into linear RGB through identity tables, under the usual white.
std::array<int, 7> Turned(const std::array<int, 7>& node, int primaries) {
    const Triple rgb = NaiveLabToRGB(LabOfNode(node), kUsualWhite, primaries);
    std::array<int, 7> result = node;
    for (std::size_t c = 0; c < 3; ++c) result[c] = static_cast<int>(rgb[c]) << 8;
    return result;
}

/// Each step takes the nodes as it finds them, whatever they are by then.
TEST_P(GridMember, TransformsWhatStandsInItAndNothingElse) {
    const auto lut = MakeLut({.outputs = 7, .points = 33}, 45);
    table_->Initial(lut.get());
    Nodes nodes = GetNodes(*table_, 33);
    const auto each = [&nodes](const auto& change) {
        for (auto& node : nodes) node = change(node);
    };
    const auto identity = std::make_unique<OutputTable33>();

    EXPECT_EQ(table_->Adjust_Lch(-4.5, 6.25, 100.0), 0);
    each([](const auto& node) { return ShiftedNode(node, {-4.5, 6.25, 100.0}); });
    ExpectNodes(*table_, 33, nodes);
    EXPECT_EQ(table_->Adjust_Lch(12.0, -3.0, -200.0), 0);
    each([](const auto& node) { return ShiftedNode(node, {12.0, -3.0, -200.0}); });
    ExpectNodes(*table_, 33, nodes);
    EXPECT_EQ(table_->Lab2RGB100_16_1D(identity.get(), Space(24), nullptr), 25);
    each([](const auto& node) { return Turned(node, 2); });
    ExpectNodes(*table_, 33, nodes);
    EXPECT_EQ(table_->Lab2RGB100_16_1D(identity.get(), Space(20), nullptr), 21);
    each([](const auto& node) { return Turned(node, 1); });
    ExpectNodes(*table_, 33, nodes);
    EXPECT_EQ(table_->Adjust_Lch(0.0, 1.0, 0.0), 0);
    each([](const auto& node) { return ShiftedNode(node, {0.0, 1.0, 0.0}); });
    ExpectNodes(*table_, 33, nodes);

    EXPECT_EQ(table_->LUT_Size, 33);
    EXPECT_EQ(table_->LUT_Shift, 11);
    EXPECT_EQ(table_->LUT_Mask, 2047);
    EXPECT_EQ(table_->LUT_Step, 2048.0);
    ExpectRow(table_->LUT_Pos.get(), Positions(33, 65536), "LUT_Pos");
    EXPECT_EQ(table_->InChannels, 3);
    EXPECT_EQ(table_->OutChannels, 7);
}

TEST_P(GridMember, KeepsItsPositionsWhenItHasTheSizeAlready) {
    for (int points : {9, 17, 33}) {
        table_->Initial(MakeLut({.outputs = 7, .points = points}, 46).get());
        const Nodes before = GetNodes(*table_, points);
        const int* const positions = table_->LUT_Pos.get();
        EXPECT_EQ(table_->TableResize(points), 0);
        EXPECT_EQ(table_->LUT_Pos.get(), positions);
        ExpectRow(positions, Positions(points, 65536), "LUT_Pos");
        ExpectNodes(*table_, points, before);
    }
}

INSTANTIATE_TEST_SUITE_P(Members, GridMember, testing::Values(3, 4, 6, 7));

}  // namespace
}  // namespace hueweave::test
