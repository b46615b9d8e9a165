// SPDX-License-Identifier: MIT
#include "png/ColourKey.h"

#include <cstdint>
#include <cstring>

namespace hueweave::tool {
namespace {

constexpr std::size_t kChunk = 6;  ///< bytes of a colour

/// The colour of a chunk as a pixel, in the processor's byte order.
Bytes PixelOf(const Bytes& chunk, unsigned bits) {
    Bytes pixel(3 * bits / 8);
    for (std::size_t c = 0; c < 3; ++c) {
        const auto sample = static_cast<std::uint16_t>(chunk[2 * c] << 8 | chunk[2 * c + 1]);
        if (bits == 8) {
            pixel[c] = chunk[2 * c + 1];
        } else {
            std::memcpy(&pixel[2 * c], &sample, 2);
        }
    }
    return pixel;
}

void MoveBlue(unsigned char* pixel, unsigned bits) {
    if (bits == 8) {
        pixel[2] = static_cast<unsigned char>(pixel[2] > 0 ? pixel[2] - 1 : 1);
        return;
    }
    std::uint16_t blue;
    std::memcpy(&blue, pixel + 4, 2);
    blue = static_cast<std::uint16_t>(blue > 0 ? blue - 1 : 1);
    std::memcpy(pixel + 4, &blue, 2);
}

}  // namespace

Bytes ConvertColour(const colour::PixelConverter& converter, const Bytes& chunk) {
    if (chunk.size() != kChunk) return chunk;
    Bytes pixel = PixelOf(chunk, converter.bits());
    converter.Convert(pixel.data(), 1, 3, false);
    Bytes converted(kChunk);
    for (std::size_t c = 0; c < 3; ++c) {
        std::uint16_t sample = pixel[c];
        if (converter.bits() == 16) std::memcpy(&sample, &pixel[2 * c], 2);
        converted[2 * c] = static_cast<unsigned char>(sample >> 8);
        converted[2 * c + 1] = static_cast<unsigned char>(sample);
    }
    return converted;
}

ColourKey::ColourKey(const colour::PixelConverter& converter, const Bytes& chunk)
    : converter_(converter),
      before_(chunk.size() == kChunk ? PixelOf(chunk, converter.bits()) : Bytes()),
      after_(before_) {
    if (!after_.empty()) converter.Convert(after_.data(), 1, 3, false);
}

void ColourKey::Convert(unsigned char* data, std::size_t pixels) const {
    const std::size_t size = after_.size();
    std::vector<bool> isTransparent(size == 0 ? 0 : pixels);
    for (std::size_t p = 0; p < isTransparent.size(); ++p) {
        isTransparent[p] = std::memcmp(data + p * size, before_.data(), size) == 0;
    }
    converter_.Convert(data, pixels, 3, false);
    for (std::size_t p = 0; p < isTransparent.size(); ++p) {
        unsigned char* const pixel = data + p * size;
        if (!isTransparent[p] && std::memcmp(pixel, after_.data(), size) == 0) MoveBlue(pixel, converter_.bits());
    }
}

}  // namespace hueweave::tool
