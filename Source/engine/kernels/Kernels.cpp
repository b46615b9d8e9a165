// SPDX-License-Identifier: MIT
#include "engine/kernels/Kernels.h"

namespace ICC40::ICC_ENG_S4 {

extern const Kernel kBaselineKernel;
extern const Kernel kAvx2Kernel;

std::span<const Kernel* const> Kernels() {
#if defined(__x86_64__)
    static constexpr const Kernel* kAll[] = {&kPlainKernel, &kBaselineKernel, &kAvx2Kernel};
    return {kAll, __builtin_cpu_supports("avx2") ? 3U : 2U};
#elif defined(__aarch64__)
    static constexpr const Kernel* kAll[] = {&kPlainKernel, &kBaselineKernel};
    return kAll;
#else
    static constexpr const Kernel* kAll[] = {&kPlainKernel};
    return kAll;
#endif
}

}  // namespace ICC40::ICC_ENG_S4
