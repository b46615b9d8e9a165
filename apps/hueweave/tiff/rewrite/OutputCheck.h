// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// What was written for a page.
struct WrittenPage {
    bool keeps = true;                   ///< the page is unchanged
    std::vector<Extent> places{};        ///< extents of its strips or tiles
    std::shared_ptr<const Bytes> icc{};  ///< null for none
};

/// Reads the directories of a finished output and compares them with the plan: the same pages in the same order, with
/// the same geometry and sample format, the strips and tiles at the offsets where they were written, and the profiles.
/// Refuses the output if they differ. No pixel is decoded, so this costs as much as reading the source's directories.
void CheckOutput(const TiffStructure& source, const std::vector<TiffPage>& pages,
                 const std::vector<WrittenPage>& written, const std::map<std::uint64_t, std::uint64_t>& moved,
                 const FileAccess& target);

}  // namespace hueweave::tool
