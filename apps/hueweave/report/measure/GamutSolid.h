// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <vector>

#include "colour/base/Bytes.h"
#include "colour/base/TransformOptions.h"
#include "report/measure/DisplayColours.h"

namespace hueweave::tool {

/// The surface of the RGB cube of a device in CIELAB: six faces of `kFacePoints` rows of as many points. Face 2k has
/// channel k at 0, face 2k + 1 at its maximum. Rows rise with channel (k + 1) mod 3, points of a row with (k + 2)
/// mod 3.
struct GamutSolid {
    std::vector<LabColour> points;
    std::vector<ScreenColour> colours;  ///< of the points, on a screen
    std::vector<bool> isOutside;        ///< of the other solid, by point; empty for the target
    double volume = 0;                  ///< in cubic units of CIELAB
};
inline constexpr std::size_t kFacePoints = 17;

struct Gamuts {
    GamutSolid device, target;
};

/// The solids of both profiles. What the device's one has outside of the target is found as in a comparison.
Gamuts MeasureGamuts(const colour::Bytes& source, const colour::Bytes& target, const colour::TransformOptions& how);

/// Where a solid has this L*: straight pieces in the plane of a* and b*.
using Piece = std::array<std::array<double, 2>, 2>;
std::vector<Piece> SliceOf(const GamutSolid& solid, double lightness);

}  // namespace hueweave::tool
