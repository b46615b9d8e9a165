// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// An RGB device profile that was looked at and found sound.
struct DeviceProfile {
    std::string name;  ///< for messages: the path, or the file in which it stands
    bool embedded = false;
    Bytes data;
    std::string hash;         ///< SHA-256 of `data`
    std::string description;  ///< may be empty
};

/// Reads a profile file. Refuses what is no profile, or of another class or colour space.
DeviceProfile LoadProfile(const std::string& path);
/// The same for a profile that stands in the file `name`.
DeviceProfile TakeEmbedded(const std::string& name, Bytes data);

}  // namespace hueweave::tool
