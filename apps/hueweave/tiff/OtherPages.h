// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// Refuses a file that has no page that can be converted.
[[noreturn]] void RefuseOthers(const std::string& name, const std::vector<TiffPage>& pages);

}  // namespace hueweave::tool
