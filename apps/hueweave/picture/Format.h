// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// The format of a picture.
enum class Format { Unknown, Tiff, Png, Jpeg };

/// The format of a file, by its first bytes, whatever its name is.
Format FormatOf(const FileAccess& file);
/// The format that the end of a name denotes, in upper or lower case; `Unknown` for any other name.
Format FormatOfName(std::string_view path);
/// "TIFF", "PNG" or "JPEG".
std::string_view FormatName(Format format);
/// "tiff", "png" or "jpeg", as in options and JSON.
std::string_view FormatWord(Format format);
/// The usual end of a name: ".tif", ".png" or ".jpg".
std::string_view FormatExtension(Format format);

}  // namespace hueweave::tool
