// SPDX-License-Identifier: MIT
#include "engine/kernels/BlockKernel.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

struct Machine {
    using Ints = Ints8;
    static Ints Mix(const Lanes<Ints>::Columns& c, Ints fr, Ints fg, Ints fb) {
        return c.at[0] + fr * c.at[1] + fg * c.at[2] + fb * c.at[3];
    }
};

}  // namespace

extern const Kernel kAvx2Kernel = {"avx2", &BlockLoop<Machine>::Convert<std::uint8_t>,
                                   &BlockLoop<Machine>::Convert<std::uint16_t>};

}  // namespace ICC40::ICC_ENG_S4
