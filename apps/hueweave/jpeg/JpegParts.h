// SPDX-License-Identifier: MIT
#pragma once

#include "jpeg/JpegCodec.h"
#include "jpeg/JpegErrors.h"

namespace hueweave::tool {

/// libjpeg's side of a decoder. libjpeg has pointers to its members.
struct JpegDecoder::Parts {
    explicit Parts(const JpegStructure& from);
    ~Parts() { jpeg_destroy_decompress(&info); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;
    /// Reads the next block. Returns false if it cannot be read.
    bool Refill() noexcept;

    const JpegStructure& structure;
    JpegErrors errors;
    jpeg_decompress_struct info{};
    jpeg_source_mgr source{};
    std::uint64_t next = 0;  ///< offset of the next block
    Bytes block;
};

}  // namespace hueweave::tool
