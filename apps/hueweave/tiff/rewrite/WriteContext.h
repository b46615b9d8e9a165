// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "colour/PixelConverter.h"
#include "picture/Writing.h"
#include "tiff/TiffPage.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::tool {

/// What is needed to write one page. Everything is borrowed.
struct PageContext {
    const TiffStructure& structure;
    const TiffPage& page;
    std::size_t index;  ///< of the page, for the layout
    const colour::PixelConverter& converter;
    OutputLayout& layout;
    const FileAccess& target;
    const WriteSettings& settings;
    Measured& measured;
};

}  // namespace hueweave::tool
