// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "colour/base/ProfileError.h"
#include "system/FileAccess.h"
#include "system/Refusal.h"

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
/// The same for the contents of the profile file `name`.
DeviceProfile TakeProfile(const std::string& name, Bytes data);
/// The same for a profile embedded in the file `name`.
DeviceProfile TakeEmbedded(const std::string& name, Bytes data);

/// What `call` returns. Refuses the profile `name` if `call` cannot use it.
template <typename Call>
auto Named(const std::string& name, const Call& call) {
    try {
        return call();
    } catch (const colour::ProfileError& error) {
        throw Refusal(Exit::Profile, name, error.what(), "give another profile");
    }
}

}  // namespace hueweave::tool
