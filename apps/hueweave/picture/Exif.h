// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace hueweave::tool {

/// What EXIF metadata say about an image and its colours.
struct ExifColours {
    std::uint64_t space = 0;    ///< the field ColorSpace: 1 for sRGB, 2 for AdobeRGB, 0 for none
    bool hasThumbnail = false;  ///< a small copy of the image
    unsigned orientation = 1;   ///< as in TIFF files: 1 if the image is stored upright
};

/// Looks into EXIF metadata outside of a TIFF file: a block that begins like one. Unreadable metadata say nothing.
ExifColours ReadExif(std::span<const unsigned char> block);

}  // namespace hueweave::tool
