// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Files.h"

#include "support/MiniProfile.h"
#include "support/MiniTiff.h"

namespace hueweave::fuzz {

using namespace test;

Bytes SoundProfile(unsigned mark) {
    return MiniProfile({{"A2B0", Mft2(ShortLut(2, mark))},
                        {"wtpt", XyzBlock(0xf6d6, 0x10000, 0xd32d)},
                        {"A2B1", Mft2(ShortLut(3, mark + 1))},
                        {"A2B2", Mft2(ShortLut(2, 0))}});
}

Bytes CurvedProfile(unsigned mark) {
    return MiniProfile({{"A2B0", MftAB(ShortLut(3, mark))}, {"A2B1", MftAB(ShortLut(2, mark + 1))}});
}

MiniLut ShortLut(unsigned points, std::uint32_t seed) {
    const Curve in = RampCurve(5), out = RampCurve(9);
    return {{in, in, in}, points, seed == 0 ? LabGrid(points) : ScatteredGrid(points, seed), {out, out, out}};
}

Bytes SoundTiff(unsigned bits) {
    MiniTiff tiff{5, 4, 3, bits, {}, Bytes(40, 0x42)};
    for (unsigned i = 0; i < 5 * 4 * 3 * bits / 8; ++i) {
        tiff.pixels.push_back(static_cast<unsigned char>(i * 37 + i / 5));
    }
    return tiff.Build();
}

}  // namespace hueweave::fuzz
