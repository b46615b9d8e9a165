// SPDX-License-Identifier: MIT
// How a grid is loaded, from a profile or from packed nodes, and resampled to another number of points.
#include <gtest/gtest.h>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

constexpr int kUntouched = -123456;

std::unique_ptr<ColorTable33> Marked() {
    auto table = std::make_unique<ColorTable33>();
    std::fill_n(&table->Color[0][0][0][0], 33 * 33 * 33 * 7, kUntouched);
    return table;
}

/// Checks that the nodes past the first `size` of each axis still have the marks.
void ExpectMarkedBehind(const ColorTable33& table, int size) {
    Nodes expected(33 * 33 * 33);
    for (ReferenceNode& node : expected) node.fill(kUntouched);
    const Nodes nodes = NodesOf(table, 33);
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            for (int k = 0; k < size; ++k) expected[NodeAt(33, i, j, k)] = nodes[NodeAt(33, i, j, k)];
        }
    }
    EXPECT_THAT(nodes, EqualTo(expected));
}

void ExpectLoaded(const LutShape& shape) {
    SCOPED_TRACE(testing::Message() << shape.points << " points, " << shape.outputs << " channels");
    const TestLut lut = RandomLut(shape);
    const auto table = Marked();
    ReferenceGrid plain;
    EXPECT_EQ(table->Initial(&lut.tag), 0);
    plain.Load(lut.plain);
    for (ReferenceNode& node : plain.nodes) std::fill(node.begin() + shape.outputs, node.end(), kUntouched);
    ExpectGrid(*table, plain);
    ExpectMarkedBehind(*table, std::max(shape.points, plain.points));
    EXPECT_EQ(table->InChannels, shape.inputs);
    EXPECT_EQ(table->OutChannels, shape.outputs);
}

/// Kept: the last position is 65536 as loaded and 65535 once resampled.
TEST(ColorTable, LoadsEverySizeOrResamplesIt) {
    for (int points = 2; points <= 33; ++points) ExpectLoaded({.points = points});
}

TEST(ColorTable, FillsTheSlotsOfTheProfileAlone) {
    for (int outputs = 1; outputs <= 7; ++outputs) {
        ExpectLoaded({.inputs = 2, .outputs = outputs, .points = 9});
        ExpectLoaded({.inputs = 1, .outputs = outputs, .points = 6});
    }
}

/// Kept: step, positions and channel counts are ignored.
TEST(ColorTable, ReadsOnlySizeAndNodesOfAPackedCube) {
    for (const int points : {0, 1, 2, 5, 8, 9, 10, 16, 17, 18, 32, 33}) {
        SCOPED_TRACE(points);
        const ReferenceGrid plain = RandomGrid(points, 3, -70000, 70000);
        const auto table = Marked();
        table->LUT_Step = 12.5;
        table->InChannels = 41;
        table->OutChannels = 42;
        EXPECT_EQ(table->SetColorTable(Packed(plain.nodes), points), 0);
        EXPECT_THAT(NodesOf(*table, points), EqualTo(plain.nodes));
        ExpectMarkedBehind(*table, points);
        EXPECT_EQ(table->LUT_Size, points);
        EXPECT_EQ(table->LUT_Shift, points == 17 ? 12 : points == 9 ? 13 : 11);
        EXPECT_EQ(table->LUT_Mask, points == 17 ? 4095 : points == 9 ? 8191 : 2047);
        EXPECT_EQ(table->LUT_Step, 12.5);
        EXPECT_EQ(table->LUT_Pos, nullptr);
        EXPECT_EQ(table->InChannels, 41);
        EXPECT_EQ(table->OutChannels, 42);
    }
}

TEST(ColorTable, RejectsAPackedCubeOfAnUnsupportedSize) {
    const std::vector<int> packed(7, 5);
    for (const int size : {-1, 34, 100000}) {
        const auto table = Marked();
        EXPECT_EQ(table->SetColorTable(packed.data(), size), 0);
        EXPECT_EQ(table->LUT_Size, 0) << size;
        ExpectMarkedBehind(*table, 0);
    }
}

TEST(ColorTable, NeitherResamplesNorInterpolatesAPackedCubeBetweenPositions) {
    const ReferenceGrid plain = RandomGrid(5, 4);
    const auto table = Marked();
    table->SetColorTable(Packed(plain.nodes), 5);
    for (const int size : {2, 9, 17, 33}) {
        EXPECT_EQ(table->TableResize(size), 0);
        EXPECT_EQ(table->LUT_Size, 5);
        EXPECT_EQ(table->LUT_Pos, nullptr);
        EXPECT_THAT(NodesOf(*table, 5), EqualTo(plain.nodes));
        ExpectMarkedBehind(*table, 5);
    }
    int s[7] = {1, 2, 3, 4, 5, 6, 7};
    table->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    EXPECT_THAT(s, EqualTo(std::array{1, 2, 3, 4, 5, 6, 7}));
}

struct ResizeRow {
    int from, to;
};

std::vector<ResizeRow> ResizeRows() {
    std::vector<ResizeRow> rows;
    for (int from = 2; from <= 33; ++from) rows.push_back({from, 17});
    for (const int to : {2, 3, 5, 8, 9, 10, 16, 18, 31, 32, 33}) rows.push_back({17, to});
    for (const int to : {2, 9, 31, 32, 33}) rows.push_back({33, to});
    for (const int to : {5, 9, 25, 33}) rows.push_back({9, to});
    rows.push_back({2, 33});
    return rows;
}

/// Kept: the top of the new grid lies slightly below the old one, in its last cell. A size that is already set leaves
/// the positions unchanged: the last one is 65536.
TEST(TableResize, SamplesEveryNewNode) {
    for (const auto& [from, to] : ResizeRows()) {
        SCOPED_TRACE(testing::Message() << from << " to " << to);
        ReferenceGrid plain = RandomGrid(from, static_cast<std::uint32_t>(from * 40 + to), -1000000, 1000000);
        const auto table = MakeGrid(plain);
        table->InChannels = 3;
        table->OutChannels = 5;
        // The way back starts from the reduced top position.
        for (const int size : {to, from}) {
            EXPECT_EQ(table->TableResize(size), 0);
            plain.Resize(size);
            ExpectGrid(*table, plain);
        }
        EXPECT_EQ(table->InChannels, 3);
        EXPECT_EQ(table->OutChannels, 5);
    }
}

TEST(TableResize, ToASizeOutside2To33ChangesNothing) {
    const ReferenceGrid plain = RandomGrid(17, 8);
    const auto table = MakeGrid(plain);
    const int* const positions = table->LUT_Pos.get();
    for (const int size : {-3, 0, 1, 17, 34, 1000}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(table->TableResize(size), 0);
        EXPECT_EQ(table->LUT_Pos.get(), positions);
        ExpectGrid(*table, plain);
    }
}

TEST(TableResize, KeepsTheNodesOutsideTheNewSize) {
    const ReferenceGrid plain = RandomGrid(33, 5);
    const auto table = MakeGrid(plain);
    table->TableResize(9);
    Nodes expected = plain.nodes;
    const Nodes nodes = NodesOf(*table, 9);
    for (int n = 0; n < 9 * 9 * 9; ++n) expected[NodeAt(33, n / 81, n / 9 % 9, n % 9)] = nodes[AsIndex(n)];
    EXPECT_THAT(NodesOf(*table, 33), EqualTo(expected));
}

}  // namespace
}  // namespace hueweave::test
