// SPDX-License-Identifier: MIT
#include <immintrin.h>

#include "colour/exact/kernels/Blocks.h"
#include "colour/exact/kernels/Table256.h"

namespace hueweave::colour {
namespace {

struct SixteenLanes {
    typedef float Floats __attribute__((vector_size(64)));
    typedef std::int32_t Ints __attribute__((vector_size(64)));
    typedef double Doubles __attribute__((vector_size(64)));
    static constexpr int kCount = 16;
    static constexpr bool kShufflesBytes = true;
    static constexpr bool kHasTables = true;
    using Table = Table256;

    // As in Avx2.cpp. Of the functions without a mask, g++ 12 says that a variable is not initialized.
    static Floats Least(Floats x, Floats y) { return _mm512_maskz_min_ps(0xffff, x, y); }
    static Floats Most(Floats x, Floats y) { return _mm512_maskz_max_ps(0xffff, x, y); }

    template <int A, int B, int C, int D>
    static Floats Shuffle(Floats x, Floats y) {
        constexpr auto at = [](int choice, int group) { return LaneAt(choice, group, kCount); };
        return __builtin_shufflevector(x, y, at(A, 0), at(B, 0), at(C, 0), at(D, 0),  //
                                       at(A, 1), at(B, 1), at(C, 1), at(D, 1),        //
                                       at(A, 2), at(B, 2), at(C, 2), at(D, 2),        //
                                       at(A, 3), at(B, 3), at(C, 3), at(D, 3));
    }
    template <typename Get>
    static Floats Join(const Get& get) {
        // The compilers' notation makes g++ 12 move vectors back and forth.
        __m512 joined = _mm512_castps128_ps512(get(0));
        joined = _mm512_insertf32x4(joined, get(1), 1);
        joined = _mm512_insertf32x4(joined, get(2), 2);
        return _mm512_insertf32x4(joined, get(3), 3);
    }
    template <typename Get>
    static Floats JoinPairs(const Get& get) {
        const Doubles pairs{get(0), get(1), get(4), get(5), get(8), get(9), get(12), get(13)};
        return Read<Floats>(&pairs);
    }
};

}  // namespace

extern const Loops kAvx512Loops;
const Loops kAvx512Loops = LoopsOf<SixteenLanes>("avx512");

}  // namespace hueweave::colour
