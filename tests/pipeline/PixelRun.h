// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "support/ByteWriter.h"

namespace hueweave::test {

/// Pixels of 16 bits for input encoding 1, else of 8: neutral ramps, all patterns of equal and unequal fractions in the
/// outermost and some inner cells of a grid, samples on and beside nodes, both ends of the range, and random ones. The
/// cells are those of a grid of `points` points.
Bytes PixelRun(int inputSpace, int points = 17);

}  // namespace hueweave::test
