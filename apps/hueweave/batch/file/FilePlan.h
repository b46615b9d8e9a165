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

/// What a conversion would do. Borrows the source.
struct FilePlan {
    std::unique_ptr<const TiffStructure> structure;
    std::vector<TiffPage> pages;
    std::vector<PageJob> jobs;                                      ///< by page
    std::vector<std::shared_ptr<const ReadyConverter>> converters;  ///< each once; the jobs borrow from them
    std::string profileName;                                        ///< of the first page, for people
    FileNotes notes;
    /// Whether there is nothing to do, since the colours of all pages are those of the output.
    bool isCopy = false;
    /// With the library's precision, whether all pages embed the very profile that they would get: a run in place over
    /// a folder, stopped half way and begun again, would convert them twice.
    bool isConverted = false;
};

/// Reads the structure of a file and chooses a profile for each page; no pixel is read. Refuses what cannot be
/// converted.
FilePlan PlanFile(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
