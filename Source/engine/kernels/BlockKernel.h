// SPDX-License-Identifier: MIT
// The pixel loop in blocks. For a single pixel, the stages are a chain of dependent look-ups with an unpredictable
// branch in the middle. Here each stage processes a whole block before the next one starts: the latencies of many
// pixels overlap, and comparisons become arithmetic. Prefetching the records of the grid, gather instructions and other
// block sizes were measured and are not faster.
//
// Compiled once for each instruction set; `Machine` defines the vectors and how they are combined. Local to the
// including file, see Samples.h.
#pragma once

#include "engine/kernels/Kernels.h"
#include "engine/kernels/Lanes.h"
#include "engine/kernels/Samples.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

constexpr int kBlock = 64;  ///< pixels

/// Intermediate values between the stages of a block.
struct Block {
    alignas(32) std::uint32_t input[3][kBlock];  ///< entries of the input tables, later their fractions
    alignas(32) std::uint32_t record[kBlock];    ///< index of a grid record
    alignas(32) std::uint32_t value[3][kBlock];  ///< index into the output tables
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
        const auto entry = [&](const std::uint32_t* table, int sample) {
            return static_cast<std::int32_t>(table[Load<Sample>(source + sample * kStep)]);
        };
        // Four entries are stored together, because a processor completes few stores at a time.
        const auto four = [&](const std::uint32_t* table, int sample) {
            return Ints4{entry(table, sample), entry(table, sample + 3), entry(table, sample + 6),
                         entry(table, sample + 9)};
        };
        int i = 0;
        for (; i + 4 <= pixels; i += 4, source += 4 * 3 * kStep) {
            Lanes<Ints4>::Write(&block.input[0][i], four(red, 0));
            Lanes<Ints4>::Write(&block.input[1][i], four(green, 1));
            Lanes<Ints4>::Write(&block.input[2][i], four(blue, 2));
        }
        for (; i < pixels; ++i, source += 3 * kStep) {
            block.input[0][i] = red[Load<Sample>(source)];
            block.input[1][i] = green[Load<Sample>(source + kStep)];
            block.input[2][i] = blue[Load<Sample>(source + 2 * kStep)];
        }
        // Unused lanes of the last vector refer to the first cell.
        for (; i % kLanes != 0; ++i) block.input[0][i] = block.input[1][i] = block.input[2][i] = 0;
    }

    /// Splits the entries into fractions and the index of a record. A true comparison gives -1 in its lane. Two of the
    /// eight outcomes of the three comparisons are impossible; for the others this sum is the number of the
    /// tetrahedron.
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
