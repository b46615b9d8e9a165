// SPDX-License-Identifier: MIT
#pragma once

#include "batch/file/plan/FilePlan.h"

namespace hueweave::tool {

/// `PlanFile` for a file that is written in another format, with --format.
FilePlan PlanOtherFormat(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
