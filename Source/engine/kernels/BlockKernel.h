// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The pixel loop in blocks. A pixel's way through the stages is a chain of look-ups, each of which waits for the one
// before, with an unpredictable branch in the middle. Here each stage runs over a whole block before the next one
// starts: the waits of many pixels overlap and the comparisons become arithmetic. Prefetching the grid's records,
// gathering instructions and blocks of other sizes were measured too; none is faster.
//
// Compiled once for each instruction set; `Machine` names the vectors and how they mix. Local to the file that
// includes it, see Samples.h.
#pragma once

#include "engine/kernels/Kernels.h"
#include "engine/kernels/Lanes.h"
#include "engine/kernels/Samples.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

constexpr int kBlock = 64;  ///< pixels

/// What the stages of a block hand on.
struct Block {
    alignas(32) std::uint32_t input[3][kBlock];  ///< entries of the input tables, then their fractions
    alignas(32) std::uint32_t record[kBlock];    ///< index of a record of the grid
    alignas(32) std::uint32_t value[3][kBlock];  ///< index of an entry of the output tables
};

template <typename Machine>
struct BlockLoop {
    using Ints = typename Machine::Ints;
    using Vector = Lanes<Ints>;
    static constexpr int kLanes = Vector::kCount;

    template <typename Sample>
    static void LookUpInputs(const Stages& stages, const unsigned char* source, int pixels, Block& block) {
        constexpr int kStep = sizeof(Sample);
        const std::uint32_t* const red = stages.in[0];
        const std::uint32_t* const green = stages.in[1];
        const std::uint32_t* const blue = stages.in[2];
        int i = 0;
        for (; i < pixels; ++i, source += 3 * kStep) {
            block.input[0][i] = red[Load<Sample>(source)];
            block.input[1][i] = green[Load<Sample>(source + kStep)];
            block.input[2][i] = blue[Load<Sample>(source + 2 * kStep)];
        }
        // The last vector's unused lanes stand on the first cell.
        for (; i % kLanes != 0; ++i) block.input[0][i] = block.input[1][i] = block.input[2][i] = 0;
    }

    /// Splits the entries into fractions and the index of a record. A comparison that holds is -1 in its lane. Of the
    /// eight outcomes of the three comparisons two cannot be; for the others this sum is the tetrahedron's number.
    static void FindRecords(int pixels, Block& block) {
        for (int i = 0; i < pixels; i += kLanes) {
            const Ints red = Vector::Read(&block.input[0][i]);
            const Ints green = Vector::Read(&block.input[1][i]);
            const Ints blue = Vector::Read(&block.input[2][i]);
            const Ints fr = red & 0xffff, fg = green & 0xffff, fb = blue & 0xffff;
            const Ints cell = (red >> 16 << 8) + (green >> 16 << 4) + (blue >> 16);
            const Ints redOverGreen = fr > fg;
            const Ints tetrahedron = 5 + redOverGreen * 3 + (fr > fb) + (fg > fb);
            Vector::Write(&block.record[i], cell * 6 + tetrahedron);
            Vector::Write(&block.input[0][i], fr);
            Vector::Write(&block.input[1][i], fg);
            Vector::Write(&block.input[2][i], fb);
        }
    }

    static void Interpolate(const Stages& stages, int pixels, Block& block) {
        const Record* const grid = stages.grid;
        for (int i = 0; i < pixels; i += kLanes) {
            const Ints fr = Vector::Read(&block.input[0][i]);
            const Ints fg = Vector::Read(&block.input[1][i]);
            const Ints fb = Vector::Read(&block.input[2][i]);
#pragma GCC unroll 3
            for (int channel = 0; channel < 3; ++channel) {
                const auto row = [&](int lane) { return grid[block.record[i + lane]][channel]; };
                Vector::Write(&block.value[channel][i], Machine::Mix(Vector::Transpose(row), fr, fg, fb) >> 12);
            }
        }
    }

    template <typename Sample>
    static void LookUpOutputs(const Stages& stages, int pixels, const Block& block, unsigned char* dest) {
        constexpr int kStep = sizeof(Sample);
        const std::uint32_t* const red = stages.out[0];
        const std::uint32_t* const green = stages.out[1];
        const std::uint32_t* const blue = stages.out[2];
        for (int i = 0; i < pixels; ++i, dest += 3 * kStep) {
            Store<Sample>(dest, red[block.value[0][i]]);
            Store<Sample>(dest + kStep, green[block.value[1][i]]);
            Store<Sample>(dest + 2 * kStep, blue[block.value[2][i]]);
        }
    }

    template <typename Sample>
    static void Convert(const Stages& stages, const unsigned char* source, unsigned char* dest, std::int64_t pixels) {
        constexpr int kPixel = 3 * sizeof(Sample);
        Block block;
        for (; pixels > 0; pixels -= kBlock, source += kBlock * kPixel, dest += kBlock * kPixel) {
            const int run = pixels < kBlock ? static_cast<int>(pixels) : kBlock;
            LookUpInputs<Sample>(stages, source, run, block);
            FindRecords(run, block);
            Interpolate(stages, run, block);
            LookUpOutputs<Sample>(stages, run, block, dest);
        }
    }
};

}  // namespace
}  // namespace ICC40::ICC_ENG_S4
