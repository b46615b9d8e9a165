// SPDX-License-Identifier: MIT
#pragma once

#include "command/support/PngChunks.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {

/// An image whose rows are packed as PNG packs them, and `more` chunks before its data.
inline Chunks PngImage(std::size_t width, std::size_t height, unsigned bits, unsigned colours,
                       const std::string& packed, const Chunks& more = {}) {
    std::string rows;
    const std::size_t row = packed.size() / height;
    for (std::size_t y = 0; y < height; ++y) rows += '\0' + packed.substr(y * row, row);
    const std::string header =
        BigEndian(width) + BigEndian(height) + BigEndian(bits, 1) + BigEndian(colours, 1) + std::string(3, '\0');
    return WithBefore({{"IHDR", header}, {"IDAT", Deflated(rows)}, {"IEND", ""}}, "IDAT", more);
}

}  // namespace hueweave::test
