// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Pictures.h"
#include "tiff/CTiff.h"

namespace bench {

/// Writes the photo as an uncompressed RGB TIFF file with one strip and 8 or 16 bits per sample.
inline void WritePhoto(const std::string& path, Size size, int bits) {
    Orvix_Tiff_STL2::CTiff image;
    image.CreateNew(size.width, size.height, 300, 3, bits, 1);
    if (image.imageBuf == nullptr) throw std::runtime_error("no memory for the picture");
    Photo photo(size);
    Samples16 row(3 * static_cast<std::size_t>(size.width));
    unsigned char* at = image.imageBuf;
    for (int y = 0; y < size.height; ++y) {
        photo.Row(y, row);
        if (bits == 16) {
            std::memcpy(at, row.data(), 2 * row.size());  // little-endian machines only
        } else {
            std::transform(row.begin(), row.end(), at,
                           [](std::uint16_t v) { return static_cast<unsigned char>(v >> 8); });
        }
        at += row.size() * static_cast<std::size_t>(bits / 8);
    }
    image.RemoveIcc();
    image.SaveFile(path.c_str());
}

}  // namespace bench
