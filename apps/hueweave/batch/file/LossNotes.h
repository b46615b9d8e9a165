// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "batch/session/ConvertOptions.h"
#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// What is said about a file besides its result. It waits until the file is done, since a refusal is to be one line.
struct FileNotes {
    std::vector<std::string> own;  ///< whole lines, in order
    std::set<std::string> common;  ///< what many files of a run share: "tag 301 stays", without the name of the file
};

/// Finds what a conversion does not keep as it was, and what it keeps although it no longer fits the colours.
class LossNotes {
public:
    LossNotes(const ConvertOptions& options, const TiffStructure& structure)
        : options_(options), structure_(structure) {}
    /// Adds to the notes what there is to say about a page. A value that pages share is looked at once.
    void Look(const TiffPage& page, FileNotes& notes);

private:
    void LookAtMetadata(const TiffDirectory& directory, FileNotes& notes);
    void LookAtOldTags(const TiffDirectory& directory, FileNotes& notes) const;
    bool IsNew(const TiffDirectory& directory, std::uint16_t tag);

    const ConvertOptions& options_;
    const TiffStructure& structure_;
    std::set<std::pair<std::uint64_t, std::uint64_t>> looked_;  ///< values looked at, by offset and size
};

}  // namespace hueweave::tool
