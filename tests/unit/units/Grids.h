// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

// Grids of any size and content, and their comparison with the reference.
namespace hueweave::test {

using Nodes = std::vector<PlainNode>;

inline std::size_t NodeAt(int points, int i, int j, int k) { return AsIndex((i * points + j) * points + k); }

/// A grid as loading leaves it, all seven channels between `low` and `high`.
inline ReferenceGrid RandomGrid(int points, std::uint32_t seed, int low = 0, int high = 65535) {
    ReferenceGrid grid;
    grid.SetSize(points);
    grid.step = points > 1 ? 65536.0 / (points - 1) : 0.0;
    for (int n = 0; n < points; ++n) grid.positions.push_back(static_cast<int>(n * grid.step));
    Lcg random(seed);
    grid.nodes.resize(AsIndex(points * points * points));
    for (PlainNode& node : grid.nodes) {
        for (int& value : node)
            value = low + static_cast<int>(random.Below(static_cast<std::uint32_t>(high - low + 1)));
    }
    return grid;
}

inline void PutNodes(ColorTable33& table, int points, const Nodes& nodes) {
    for (int i = 0; i < points; ++i) {
        for (int j = 0; j < points; ++j) {
            for (int k = 0; k < points; ++k) std::ranges::copy(nodes[NodeAt(points, i, j, k)], table.Color[i][j][k]);
        }
    }
}

inline Nodes NodesOf(const ColorTable33& table, int points) {
    Nodes nodes(AsIndex(points * points * points));
    for (int i = 0; i < points; ++i) {
        for (int j = 0; j < points; ++j) {
            for (int k = 0; k < points; ++k) {
                std::ranges::copy(table.Color[i][j][k], nodes[NodeAt(points, i, j, k)].begin());
            }
        }
    }
    return nodes;
}

/// The same grid in a unit of 3, 4, 6 or 7 channels.
inline std::unique_ptr<ColorTable33> MakeGrid(const ReferenceGrid& plain, int channels = 3) {
    auto table = MakeColorTable(channels);
    table->LUT_Size = plain.points;
    table->LUT_Shift = plain.shift;
    table->LUT_Mask = plain.mask;
    table->LUT_Step = plain.step;
    table->LUT_Pos = std::make_unique<int[]>(plain.positions.size());
    std::ranges::copy(plain.positions, table->LUT_Pos.get());
    PutNodes(*table, plain.points, plain.nodes);
    return table;
}

/// The packed form of nodes, seven values each.
inline std::vector<int> Packed(const Nodes& nodes) {
    std::vector<int> packed;
    for (const PlainNode& node : nodes) packed.insert(packed.end(), node.begin(), node.end());
    return packed;
}

/// Size, positions and nodes.
inline void ExpectGrid(const ColorTable33& table, const ReferenceGrid& plain) {
    EXPECT_EQ(table.LUT_Size, plain.points);
    EXPECT_EQ(table.LUT_Shift, plain.shift);
    EXPECT_EQ(table.LUT_Mask, plain.mask);
    EXPECT_EQ(table.LUT_Step, plain.step);
    ASSERT_NE(table.LUT_Pos, nullptr);
    const std::vector<int> positions(table.LUT_Pos.get(), table.LUT_Pos.get() + plain.points);
    EXPECT_THAT(positions, EqualTo(plain.positions));
    EXPECT_THAT(NodesOf(table, plain.points), EqualTo(plain.nodes));
}

}  // namespace hueweave::test
