// SPDX-License-Identifier: MIT
#include <array>

#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {

#ifdef __x86_64__
extern const Loops kAvx2Loops;

std::span<const Loops* const> AllLoops() {
    static constexpr std::array<const Loops*, 2> kAll{&kBaselineLoops, &kAvx2Loops};
    return std::span(kAll).first(__builtin_cpu_supports("avx2") ? 2 : 1);
}
#else
std::span<const Loops* const> AllLoops() {
    static constexpr std::array<const Loops*, 1> kAll{&kBaselineLoops};
    return kAll;
}
#endif

}  // namespace hueweave::colour
