// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "colour/exact/Stages.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {

/// How a list of stages represents a colour of the connection space: as XYZ relative to D50, or as the cube roots of
/// CIELAB less 16/116.
enum class ConnectionForm { Xyz, Roots };

/// The curves of a profile on the device side; null for a channel without a curve. They belong to the `LcmsWork`.
using DeviceCurves = std::array<const cmsToneCurve*, 3>;

/// The transform from a profile's device to the connection space: the curves, then the stages.
struct SourceStages {
    DeviceCurves curves{};
    StageList stages;
    ConnectionForm connection = ConnectionForm::Xyz;
};

/// The transform from the connection space to a profile's device: the stages, then the curves, which are already
/// inverted.
struct TargetStages {
    ConnectionForm connection = ConnectionForm::Xyz;
    StageList stages;
    DeviceCurves curves{};
};

/// The stages that Little CMS would use for an intent. Nothing for tags of floating-point elements and for stages of
/// other kinds than curves, matrices and CLUTs of three channels.
std::optional<SourceStages> ReadSource(LcmsWork& work, const OpenProfile& profile, int intent);
std::optional<TargetStages> ReadTarget(LcmsWork& work, const OpenProfile& profile, int intent);

}  // namespace hueweave::colour
