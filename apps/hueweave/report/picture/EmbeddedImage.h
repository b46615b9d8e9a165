// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "colour/base/Bytes.h"

namespace hueweave::tool {

using colour::Bytes;

/// "data:image/jpeg;base64,..." for interleaved RGB of 8 bits.
std::string JpegUri(const Bytes& rgb, std::uint32_t width, std::uint32_t height);
/// "data:image/png;base64,..." for a map of clipped channels: 1 for red, 2 for green, 4 for blue and their sums. Where
/// it is 0, the image is transparent.
std::string ClipMapUri(const Bytes& map, std::uint32_t width, std::uint32_t height);

/// The bytes in base 64 (RFC 4648).
std::string Base64(const unsigned char* data, std::size_t size);

}  // namespace hueweave::tool
