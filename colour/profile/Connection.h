// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>

#include "colour/base/TransformOptions.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {

/// What an intent changes between two profiles: XYZ relative to D50, times `scale`, plus `offset`.
struct Connection {
    std::array<double, 3> scale{1, 1, 1}, offset{};

    bool operator==(const Connection&) const = default;
};

/// The change of the white for the absolute intent, and of the black where it is compensated, by the rules of Little
/// CMS.
Connection Connect(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options);
/// The same where Little CMS converts from CIELAB to the target afterwards: for the perceptual and saturation intents
/// and a target of version 4 it then takes a black of 0 to that of the target itself, whatever it is asked for.
Connection ConnectBeforeLab(LcmsWork& work, cmsHPROFILE source, cmsHPROFILE target, const TransformOptions& options);

}  // namespace hueweave::colour
