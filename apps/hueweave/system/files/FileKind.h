// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "system/FileAccess.h"

namespace hueweave::tool {

inline constexpr std::string_view kProfileKind = "an ICC profile";

/// What a file is by its first bytes, whatever its name: "a JPEG file", "empty". Empty if they are not known.
std::string_view FileKind(const FileAccess& file);

/// The reason to refuse a file that is not `wanted`: "is a JPEG file, not a TIFF file", or "is not a TIFF file".
std::string NotA(std::string_view wanted, const FileAccess& file);

}  // namespace hueweave::tool
