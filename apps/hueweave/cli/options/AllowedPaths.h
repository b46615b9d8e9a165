// SPDX-License-Identifier: MIT
#pragma once

#include "batch/inputs/InputList.h"
#include "system/sandbox/Sandbox.h"

namespace hueweave::tool {

/// The paths that a conversion uses, and how. Links are followed, as during the conversion. The folder of the outputs
/// must already exist if it can be created.
AllowedPaths PathsOf(const ConvertOptions& options, const InputList& list);

/// The folder in which a file is created or replaced.
std::string PlaceOf(const std::string& output, bool replaces);
/// The folder itself, or its closest existing parent.
std::string ExistingFolder(std::string folder);

}  // namespace hueweave::tool
