// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <optional>

#include "batch/session/ConvertOptions.h"
#include "batch/session/InputList.h"
#include "batch/session/MadeFolders.h"
#include "batch/session/ProfileCache.h"
#include "batch/session/ProfileFile.h"
#include "batch/session/Report.h"
#include "batch/session/Resume.h"
#include "system/TemporaryFiles.h"

namespace hueweave::tool {

/// What the files of a run share.
struct Session {
    const ConvertOptions& options;
    const InputList& list;
    Report& report;
    const Target& target;
    ProfileCache& cache;
    MadeFolders& folders;
    SweptFolders& swept;
    ResumeRecord* record;                  ///< null where none is kept
    std::optional<DeviceProfile> profile;  ///< the one that --profile names
};

/// One file of a run, and the threads that it may use.
struct FileTask {
    Session& session;
    const Item& item;
    unsigned threads;
};

}  // namespace hueweave::tool
