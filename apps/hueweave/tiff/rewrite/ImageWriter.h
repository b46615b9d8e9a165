// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Converts the image data of one page and writes them to the output: uncompressed data in blocks, compressed strips
/// and tiles as a whole, or strips by rows if they exceed the memory limit. Returns the extents of all strips and
/// tiles, plane by plane.
std::vector<Extent> WriteImage(const PageContext& context);

}  // namespace hueweave::tool
