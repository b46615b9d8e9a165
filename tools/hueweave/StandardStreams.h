// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "FileAccess.h"

namespace hueweave::tool {

/// Where files stand that are gone with the process.
std::string TemporaryFolder();
/// Standard input as a file: TIFF files are read by position.
FileAccess SpoolStandardInput();
void WriteStandardOutput(const FileAccess& file);

}  // namespace hueweave::tool
