// SPDX-License-Identifier: MIT
#include "batch/session/ProfileFile.h"

#include <fmt/format.h>

#include <cstdint>
#include <utility>

#include "colour/profile/DeviceProfile.h"
#include "picture/Format.h"
#include "system/Sha256.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kLargestProfile = std::uint64_t{64} << 20;

Refusal Refused(const DeviceProfile& profile, const std::string& reason) {
    const std::string what = profile.embedded ? "embeds a profile that " : "";
    const std::string remedy = profile.embedded ? "give one with --profile and --source given"
                                                : "give the profile of an RGB scanner, camera, screen or printer";
    return {Exit::Profile, profile.name, what + reason, remedy};
}

DeviceProfile Check(DeviceProfile profile, bool anyModel) {
    try {
        colour::DeviceDescription description = colour::CheckDeviceProfile(profile.data, anyModel);
        profile.description = std::move(description.text);
        profile.model = description.model;
    } catch (const colour::ProfileError& error) {
        throw Refused(profile, error.what());
    }
    Sha256 hash;
    hash.Add(profile.data.data(), profile.data.size());
    profile.hash = hash.Hex();
    return profile;
}

}  // namespace

DeviceProfile LoadProfile(const std::string& path, bool anyModel, const std::string& remedy) {
    Bytes data;
    try {
        const FileAccess file = FileAccess::OpenInput(path);
        if (file.Size() > kLargestProfile) {
            throw Refusal(Exit::Profile, path, "is too large for a profile", "give an ICC profile");
        }
        // A picture may embed the profile that was meant.
        if (const Format format = FormatOf(file); format != Format::Unknown) {
            throw Refusal(Exit::Profile, path, fmt::format("is a {} file, not an ICC profile", FormatName(format)),
                          remedy);
        }
        data = file.Read({0, file.Size()});
    } catch (const Refusal& refusal) {
        if (refusal.status() == Exit::Profile) throw;
        throw Refusal(Exit::Profile, "", refusal.what(), "");
    }
    return TakeProfile(path, std::move(data), anyModel);
}

DeviceProfile LoadGivenProfile(const std::string& path, bool anyModel) {
    return LoadProfile(path, anyModel,
                       "give an ICC profile, or leave --profile out to use the profile that each picture embeds");
}

DeviceProfile TakeProfile(const std::string& name, Bytes data, bool anyModel) {
    return Check({name, false, std::move(data), {}, {}}, anyModel);
}

DeviceProfile TakeEmbedded(const std::string& name, Bytes data, bool anyModel) {
    return Check({name, true, std::move(data), {}, {}}, anyModel);
}

DeviceProfile LabProfile(colour::ColourModel model) {
    const char* const name = model == colour::ColourModel::IccLab ? "ICC Lab" : "CIE Lab";
    return {name, false, {}, name, {}, model};
}

Refusal NotForRgb(const DeviceProfile& profile) {
    const char* const colours = profile.model == colour::ColourModel::Grey ? "GRAY" : "CMYK";
    return Refused(profile, std::string("describes ") + colours + " colours, not RGB");
}

}  // namespace hueweave::tool
