// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Converts and writes compressed image data, one whole strip or tile at a time. Returns the extents of all strips and
/// tiles, plane by plane.
std::vector<Extent> WriteCoded(const PageContext& context, unsigned threads);

}  // namespace hueweave::tool
