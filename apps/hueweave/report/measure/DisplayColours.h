// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "colour/base/Bytes.h"
#include "colour/profile/Lcms.h"

namespace hueweave::tool {

using LabColour = std::array<double, 3>;  ///< CIELAB for D50
using ScreenColour = std::array<std::uint8_t, 3>;

/// CIELAB as a screen with sRGB shows it. Colours outside of sRGB are clipped to it.
class DisplayColours {
public:
    DisplayColours();
    ScreenColour Of(const LabColour& lab) const;

private:
    colour::LcmsWork work_;
    colour::Bytes srgb_;
    cmsHTRANSFORM toScreen_;
};

/// "#rrggbb".
std::string Hex(const ScreenColour& colour);

}  // namespace hueweave::tool
