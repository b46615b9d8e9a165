// SPDX-License-Identifier: MIT
// The pixel loops: a block of pixels goes through one step after the other. For a single pixel, the steps are a chain
// of dependent look-ups; in a block, the latencies of many pixels overlap. Compiled once for each instruction set. Only
// operations that IEEE 754 defines to the last bit are used, and no fused ones, so that all give the same samples.
//
// NaN becomes 0 where it would be an index or a sample.
#pragma once

#include <type_traits>

#include "colour/exact/kernels/Lanes.h"
#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

constexpr int kBlock = 256;  ///< pixels

/// The values passed from step to step for the pixels of a block, by channel.
struct Block {
    int used;  ///< pixels, rounded up to whole vectors
    alignas(32) float value[3][kBlock];
    alignas(32) std::int32_t index[3][kBlock];
    alignas(32) float part[3][kBlock];
    alignas(32) Floats4 node[kBlock];  ///< interpolated, with all three channels
};

template <typename Lanes>
struct BlockLoop {
    using Floats = typename Lanes::Floats;
    using Ints = typename Lanes::Ints;
    static constexpr int kLanes = Lanes::kCount;

    static Floats All(float x) { return Floats{} + x; }
    static Ints Whole(Floats x) { return __builtin_convertvector(x, Ints); }
    static Floats Real(Ints x) { return __builtin_convertvector(x, Floats); }
    static Floats Least(Floats x, Floats y) { return x < y ? x : y; }
    /// 0 to `top`; 0 for NaN.
    static Floats Clamp(Floats x, float top) {
        const Floats low = x > Floats{} ? x : Floats{};
        return Least(low, All(top));
    }

    static void Affine(const Step& step, Block& block) {
        const float(&m)[3][4] = step.rows;
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Read<Floats>(&block.value[0][i]);
            const Floats y = Read<Floats>(&block.value[1][i]);
            const Floats z = Read<Floats>(&block.value[2][i]);
            for (int c = 0; c < 3; ++c) Write(&block.value[c][i], m[c][0] * x + m[c][1] * y + m[c][2] * z + m[c][3]);
        }
    }

    /// Splits values of 0 to 1 into cells of an axis and positions in them.
    static void FindCells(float last, int axis, Block& block) {
        const Ints lastCell = Ints{} + (static_cast<std::int32_t>(last) - 1);
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats place = Clamp(Read<Floats>(&block.value[axis][i]) * last, last);
            const Ints whole = Whole(place);
            const Ints cell = whole < lastCell ? whole : lastCell;
            Write(&block.index[axis][i], cell);
            Write(&block.part[axis][i], place - Real(cell));
        }
    }

    /// Interpolates between neighbouring entries; `channel` selects the indices and positions, and where the result is
    /// stored.
    static void LookUp(const float* table, int channel, Block& block) {
        for (int i = 0; i < block.used; i += kLanes) {
            Floats low, high;
            Neighbours(table, &block.index[channel][i], low, high);
            Write(&block.value[channel][i], low + Read<Floats>(&block.part[channel][i]) * (high - low));
        }
    }

    /// The entries with these indices, and the entries after them.
    static void Neighbours(const float* table, const std::int32_t* index, Floats& low, Floats& high) {
        if constexpr (kLanes == 4) {
            const Floats4 a = Pairs(table, index[0], index[1]), b = Pairs(table, index[2], index[3]);
            low = __builtin_shufflevector(a, b, 0, 2, 4, 6);
            high = __builtin_shufflevector(a, b, 1, 3, 5, 7);
        } else {
            // In the order that lets each half of a vector be shuffled by itself.
            const Floats a = Join(Pairs(table, index[0], index[1]), Pairs(table, index[4], index[5]));
            const Floats b = Join(Pairs(table, index[2], index[3]), Pairs(table, index[6], index[7]));
            low = __builtin_shufflevector(a, b, 0, 2, 8, 10, 4, 6, 12, 14);
            high = __builtin_shufflevector(a, b, 1, 3, 9, 11, 5, 7, 13, 15);
        }
    }
    static Floats4 Pairs(const float* table, std::int32_t first, std::int32_t second) {
        const Doubles2 both{Read<double>(table + first), Read<double>(table + second)};  // two floats each
        return Read<Floats4>(&both);
    }
    static Floats8 Join(Floats4 a, Floats4 b) { return __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7); }

    static void Curves(const Step& step, Block& block) {
        for (int c = 0; c < 3; ++c) {
            if (step.tables[c] == nullptr) continue;
            FindCells(step.last[c], c, block);
            LookUp(step.tables[c], c, block);
        }
    }

    static Floats4 NodeAt(const float* nodes, std::int32_t number) {
        return Read<Floats4>(nodes + std::size_t{4} * static_cast<std::uint32_t>(number));
    }

    /// Splits nodes with all channels into the channels.
    static void TakeNodes(Block& block) {
        for (int i = 0; i < block.used; i += 4) {
            const Floats4 a = block.node[i], b = block.node[i + 1], c = block.node[i + 2], d = block.node[i + 3];
            const Floats4 acLow = __builtin_shufflevector(a, c, 0, 4, 1, 5);
            const Floats4 bdLow = __builtin_shufflevector(b, d, 0, 4, 1, 5);
            const Floats4 acHigh = __builtin_shufflevector(a, c, 2, 6, 3, 7);
            const Floats4 bdHigh = __builtin_shufflevector(b, d, 2, 6, 3, 7);
            Write(&block.value[0][i], __builtin_shufflevector(acLow, bdLow, 0, 4, 1, 5));
            Write(&block.value[1][i], __builtin_shufflevector(acLow, bdLow, 2, 6, 3, 7));
            Write(&block.value[2][i], __builtin_shufflevector(acHigh, bdHigh, 0, 4, 1, 5));
        }
    }

    /// The four corners of a tetrahedron: from the first corner of the cell along the axis of the greatest position,
    /// then along that of the middle one, then along that of the least, to the opposite corner. The indices become
    /// those of the first three corners; the positions are sorted.
    static void SortAxes(const Step& step, Block& block) {
        const Ints sr = Ints{} + step.stride[0], sg = Ints{} + step.stride[1], sb = Ints{} + step.stride[2];
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats r = Read<Floats>(&block.part[0][i]);
            const Floats g = Read<Floats>(&block.part[1][i]);
            const Floats b = Read<Floats>(&block.part[2][i]);
            const Ints redMore = r > g;
            const Floats more = redMore ? r : g, less = redMore ? g : r;
            const Ints moreStride = redMore ? sr : sg, lessStride = redMore ? sg : sr;
            const Ints moreMost = more > b, lessLeast = less < b;
            const Floats rest = moreMost ? b : more;
            Write(&block.part[0][i], moreMost ? more : b);
            Write(&block.part[1][i], lessLeast ? rest : less);
            Write(&block.part[2][i], lessLeast ? less : b);
            const Ints cell = Read<Ints>(&block.index[0][i]) * sr + Read<Ints>(&block.index[1][i]) * sg +
                              Read<Ints>(&block.index[2][i]) * sb;
            Write(&block.index[0][i], cell);
            Write(&block.index[1][i], cell + (moreMost ? moreStride : sb));
            Write(&block.index[2][i], cell + (sr + sg + sb) - (lessLeast ? lessStride : sb));
        }
    }

    static void Tetrahedra(const Step& step, Block& block) {
        for (int axis = 0; axis < 3; ++axis) FindCells(step.last[axis], axis, block);
        SortAxes(step, block);
        const std::int32_t all = step.stride[0] + step.stride[1] + step.stride[2];
        for (int i = 0; i < block.used; ++i) {
            const Floats4 a = NodeAt(step.nodes, block.index[0][i]), b = NodeAt(step.nodes, block.index[1][i]);
            const Floats4 c = NodeAt(step.nodes, block.index[2][i]), d = NodeAt(step.nodes, block.index[0][i] + all);
            block.node[i] = a + (b - a) * block.part[0][i] + (c - b) * block.part[1][i] + (d - c) * block.part[2][i];
        }
        TakeNodes(block);
    }

    /// Neighbours on the blue axis are adjacent in memory, so that both are interpolated at once up to the last step.
    static void Trilinear(const Step& step, Block& block) {
        for (int axis = 0; axis < 3; ++axis) FindCells(step.last[axis], axis, block);
        const std::int32_t sr = step.stride[0], sg = step.stride[1];
        for (int i = 0; i < block.used; ++i) {
            const float r = block.part[0][i], g = block.part[1][i], b = block.part[2][i];
            const std::int32_t cell = block.index[0][i] * sr + block.index[1][i] * sg + block.index[2][i];
            const float* const at = step.nodes + std::ptrdiff_t{4} * cell;
            const float* const red = at + std::ptrdiff_t{4} * sr;
            Floats8 low, lowGreen, high, highGreen;  // not returned by a function: only AVX can return them
            __builtin_memcpy(&low, at, sizeof low);
            __builtin_memcpy(&lowGreen, at + std::ptrdiff_t{4} * sg, sizeof low);
            __builtin_memcpy(&high, red, sizeof low);
            __builtin_memcpy(&highGreen, red + std::ptrdiff_t{4} * sg, sizeof low);
            low += (high - low) * r;
            lowGreen += (highGreen - lowGreen) * r;
            low += (lowGreen - low) * g;
            const Floats4 first = __builtin_shufflevector(low, low, 0, 1, 2, 3);
            const Floats4 second = __builtin_shufflevector(low, low, 4, 5, 6, 7);
            block.node[i] = first + (second - first) * b;
        }
        TakeNodes(block);
    }

    static constexpr float kShift = 16.0F / 116.0F;           ///< from the values here to the cube roots of CIELAB
    static constexpr float kLimit = 24.0F / 116.0F - kShift;  ///< up to here, a line replaces the cube
    static constexpr float kSlope = 108.0F / 841.0F;          ///< of this line
    static constexpr float kLinearLimit = kSlope * kLimit;    ///< the same limit, as XYZ

    static void Cube(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                const Floats u = Read<Floats>(&values[i]), f = u + kShift;
                const Floats cube = f * f * f, line = u * kSlope;
                Write(&values[i], u > All(kLimit) ? cube : line);
            }
        }
    }

    /// The cube root of numbers from about 0.008 up: two steps of Halley's method, from an estimate based on the
    /// exponent.
    static Floats CubeRoot(Floats x) {
        Ints bits = Read<Ints>(&x);
        bits = Whole(Real(bits) * (1.0F / 3.0F)) + 709921077;
        Floats y = Read<Floats>(&bits);
        for (int step = 0; step < 2; ++step) {
            const Floats cube = y * y * y;
            y = y * (cube + x + x) / (cube + cube + x);
        }
        return y;
    }

    static void Root(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                const Floats x = Read<Floats>(&values[i]), limit = All(kLinearLimit);
                const Floats root = CubeRoot(x > limit ? x : limit) - kShift, line = x / kSlope;
                Write(&values[i], x > limit ? root : line);
            }
        }
    }

    static Floats SquareRoot(Floats x) {
        for (int lane = 0; lane < kLanes; ++lane) x[lane] = __builtin_sqrtf(x[lane]);
        return x;
    }

    /// Shifts L* and C*, clamps both to 0 to 100, and rotates the hue.
    static void Adjust(const Step& step, Block& block) {
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Read<Floats>(&block.value[0][i]);
            const Floats y = Read<Floats>(&block.value[1][i]);
            const Floats z = Read<Floats>(&block.value[2][i]);
            const Floats a = 500.0F * (x - y), b = 200.0F * (y - z);
            const Floats chroma = SquareRoot(a * a + b * b);
            const Floats share = Least(All(1.0F), chroma * step.chromaShare);
            const Floats shifted = Clamp(chroma + share * step.chroma, 100.0F);
            const Floats scale = chroma > Floats{} ? shifted / chroma : Floats{};
            const Floats newY = Clamp(116.0F * y + step.lightness, 100.0F) / 116.0F;
            Write(&block.value[0][i], newY + (a * step.cosine - b * step.sine) * scale / 500.0F);
            Write(&block.value[1][i], newY);
            Write(&block.value[2][i], newY - (a * step.sine + b * step.cosine) * scale / 200.0F);
        }
    }

    static void Round(Block& block) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) {
                Write(&values[i], Real(Whole(Clamp(Read<Floats>(&values[i]), 1.0F) * 65535.0F + 0.5F)) / 65535.0F);
            }
        }
    }

    static void Take(const Step& step, Block& block) {
        switch (step.kind) {
            case Step::Kind::Affine:
                return Affine(step, block);
            case Step::Kind::Curves:
                return Curves(step, block);
            case Step::Kind::Tetrahedra:
                return Tetrahedra(step, block);
            case Step::Kind::Trilinear:
                return Trilinear(step, block);
            case Step::Kind::Cube:
                return Cube(block);
            case Step::Kind::Root:
                return Root(block);
            case Step::Kind::Adjust:
                return Adjust(step, block);
            case Step::Kind::Round:
                return Round(block);
        }
    }

    /// Looks up the curve of a target, see `kOctaves`.
    static void Encode(const float* table, int channel, Block& block) {
        constexpr std::int32_t kFirst = (127 - static_cast<std::int32_t>(kOctaves)) << 23, kPartBits = 23 - kStepBits;
        constexpr float kPart = 1.0F / static_cast<float>(1 << kPartBits);
        constexpr float kOffset = 1.0F / static_cast<float>(1 << kOctaves);
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats x = Clamp(Read<Floats>(&block.value[channel][i]), 1.0F) + kOffset;
            const Ints bits = Read<Ints>(&x) - kFirst;
            Write(&block.index[channel][i], bits >> kPartBits);
            Write(&block.part[channel][i], Real(bits & ((1 << kPartBits) - 1)) * kPart);
        }
        LookUp(table, channel, block);
    }

    /// Interpolates between the values of 16-bit samples.
    static void LookUpFloats(const float* const* tables, const unsigned char* from, unsigned samples, int count,
                             Block& block) {
        for (int i = 0; i < count; ++i, from += samples * sizeof(float)) {
            for (int c = 0; c < 3; ++c)
                block.value[c][i] = Read<float>(from + sizeof(float) * static_cast<unsigned>(c));
        }
        for (int c = 0; c < 3; ++c) {
            FindCells(65535.0F, c, block);
            LookUp(tables[c], c, block);
        }
    }

    template <typename Sample>
    static void LookUpInputs(const float* const* tables, const unsigned char* from, unsigned samples, int count,
                             Block& block) {
        const float *const red = tables[0], *const green = tables[1], *const blue = tables[2];
        for (int i = 0; i < count; ++i, from += samples * sizeof(Sample)) {
            block.value[0][i] = red[Read<Sample>(from)];
            block.value[1][i] = green[Read<Sample>(from + sizeof(Sample))];
            block.value[2][i] = blue[Read<Sample>(from + 2 * sizeof(Sample))];
        }
    }

    /// Rounds to the nearest sample.
    template <typename Sample>
    static void RoundOutputs(Block& block) {
        constexpr auto kTop = static_cast<float>(static_cast<Sample>(-1));
        for (int c = 0; c < 3; ++c) {
            for (int i = 0; i < block.used; i += kLanes) {
                Write(&block.index[c][i], Whole(Clamp(Read<Floats>(&block.value[c][i]), 1.0F) * kTop + 0.5F));
            }
        }
    }

    template <typename Sample>
    static void SetEnds(const Ends& ends, const unsigned char* from, unsigned samples, int count, Block& block) {
        constexpr auto kTop = static_cast<Sample>(-1);
        for (int i = 0; i < count; ++i, from += samples * sizeof(Sample)) {
            const auto red = Read<Sample>(from);
            if (red != 0 && red != kTop) continue;
            if (Read<Sample>(from + sizeof(Sample)) != red || Read<Sample>(from + 2 * sizeof(Sample)) != red) continue;
            for (int c = 0; c < 3; ++c) block.index[c][i] = red == 0 ? ends.black[c] : ends.white[c];
        }
    }

    static void SetFloatEnds(const FloatEnds& ends, const unsigned char* from, unsigned samples, int count,
                             Block& block) {
        const auto end = [](float sample) { return !(sample > 0.0F) ? -1 : sample >= 1.0F ? 1 : 0; };
        for (int i = 0; i < count; ++i, from += samples * sizeof(float)) {
            const int which = end(Read<float>(from));
            if (which == 0 || end(Read<float>(from + sizeof(float))) != which) continue;
            if (end(Read<float>(from + 2 * sizeof(float))) != which) continue;
            for (int c = 0; c < 3; ++c) block.value[c][i] = which < 0 ? ends.black[c] : ends.white[c];
        }
    }

    static void WriteFloats(Block& block, unsigned char* to, unsigned samples, int count) {
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += kLanes) Write(&values[i], Clamp(Read<Floats>(&values[i]), 1.0F));
        }
        for (int i = 0; i < count; ++i, to += samples * sizeof(float)) {
            for (int c = 0; c < 3; ++c) Write(to + sizeof(float) * static_cast<unsigned>(c), block.value[c][i]);
        }
    }

    template <typename Sample>
    static void WriteOutputs(const Block& block, unsigned char* to, unsigned samples, int count) {
        for (int i = 0; i < count; ++i, to += samples * sizeof(Sample)) {
            Write(to, static_cast<Sample>(block.index[0][i]));
            Write(to + sizeof(Sample), static_cast<Sample>(block.index[1][i]));
            Write(to + 2 * sizeof(Sample), static_cast<Sample>(block.index[2][i]));
        }
    }

    static void Encode(const Program& program, Block& block) {
        if (program.encoding[0] == nullptr) return;
        for (int c = 0; c < 3; ++c) Encode(program.encoding[c], c, block);
    }

    /// Values without a pixel are computed, too, so they are numbers.
    static void Clear(Block& block, std::size_t pixels) {
        const std::size_t most = pixels < kBlock ? (pixels + kLanes - 1) / kLanes * kLanes : kBlock;
        for (float(&values)[kBlock] : block.value) __builtin_memset(values, 0, most * sizeof(float));
    }

    template <typename Sample>
    static void Run(const Program& program, const unsigned char* source, unsigned char* dest, std::size_t pixels,
                    unsigned samples) {
        constexpr bool kFloat = std::is_same_v<Sample, float>, kBytes = sizeof(Sample) == 1;
        const std::size_t pixelBytes = samples * sizeof(Sample);
        const Ends& ends = kBytes ? program.byteEnds : program.wordEnds;
        Block block;
        Clear(block, pixels);
        for (std::size_t done = 0; done < pixels; done += kBlock) {
            const int count = pixels - done < kBlock ? static_cast<int>(pixels - done) : kBlock;
            block.used = (count + kLanes - 1) / kLanes * kLanes;
            const unsigned char* const from = source + done * pixelBytes;
            unsigned char* const to = dest + done * pixelBytes;
            if constexpr (kFloat) {
                LookUpFloats(program.words, from, samples, count, block);
            } else {
                LookUpInputs<Sample>(kBytes ? program.bytes : program.words, from, samples, count, block);
            }
            for (const Step& step : program.steps) Take(step, block);
            Encode(program, block);
            if constexpr (kFloat) {
                SetFloatEnds(program.floatEnds, from, samples, count, block);
                WriteFloats(block, to, samples, count);
            } else {
                RoundOutputs<Sample>(block);
                if (ends.used) SetEnds<Sample>(ends, from, samples, count, block);
                WriteOutputs<Sample>(block, to, samples, count);
            }
        }
    }
};

}  // namespace
}  // namespace hueweave::colour
