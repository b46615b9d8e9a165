// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <string>

#include "colour/base/Bytes.h"
#include "colour/profile/Spaces.h"

namespace hueweave::colour {

/// User-defined tone curves: 256 samples per channel, for linear light from 0 to 1.
using ToneCurves = std::array<std::array<unsigned char, 256>, 3>;

/// The profile of a space, for the exact precision. `curves` replace its tone curve. Nothing if no profile can describe
/// them, because one falls. `version` is that of the ICC, 2 or 4.
std::optional<Bytes> MakeTargetProfile(const Space& space, const std::optional<ToneCurves>& curves, int version);

}  // namespace hueweave::colour
