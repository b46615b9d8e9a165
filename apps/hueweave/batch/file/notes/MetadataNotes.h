// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "batch/file/notes/FileNotes.h"
#include "batch/inputs/ConvertOptions.h"
#include "picture/Exif.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Notes about metadata that stay although they describe the old colours. The same in every format.
void NoteColorSpace(const ConvertOptions& options, std::uint64_t exifColorSpace, FileNotes& notes);
void NoteXmp(const Bytes& xmp, FileNotes& notes);
/// For EXIF metadata outside of a TIFF file.
void NoteExif(const ConvertOptions& options, const ExifColours& exif, FileNotes& notes);

}  // namespace hueweave::tool
