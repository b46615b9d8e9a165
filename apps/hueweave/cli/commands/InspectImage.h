// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "system/FileAccess.h"
#include "system/Json.h"

namespace hueweave::tool {

/// Describes a profile.
using DescribeBytes = std::function<nlohmann::ordered_json(const Bytes& profile)>;

/// The output of `hueweave inspect` for a PNG or JPEG file.
nlohmann::ordered_json DescribePng(const FileAccess& file, const DescribeBytes& describe);
nlohmann::ordered_json DescribeJpeg(const FileAccess& file, const DescribeBytes& describe);

}  // namespace hueweave::tool
