// SPDX-License-Identifier: MIT
#include "colour/exact/kernels/Blocks.h"

namespace hueweave::colour {
namespace {

struct FourLanes {
    using Floats = Floats4;
    typedef std::int32_t Ints __attribute__((vector_size(16)));
    static constexpr int kCount = 4;
    static constexpr bool kHasTables = false;  // in registers
#ifdef __x86_64__
    static constexpr bool kShufflesBytes = false;  // an instruction of later processors
#else
    static constexpr bool kShufflesBytes = true;
#endif

    /// The second number if one is NaN.
    static Floats Least(Floats x, Floats y) { return x < y ? x : y; }
    static Floats Most(Floats x, Floats y) { return x > y ? x : y; }

    /// In each group, the lanes A to D of two groups: 0 to 3 are those of `x`, 4 to 7 those of `y`.
    template <int A, int B, int C, int D>
    static Floats Shuffle(Floats x, Floats y) {
        return __builtin_shufflevector(x, y, A, B, C, D);
    }
    /// `get(n)` gives the group n.
    template <typename Get>
    static Floats Join(const Get& get) {
        return get(0);
    }
    /// `get(n)` gives two floats for the lane n: here for the lanes 0 and 1 of each group.
    template <typename Get>
    static Floats JoinPairs(const Get& get) {
        const Doubles2 pairs{get(0), get(1)};
        return Read<Floats>(&pairs);
    }
};

}  // namespace

const Loops kBaselineLoops = LoopsOf<FourLanes>("baseline");

}  // namespace hueweave::colour
