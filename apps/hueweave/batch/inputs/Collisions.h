// SPDX-License-Identifier: MIT
#pragma once

#include "batch/inputs/InputList.h"

namespace hueweave::tool {

/// Refuses the files whose output is that of an earlier one. `replaces` is whether an output may replace a file; then
/// two paths may lead to the same one through a link.
void RefuseCollisions(InputList& list, bool replaces);

}  // namespace hueweave::tool
