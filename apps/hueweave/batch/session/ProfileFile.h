// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "colour/base/ColourModel.h"
#include "colour/base/ProfileError.h"
#include "system/FileAccess.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// A validated device profile.
struct DeviceProfile {
    std::string name;  ///< for messages: its path, or the file that embeds it
    bool embedded = false;
    Bytes data;
    std::string hash;         ///< SHA-256 of `data`
    std::string description;  ///< may be empty
    colour::ColourModel model = colour::ColourModel::Rgb;
};

/// Reads a profile file. Refuses files that are not profiles, and profiles of another class or of other colours than
/// RGB; with `anyModel`, profiles for grey and CMYK are accepted. `remedy` is for a picture in place of a profile.
DeviceProfile LoadProfile(const std::string& path, bool anyModel = false,
                          const std::string& remedy = "give an ICC profile");
/// The same for the option --profile of a conversion, which pictures that embed a profile do not need.
DeviceProfile LoadGivenProfile(const std::string& path, bool anyModel);
/// The same for the contents of the profile file `name`.
DeviceProfile TakeProfile(const std::string& name, Bytes data, bool anyModel = false);
/// The same for a profile embedded in the file `name`.
DeviceProfile TakeEmbedded(const std::string& name, Bytes data, bool anyModel = false);
/// Placeholder for a CIE Lab profile.
DeviceProfile LabProfile(colour::ColourModel model);
/// The refusal of a profile because it is not for RGB.
Refusal NotForRgb(const DeviceProfile& profile);

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
