// SPDX-License-Identifier: MIT
#include "colour/judge/Truth.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "colour/base/ProfileError.h"

namespace hueweave::colour {
namespace {

/// Shifts L* and C*, clamps both to 0 to 100, and rotates the hue.
cmsCIELab Adjusted(const cmsCIELab& lab, const TransformOptions& options) {
    if (!options.Adjusts()) return lab;
    const double chroma = std::hypot(lab.a, lab.b);
    const double angle = std::atan2(lab.b, lab.a) + options.hue * std::numbers::pi / 180.0;
    const double share = std::min(1.0, chroma / TransformOptions::kFullChroma);
    const double shifted = std::clamp(chroma + share * options.chroma, 0.0, 100.0);
    return {std::clamp(lab.L + options.lightness, 0.0, 100.0), shifted * std::cos(angle), shifted * std::sin(angle)};
}

cmsCIELab Connected(const cmsCIELab& lab, const Connection& connection) {
    if (connection == Connection()) return lab;
    cmsCIEXYZ xyz;
    cmsLab2XYZ(nullptr, &xyz, &lab);
    xyz = {xyz.X * connection.scale[0] + connection.offset[0] * cmsD50X,
           xyz.Y * connection.scale[1] + connection.offset[1] * cmsD50Y,
           xyz.Z * connection.scale[2] + connection.offset[2] * cmsD50Z};
    cmsCIELab connected;
    cmsXYZ2Lab(nullptr, &connected, &xyz);
    return connected;
}

}  // namespace

Truth::Truth(LcmsWork& work, const OpenProfile& source, const OpenProfile& target, const TransformOptions& options)
    : options_(options),
      sourceChannels_(cmsChannelsOf(cmsGetColorSpace(source.handle))),
      targetChannels_(cmsChannelsOf(cmsGetColorSpace(target.handle))),
      targetLab_(work.DeviceToLab(target.handle, INTENT_RELATIVE_COLORIMETRIC)) {
    const int intent = static_cast<int>(options.intent);
    if (!options.Adjusts() && options.blackPoint != BlackPoint::Kept) {
        const bool compensated = options.blackPoint == BlackPoint::Compensated;
        link_ = work.DeviceToDevice(source.handle, target.handle, intent, compensated);
    } else {
        // The absolute intent differs from the relative one only in the white point.
        const bool absolute = options.intent == RenderingIntent::AbsoluteColorimetric;
        const int table = absolute ? INTENT_RELATIVE_COLORIMETRIC : intent;
        toLab_ = work.DeviceToLab(source.handle, table);
        fromLab_ = work.LabToDevice(target.handle, table);
        connection_ = ConnectBeforeLab(work, source.handle, target.handle, options);
    }
    if (targetLab_ == nullptr || (link_ == nullptr && (toLab_ == nullptr || fromLab_ == nullptr))) {
        throw ProfileError("contains no conversion from the colours of its device to those of the output");
    }
}

void Truth::Convert(const float* source, float* dest, std::size_t pixels) const {
    if (link_ == nullptr) return ConvertByLab(source, dest, pixels);
    cmsDoTransform(link_, source, dest, static_cast<cmsUInt32Number>(pixels));
}

void Truth::ConvertByLab(const float* source, float* dest, std::size_t pixels) const {
    for (std::size_t p = 0; p < pixels; ++p) {
        double colour[4];
        std::copy_n(source + sourceChannels_ * p, sourceChannels_, colour);
        cmsCIELab lab;
        cmsDoTransform(toLab_, colour, &lab, 1);
        lab = Connected(Adjusted(lab, options_), connection_);
        cmsDoTransform(fromLab_, &lab, colour, 1);
        for (std::size_t c = 0; c < targetChannels_; ++c) {
            dest[targetChannels_ * p + c] = static_cast<float>(colour[c]);
        }
    }
}

void Truth::TargetLab(const double* rgb, cmsCIELab* lab, std::size_t pixels) const {
    cmsDoTransform(targetLab_, rgb, lab, static_cast<cmsUInt32Number>(pixels));
}

}  // namespace hueweave::colour
