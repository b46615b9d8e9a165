// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "colour/base/TransformOptions.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {

/// What an intent changes in the connection space: XYZ relative to D50, times `scale`, plus `offset`.
struct Connection {
    std::array<double, 3> scale{1, 1, 1}, offset{};

    bool operator==(const Connection&) const = default;
};

/// The media white point in XYZ; D50 for a display profile before version 4, because the eye adapts to the display's
/// white.
std::array<double, 3> MediaWhite(LcmsWork& work, cmsHPROFILE profile);

/// The change of the white point for the absolute intent, and of the black point if it is compensated, by the rules of
/// Little CMS.
Connection Connect(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options);
/// The same if Little CMS converts from CIELAB to the target afterwards: for the perceptual and saturation intents and
/// a target of version 4, it then maps a black of 0 to that of the target itself, with or without black-point
/// compensation.
Connection ConnectBeforeLab(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options);

}  // namespace hueweave::colour
