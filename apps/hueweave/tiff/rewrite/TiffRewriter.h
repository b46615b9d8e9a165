// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "tiff/rewrite/WriteContext.h"

namespace hueweave::tool {

/// How one page is processed.
struct PageJob {
    bool keeps = true;                                  ///< the page does not change, including its tags
    const colour::PixelConverter* converter = nullptr;  ///< null if the image data do not change
    std::shared_ptr<const Bytes> icc;                   ///< the profile to embed; null for none
};

/// Writes a complete converted file: the copied data, the image data of each page, and the directories. Then reads the
/// directories back and refuses the output if they do not match what was written.
void RewriteTiff(const TiffStructure& structure, const std::vector<TiffPage>& pages, const std::vector<PageJob>& jobs,
                 const FileAccess& target, const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
