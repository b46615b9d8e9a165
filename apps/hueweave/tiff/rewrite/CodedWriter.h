// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Writes image data that are encoded, each strip or tile as a whole. Returns the places of all, plane after plane.
std::vector<Extent> WriteCoded(const PageContext& context, unsigned threads);

}  // namespace hueweave::tool
