// SPDX-License-Identifier: MIT
#include "batch/file/notes/MetadataNotes.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace hueweave::tool {

void NoteColorSpace(const ConvertOptions& options, std::uint64_t exifColorSpace, FileNotes& notes) {
    const std::string_view space = options.rendering.space != nullptr ? options.rendering.space->name : "";
    const bool holds = exifColorSpace == 1 ? space == "srgb" : exifColorSpace != 2 || space == "adobe-rgb";
    if (holds) return;
    notes.common.insert(fmt::format("EXIF field ColorSpace stays at {}, which no longer applies",
                                    exifColorSpace == 1 ? "sRGB" : "AdobeRGB"));
}

void NoteXmp(const Bytes& xmp, FileNotes& notes) {
    constexpr std::string_view kField = "photoshop:ICCProfile";  // as written by Photoshop
    if (std::search(xmp.begin(), xmp.end(), kField.begin(), kField.end()) == xmp.end()) return;
    notes.common.insert("XMP field photoshop:ICCProfile stays, and names the old profile");
}

void NoteExif(const ConvertOptions& options, const ExifColours& exif, FileNotes& notes) {
    NoteColorSpace(options, exif.space, notes);
    if (exif.hasThumbnail) notes.common.insert("EXIF thumbnail stays in the old colours");
}

}  // namespace hueweave::tool
