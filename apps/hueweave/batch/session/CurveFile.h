// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "colour/library/Rendering.h"

namespace hueweave::tool {

/// Reads 256 rows of three values from 0 to 255, separated by commas, semicolons or blanks.
colour::ToneCurves ReadCurves(const std::string& path);

}  // namespace hueweave::tool
