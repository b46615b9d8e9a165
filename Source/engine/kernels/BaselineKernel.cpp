// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// For the vectors that every processor of the architecture has: SSE2 or NEON.
#include "engine/kernels/BlockKernel.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ICC40::ICC_ENG_S4 {
namespace {

#if defined(__SSE2__)
constexpr char kName[] = "sse2";

struct Machine {
    using Ints = Ints4;

    /// SSE2 multiplies 16 bits with 16 bits only. A fraction has 12; standing in both halves of its lane it gives the
    /// low half of each half's product, and the carry from the low half of the lane into the high one.
    static Ints Mix(const Lanes<Ints>::Columns& c, Ints fr, Ints fg, Ints fb) {
        const Ints red = fr | fr << 16, green = fg | fg << 16, blue = fb | fb << 16;
        const Ints products = Low(c.at[1], red) + Low(c.at[2], green) + Low(c.at[3], blue);
        const Ints carries = High(c.at[1], red) + High(c.at[2], green) + High(c.at[3], blue);
        return c.at[0] + products + (carries << 16);
    }

private:
    static Ints Low(Ints column, Ints weight) {
        return reinterpret_cast<Ints>(
            _mm_mullo_epi16(reinterpret_cast<__m128i>(column), reinterpret_cast<__m128i>(weight)));
    }
    static Ints High(Ints column, Ints weight) {
        return reinterpret_cast<Ints>(
            _mm_mulhi_epu16(reinterpret_cast<__m128i>(column), reinterpret_cast<__m128i>(weight)));
    }
};
#else
constexpr char kName[] = "neon";

struct Machine {
    using Ints = Ints4;
    static Ints Mix(const Lanes<Ints>::Columns& c, Ints fr, Ints fg, Ints fb) {
        return c.at[0] + fr * c.at[1] + fg * c.at[2] + fb * c.at[3];
    }
};
#endif

}  // namespace

extern const Kernel kBaselineKernel = {kName, &BlockLoop<Machine>::Convert<std::uint8_t>,
                                       &BlockLoop<Machine>::Convert<std::uint16_t>};

}  // namespace ICC40::ICC_ENG_S4
