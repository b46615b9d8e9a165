// SPDX-License-Identifier: MIT
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
    Missing,   ///< the data are truncated
    TooEarly,  ///< the data end before the last pixel
    TooLate,   ///< the data continue far beyond the last pixel
    Damaged,   ///< zlib cannot decode them
};

/// Decodes strips and tiles of Deflate data up to their end, which contains the checksum. libtiff decodes only the
/// required pixels: it accepts damaged data that are longer, and truncates valid data that are longer. Every byte is
/// read from the source once, so that the checked bytes are the decoded ones.
class DeflateReader {
public:
    /// Borrows the source; data that decode to more than their pixels use up its surplus.
    explicit DeflateReader(const PageSource& source);
    ~DeflateReader();
    DeflateReader(const DeflateReader&) = delete;
    DeflateReader& operator=(const DeflateReader&) = delete;

    static bool Concerns(const TiffPage& page);
    /// Decodes `raw`, the bytes of a strip or tile, into `pixels`, which must have the correct size. Samples keep the
    /// file's byte order, and the predictor is not undone.
    [[nodiscard]] DeflateEnd Decode(Bytes& raw, Bytes& pixels);

    /// The same row by row, for strips too large to be held in memory: `BeginRows`, then `Row` for each row from the
    /// top, then `EndRows`, which checks the data after the pixels. A row is valid if its data are.
    void BeginRows(Extent strip);
    [[nodiscard]] DeflateEnd Row(unsigned char* pixels, std::size_t size);
    [[nodiscard]] DeflateEnd EndRows();

    /// The meaning of the last invalid end, for messages.
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
