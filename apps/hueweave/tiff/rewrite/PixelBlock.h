// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <functional>

#include "tiff/rewrite/PlaneSet.h"
#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Rows of a strip or tile, or of strips that follow on it.
struct PixelBlock {
    std::uint64_t segment = 0;  ///< in a plane
    std::uint32_t row = 0;      ///< the first one, counted from the top of the strip or tile
    std::uint32_t rows = 0;
};

/// Calls a function when it is the block's turn: blocks are measured from the first to the last.
using InTurn = std::function<void(const std::function<void()>& what)>;

/// Takes a block from the source, converts and measures it, and gives it to the sink. All samples but the three colours
/// are copied.
void ConvertBlock(const PageContext& context, const PixelBlock& block, PlaneSet& planes, PlaneSource& source,
                  PlaneSink& sink, const InTurn& inTurn);

}  // namespace hueweave::tool
