// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "colour/base/TransformOptions.h"
#include "colour/exact/ProfileStages.h"

namespace hueweave::colour {

/// A complete transform from one device to another: curves, stages, curves. The curves belong to the `LcmsWork`.
struct Link {
    DeviceCurves source{}, target{};
    StageList stages;
};

/// Nothing if one of the profiles has stages that are not supported here.
std::optional<Link> LinkProfiles(LcmsWork& work, const OpenProfile& source, const OpenProfile& target,
                                 const TransformOptions& options);

}  // namespace hueweave::colour
