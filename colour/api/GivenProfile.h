// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "colour/api/Settings.h"
#include "colour/base/Bytes.h"
#include "hueweave/transform.h"

namespace hueweave::colour {

/// A profile as the caller gave it.
struct GivenProfile {
    std::string name;  ///< for messages
    Bytes data;        ///< empty for a space
    const Space* space = nullptr;
};
/// Reads a profile from memory, a file or the table of spaces; `name` is that of a profile in memory. Throws a
/// `Failure`.
GivenProfile TakeProfile(const hw_profile* profile, const char* name);

/// The data of a profile that describes pixels. Throws a `Failure` if it is not that of an RGB device.
Bytes SourceData(const GivenProfile& given);

/// The target of a transform with the exact precision.
struct TargetProfiles {
    Bytes converting;  ///< for the pixels
    Bytes embedded;    ///< for files: the same, or one of another version
    Bytes library;     ///< what the library's precision embeds for the same colours; may be empty
};
TargetProfiles TargetData(const GivenProfile& given, const Settings& settings);

}  // namespace hueweave::colour
