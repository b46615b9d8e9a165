// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "batch/file/notes/FileNotes.h"
#include "batch/file/plan/SourceFile.h"
#include "batch/session/Session.h"
#include "picture/Writing.h"

namespace hueweave::tool {

/// The images of a file of one format, and how each is written.
class PlannedImages {
public:
    virtual ~PlannedImages() = default;
    /// How many pixels are converted.
    virtual std::uint64_t Pixels() const = 0;
    /// Writes the whole output to an empty file.
    virtual void Write(const FileAccess& target, const WriteSettings& settings, Measured& measured) const = 0;
};

/// The plan for converting a file. Borrows the source.
struct FilePlan {
    std::unique_ptr<const PlannedImages> images;
    /// Each once; the images borrow from them. Empty if a file is copied for another reason than its colours.
    std::vector<std::shared_ptr<const ReadyConverter>> converters;
    std::string profileName;  ///< of the first page, for messages
    FileNotes notes;
    /// True if nothing changes: every page that is converted at all is in the output's colours already and embeds its
    /// profile.
    bool isCopy = false;
    /// True if the image is rewritten in another format, but no sample changes.
    bool keepsColours = false;
    /// With the library's precision and --in-place: true if all pages already embed the profile that they would get.
    /// Without this check, restarting an interrupted run over a folder would convert its files twice.
    bool isConverted = false;
};

/// Reads the structure of a file and chooses a profile for each image. Reads no pixels. Refuses a file that cannot be
/// converted.
FilePlan PlanFile(const Session& session, const SourceFile& source);

/// The plan for a file that goes into the output unchanged.
FilePlan PlanCopy(const SourceFile& source);

}  // namespace hueweave::tool
