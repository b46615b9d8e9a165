// SPDX-License-Identifier: MIT
#pragma once

#include "batch/session/Session.h"
#include "system/files/OutputFile.h"

namespace hueweave::tool {

/// Whether the options allow replacing an existing file.
OutputFile::Existing ExistingRule(const ConvertOptions& options);
/// Refuses an output that must not be written to its path.
void CheckOutputPath(const FileTask& task);
/// Refuses the name of another format than that of the source, which the output keeps. In a folder, outputs keep the
/// names of their sources.
void CheckOutputFormat(const FileTask& task, const FileAccess& source);
/// For --dry-run: refuses an output whose folder does not exist and cannot be created, or is not writable.
void CheckOutputFolder(const FileTask& task);

}  // namespace hueweave::tool
