// SPDX-License-Identifier: MIT
#include "colour/profile/OpenProfile.h"

#include "colour/base/ProfileError.h"

namespace hueweave::colour {

OpenProfile OpenRgb(LcmsWork& work, const Bytes& data) {
    const cmsHPROFILE profile = work.Open(data);
    if (profile == nullptr) throw ProfileError("is not a readable ICC profile");
    if (cmsGetColorSpace(profile) != cmsSigRgbData) throw ProfileError("does not describe RGB colours");
    return {data, profile};
}

}  // namespace hueweave::colour
