// SPDX-License-Identifier: MIT
#include "colour/profile/DeviceProfile.h"

#include <cstdint>
#include <optional>

#include "colour/base/ProfileError.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {
namespace {

std::optional<ColourModel> ModelOf(std::uint32_t colours) {
    switch (colours) {
        case cmsSigRgbData:
            return ColourModel::Rgb;
        case cmsSigGrayData:
            return ColourModel::Grey;
        case cmsSigCmykData:
            return ColourModel::Cmyk;
        default:
            return std::nullopt;
    }
}

}  // namespace

DeviceDescription CheckDeviceProfile(const Bytes& data, bool anyModel) {
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(data);
    if (opened == nullptr) throw ProfileError("is not a readable ICC profile");
    const cmsProfileClassSignature kind = cmsGetDeviceClass(opened);
    const auto colours = static_cast<std::uint32_t>(cmsGetColorSpace(opened));
    const auto connection = cmsGetPCS(opened);
    const bool device = kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass ||
                        kind == cmsSigColorSpaceClass;
    if (!device) throw ProfileError("is of class '" + SignatureText(kind) + "', not of a device");
    const std::optional<ColourModel> model = ModelOf(colours);
    if (!model || (!anyModel && model != ColourModel::Rgb))
        throw ProfileError("describes " + SignatureText(colours) + " colours, not RGB");
    if (connection != cmsSigLabData && connection != cmsSigXYZData) {
        throw ProfileError("has no Lab or XYZ connection space");
    }
    if (work.DeviceToLab(opened, INTENT_PERCEPTUAL) == nullptr) {
        throw ProfileError("does not define the colours of its device");
    }
    return {*model, work.Text(opened, cmsInfoDescription)};
}

void CheckTargetProfile(const Bytes& data) {
    LcmsWork work;
    const cmsHPROFILE opened = work.Open(data);
    if (opened == nullptr || work.LabToDevice(opened, INTENT_PERCEPTUAL) == nullptr) {
        throw ProfileError("has no table from colours to its device");
    }
}

}  // namespace hueweave::colour
