// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/session/Session.h"
#include "system/OutputFile.h"

namespace hueweave::tool {

/// Whether the options let a conversion replace a file that exists already.
OutputFile::Existing ExistingRule(const ConvertOptions& options);
/// Refuses an output that may not be written where it is meant to be.
void CheckOutputPath(const FileTask& task);
/// Refuses what writing would refuse for the sake of the folder, in a run that does not write.
void CheckOutputFolder(const FileTask& task);

}  // namespace hueweave::tool
