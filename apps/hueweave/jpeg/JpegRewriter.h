// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "colour/PixelConverter.h"
#include "jpeg/JpegStructure.h"
#include "picture/Writing.h"

namespace hueweave::tool {

/// What is done with a JPEG file that is not copied as it is.
struct JpegJob {
    const colour::PixelConverter* converter = nullptr;  ///< null if the image data stay
    std::shared_ptr<const Bytes> icc;                   ///< the profile to embed; null for none
};

/// Refuses a file for which there is no conversion: CMYK without the Adobe marker, and images that libjpeg does not
/// decode.
void CheckConvertible(const JpegStructure& structure);

/// The contents of the segments APP2 for a profile. Refuses one that is too large; `name` is the source, for messages.
std::vector<Bytes> ProfileSegments(const Bytes& profile, const std::string& name);

/// Writes the whole output to an empty file. Refuses damaged image data, a profile that is too large for the format,
/// and images that do not fit in the memory allowed.
void RewriteJpeg(const JpegStructure& structure, const JpegJob& job, const FileAccess& target,
                 const WriteSettings& settings, Measured& measured);

}  // namespace hueweave::tool
