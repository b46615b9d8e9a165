// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Writes image data that are not encoded, in blocks of rows. Returns the places of all strips and tiles, plane after
/// plane: their old ones, as far as nothing else stands there.
std::vector<Extent> WritePlain(const PageContext& context);

}  // namespace hueweave::tool
