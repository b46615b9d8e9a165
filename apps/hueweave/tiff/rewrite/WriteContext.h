// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "colour/PixelConverter.h"
#include "system/Sha256.h"
#include "tiff/TiffPage.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::tool {

/// How the work is done, and what is measured on the way.
struct WriteSettings {
    unsigned threads = 1;
    std::uint64_t memory = std::uint64_t{40} << 20;      ///< bytes for all buffers of one file
    std::string scratch;                                 ///< folder of temporary files; empty for the output's own
    bool measure = false;                                ///< clipped pixels and SHA-256
    std::function<void(std::uint64_t pixels)> progress;  ///< called from all threads
    /// Given plain image data as they were read, in the order of their blocks and by one thread at a time; of separate
    /// planes the first one alone, since the others stand elsewhere.
    std::function<void(std::uint64_t offset, const Bytes& data)> taken;
};

/// What was measured.
struct Measured {
    std::uint64_t pixels = 0;
    std::uint64_t clipped = 0;  ///< pixels with a sample at an end of the range
    Sha256 hash;  ///< of the colour samples, strip by strip or tile by tile without padding; 16 bits little-endian
};

/// One page on its way from the source to the output. Everything is borrowed.
struct PageContext {
    const TiffStructure& structure;
    const TiffPage& page;
    std::size_t index;  ///< of the page, for the layout
    const colour::PixelConverter& converter;
    OutputLayout& layout;
    const FileAccess& target;
    const WriteSettings& settings;
    Measured& measured;
};

}  // namespace hueweave::tool
