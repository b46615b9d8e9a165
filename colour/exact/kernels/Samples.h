// SPDX-License-Identifier: MIT
// Each type of samples: `Load` looks up the values of a block's pixels, `Store` makes samples of the results. There,
// `from` are the pixels that were converted, since some results are set by them: those for black and white.
#pragma once

#include "colour/exact/kernels/Block.h"
#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

template <typename Lanes, typename Sample>
struct IntegerSamples : Numbers<Lanes> {
    using Base = Numbers<Lanes>;
    using typename Base::Ints;

    /// From pixel `i` on.
    static void LookUp(const float* const* tables, const unsigned char* from, unsigned samples, int i, int count,
                       Block& block) {
        const float *const red = tables[0], *const green = tables[1], *const blue = tables[2];
        const std::size_t pixel = samples * sizeof(Sample);
        const auto value = [&](const float* table, std::size_t sample) {
            return table[Read<Sample>(from + sample * sizeof(Sample))];
        };
        const auto four = [&](const float* table, std::size_t sample) {
            return Floats4{value(table, sample), value(table, sample + samples), value(table, sample + 2 * samples),
                           value(table, sample + 3 * samples)};
        };
        from += static_cast<unsigned>(i) * pixel;
        for (; i + 4 <= count; i += 4, from += 4 * pixel) {
            Write(&block.value[0][i], four(red, 0));
            Write(&block.value[1][i], four(green, 1));
            Write(&block.value[2][i], four(blue, 2));
        }
        for (; i < count; ++i, from += pixel) {
            block.value[0][i] = value(red, 0);
            block.value[1][i] = value(green, 1);
            block.value[2][i] = value(blue, 2);
        }
    }

    /// The nearest samples of a channel, from pixel `i` on.
    static Ints Rounded(const Block& block, int channel, int i) {
        constexpr auto kTop = static_cast<float>(static_cast<Sample>(-1));
        const auto value = Read<typename Base::Floats>(&block.value[channel][i]);
        return Base::Whole(Base::Clamp(value, 1.0F) * kTop + 0.5F);
    }
};

/// A pixel is a number with the bytes of its samples in the order of the memory, and with another byte after them.
template <typename Lanes>
struct ByteSamples : IntegerSamples<Lanes, std::uint8_t> {
    using Base = IntegerSamples<Lanes, std::uint8_t>;
    using Base::Rounded;
    using typename Base::Ints;
    static constexpr int kBytes = 1;  ///< of a sample

    static void Load(const Program& program, const unsigned char* from, unsigned samples, int count, Block& block) {
        int done = 0;
        if constexpr (Lanes::kHasTables) {
            if (samples == 3) done = LookUpTogether(program.bytes, from, count, block);
        }
        Base::LookUp(program.bytes, from, samples, done, count, block);
    }
    static void Store(const Program& program, const unsigned char* from, unsigned char* to, unsigned samples, int count,
                      Block& block) {
        Keep(from, samples, count, block);
        Round(program.byteEnds, block);
        Write(block, to, samples, count);
    }

private:
    /// Looks up whole groups of pixels, and returns how many pixels these are.
    static int LookUpTogether(const float* const* tables, const unsigned char* from, int count, Block& block) {
        using Table = typename Lanes::Table;
        const int end = count / Table::kTogether * Table::kTogether;
        for (int c = 0; c < 3 && end > 0; ++c) {
            const Table table(tables[c]);
            for (int i = 0; i < end; i += Table::kTogether) {
                table.LookUp(Table::Channel(from + 3 * i, c), &block.value[c][i]);
            }
        }
        return end;
    }

    /// `red`, `green` and `blue` are numbers or vectors.
    template <typename Number>
    static Number Pixel(Number red, Number green, Number blue) {
        return red << (kLittle ? 0 : 24) | green << (kLittle ? 8 : 16) | blue << (kLittle ? 16 : 8);
    }

    /// Four pixels are copied with the four bytes after them, which must belong to other pixels of the block.
    static constexpr int kCopied = 4, kTouched = 6;
    static bool CanCopy(unsigned samples, int i, int count) {
        return Lanes::kShufflesBytes && samples == 3 && i + kTouched <= count;
    }

    static void Keep(const unsigned char* from, unsigned samples, int count, Block& block) {
        int i = 0;
        for (; CanCopy(samples, i, count); i += kCopied, from += 3 * kCopied) {
            const auto bytes = Read<Bytes16>(from);
            colour::Write(&block.pixel[i], __builtin_shufflevector(bytes, Bytes16{}, 0, 1, 2, 16, 3, 4, 5, 16,  //
                                                                   6, 7, 8, 16, 9, 10, 11, 16));
        }
        for (; i < count; ++i, from += samples) __builtin_memcpy(&block.pixel[i], from, 3);
    }

    static void Round(const Ends& ends, Block& block) {
        const Ints all = Ints{} + Pixel(255, 255, 255), none = Ints{} - 1;
        const Ints black = ends.used ? Ints{} : none, white = ends.used ? all : none;
        const Ints toBlack = Ints{} + Pixel(ends.black[0], ends.black[1], ends.black[2]);
        const Ints toWhite = Ints{} + Pixel(ends.white[0], ends.white[1], ends.white[2]);
        for (int i = 0; i < block.used; i += Base::kLanes) {
            const Ints pixel = Read<Ints>(&block.pixel[i]) & all;
            const Ints rounded = Pixel(Rounded(block, 0, i), Rounded(block, 1, i), Rounded(block, 2, i));
            const Ints unlessBlack = pixel == black ? toBlack : rounded;
            colour::Write(&block.pixel[i], pixel == white ? toWhite : unlessBlack);
        }
    }

    static void Write(const Block& block, unsigned char* to, unsigned samples, int count) {
        int i = 0;
        for (; CanCopy(samples, i, count); i += kCopied, to += 3 * kCopied) {
            const auto bytes = Read<Bytes16>(&block.pixel[i]);
            // The last four are overwritten by the next pixels.
            colour::Write(to, __builtin_shufflevector(bytes, bytes, 0, 1, 2, 4, 5, 6, 8, 9,  //
                                                      10, 12, 13, 14, 3, 7, 11, 15));
        }
        for (; i < count; ++i, to += samples) __builtin_memcpy(to, &block.pixel[i], 3);
    }
};

template <typename Lanes>
struct WordSamples : IntegerSamples<Lanes, std::uint16_t> {
    using Base = IntegerSamples<Lanes, std::uint16_t>;
    static constexpr int kBytes = 2;

    static void Load(const Program& program, const unsigned char* from, unsigned samples, int count, Block& block) {
        Base::LookUp(program.words, from, samples, 0, count, block);
    }
    static void Store(const Program& program, const unsigned char* from, unsigned char* to, unsigned samples, int count,
                      Block& block) {
        for (int c = 0; c < 3; ++c) {
            for (int i = 0; i < block.used; i += Base::kLanes) Write(&block.index[c][i], Base::Rounded(block, c, i));
        }
        if (program.wordEnds.used) SetEnds(program.wordEnds, from, samples, count, block);
        for (int i = 0; i < count; ++i, to += samples * sizeof(std::uint16_t)) {
            Write(to, static_cast<std::uint16_t>(block.index[0][i]));
            Write(to + 2, static_cast<std::uint16_t>(block.index[1][i]));
            Write(to + 4, static_cast<std::uint16_t>(block.index[2][i]));
        }
    }

private:
    static void SetEnds(const Ends& ends, const unsigned char* from, unsigned samples, int count, Block& block) {
        for (int i = 0; i < count; ++i, from += samples * sizeof(std::uint16_t)) {
            const auto red = Read<std::uint16_t>(from);
            if (red != 0 && red != 0xffff) continue;
            if (Read<std::uint16_t>(from + 2) != red || Read<std::uint16_t>(from + 4) != red) continue;
            for (int c = 0; c < 3; ++c) block.index[c][i] = red == 0 ? ends.black[c] : ends.white[c];
        }
    }
};

template <typename Lanes>
struct FloatSamples : Numbers<Lanes> {
    using Base = Numbers<Lanes>;
    using typename Base::Floats;
    static constexpr int kBytes = 4;

    /// Interpolates between the values of 16-bit samples.
    static void Load(const Program& program, const unsigned char* from, unsigned samples, int count, Block& block) {
        for (int i = 0; i < count; ++i, from += samples * sizeof(float)) {
            for (int c = 0; c < 3; ++c) block.value[c][i] = SampleAt(from, c);
        }
        for (int c = 0; c < 3; ++c) Base::LookUp(program.words[c], 65535.0F, c, block);
    }
    static void Store(const Program& program, const unsigned char* from, unsigned char* to, unsigned samples, int count,
                      Block& block) {
        SetEnds(program.floatEnds, from, samples, count, block);
        for (float(&values)[kBlock] : block.value) {
            for (int i = 0; i < block.used; i += Base::kLanes) {
                Write(&values[i], Base::Clamp(Read<Floats>(&values[i]), 1.0F));
            }
        }
        for (int i = 0; i < count; ++i, to += samples * sizeof(float)) {
            for (int c = 0; c < 3; ++c) Write(to + sizeof(float) * static_cast<unsigned>(c), block.value[c][i]);
        }
    }

private:
    static float SampleAt(const unsigned char* pixel, int channel) {
        return Read<float>(pixel + sizeof(float) * static_cast<unsigned>(channel));
    }

    static void SetEnds(const FloatEnds& ends, const unsigned char* from, unsigned samples, int count, Block& block) {
        const auto end = [](float sample) { return !(sample > 0.0F) ? -1 : sample >= 1.0F ? 1 : 0; };
        for (int i = 0; i < count; ++i, from += samples * sizeof(float)) {
            const int which = end(SampleAt(from, 0));
            if (which == 0 || end(SampleAt(from, 1)) != which || end(SampleAt(from, 2)) != which) continue;
            for (int c = 0; c < 3; ++c) block.value[c][i] = which < 0 ? ends.black[c] : ends.white[c];
        }
    }
};

}  // namespace
}  // namespace hueweave::colour
