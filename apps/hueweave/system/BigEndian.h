// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "system/FileAccess.h"

namespace hueweave::tool {

// Big-endian integers: those of PNG and JPEG.

inline std::uint16_t Big16(const unsigned char* at) { return static_cast<std::uint16_t>(at[0] << 8 | at[1]); }

inline std::uint32_t Big32(const unsigned char* at) { return std::uint32_t{Big16(at)} << 16 | Big16(at + 2); }

inline void PutBig16(Bytes& bytes, std::uint16_t value) {
    bytes.insert(bytes.end(), {static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)});
}

inline void PutBig32(Bytes& bytes, std::uint32_t value) {
    PutBig16(bytes, static_cast<std::uint16_t>(value >> 16));
    PutBig16(bytes, static_cast<std::uint16_t>(value));
}

}  // namespace hueweave::tool
