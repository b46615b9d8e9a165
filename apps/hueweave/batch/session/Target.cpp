// SPDX-License-Identifier: MIT
#include "batch/session/Target.h"

#include "batch/session/ProfileFile.h"
#include "colour/DeviceTransform.h"
#include "colour/profile/DeviceProfile.h"
#include "colour/profile/OutputProfile.h"
#include "system/Sha256.h"

namespace hueweave::tool {
namespace {

Bytes ProfileOfSpace(const ConvertOptions& options, int version) {
    const auto profile = colour::MakeTargetProfile(*options.rendering.space, options.rendering.curves, version);
    if (profile) return *profile;
    throw Refusal(Exit::Usage, options.curveFile, "no profile can describe curves that fall",
                  "convert with --precision library and --no-tag");
}

Bytes LoadTarget(const std::string& path) {
    Bytes data = LoadProfile(path).data;
    try {
        colour::CheckTargetProfile(data);
    } catch (const colour::ProfileError& error) {
        throw Refusal(Exit::Profile, path, error.what(), "give the profile of an RGB space, screen or printer");
    }
    return data;
}

}  // namespace

Target MakeTarget(const ConvertOptions& options) {
    Target target;
    target.name = TargetName(options);
    if (!options.targetFile.empty()) {
        target.profile = target.embedded = LoadTarget(options.targetFile);
    } else if (options.precision == Precision::Exact) {
        target.profile = ProfileOfSpace(options, 4);
        const colour::Space& space = *options.rendering.space;
        if (space.IsEngines() && !options.rendering.curves && space.tone != colour::Tone::Kodak) {
            target.library = colour::MakeOutputProfile(space, colour::Colorants::Engine, {}, std::string(space.title));
        }
        target.embedded =
            options.profileVersion == 4 ? target.profile : ProfileOfSpace(options, options.profileVersion);
    }
    if (options.precision == Precision::Exact) {
        target.grey = colour::MakeGreyProfile(target.profile, 0).value_or(Bytes());
        target.greyEmbedded = colour::MakeGreyProfile(target.embedded, 0).value_or(Bytes());
    }
    Sha256 hash;
    hash.Add(target.embedded.data(), target.embedded.size());
    target.hash = hash.Hex();
    return target;
}

std::string TargetName(const ConvertOptions& options) {
    return options.targetFile.empty() ? std::string(options.rendering.space->name) : options.targetFile;
}

}  // namespace hueweave::tool
