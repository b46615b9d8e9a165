// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/InputList.h"
#include "system/Sandbox.h"

namespace hueweave::tool {

/// What a conversion does with which paths. Links are followed, as the work itself will. The folder of the outputs must
/// have been made already, where it can be.
AllowedPaths PathsOf(const ConvertOptions& options, const InputList& list);

/// The folder where a file is put, or put in place of another one.
std::string PlaceOf(const std::string& output, bool replaces);
/// The folder itself, or the closest one above it that is there.
std::string ExistingFolder(std::string folder);

}  // namespace hueweave::tool
