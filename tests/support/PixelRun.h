// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {

/// Pixels of 16 bits for input encoding 1, else of 8: a neutral ramp, both ends of the range, samples at and next to
/// the grid points, every order and tie of the fractions in inner and outer cells, and random ones.
inline Bytes PixelRun(int inputSpace) {
    const bool wide = inputSpace == 1;
    ByteWriter out;
    const auto add = [&](unsigned red, unsigned green, unsigned blue) {
        for (const unsigned sample : {red, green, blue}) wide ? out.Little16(sample) : out.U8(sample >> 8);
    };
    for (unsigned v = 0; v < 65536; v += wide ? 23 : 256) add(v, v, v);
    const unsigned ends[] = {0, 65535}, fractions[] = {0, 1, 1024, 2048, 4095};
    for (int node = 0; node <= 16; ++node) {
        for (const int beside : {-1, 0, 1}) {
            const auto v = static_cast<unsigned>(std::clamp(node * 4096 + beside, 0, 65535));
            for (const unsigned other : ends) add(v, other, 50000), add(other, v, 12345), add(30000, other, v);
        }
    }
    for (const auto& [i, j, k] : {std::array{0U, 0U, 0U}, {15U, 15U, 15U}, {0U, 15U, 7U}, {1U, 8U, 14U}}) {
        for (const unsigned r : fractions) {
            for (const unsigned g : fractions) {
                for (const unsigned b : fractions) add(i * 4096 + r, j * 4096 + g, k * 4096 + b);
            }
        }
    }
    Lcg random(2024);
    for (int n = 0; n < 2000; ++n) {
        const unsigned red = random.Sample(), green = random.Sample();
        add(red, green, random.Sample());
    }
    return out.Done();
}

}  // namespace hueweave::test
