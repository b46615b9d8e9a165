// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>

#include "tiff/rewrite/PlaneSet.h"
#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// Rows of a strip or tile, or several strips.
struct PixelBlock {
    std::uint64_t segment = 0;  ///< the first strip or tile, counted within a plane
    std::uint32_t row = 0;      ///< the first one, counted from the top of the strip or tile
    std::uint32_t rows = 0;
};

/// The same block in the output. It has other rows if those that are read are rows of data units.
PixelBlock WrittenBlock(const TiffPage& page, const PixelBlock& block);

/// Calls a function when it is the block's turn: blocks are measured in order.
using InTurn = std::function<void(const std::function<void()>& what)>;

/// Reads a block from the source, converts and measures it, and writes it to the sink. Samples other than the three
/// colours are copied.
void ConvertBlock(const PageContext& context, const PixelBlock& block, PlaneSet& planes, PlaneSource& source,
                  PlaneSink& sink, const InTurn& inTurn);

}  // namespace hueweave::tool
