// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// The colour space of a run's outputs.
struct Target {
    std::string name;  ///< of the space, or the path of the profile
    Bytes profile;     ///< for converting pixels
    Bytes embedded;    ///< in the outputs: the same, or one of another ICC version
    std::string hash;  ///< SHA-256 of `embedded`
    Bytes library;     ///< the profile embedded by the library's precision, for the same colours
    /// For grey: profiles with the same tone curve as `profile` and `embedded`; empty if there is no single curve.
    Bytes grey{}, greyEmbedded{};
};

/// Reads or creates the target profile. Refuses a file that is not an RGB profile and, with the exact precision, curves
/// that no profile can describe.
Target MakeTarget(const ConvertOptions& options);
/// The name of the space, or the path of the profile.
std::string TargetName(const ConvertOptions& options);

}  // namespace hueweave::tool
