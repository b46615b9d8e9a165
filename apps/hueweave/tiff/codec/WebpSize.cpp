// SPDX-License-Identifier: MIT
#include "tiff/codec/WebpSize.h"

#include <cstring>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kChunk = 12;  ///< after "RIFF", a length and "WEBP"
constexpr std::size_t kData = 20;   ///< of the first chunk, after its name and length

std::uint32_t Little(const Bytes& bytes, std::size_t at, std::size_t count) {
    constexpr TiffForm kLittle{false, false};
    return static_cast<std::uint32_t>(kLittle.Get(&bytes[at], count));
}

bool Is(const Bytes& bytes, std::size_t at, const char* name) { return std::memcmp(&bytes[at], name, 4) == 0; }

}  // namespace

std::optional<PixelSize> WebpSize(const Bytes& head) {
    if (head.size() < kWebpHead || !Is(head, 0, "RIFF") || !Is(head, 8, "WEBP")) return std::nullopt;
    constexpr std::uint32_t k14Bits = 0x3fff;
    if (Is(head, kChunk, "VP8 ")) {
        // Frame tag and start code, three bytes each; then 14 bits of size and 2 bits of scaling, twice.
        return PixelSize{Little(head, kData + 6, 2) & k14Bits, Little(head, kData + 8, 2) & k14Bits};
    }
    if (Is(head, kChunk, "VP8L")) {
        // A one-byte signature; then two sizes minus 1 of 14 bits each.
        const std::uint32_t bits = Little(head, kData + 1, 4);
        return PixelSize{(bits & k14Bits) + 1, (bits >> 14 & k14Bits) + 1};
    }
    if (Is(head, kChunk, "VP8X")) {
        // Four bytes of flags; then two sizes minus 1 of three bytes each.
        return PixelSize{Little(head, kData + 4, 3) + 1, Little(head, kData + 7, 3) + 1};
    }
    return std::nullopt;
}

}  // namespace hueweave::tool
