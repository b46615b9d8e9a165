// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// What becomes of one page.
struct PageJob {
    bool keeps = true;                                  ///< the page stays as it is, its tags included
    const colour::PixelConverter* converter = nullptr;  ///< null for image data that stay
    std::shared_ptr<const Bytes> icc;                   ///< the profile of the output; null to leave it out
};

/// Writes a whole converted file: what is kept, the image data of each page, and the directories. Reads the directories
/// back, and refuses the output where they do not lead to what was written.
void RewriteTiff(const TiffStructure& structure, const std::vector<TiffPage>& pages, const std::vector<PageJob>& jobs,
                 const FileAccess& target, const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
