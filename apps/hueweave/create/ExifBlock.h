// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// Whether a block of EXIF metadata can become part of another file: its directories and their values lie inside of it.
bool IsSoundExif(std::span<const unsigned char> block);

/// The entries of the first directory of a sound block that describe the picture, in the order of their tags. The
/// places of their values are those in the block.
std::vector<TiffEntry> DescribingEntries(std::span<const unsigned char> block);

/// The EXIF metadata of a TIFF page as a block: the tags of the page that describe the picture, and the directories for
/// EXIF and GPS. Empty if there is none of them, or they are damaged. A MakerNote is left out, because its offsets
/// would be wrong.
struct ExifOfPage {
    Bytes block;
    bool hasMakerNote = false;
};
ExifOfPage MakeExifBlock(const TiffStructure& structure, const TiffDirectory& directory);

/// Whether a tag of a page describes the picture, and not how it is stored.
bool DescribesPicture(std::uint16_t tag);

}  // namespace hueweave::tool
