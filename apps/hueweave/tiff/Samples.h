// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hueweave::tool {

/// Reverses the bytes of `count` samples of `width` bytes if the file's byte order differs from the processor's.
inline void ToNative(unsigned char* data, std::size_t count, unsigned width, bool bigEndian) {
    if (width != 2 || bigEndian == (std::endian::native == std::endian::big)) return;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t value;
        std::memcpy(&value, data + 2 * i, sizeof value);
        value = static_cast<std::uint16_t>(value << 8 | value >> 8);
        std::memcpy(data + 2 * i, &value, sizeof value);
    }
}

/// Copies one of `samples` samples from interleaved pixels to a plane, or back.
inline void PlaneFromPixels(unsigned char* plane, const unsigned char* pixels, std::size_t count, unsigned sample,
                            unsigned samples, unsigned width) {
    for (std::size_t i = 0; i < count; ++i)
        std::memcpy(plane + i * width, pixels + (i * samples + sample) * width, width);
}
inline void PlaneIntoPixels(const unsigned char* plane, unsigned char* pixels, std::size_t count, unsigned sample,
                            unsigned samples, unsigned width) {
    for (std::size_t i = 0; i < count; ++i)
        std::memcpy(pixels + (i * samples + sample) * width, plane + i * width, width);
}

}  // namespace hueweave::tool
