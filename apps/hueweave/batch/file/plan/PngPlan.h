// SPDX-License-Identifier: MIT
#pragma once

#include "batch/file/plan/FilePlan.h"

namespace hueweave::tool {

/// `PlanFile` for a PNG file.
FilePlan PlanPng(const Session& session, const SourceFile& source);

}  // namespace hueweave::tool
