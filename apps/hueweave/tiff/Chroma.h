// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// How the samples of a YCbCr page that is not JPEG are stored, and what they mean, by its tags.
///
/// `across` x `down` pixels share Cb and Cr. Their samples are a data unit: Y of each pixel in rows, Cb, Cr.
struct Chroma {
    unsigned across = 0, down = 0;                            ///< 1, 2 or 4; 0 for a page of other colours
    std::array<double, 3> weights{0.299, 0.587, 0.114};       ///< of red, green and blue in Y
    std::array<double, 6> range{0, 255, 128, 255, 128, 255};  ///< samples of black and white for Y, Cb and Cr
    std::uint32_t width = 0, height = 0;                      ///< of the page, in pixels
    std::uint32_t segmentWidth = 0, segmentHeight = 0;        ///< of a strip or tile, in pixels

    explicit operator bool() const { return across != 0; }
    unsigned UnitSamples() const { return across * down + 2; }
};

/// Reads the tags for YCbCr, but not the geometry. Returns an error in them, or an empty text.
std::string ReadChroma(const TiffStructure& structure, const TiffDirectory& directory, Chroma& chroma);

}  // namespace hueweave::tool
