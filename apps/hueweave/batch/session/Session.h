// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "batch/inputs/ConvertOptions.h"
#include "batch/inputs/InputList.h"
#include "batch/record/Resume.h"
#include "batch/session/MadeFolders.h"
#include "batch/session/ProfileCache.h"
#include "batch/session/ProfileFile.h"
#include "batch/session/Report.h"
#include "system/files/TemporaryFiles.h"

namespace hueweave::tool {

/// The data shared by all files of a run.
struct Session {
    const ConvertOptions& options;
    const InputList& list;
    Report& report;
    const Target& target;
    ProfileCache& cache;
    MadeFolders& folders;
    SweptFolders& swept;
    ResumeRecord* record;                  ///< null if no record is kept
    std::optional<DeviceProfile> profile;  ///< from --profile
};

/// One file of a run, and the threads that it may use.
struct FileTask {
    Session& session;
    const Item& item;
    unsigned threads;
};

}  // namespace hueweave::tool
