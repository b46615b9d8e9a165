// SPDX-License-Identifier: MIT
#pragma once

#include "png/PngStructure.h"

namespace hueweave::tool {

/// What happens to a chunk in the output.
enum class ChunkFate {
    Keep,      ///< copied byte for byte
    Image,     ///< IDAT
    Convert,   ///< contains colours of the image, or their number of samples and bits
    Describe,  ///< describes the colours of the image, as the embedded profile does, and is removed
    Drop       ///< would no longer apply, or may depend on the image, and is removed with a note
};

/// `samplesChange` is false if only the profile does.
ChunkFate FateOf(const PngChunk& chunk, const PngHeader& header, bool samplesChange);

/// Refuses a file for which there is no conversion: animated images, and critical chunks that are not known.
void CheckConvertible(const PngStructure& structure);

}  // namespace hueweave::tool
