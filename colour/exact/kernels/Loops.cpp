// SPDX-License-Identifier: MIT
#include <array>

#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {

#ifdef __x86_64__
extern const Loops kAvx2Loops, kAvx512Loops;

namespace {

/// Processors without VBMI, the first ones with AVX-512, also lower their clock rate for such vectors.
bool HasAvx512() {
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512vbmi");
}

}  // namespace

std::span<const Loops* const> AllLoops() {
    static constexpr std::array<const Loops*, 3> kAll{&kBaselineLoops, &kAvx2Loops, &kAvx512Loops};
    static const std::size_t count = !__builtin_cpu_supports("avx2") ? 1 : HasAvx512() ? 3 : 2;
    return std::span(kAll).first(count);
}
#else
std::span<const Loops* const> AllLoops() {
    static constexpr std::array<const Loops*, 1> kAll{&kBaselineLoops};
    return kAll;
}
#endif

}  // namespace hueweave::colour
