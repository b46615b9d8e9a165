// SPDX-License-Identifier: MIT
#include "report/measure/DisplayColours.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>

#include "colour/profile/Spaces.h"
#include "colour/profile/Target.h"

namespace hueweave::tool {

DisplayColours::DisplayColours()
    : srgb_(colour::MakeTargetProfile(*colour::FindSpace("srgb"), std::nullopt, 4).value()),
      toScreen_(work_.LabToDevice(work_.Open(srgb_), INTENT_RELATIVE_COLORIMETRIC)) {
    if (toScreen_ == nullptr) throw std::bad_alloc();
}

ScreenColour DisplayColours::Of(const LabColour& lab) const {
    const cmsCIELab from{lab[0], lab[1], lab[2]};
    double rgb[3];
    cmsDoTransform(toScreen_, &from, rgb, 1);
    ScreenColour shown{};
    for (std::size_t c = 0; c < 3; ++c) {
        shown[c] = static_cast<std::uint8_t>(std::lround(255 * (rgb[c] > 0 ? std::min(1.0, rgb[c]) : 0.0)));
    }
    return shown;
}

std::string Hex(const ScreenColour& colour) {
    return fmt::format("#{:02x}{:02x}{:02x}", colour[0], colour[1], colour[2]);
}

}  // namespace hueweave::tool
