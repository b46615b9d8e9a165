// SPDX-License-Identifier: MIT
#pragma once

#include "batch/file/plan/FilePlan.h"
#include "png/PngStructure.h"

namespace hueweave::tool {

/// `PlanFile` for a PNG file.
FilePlan PlanPng(const Session& session, const SourceFile& source);

/// The profile that a file embeds, or null. The chunk sRGB means that of sRGB or, for grey, its tone curve; gAMA and
/// cHRM do not count as a profile.
std::shared_ptr<const DeviceProfile> EmbeddedIn(const PngStructure& structure);

}  // namespace hueweave::tool
