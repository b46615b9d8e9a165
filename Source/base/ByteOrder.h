// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

// Reads and writes integers in files byte by byte, independent of alignment and of the machine's byte order. ICC files
// are big-endian, the TIFF files of this library little-endian.

inline std::uint16_t LoadBig16(const unsigned char* at) { return static_cast<std::uint16_t>(at[0] << 8 | at[1]); }

inline std::uint32_t LoadBig32(const unsigned char* at) {
    return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
           static_cast<std::uint32_t>(at[2]) << 8 | static_cast<std::uint32_t>(at[3]);
}

inline void StoreBig16(unsigned char* at, std::uint16_t value) {
    at[0] = static_cast<unsigned char>(value >> 8);
    at[1] = static_cast<unsigned char>(value);
}

inline void StoreBig32(unsigned char* at, std::uint32_t value) {
    StoreBig16(at, static_cast<std::uint16_t>(value >> 16));
    StoreBig16(at + 2, static_cast<std::uint16_t>(value));
}

inline std::uint16_t LoadLittle16(const unsigned char* at) { return static_cast<std::uint16_t>(at[1] << 8 | at[0]); }

inline std::uint32_t LoadLittle32(const unsigned char* at) {
    return static_cast<std::uint32_t>(LoadLittle16(at)) | static_cast<std::uint32_t>(LoadLittle16(at + 2)) << 16;
}

inline void StoreLittle16(unsigned char* at, std::uint16_t value) {
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
}

inline void StoreLittle32(unsigned char* at, std::uint32_t value) {
    StoreLittle16(at, static_cast<std::uint16_t>(value));
    StoreLittle16(at + 2, static_cast<std::uint16_t>(value >> 16));
}
