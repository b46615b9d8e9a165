// SPDX-License-Identifier: MIT
// A block of pixels, and what all steps do with the numbers in it.
#pragma once

#include "colour/exact/kernels/Lanes.h"

namespace hueweave::colour {
// Local to each including file, see Lanes.h.
namespace {

constexpr int kBlock = 256;  ///< pixels

/// The values passed from step to step for the pixels of a block, by channel.
struct Block {
    int used;  ///< pixels, rounded up to whole vectors
    alignas(64) float value[3][kBlock];
    alignas(64) std::int32_t index[3][kBlock];
    alignas(64) float part[3][kBlock];
    alignas(64) std::int32_t pixel[kBlock];  ///< of 8-bit samples: these, and a byte without meaning
};

/// Arithmetic and look-ups by lane.
template <typename Lanes>
struct Numbers {
    using Floats = typename Lanes::Floats;
    using Ints = typename Lanes::Ints;
    static constexpr int kLanes = Lanes::kCount;

    static Floats All(float x) { return Floats{} + x; }
    static Ints Whole(Floats x) { return __builtin_convertvector(x, Ints); }
    static Floats Real(Ints x) { return __builtin_convertvector(x, Floats); }
    static Floats Least(Floats x, Floats y) { return Lanes::Least(x, y); }
    /// 0 to `top`; 0 for NaN.
    static Floats Clamp(Floats x, Floats top) { return Lanes::Least(Lanes::Most(x, Floats{}), top); }
    static Floats Clamp(Floats x, float top) { return Clamp(x, All(top)); }

    /// An axis of a table or grid, which is divided into cells for values of 0 to 1.
    class Axis {
    public:
        explicit Axis(float cells) : cells_(All(cells)), lastCell_(Ints{} + (static_cast<std::int32_t>(cells) - 1)) {}
        /// The cells of values, and their positions in these.
        Ints Find(Floats value, Floats& part) const {
            const Floats place = Clamp(value * cells_, cells_);
            const Ints whole = Whole(place);
            const Ints cell = whole < lastCell_ ? whole : lastCell_;
            part = place - Real(cell);
            return cell;
        }

    private:
        Floats cells_;
        Ints lastCell_;
    };

    /// Two neighbours are loaded together, because a processor starts fewer loads at a time than shifts.
    static std::size_t IndexAt(const std::int32_t* index, int lane) {
        const auto both = Read<std::uint64_t>(index + lane / 2 * 2);
        return (lane % 2 == 1) == kLittle ? both >> 32 : both & 0xffffffff;
    }

    /// Interpolates between the entries with these indices and those after them.
    static Floats Interpolate(const float* table, const std::int32_t* index, Floats part) {
        const auto pair = [&](int lane) { return Read<double>(table + IndexAt(index, lane)); };
        const Floats a = Lanes::JoinPairs(pair), b = Lanes::JoinPairs([&](int lane) { return pair(lane + 2); });
        const Floats low = Lanes::template Shuffle<0, 2, 4, 6>(a, b), high = Lanes::template Shuffle<1, 3, 5, 7>(a, b);
        return low + part * (high - low);
    }

    /// Looks up one channel: values of 0 to 1 in a table of equidistant entries.
    static void LookUp(const float* table, float last, int channel, Block& block) {
        const Axis axis(last);
        for (int i = 0; i < block.used; i += kLanes) {
            Floats part;
            Write(&block.index[channel][i], axis.Find(Read<Floats>(&block.value[channel][i]), part));
            Write(&block.part[channel][i], part);
        }
        LookUp(table, channel, block);
    }
    /// The same with indices and positions that are known.
    static void LookUp(const float* table, int channel, Block& block) {
        for (int i = 0; i < block.used; i += kLanes) {
            const Floats part = Read<Floats>(&block.part[channel][i]);
            Write(&block.value[channel][i], Interpolate(table, &block.index[channel][i], part));
        }
    }
};

}  // namespace
}  // namespace hueweave::colour
