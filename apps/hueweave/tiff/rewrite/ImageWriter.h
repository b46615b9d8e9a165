// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Converts the image data of one page from the source into its places in the output: plain bytes in blocks, encoded
/// strips and tiles as a whole, or by rows where they do not fit in the memory allowed. Returns the places of all
/// strips and tiles, plane after plane.
std::vector<Extent> WriteImage(const PageContext& context);

}  // namespace hueweave::tool
