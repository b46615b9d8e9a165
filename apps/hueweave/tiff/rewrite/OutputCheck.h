// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// What was written of a page.
struct WrittenPage {
    bool keeps = true;                   ///< nothing of it was written anew
    std::vector<Extent> places{};        ///< of its strips or tiles
    std::shared_ptr<const Bytes> icc{};  ///< null for none
};

/// Reads the directories of a finished output and compares them with what was planned: the same pages in the same
/// order and of the same shape, strips and tiles at the places where they were put, the profile. Refuses the output
/// where they differ. No pixel is decoded, so this costs as much as reading the source's directories did.
void CheckOutput(const TiffStructure& source, const std::vector<TiffPage>& pages,
                 const std::vector<WrittenPage>& written, const std::map<std::uint64_t, std::uint64_t>& moved,
                 const FileAccess& target);

}  // namespace hueweave::tool
