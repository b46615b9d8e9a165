// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Valid files that targets start from.
#pragma once

#include "support/MiniProfile.h"

namespace hueweave::fuzz {

/// A table with few entries. The grid is smooth for a `seed` of 0, otherwise random.
test::MiniLut ShortLut(unsigned points, std::uint32_t seed);
/// A small profile with tables for all intents and a white point; a different `mark` gives different colours.
test::Bytes SoundProfile(unsigned mark);
/// The same with tables of curves and a grid.
test::Bytes CurvedProfile(unsigned mark);
/// An RGB file of one strip with an embedded profile, 5 x 4 pixels.
test::Bytes SoundTiff(unsigned bits);

}  // namespace hueweave::fuzz
