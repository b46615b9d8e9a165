// SPDX-License-Identifier: MIT
#include <immintrin.h>

#include "colour/exact/kernels/Blocks.h"

namespace hueweave::colour {
namespace {

struct EightLanes {
    typedef float Floats __attribute__((vector_size(32)));
    typedef std::int32_t Ints __attribute__((vector_size(32)));
    typedef double Doubles __attribute__((vector_size(32)));
    static constexpr int kCount = 8;
    static constexpr bool kHasTables = false;
    static constexpr bool kShufflesBytes = true;

    // For these, g++ 12 makes comparisons and moves of the compilers' notation.
    static Floats Least(Floats x, Floats y) { return _mm256_min_ps(x, y); }
    static Floats Most(Floats x, Floats y) { return _mm256_max_ps(x, y); }

    template <int A, int B, int C, int D>
    static Floats Shuffle(Floats x, Floats y) {
        constexpr auto at = [](int choice, int group) { return LaneAt(choice, group, kCount); };
        return __builtin_shufflevector(x, y, at(A, 0), at(B, 0), at(C, 0), at(D, 0),  //
                                       at(A, 1), at(B, 1), at(C, 1), at(D, 1));
    }
    template <typename Get>
    static Floats Join(const Get& get) {
        return __builtin_shufflevector(get(0), get(1), 0, 1, 2, 3, 4, 5, 6, 7);
    }
    template <typename Get>
    static Floats JoinPairs(const Get& get) {
        const Doubles pairs{get(0), get(1), get(4), get(5)};
        return Read<Floats>(&pairs);
    }
};

}  // namespace

extern const Loops kAvx2Loops;
const Loops kAvx2Loops = LoopsOf<EightLanes>("avx2");

}  // namespace hueweave::colour
