// SPDX-License-Identifier: MIT
// The expected contents of a converted file: libtiff decodes, and an engine of the library converts pixel by pixel.
#pragma once

#include "FuzzInput.h"
#include "tiff/TiffPage.h"

namespace hueweave::fuzz {

/// An image as rows of pixels with all their samples.
struct Image {
    std::uint32_t width = 0, height = 0;
    unsigned samples = 0, bits = 0;
    std::vector<std::uint16_t> values{};
    bool operator==(const Image&) const = default;
};

/// The image of the directory at `offset`, decoded by libtiff; nothing if libtiff cannot, which is reported, or with
/// `sound` if it reports any error. Warnings do not count.
std::optional<Image> ByLibtiff(const std::string& path, std::uint64_t offset, bool sound);
/// The same with the command's own decoders, strip by strip or tile by tile. Throws a refusal.
Image ByOwnDecoder(const tool::TiffStructure& structure, const tool::TiffPage& page);
/// Converts the first three samples of every pixel to sRGB with the plain profile and the perceptual intent.
void ConvertImage(Image& image, bool premultiplied);

}  // namespace hueweave::fuzz
