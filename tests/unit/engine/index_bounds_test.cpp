// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the pixel loops look up in the output tables is always an entry of theirs: a value between the corners of its
// cell, whatever the corners and the fractions are.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "engine/kernels/Kernels.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::Kernel;
using ICC40::ICC_ENG_S4::Kernels;

/// Corners of a cell by number: 4 one step on the first axis, 2 on the second, 1 on the third.
using Corners = std::array<int, 8>;

/// The four corners that each tetrahedron's path passes, in the order of their numbers.
constexpr int kCornerPaths[6][4] = {{0, 4, 6, 7}, {0, 4, 5, 7}, {0, 1, 5, 7}, {0, 2, 6, 7}, {0, 2, 3, 7}, {0, 1, 3, 7}};

/// A channel of a record: the first corner, and what each step of the path changes, under the axis that it follows.
void Fill(std::int32_t (&coefficients)[4], const Corners& corners, const int (&path)[4]) {
    coefficients[0] = corners[0] * 4096;
    for (int step = 0; step < 3; ++step) {
        const int axis = path[step + 1] - path[step];
        const auto from = static_cast<std::size_t>(path[step]), to = static_cast<std::size_t>(path[step + 1]);
        coefficients[axis == 4 ? 1 : axis == 2 ? 2 : 3] = corners[to] - corners[from];
    }
}

/// Every fraction on every axis, with each of the others at 0, alike, one beside it, or at the top.
std::vector<std::uint16_t> EveryFraction() {
    std::vector<std::uint16_t> samples;
    const auto sample = [](int fraction) { return static_cast<std::uint16_t>(fraction < 0 ? 0 : fraction); };
    for (int f = 0; f < 4096; ++f) {
        for (const int second : {0, f, f - 1, 4095}) {
            for (const int third : {0, f, f - 1, 4095}) {
                const std::uint16_t a = sample(f), b = sample(second), c = sample(third);
                samples.insert(samples.end(), {a, b, c, b, a, c, b, c, a});
            }
        }
    }
    return samples;
}

class IndexBounds : public testing::TestWithParam<const Kernel*> {
protected:
    /// Entries 1 for the indices from `low` to `high`, 0 for the others and for 65536 indices on either side.
    std::vector<std::uint32_t> Marked(int low, int high) const {
        std::vector<std::uint32_t> table(std::size_t{3} << 16);
        for (int i = low; i <= high; ++i) table[static_cast<std::size_t>(65536 + i)] = 1;
        return table;
    }
};

TEST_P(IndexBounds, LieBetweenTheCornersOfTheCell) {
    std::vector<std::uint32_t> input(65536);
    for (std::uint32_t i = 0; i < 4096; ++i) input[i] = i;  // the first cell, and the sample as the fraction
    const std::vector<std::uint16_t> samples = EveryFraction();
    std::vector<std::uint16_t> result(samples.size());
    const std::vector<std::uint16_t> inside(samples.size(), 1);
    // Corners at the two ends of what a grid holds, in all their combinations, and close together between them.
    for (const auto& [low, high] : {std::pair{0, 65280}, {0, 65535}, {255, 256}, {30000, 30001}}) {
        const std::vector<std::uint32_t> output = Marked(low, high);
        for (unsigned pattern = 0; pattern < 255; pattern += 3) {
            std::int32_t records[6][3][4];
            for (std::size_t tetrahedron = 0; tetrahedron < 6; ++tetrahedron) {
                for (unsigned channel = 0; channel < 3; ++channel) {
                    Corners corners{};
                    for (unsigned c = 0; c < 8; ++c) corners[c] = (pattern + channel) >> c & 1U ? high : low;
                    Fill(records[tetrahedron][channel], corners, kCornerPaths[tetrahedron]);
                }
            }
            const std::uint32_t* const in = input.data();
            const std::uint32_t* const out = output.data() + 65536;
            GetParam()->words(
                {{in, in, in}, records, {out, out, out}}, reinterpret_cast<const unsigned char*>(samples.data()),
                reinterpret_cast<unsigned char*>(result.data()), static_cast<std::int64_t>(samples.size() / 3));
            ASSERT_TRUE(result == inside) << low << " and " << high << ", corners " << pattern;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Every, IndexBounds, testing::ValuesIn(Kernels().begin(), Kernels().end()),
                         [](const auto& row) { return std::string(row.param->name); });

}  // namespace
}  // namespace hueweave::test
