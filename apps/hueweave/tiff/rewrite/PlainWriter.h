// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Converts and writes uncompressed image data, in blocks of rows. Returns the extents of all strips and tiles, plane
/// by plane. They keep their offsets unless other data overlap them.
std::vector<Extent> WritePlain(const PageContext& context);

}  // namespace hueweave::tool
