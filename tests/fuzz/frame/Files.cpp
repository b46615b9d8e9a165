// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Files.h"

#include "support/MiniProfile.h"
#include "support/MiniTiff.h"

namespace hueweave::fuzz {

using test::Curve;
using test::LabGrid;
using test::Mft2;
using test::MftAB;
using test::MiniLut;
using test::MiniProfile;
using test::MiniTiff;
using test::RampCurve;
using test::ScatteredGrid;
using test::XyzBlock;

namespace {

MiniLut Lut(unsigned points, std::uint32_t seed) {
    const Curve in = RampCurve(5), out = RampCurve(9);
    return {{in, in, in}, points, seed == 0 ? LabGrid(points) : ScatteredGrid(points, seed), {out, out, out}};
}

}  // namespace

Bytes SoundProfile(unsigned mark) {
    return MiniProfile({{"A2B0", Mft2(Lut(2, mark))},
                        {"wtpt", XyzBlock(0xf6d6, 0x10000, 0xd32d)},
                        {"A2B1", Mft2(Lut(3, mark + 1))},
                        {"A2B2", Mft2(Lut(2, 0))}});
}

Bytes CurvedProfile(unsigned mark) {
    return MiniProfile({{"A2B0", MftAB(Lut(3, mark))}, {"A2B1", MftAB(Lut(2, mark + 1))}});
}

Bytes SoundTiff(unsigned bits) {
    MiniTiff tiff;
    tiff.width = 5;
    tiff.height = 4;
    tiff.bits = bits;
    for (unsigned i = 0; i < 5 * 4 * 3 * bits / 8; ++i)
        tiff.pixels.push_back(static_cast<unsigned char>(i * 37 + i / 5));
    tiff.icc = Bytes(40, 0x42);
    return tiff.Build();
}

}  // namespace hueweave::fuzz
