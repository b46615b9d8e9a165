// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/session/ProfileFile.h"

#include <algorithm>
#include <utility>

#include "colour/profile/Lcms.h"
#include "system/Refusal.h"
#include "system/Sha256.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kLargestProfile = std::uint64_t{64} << 20;

[[noreturn]] void Refuse(const std::string& name, const std::string& reason, const std::string& remedy) {
    throw Refusal(Exit::Profile, name, reason, remedy);
}

DeviceProfile Check(DeviceProfile profile) {
    const std::string what = profile.embedded ? "embeds a profile that " : "";
    const std::string remedy = profile.embedded ? "give one with --profile and --source given"
                                                : "give the profile of an RGB scanner, camera, screen or printer";
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(profile.data);
    if (opened == nullptr) Refuse(profile.name, what + "is not a readable ICC profile", remedy);
    const cmsProfileClassSignature kind = cmsGetDeviceClass(opened);
    const auto colours = static_cast<std::uint32_t>(cmsGetColorSpace(opened));
    const auto connection = cmsGetPCS(opened);
    const bool device = kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass ||
                        kind == cmsSigColorSpaceClass;
    if (!device) {
        Refuse(profile.name, what + "is of class '" + SignatureText(kind) + "', not of a device", remedy);
    }
    if (colours != cmsSigRgbData) {
        Refuse(profile.name, what + "describes " + SignatureText(colours) + " colours, not RGB", remedy);
    }
    if (connection != cmsSigLabData && connection != cmsSigXYZData) {
        Refuse(profile.name, what + "has no Lab or XYZ connection space", remedy);
    }
    if (work.DeviceToLab(opened, INTENT_PERCEPTUAL) == nullptr) {
        Refuse(profile.name, what + "does not tell the colours of its device", remedy);
    }
    profile.description = work.Text(opened, cmsInfoDescription);
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
        if (file.Size() > kLargestProfile) Refuse(path, "is too large for a profile", "give an ICC profile");
        data = file.Read({0, file.Size()});
    } catch (const Refusal& refusal) {
        if (refusal.status() == Exit::Profile) throw;
        throw Refusal(Exit::Profile, "", refusal.what(), "");
    }
    return Check({path, false, std::move(data), {}, {}});
}

DeviceProfile TakeEmbedded(const std::string& name, Bytes data) { return Check({name, true, std::move(data), {}, {}}); }

}  // namespace hueweave::tool
