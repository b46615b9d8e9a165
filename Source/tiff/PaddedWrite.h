// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace Orvix_Tiff_STL2 {

/// Writes `wanted` bytes: what there is at `bytes`, then zeros. Returns the bytes written.
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

/// How far zeros may stand in for bytes that are not there, so that a broken file cannot ask for gigabytes.
constexpr std::size_t PaddingLimit(std::size_t held) { return 2 * held + (std::size_t{8} << 20); }

}  // namespace Orvix_Tiff_STL2
