// SPDX-License-Identifier: MIT
// Interpolation in grids of three inputs.
#pragma once

#include "colour/exact/kernels/Block.h"
#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

/// A node is a group of four lanes, so a vector holds the nodes of one pixel in each group: the first pixel of each
/// group of pixels, or the second, and so on. Four such vectors are all pixels of a vector, and swapping lanes and
/// vectors within the groups separates the channels.
template <typename Lanes>
struct Grids : Numbers<Lanes> {
    using Base = Numbers<Lanes>;
    using Base::kLanes;
    using typename Base::Axis, typename Base::Floats, typename Base::Ints;

    /// The nodes of pixel `N` in each group. `index` counts numbers, four per node.
    template <int N>
    static Floats Nodes(const float* nodes, const std::int32_t* index) {
        return Lanes::Join([&](int group) { return Read<Floats4>(nodes + index[4 * group + N]); });
    }
    /// Pixel `N` of each group in all lanes of the group.
    template <int N>
    static Floats Spread(Floats x) {
        return Lanes::template Shuffle<N, N, N, N>(x, x);
    }

    /// Stores vectors of nodes by channel.
    static void Put(Floats a, Floats b, Floats c, Floats d, int i, Block& block) {
        const Floats acLow = Lanes::template Shuffle<0, 4, 1, 5>(a, c);
        const Floats bdLow = Lanes::template Shuffle<0, 4, 1, 5>(b, d);
        const Floats acHigh = Lanes::template Shuffle<2, 6, 3, 7>(a, c);
        const Floats bdHigh = Lanes::template Shuffle<2, 6, 3, 7>(b, d);
        Write(&block.value[0][i], Lanes::template Shuffle<0, 4, 1, 5>(acLow, bdLow));
        Write(&block.value[1][i], Lanes::template Shuffle<2, 6, 3, 7>(acLow, bdLow));
        Write(&block.value[2][i], Lanes::template Shuffle<0, 4, 1, 5>(acHigh, bdHigh));
    }

    /// The four corners of a tetrahedron: from the first corner of the cell along the axis of the greatest position,
    /// then along that of the middle one, then along that of the least, to the opposite corner. The indices are those
    /// of the first three corners; the positions are sorted.
    static void FindTetrahedra(const Step& step, Block& block) {
        const Ints sr = Ints{} + 4 * step.stride[0], sg = Ints{} + 4 * step.stride[1], sb = Ints{} + 4 * step.stride[2];
        const Axis red(step.last[0]), green(step.last[1]), blue(step.last[2]);
        for (int i = 0; i < block.used; i += kLanes) {
            Floats r, g, b;
            const Ints cell = red.Find(Read<Floats>(&block.value[0][i]), r) * sr +
                              green.Find(Read<Floats>(&block.value[1][i]), g) * sg +
                              blue.Find(Read<Floats>(&block.value[2][i]), b) * sb;
            const Ints redMore = r > g;
            const Floats more = redMore ? r : g, less = redMore ? g : r;
            const Ints moreStride = redMore ? sr : sg, lessStride = redMore ? sg : sr;
            const Ints moreMost = more > b, lessLeast = less < b;
            const Floats rest = moreMost ? b : more;
            Write(&block.part[0][i], moreMost ? more : b);
            Write(&block.part[1][i], lessLeast ? rest : less);
            Write(&block.part[2][i], lessLeast ? less : b);
            Write(&block.index[0][i], cell);
            Write(&block.index[1][i], cell + (moreMost ? moreStride : sb));
            Write(&block.index[2][i], cell + (sr + sg + sb) - (lessLeast ? lessStride : sb));
        }
    }

    template <int N>
    static Floats Tetrahedron(const Step& step, const Block& block, int i) {
        const std::ptrdiff_t across = std::ptrdiff_t{4} * (step.stride[0] + step.stride[1] + step.stride[2]);
        const Floats a = Nodes<N>(step.nodes, &block.index[0][i]), b = Nodes<N>(step.nodes, &block.index[1][i]);
        const Floats c = Nodes<N>(step.nodes, &block.index[2][i]);
        const Floats d = Nodes<N>(step.nodes + across, &block.index[0][i]);
        const Floats first = Spread<N>(Read<Floats>(&block.part[0][i]));
        const Floats second = Spread<N>(Read<Floats>(&block.part[1][i]));
        const Floats third = Spread<N>(Read<Floats>(&block.part[2][i]));
        return a + (b - a) * first + (c - b) * second + (d - c) * third;
    }

    static void Tetrahedra(const Step& step, Block& block) {
        FindTetrahedra(step, block);
        for (int i = 0; i < block.used; i += kLanes) {
            Put(Tetrahedron<0>(step, block, i), Tetrahedron<1>(step, block, i), Tetrahedron<2>(step, block, i),
                Tetrahedron<3>(step, block, i), i, block);
        }
    }

    /// The cells, and positions by axis.
    static void FindCubes(const Step& step, Block& block) {
        const Axis red(step.last[0]), green(step.last[1]), blue(step.last[2]);
        const std::int32_t sr = 4 * step.stride[0], sg = 4 * step.stride[1], sb = 4 * step.stride[2];
        for (int i = 0; i < block.used; i += kLanes) {
            Floats r, g, b;
            Write(&block.index[0][i], red.Find(Read<Floats>(&block.value[0][i]), r) * sr +
                                          green.Find(Read<Floats>(&block.value[1][i]), g) * sg +
                                          blue.Find(Read<Floats>(&block.value[2][i]), b) * sb);
            Write(&block.part[0][i], r);
            Write(&block.part[1][i], g);
            Write(&block.part[2][i], b);
        }
    }

    /// Along red, then green, then blue.
    template <int N>
    static Floats Cube(const Step& step, const Block& block, int i) {
        const auto red = [&](int green, int blue) {
            const float* const nodes =
                step.nodes + std::ptrdiff_t{4} * (green * step.stride[1] + blue * step.stride[2]);
            const Floats low = Nodes<N>(nodes, &block.index[0][i]);
            const Floats high = Nodes<N>(nodes + std::ptrdiff_t{4} * step.stride[0], &block.index[0][i]);
            return low + (high - low) * Spread<N>(Read<Floats>(&block.part[0][i]));
        };
        const auto green = [&](int blue) {
            const Floats low = red(0, blue), high = red(1, blue);
            return low + (high - low) * Spread<N>(Read<Floats>(&block.part[1][i]));
        };
        const Floats low = green(0), high = green(1);
        return low + (high - low) * Spread<N>(Read<Floats>(&block.part[2][i]));
    }

    static void Trilinear(const Step& step, Block& block) {
        FindCubes(step, block);
        for (int i = 0; i < block.used; i += kLanes) {
            Put(Cube<0>(step, block, i), Cube<1>(step, block, i), Cube<2>(step, block, i), Cube<3>(step, block, i), i,
                block);
        }
    }
};

}  // namespace
}  // namespace hueweave::colour
