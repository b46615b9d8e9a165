// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "batch/session/ConvertOptions.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// The colours that the outputs of a run are in.
struct Target {
    std::string name;  ///< of the space, or of the profile's file
    Bytes profile;     ///< to which pixels are converted
    Bytes embedded;    ///< in the outputs: the same, or one of another version
    std::string hash;  ///< SHA-256 of `embedded`
    Bytes library;     ///< the profile that the library's precision embeds; it stands for the same colours
};

/// Reads or makes the profile that the options name. Refuses a file that is no RGB profile, and curves that no profile
/// can describe, unless none is to be embedded and the library converts.
Target MakeTarget(const ConvertOptions& options);
/// The name of that target.
std::string TargetName(const ConvertOptions& options);

}  // namespace hueweave::tool
