// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Writes encoded strips that are too large to be held as a whole, a few rows at a time and on one thread. Returns the
/// places of all strips, plane after plane.
std::vector<Extent> WriteRows(const PageContext& context);

}  // namespace hueweave::tool
