// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tiff/codec/DecoderFile.h"

struct z_stream_s;

namespace hueweave::tool {

/// How the Deflate data of a strip or tile end.
enum class DeflateEnd {
    Sound,
    Missing,   ///< the data break off before their end
    TooEarly,  ///< the end comes before the last pixel
    TooLate,   ///< the data go on far beyond the last pixel
    Damaged,   ///< zlib cannot decode them
};

/// Decodes strips and tiles of Deflate data up to their end, where the checksum stands. libtiff looks no further than
/// the pixels that it wants: it takes damaged data that turn out longer, and cuts sound ones that are longer short.
/// Every byte is read from the source once, so that what was checked is what was decoded.
class DeflateReader {
public:
    /// Borrows the source; data that decode to more than their pixels use up its surplus.
    explicit DeflateReader(const PageSource& source);
    ~DeflateReader();
    DeflateReader(const DeflateReader&) = delete;
    DeflateReader& operator=(const DeflateReader&) = delete;

    static bool Concerns(const TiffPage& page);
    /// Decodes `raw`, the bytes of a strip or tile, into `pixels`, which have the right size. The samples stay in the
    /// file's byte order, and differences stay differences.
    [[nodiscard]] DeflateEnd Decode(Bytes& raw, Bytes& pixels);

    /// The same row by row, for strips too large to be held whole: `BeginRows`, then `Row` for each row from the top,
    /// then `EndRows`, which looks at what is behind the pixels. A row is sound as long as its data are.
    void BeginRows(Extent strip);
    [[nodiscard]] DeflateEnd Row(unsigned char* pixels, std::size_t size);
    [[nodiscard]] DeflateEnd EndRows();

    /// What the last end that is not sound means, for a reason.
    std::string Explain(DeflateEnd end) const;

private:
    void Begin();
    /// Passes bytes to zlib; they must not move until zlib has consumed them.
    void Feed(unsigned char* data, std::size_t size);
    /// Decodes the input into `pixels`, at most `size` bytes. Returns the number of bytes written.
    std::size_t Inflate(unsigned char* pixels, std::size_t size);
    /// Reads the next block of the strip if all input is consumed. Returns whether there is input to decode.
    bool Refill();
    /// Checks the input after the pixels.
    void Skip();
    DeflateEnd End(bool enough) const;

    const PageSource& source_;
    std::unique_ptr<z_stream_s> stream_;
    Bytes scratch_;        ///< decoded data that are not needed
    Bytes block_;          ///< of a strip decoded by rows
    Bytes turned_;         ///< for files with reversed bit order
    Extent left_;          ///< of a strip decoded by rows: not read yet
    bool beyond_ = false;  ///< more was decoded than is allowed after the pixels
    int state_ = 0;        ///< of zlib
};

/// Undoes predictor 2: converts the differences in each row to samples. `stride` is the number of samples per pixel.
void UndoDifferences(unsigned char* pixels, std::uint64_t rows, std::uint64_t columns, unsigned stride, unsigned width);

}  // namespace hueweave::tool
