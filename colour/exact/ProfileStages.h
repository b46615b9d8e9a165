// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <optional>

#include "colour/exact/Stages.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {

/// How a list of stages represents a colour of the connection space: as XYZ relative to D50, or as the cube roots of
/// CIELAB less 16/116.
enum class ConnectionForm { Xyz, Roots };

/// Curves at the device's end of a profile; null where there is none. They belong to the `LcmsWork`.
using DeviceCurves = std::array<const cmsToneCurve*, 3>;

/// A profile's way from its device to the connection space: the curves, then the stages.
struct SourceStages {
    DeviceCurves curves{};
    StageList stages;
    ConnectionForm connection = ConnectionForm::Xyz;
};

/// A profile's way from the connection space to its device: the stages, then the curves, which are inverted already.
struct TargetStages {
    ConnectionForm connection = ConnectionForm::Xyz;
    StageList stages;
    DeviceCurves curves{};
};

/// What Little CMS would use of a profile for an intent. Nothing for tags of floating-point elements and for stages of
/// other kinds than curves, matrices and CLUTs of three channels.
std::optional<SourceStages> ReadSource(LcmsWork& work, const OpenProfile& profile, int intent);
std::optional<TargetStages> ReadTarget(LcmsWork& work, const OpenProfile& profile, int intent);

}  // namespace hueweave::colour
