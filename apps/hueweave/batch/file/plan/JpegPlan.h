// SPDX-License-Identifier: MIT
#pragma once

#include "batch/file/plan/FilePlan.h"
#include "jpeg/JpegStructure.h"

namespace hueweave::tool {

/// `PlanFile` for a JPEG file.
FilePlan PlanJpeg(const Session& session, const SourceFile& source);

/// The profile that a file embeds, or null.
std::shared_ptr<const DeviceProfile> EmbeddedIn(const JpegStructure& structure);

/// What the samples of an image mean.
colour::ColourModel ModelOf(const JpegFrame& frame);
/// The same in a message: "grey", "RGB" or "CMYK".
std::string KindOf(const JpegFrame& frame);

}  // namespace hueweave::tool
