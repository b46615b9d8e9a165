// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "jpeg/JpegStructure.h"

namespace hueweave::tool {

/// Whether the file has a list of further images after the first one. They are removed, because they would keep the old
/// colours, and the list contains their offsets.
bool HasFurtherImages(const JpegStructure& structure);

/// Whether a segment is such a list.
bool IsListOfImages(const JpegStructure& structure, const JpegSegment& segment);

/// The bytes after the end of the image, without the images that a list names. Nothing if a list is not readable, since
/// any of them may be such an image.
std::vector<Extent> BytesAfterImage(const JpegStructure& structure);

}  // namespace hueweave::tool
