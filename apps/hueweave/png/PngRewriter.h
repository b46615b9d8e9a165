// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "colour/PixelConverter.h"
#include "picture/Writing.h"
#include "png/PngStructure.h"

namespace hueweave::tool {

/// What is done with a PNG file that is not copied as it is.
struct PngJob {
    const colour::PixelConverter* converter = nullptr;  ///< null if the samples stay
    std::shared_ptr<const Bytes> icc;                   ///< the profile to embed; null for none
};

/// Writes the whole output to an empty file. Refuses damaged image data, and rows or interlaced images that do not fit
/// in the memory allowed.
void RewritePng(const PngStructure& structure, const PngJob& job, const FileAccess& target,
                const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
