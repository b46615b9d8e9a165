// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// A validated RGB device profile.
struct DeviceProfile {
    std::string name;  ///< for messages: its path, or the file that embeds it
    bool embedded = false;
    Bytes data;
    std::string hash;         ///< SHA-256 of `data`
    std::string description;  ///< may be empty
};

/// Reads a profile file. Refuses files that are not profiles, and profiles of another class or colour space.
DeviceProfile LoadProfile(const std::string& path);
/// The same for a profile embedded in the file `name`.
DeviceProfile TakeEmbedded(const std::string& name, Bytes data);

}  // namespace hueweave::tool
