// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <set>
#include <utility>

#include "batch/file/notes/FileNotes.h"
#include "batch/inputs/ConvertOptions.h"
#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// Finds data that a conversion does not preserve, and data that it keeps although they no longer match the colours.
class LossNotes {
public:
    LossNotes(const ConvertOptions& options, const TiffStructure& structure)
        : options_(options), structure_(structure) {}
    /// Adds the notes about a page. A value shared by several pages is examined once.
    void Look(const TiffPage& page, FileNotes& notes);

private:
    void LookAtMetadata(const TiffDirectory& directory, FileNotes& notes);
    void LookAtOldTags(const TiffPage& page, FileNotes& notes) const;
    bool IsNew(const TiffDirectory& directory, std::uint16_t tag);

    const ConvertOptions& options_;
    const TiffStructure& structure_;
    std::set<std::pair<std::uint64_t, std::uint64_t>> looked_;  ///< values examined, by offset and size
};

}  // namespace hueweave::tool
