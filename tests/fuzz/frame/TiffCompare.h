// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "FuzzInput.h"
#include "support/ReferenceTiff.h"
#include "tiff/CTiff.h"

namespace hueweave::fuzz {

/// List and data must equal those of the reference reader for the same file.
void CheckTags(const Orvix_Tiff_STL2::Tiff& tiff, const test::ReferenceTiff& reference);
/// The geometry of the list; all 0 and no image without a list.
void CheckGeometry(const Orvix_Tiff_STL2::CTiff& tiff, test::ReferenceTiff& reference);

/// A limit on the heap for reading a file of `size` bytes: tag data, strips, and the same image as planes and pixels.
constexpr std::size_t TiffHeap(std::size_t size) { return 24 * (std::size_t{1} << 20) + 6 * size; }

}  // namespace hueweave::fuzz
