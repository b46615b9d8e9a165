// SPDX-License-Identifier: MIT
#include "png/ColourKey.h"

#include <cstdint>
#include <cstring>

#include "system/BigEndian.h"

namespace hueweave::tool {
namespace {

/// The colour of a chunk as a pixel that is converted, in the processor's byte order.
Bytes PixelOf(const Bytes& chunk, unsigned depth) {
    const std::size_t channels = chunk.size() / 2;
    Bytes pixel(channels * (depth == 16 ? 2 : 1));
    for (std::size_t c = 0; c < channels; ++c) {
        const std::uint16_t sample = Big16(&chunk[2 * c]);
        if (depth == 16) {
            std::memcpy(&pixel[2 * c], &sample, 2);
        } else {
            const unsigned top = (1U << depth) - 1;
            pixel[c] = static_cast<unsigned char>((sample & top) * 255U / top);
        }
    }
    return pixel;
}

Bytes Converted(const Conversion& conversion, Bytes pixel, std::size_t channels) {
    const colour::PixelConverter& converter = conversion.converter;
    Bytes result(converter.targetChannels() * (conversion.to.bits / 8));
    if (conversion.IsInPlace()) {
        converter.Convert(pixel.data(), 1, static_cast<unsigned>(channels), false);
        return pixel;
    }
    converter.Convert(pixel.data(), result.data(), 1, static_cast<unsigned>(channels), false);
    return result;
}

bool IsColour(const Conversion& conversion, const Bytes& chunk) {
    return chunk.size() == std::size_t{2} * conversion.converter.sourceChannels();
}

/// Changes the last sample, which is at this address.
void MoveSample(unsigned char* at, unsigned bits) {
    if (bits == 8) {
        *at = static_cast<unsigned char>(*at > 0 ? *at - 1 : 1);
        return;
    }
    std::uint16_t sample;
    std::memcpy(&sample, at, 2);
    sample = static_cast<std::uint16_t>(sample > 0 ? sample - 1 : 1);
    std::memcpy(at, &sample, 2);
}

}  // namespace

Bytes ConvertColour(const Conversion& conversion, const PngHeader& header, const Bytes& chunk) {
    if (!IsColour(conversion, chunk)) return chunk;
    const Bytes pixel = Converted(conversion, PixelOf(chunk, header.depth), chunk.size() / 2);
    const std::size_t width = conversion.to.bits / 8;
    Bytes converted;
    for (std::size_t at = 0; at < pixel.size(); at += width) {
        std::uint16_t sample = pixel[at];
        if (width == 2) std::memcpy(&sample, &pixel[at], 2);
        PutBig16(converted, sample);
    }
    return converted;
}

ColourKey::ColourKey(const Conversion& conversion, const PngHeader& header, const Bytes& chunk)
    : conversion_(conversion) {
    if (!IsColour(conversion, chunk)) return;
    before_ = PixelOf(chunk, header.depth);
    after_ = Converted(conversion, before_, chunk.size() / 2);
}

void ColourKey::Convert(unsigned char* source, unsigned char* dest, std::size_t pixels) const {
    const std::size_t size = before_.size(), written = after_.size(), width = conversion_.to.bits / 8;
    std::vector<bool> isTransparent(size == 0 ? 0 : pixels);
    for (std::size_t p = 0; p < isTransparent.size(); ++p) {
        isTransparent[p] = std::memcmp(source + p * size, before_.data(), size) == 0;
    }
    conversion_.Convert(source, dest, pixels);
    for (std::size_t p = 0; p < isTransparent.size(); ++p) {
        unsigned char* const pixel = dest + p * written;
        if (isTransparent[p] || std::memcmp(pixel, after_.data(), written) != 0) continue;
        MoveSample(pixel + written - width, conversion_.to.bits);
    }
}

}  // namespace hueweave::tool
