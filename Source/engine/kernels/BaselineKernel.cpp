// SPDX-License-Identifier: MIT
// Kernel for the vector instructions that every processor of the architecture has: SSE2 or NEON.
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

    /// SSE2 multiplies only 16 bits by 16 bits. A fraction has 12 bits; with a copy in both halves of its lane, it
    /// gives the low half of each partial product, and the carry from the low half of the lane to the high half.
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
