// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "batch/InputList.h"
#include "cli/Arguments.h"
#include "system/Sandbox.h"

namespace hueweave::tool {

/// What each subcommand does with which paths. Links are followed, as the work itself will. The folder of the outputs
/// must have been made already, where it can be.
AllowedPaths PathsOf(const ConvertArguments& arguments, const InputList& list);
AllowedPaths PathsOf(const InspectArguments& arguments);
AllowedPaths PathsOf(const BakeArguments& arguments);
AllowedPaths PathsOf(const VerifyArguments& arguments);

/// The folder itself, or the closest one above it that is there.
std::string ExistingFolder(std::string folder);

}  // namespace hueweave::tool
