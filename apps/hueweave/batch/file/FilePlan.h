// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "batch/file/LossNotes.h"
#include "batch/file/SourceFile.h"
#include "batch/session/Session.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::tool {

/// The plan for converting a file. Borrows the source.
struct FilePlan {
    std::unique_ptr<const TiffStructure> structure;
    std::vector<TiffPage> pages;
    std::vector<PageJob> jobs;                                      ///< by page
    std::vector<std::shared_ptr<const ReadyConverter>> converters;  ///< each once; the jobs borrow from them
    std::string profileName;                                        ///< of the first page, for messages
    FileNotes notes;
    /// True if nothing changes: every page, except masks, is in the output's colours already and embeds its profile.
    bool isCopy = false;
    /// With the library's precision and --in-place: true if all pages already embed the profile that they would get.
    /// Without this check, restarting an interrupted run over a folder would convert its files twice.
    bool isConverted = false;
};

/// Reads the structure of a file and chooses a profile for each page. Reads no pixels. Refuses a file that cannot be
/// converted.
FilePlan PlanFile(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
