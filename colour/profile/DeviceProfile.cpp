// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/profile/DeviceProfile.h"

#include <cstdint>

#include "colour/base/ProfileError.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {

std::string CheckDeviceProfile(const Bytes& data) {
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(data);
    if (opened == nullptr) throw ProfileError("is not a readable ICC profile");
    const cmsProfileClassSignature kind = cmsGetDeviceClass(opened);
    const auto colours = static_cast<std::uint32_t>(cmsGetColorSpace(opened));
    const auto connection = cmsGetPCS(opened);
    const bool device = kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass ||
                        kind == cmsSigColorSpaceClass;
    if (!device) throw ProfileError("is of class '" + SignatureText(kind) + "', not of a device");
    if (colours != cmsSigRgbData) throw ProfileError("describes " + SignatureText(colours) + " colours, not RGB");
    if (connection != cmsSigLabData && connection != cmsSigXYZData) {
        throw ProfileError("has no Lab or XYZ connection space");
    }
    if (work.DeviceToLab(opened, INTENT_PERCEPTUAL) == nullptr) {
        throw ProfileError("does not define the colours of its device");
    }
    return work.Text(opened, cmsInfoDescription);
}

void CheckTargetProfile(const Bytes& data) {
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(data);
    if (opened == nullptr || work.LabToDevice(opened, INTENT_PERCEPTUAL) == nullptr) {
        throw ProfileError("has no table from colours to its device");
    }
}

}  // namespace hueweave::colour
