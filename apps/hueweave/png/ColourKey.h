// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "picture/PixelBands.h"
#include "png/PngStructure.h"

namespace hueweave::tool {

/// Converts the colour in a chunk tRNS or bKGD of an RGB or grey image: samples of 16 bits, big-endian, of which an
/// image uses as many of the low bits as it has. Other contents are returned unchanged.
Bytes ConvertColour(const Conversion& conversion, const PngHeader& header, const Bytes& chunk);

/// Converts pixels of an image with a transparent colour. Transparent pixels stay transparent, and no other pixel
/// becomes so: if its colour would be that of the transparent ones, its last sample is changed by one.
class ColourKey {
public:
    /// Borrows the conversion. `chunk` is the contents of tRNS.
    ColourKey(const Conversion& conversion, const PngHeader& header, const Bytes& chunk);
    void Convert(unsigned char* source, unsigned char* dest, std::size_t pixels) const;

private:
    const Conversion& conversion_;
    Bytes before_, after_;  ///< the transparent colour, as a pixel of the image
};

}  // namespace hueweave::tool
