// SPDX-License-Identifier: MIT
// Valid files that targets start from.
#pragma once

#include "support/MiniProfile.h"
#include "support/MiniTiff.h"

namespace hueweave::fuzz {

/// A table with few entries. The grid is smooth for a `seed` of 0, otherwise random.
inline test::LutContents ShortLut(int points, std::uint32_t seed) {
    return test::StraightLut(points, seed == 0 ? test::LabGrid(points) : test::ScatteredGrid(points, seed), 5, 9);
}

/// A small profile with tables for all intents and a white point; a different `mark` gives different colours.
inline test::Bytes SoundProfile(unsigned mark) {
    return test::MiniProfile({{"A2B0", Mft2(ShortLut(2, mark))},
                              {"wtpt", test::XyzBlock(0xf6d6, 0x10000, 0xd32d)},
                              {"A2B1", Mft2(ShortLut(3, mark + 1))},
                              {"A2B2", Mft2(ShortLut(2, 0))}});
}

/// The same with tables of curves and a grid.
inline test::Bytes CurvedProfile(unsigned mark) {
    return test::MiniProfile({{"A2B0", MftAB(ShortLut(3, mark))}, {"A2B1", MftAB(ShortLut(2, mark + 1))}});
}

/// An RGB file of one strip with an embedded profile, 5 x 4 pixels.
inline test::Bytes SoundTiff(unsigned bits) {
    return test::MiniTiff{5, 4, 3, bits, test::CountingBytes(5 * 4 * 3 * bits / 8), test::Bytes(40, 0x42)}.Build();
}

}  // namespace hueweave::fuzz
