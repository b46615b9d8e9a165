// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tiff/codec/DecoderFile.h"
#include "tiff/codec/DeflateReader.h"
#include "tiff/codec/TiffHandle.h"

namespace hueweave::tool {

class DecoderView;

/// Decodes whole strips and tiles of one page with libtiff. One thread at a time; threads take a decoder each.
class TiffDecoder {
public:
    /// Borrows the source. Refuses a page whose shape libtiff understands in another way.
    explicit TiffDecoder(const PageSource& source);
    ~TiffDecoder();

    /// A strip or tile into `pixels`, in the processor's byte order.
    void ReadSegment(std::uint64_t segment, Bytes& pixels);

private:
    const PageSource& source_;
    std::unique_ptr<DecoderView> view_;
    TiffHandle handle_;                       ///< null for Deflate, which takes none
    std::unique_ptr<DeflateReader> deflate_;  ///< null for other schemes
    Bytes raw_;
};

/// Decodes one plane of a page row by row from the top, for strips too large to be held whole.
///
/// libtiff wants a strip in one piece. It gets it from a file of our own without a name, to which the strip is copied,
/// and which is mapped into memory: a source that somebody cuts meanwhile would end the process, were it mapped itself.
/// Deflate data need no copy.
class RowDecoder {
public:
    /// Borrows the source. Copies of strips stand in `folder`; `name` is the output, for messages.
    RowDecoder(const PageSource& source, unsigned plane, const std::string& folder, const std::string& name);
    ~RowDecoder();

    /// The next row, into `pixels`, in the processor's byte order.
    void ReadRow(unsigned char* pixels);

private:
    /// Where a strip of the plane stands, without what uncompressed data have behind their pixels: libtiff's decoder of
    /// rows refuses more where the bits are turned around.
    Extent StripOf(std::uint64_t strip) const;
    void BeginStrip();
    void EndStrip();
    [[noreturn]] void Refuse() const;
    void CopyStrip(Extent strip);
    void Open();
    void GiveBack(std::uint32_t rows);

    const PageSource& source_;
    const std::uint64_t first_;  ///< strip of the plane
    std::uint32_t row_ = 0;      ///< the next one
    std::uint64_t strip_ = 0;    ///< in the plane
    std::uint64_t given_ = 0;    ///< bytes of the copy whose memory was given back
    std::uint64_t start_ = 0;    ///< of a strip within the copy
    std::string folder_, name_;
    FileAccess copy_;
    std::unique_ptr<DecoderView> view_;
    TiffHandle handle_;
    std::unique_ptr<DeflateReader> deflate_;
};

}  // namespace hueweave::tool
