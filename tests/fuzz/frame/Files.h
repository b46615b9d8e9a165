// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Sound files that targets start from.
#pragma once

#include "FuzzInput.h"

namespace hueweave::fuzz {

/// A small profile with tables for all intents and a white point; another `mark` gives other colours.
Bytes SoundProfile(unsigned mark);
/// The same with tables of curves and a grid.
Bytes CurvedProfile(unsigned mark);
/// An RGB file of one strip with an embedded profile, 5 x 4 pixels.
Bytes SoundTiff(unsigned bits);

}  // namespace hueweave::fuzz
