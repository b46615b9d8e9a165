// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/session/ProfileFile.h"

#include <cstdint>
#include <utility>

#include "colour/profile/DeviceProfile.h"
#include "system/Sha256.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kLargestProfile = std::uint64_t{64} << 20;

DeviceProfile Check(DeviceProfile profile) {
    try {
        profile.description = colour::CheckDeviceProfile(profile.data);
    } catch (const colour::ProfileError& error) {
        const std::string what = profile.embedded ? "embeds a profile that " : "";
        const std::string remedy = profile.embedded ? "give one with --profile and --source given"
                                                    : "give the profile of an RGB scanner, camera, screen or printer";
        throw Refusal(Exit::Profile, profile.name, what + error.what(), remedy);
    }
    Sha256 hash;
    hash.Add(profile.data.data(), profile.data.size());
    profile.hash = hash.Hex();
    return profile;
}

}  // namespace

DeviceProfile LoadProfile(const std::string& path) {
    Bytes data;
    try {
        const FileAccess file = FileAccess::OpenInput(path);
        if (file.Size() > kLargestProfile) {
            throw Refusal(Exit::Profile, path, "is too large for a profile", "give an ICC profile");
        }
        data = file.Read({0, file.Size()});
    } catch (const Refusal& refusal) {
        if (refusal.status() == Exit::Profile) throw;
        throw Refusal(Exit::Profile, "", refusal.what(), "");
    }
    return TakeProfile(path, std::move(data));
}

DeviceProfile TakeProfile(const std::string& name, Bytes data) { return Check({name, false, std::move(data), {}, {}}); }

DeviceProfile TakeEmbedded(const std::string& name, Bytes data) { return Check({name, true, std::move(data), {}, {}}); }

}  // namespace hueweave::tool
