// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <vector>

#include "ImageWriter.h"

namespace hueweave::tool {

/// What becomes of one page; null converter for a mask, which stays as it is.
struct PageJob {
    const PixelConverter* converter = nullptr;
    Bytes icc;  ///< the profile of the output; empty to leave it out
};

/// Writes a whole converted file: what is kept, the image data of each page, and the directories.
void RewriteTiff(const TiffStructure& structure, const std::vector<TiffPage>& pages, const std::vector<PageJob>& jobs,
                 const FileAccess& target, const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
