// SPDX-License-Identifier: MIT
#pragma once

#include "batch/file/plan/FilePlan.h"

namespace hueweave::tool {

/// `PlanFile` for a JPEG file.
FilePlan PlanJpeg(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
