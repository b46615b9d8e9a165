// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <memory>

#include "FileAccess.h"
#include "TiffPage.h"

struct z_stream_s;

namespace hueweave::tool {

/// Decodes strips and tiles of Deflate data up to their end, where the checksum stands. libtiff looks no further than
/// the pixels that it wants: it takes damaged data that turn out longer, and cuts sound ones that are longer short.
class DeflateReader {
public:
    explicit DeflateReader(const TiffPage& page);
    ~DeflateReader();
    DeflateReader(const DeflateReader&) = delete;
    DeflateReader& operator=(const DeflateReader&) = delete;

    static bool Concerns(const TiffPage& page);
    /// Decodes `raw`, the bytes of a strip or tile, into `pixels`, which have the right size. The samples stay in the
    /// file's byte order, and differences stay differences. Returns why it cannot be done, or null.
    const char* Decode(const Bytes& raw, Bytes& pixels);
    /// Looks through a strip or tile that is too large to be held. Returns why it is not whole, or null.
    const char* Check(std::uint64_t segment, const FileAccess& file);

private:
    void Begin(unsigned char* target, std::uint64_t wanted);
    /// Takes bytes as they follow each other. Returns whether more are of use.
    bool Add(const unsigned char* data, std::size_t size);
    const char* End() const;

    const TiffPage& page_;
    std::unique_ptr<z_stream_s> stream_;
    Bytes scratch_;                    ///< what is decoded and not kept
    Bytes turned_;                     ///< of files whose bytes hold the lowest bit first
    unsigned char* target_ = nullptr;  ///< null where nothing is kept
    std::uint64_t wanted_ = 0, decoded_ = 0;
    std::uint64_t most_;  ///< bytes that a strip or tile may decode to
    int state_ = 0;       ///< of zlib
};

/// Turns the differences that predictor 2 leaves in each row into samples. `stride` is samples a pixel.
void UndoDifferences(unsigned char* pixels, std::uint64_t rows, std::uint64_t columns, unsigned stride, unsigned width);

}  // namespace hueweave::tool
