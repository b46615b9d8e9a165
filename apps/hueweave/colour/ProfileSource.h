// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "colour/Lcms.h"
#include "iccfile/IccTypes.h"
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

/// Why the engine would refuse or misread this profile for this intent; nothing if it takes it as it is.
std::optional<std::string> WhyBake(const Bytes& profile, ICC40::ICCFILE::Intent intent);

/// The profile for the engine: the given one, or one baked from it.
struct EngineProfile {
    Bytes data;
    std::string bakedBecause;  ///< empty if the given one is used
};
EngineProfile PrepareProfile(const DeviceProfile& profile, ICC40::ICCFILE::Intent intent);

}  // namespace hueweave::tool
