// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "colour/profile/DeviceColour.h"

namespace hueweave::tool {

/// The RGB colours of a TIFF file's pages, or of a PNG or JPEG file, each once; for a large image, an evenly
/// distributed sample of its pixels.
std::vector<colour::DeviceColour> ImageColours(const std::string& path);

}  // namespace hueweave::tool
