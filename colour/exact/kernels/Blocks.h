// SPDX-License-Identifier: MIT
// The pixel loops: a block of pixels goes through one step after the other. For a single pixel, the steps are a chain
// of dependent look-ups; in a block, the latencies of many pixels overlap. Compiled once for each instruction set. Only
// operations that IEEE 754 defines to the last bit are used, and no fused ones, so that all give the same samples.
//
// NaN becomes 0 where it would be an index or a sample.
#pragma once

#include "colour/exact/kernels/Formulas.h"
#include "colour/exact/kernels/Grids.h"
#include "colour/exact/kernels/Samples.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

template <typename Lanes>
struct BlockLoop : Numbers<Lanes> {
    using Base = Numbers<Lanes>;
    using Base::kLanes;
    using typename Base::Floats, typename Base::Ints;

    static void Curves(const Step& step, Block& block) {
        for (int c = 0; c < 3; ++c) {
            if (step.tables[c] != nullptr) Base::LookUp(step.tables[c], step.last[c], c, block);
        }
    }

    static void Take(const Step& step, Block& block) {
        switch (step.kind) {
            case Step::Kind::Affine:
                return Formulas<Lanes>::Affine(step, block);
            case Step::Kind::Curves:
                return Curves(step, block);
            case Step::Kind::Tetrahedra:
                return Grids<Lanes>::Tetrahedra(step, block);
            case Step::Kind::Trilinear:
                return Grids<Lanes>::Trilinear(step, block);
            case Step::Kind::Cube:
                return Formulas<Lanes>::Cube(block);
            case Step::Kind::Root:
                return Formulas<Lanes>::Root(block);
            case Step::Kind::Adjust:
                return Formulas<Lanes>::Adjust(step, block);
            case Step::Kind::Round:
                return Formulas<Lanes>::Round(block);
        }
    }

    /// Looks up the curves of a target, see `kOctaves`.
    static void Encode(const Program& program, Block& block) {
        if (program.encoding[0] == nullptr) return;
        for (int c = 0; c < 3; ++c) Encode(program.encoding[c], c, block);
    }
    static void Encode(const float* table, int channel, Block& block) {
        constexpr std::int32_t kFirst = (127 - static_cast<std::int32_t>(kOctaves)) << 23, kPartBits = 23 - kStepBits;
        constexpr float kPart = 1.0F / static_cast<float>(1 << kPartBits);
        constexpr float kOffset = 1.0F / static_cast<float>(1 << kOctaves);
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Base::Clamp(Read<Floats>(&block.value[channel][i]), 1.0F) + kOffset;
            const Ints bits = Read<Ints>(&x) - kFirst;
            Write(&block.index[channel][i], bits >> kPartBits);
            Write(&block.part[channel][i], Base::Real(bits & ((1 << kPartBits) - 1)) * kPart);
        }
        Base::LookUp(table, channel, block);
    }

    /// Values without a pixel are computed, too, so they are numbers.
    static void Clear(Block& block, std::size_t pixels) {
        const std::size_t most = pixels < kBlock ? (pixels + kLanes - 1) / kLanes * kLanes : kBlock;
        for (float(&values)[kBlock] : block.value) __builtin_memset(values, 0, most * sizeof(float));
        __builtin_memset(block.pixel, 0, most * sizeof(std::int32_t));
    }

    /// Starts to fetch pixels, and the memory for their results. Processors themselves do so too late, since all reads
    /// of a block are followed by a pause.
    static void Prefetch(const unsigned char* from, const unsigned char* to, std::size_t bytes) {
        constexpr std::size_t kCacheLine = 64;
        for (std::size_t at = 0; at < bytes; at += kCacheLine) {
            __builtin_prefetch(from + at, 0);
            __builtin_prefetch(to + at, 1);
        }
    }

    template <typename Type>
    static void Run(const Program& program, const unsigned char* source, unsigned char* dest, std::size_t pixels,
                    unsigned samples) {
        const std::size_t pixelBytes = std::size_t{samples} * Type::kBytes, blockBytes = kBlock * pixelBytes;
        Block block;
        Clear(block, pixels);
        for (std::size_t done = 0; done < pixels; done += kBlock) {
            const int count = pixels - done < kBlock ? static_cast<int>(pixels - done) : kBlock;
            block.used = (count + kLanes - 1) / kLanes * kLanes;
            const unsigned char* const from = source + done * pixelBytes;
            unsigned char* const to = dest + done * pixelBytes;
            if (pixels - done >= 2 * kBlock) Prefetch(from + blockBytes, to + blockBytes, blockBytes);
            Type::Load(program, from, samples, count, block);
            for (const Step& step : program.steps) Take(step, block);
            Encode(program, block);
            Type::Store(program, from, to, samples, count, block);
        }
    }
};

template <typename Lanes>
constexpr Loops LoopsOf(const char* name) {
    using Loop = BlockLoop<Lanes>;
    return {name, Loop::template Run<ByteSamples<Lanes>>, Loop::template Run<WordSamples<Lanes>>,
            Loop::template Run<FloatSamples<Lanes>>};
}

}  // namespace
}  // namespace hueweave::colour
