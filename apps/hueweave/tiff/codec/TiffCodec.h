// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "system/FileAccess.h"
#include "tiff/TiffPage.h"
#include "tiff/codec/TiffHandle.h"

namespace hueweave::tool {

/// Encodes strips and tiles of a page's shape with libtiff, as bytes for the file. One thread at a time.
class TiffEncoder {
public:
    using Sink = std::function<void(const unsigned char* data, std::size_t size)>;

    /// The page's own scheme, or Deflate for one that would lose something.
    TiffEncoder(const FileAccess& target, const TiffPage& page, bool bigEndian);
    ~TiffEncoder();

    /// Encodes a strip or tile of `size` bytes, which are spoilt on the way.
    Bytes Encode(unsigned char* pixels, std::size_t size);
    /// The same row by row, for strips too large to be held whole: `sink` takes the bytes as they come. Call
    /// `BeginRows`, then `Row` for each row from 0 on, then `EndRows`.
    void BeginRows(Sink sink);
    void Row(std::uint32_t row, unsigned char* pixels);
    void EndRows();

private:
    struct Target;
    void Open();
    void Set(std::uint32_t tag, std::uint32_t value);
    [[noreturn]] void Refuse() const;
    const FileAccess& file_;
    const TiffPage& page_;
    bool bigEndian_;
    std::unique_ptr<Target> target_;
    TiffHandle handle_;
};

/// The compression and the predictor with which a page's image data are written.
struct Coding {
    unsigned compression, predictor;
};
Coding OutputCoding(const TiffPage& page);
/// Bytes that a decoder and an encoder take for themselves, as measured; what is next to nothing counts as 0.
std::uint64_t CoderMemory(const TiffPage& page);

}  // namespace hueweave::tool
