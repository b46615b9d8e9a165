// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "system/FileAccess.h"
#include "system/Sha256.h"

namespace hueweave::tool {

/// How a file is written, and what is measured.
struct WriteSettings {
    unsigned threads = 1;
    std::uint64_t memory = std::uint64_t{40} << 20;      ///< bytes for all buffers of one file
    std::string scratch;                                 ///< folder for temporary files; empty for that of the output
    bool measure = false;                                ///< clipped pixels and SHA-256
    std::function<void(std::uint64_t pixels)> progress;  ///< called from all threads
    /// Called with image data as they were read, encoded or not, in the order of their blocks and by one thread at a
    /// time. Of separate planes, at most the first is passed, because the others are at other positions.
    std::function<void(std::uint64_t offset, std::span<const unsigned char> data)> taken;
};

/// The measurements of a file's converted pixels.
struct Measured {
    std::uint64_t pixels = 0;
    std::uint64_t clipped = 0;  ///< pixels with a sample at an end of the range
    Sha256 hash;  ///< of the colour samples, strip by strip or tile by tile without padding; 16 bits little-endian
};

}  // namespace hueweave::tool
