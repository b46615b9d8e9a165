// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Converts and writes compressed strips that exceed the memory limit, a few rows at a time, on one thread. Returns the
/// extents of all strips, plane by plane.
std::vector<Extent> WriteRows(const PageContext& context);

}  // namespace hueweave::tool
