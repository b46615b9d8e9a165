// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// What becomes of one page; null converter for a mask, which stays as it is.
struct PageJob {
    const colour::PixelConverter* converter = nullptr;
    std::shared_ptr<const Bytes> icc;  ///< the profile of the output; null to leave it out
};

/// Writes a whole converted file: what is kept, the image data of each page, and the directories. Reads the directories
/// back, and refuses the output where they do not lead to what was written.
void RewriteTiff(const TiffStructure& structure, const std::vector<TiffPage>& pages, const std::vector<PageJob>& jobs,
                 const FileAccess& target, const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
