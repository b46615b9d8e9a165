// SPDX-License-Identifier: MIT
// The pixel loop that defines the results: only look-ups, integer multiplications and shifts.
#include "engine/kernels/Kernels.h"
#include "engine/kernels/Samples.h"
#include "units/Tetrahedra.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

/// Each pixel is read completely before it is written.
///
/// The value of a channel is a weighted mean of grid values between 0 and 65535, so it is a valid index into the output
/// table without clamping. There is no rounding term, and the shift is 12 whatever the engine's `Shift` is.
template <typename Sample>
void Convert(const Stages& stages, const unsigned char* source, unsigned char* dest, std::int64_t pixels) {
    constexpr std::size_t kStep = sizeof(Sample);
    for (; pixels > 0; --pixels, source += 3 * kStep, dest += 3 * kStep) {
        const std::uint32_t red = stages.in[0][Load<Sample>(source)];
        const std::uint32_t green = stages.in[1][Load<Sample>(source + kStep)];
        const std::uint32_t blue = stages.in[2][Load<Sample>(source + 2 * kStep)];
        const std::uint32_t cell = ((red >> 16) * 16 + (green >> 16)) * 16 + (blue >> 16);
        const auto fr = static_cast<std::int32_t>(red & 0xffffU);
        const auto fg = static_cast<std::int32_t>(green & 0xffffU);
        const auto fb = static_cast<std::int32_t>(blue & 0xffffU);
        const auto tetrahedron = static_cast<std::uint32_t>(ICC_UNIT::FindTetrahedron(fr, fg, fb));
        const Record& record = stages.grid[cell * 6 + tetrahedron];
        const auto value = [&](const std::int32_t(&c)[4]) { return (c[0] + fr * c[1] + fg * c[2] + fb * c[3]) >> 12; };
        const std::uint32_t out[3] = {stages.out[0][value(record[0])], stages.out[1][value(record[1])],
                                      stages.out[2][value(record[2])]};
        Store<Sample>(dest, out[0]);
        Store<Sample>(dest + kStep, out[1]);
        Store<Sample>(dest + 2 * kStep, out[2]);
    }
}

}  // namespace

extern const Kernel kPlainKernel = {"plain", &Convert<std::uint8_t>, &Convert<std::uint16_t>};

}  // namespace ICC40::ICC_ENG_S4
