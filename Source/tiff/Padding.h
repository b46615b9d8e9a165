// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace Orvix_Tiff_STL2 {

/// Maximum size of data of which the file contains `held` bytes, with zeros for the rest: a truncated file keeps its
/// declared size, but a few bytes cannot require gigabytes.
constexpr std::uint64_t PaddingLimit(std::uint64_t held) { return 2 * held + (std::uint64_t{8} << 20); }

/// Writes `wanted` bytes: those at `bytes`, then zeros. Returns the number of bytes written.
inline std::size_t WritePadded(std::FILE* f, const unsigned char* bytes, std::size_t held, std::size_t wanted) {
    const std::size_t real = std::min(held, wanted);
    std::size_t written = real == 0 ? 0 : std::fwrite(bytes, 1, real, f);
    if (written < real) return written;
    static constexpr unsigned char kZeros[4096] = {};
    while (written < wanted) {
        const std::size_t part = std::fwrite(kZeros, 1, std::min(sizeof kZeros, wanted - written), f);
        if (part == 0) break;
        written += part;
    }
    return written;
}

}  // namespace Orvix_Tiff_STL2
