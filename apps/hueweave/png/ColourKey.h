// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "colour/PixelConverter.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Converts the colour in a chunk tRNS or bKGD of an RGB image: three samples of 16 bits, big-endian. Other contents
/// are returned unchanged.
Bytes ConvertColour(const colour::PixelConverter& converter, const Bytes& chunk);

/// Converts RGB pixels of an image with a transparent colour. Transparent pixels stay transparent, and no other pixel
/// becomes so: if its colour would be that of the transparent ones, its blue is moved by one step.
class ColourKey {
public:
    /// Borrows the converter. `chunk` is the contents of tRNS.
    ColourKey(const colour::PixelConverter& converter, const Bytes& chunk);
    void Convert(unsigned char* data, std::size_t pixels) const;

private:
    const colour::PixelConverter& converter_;
    Bytes before_, after_;  ///< the transparent colour, as a pixel of the image
};

}  // namespace hueweave::tool
