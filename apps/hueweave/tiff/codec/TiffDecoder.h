// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tiff/codec/DecoderFile.h"
#include "tiff/codec/DeflateReader.h"
#include "tiff/codec/TiffHandle.h"

namespace hueweave::tool {

class DecoderView;

/// Decodes whole strips and tiles of one page with libtiff. For use by one thread at a time; each thread has its own
/// decoder.
class TiffDecoder {
public:
    /// Borrows the source. Refuses a page whose geometry libtiff interprets differently.
    explicit TiffDecoder(const PageSource& source);
    ~TiffDecoder();

    /// Decodes a strip or tile into `pixels`, in the processor's byte order.
    void ReadSegment(std::uint64_t segment, Bytes& pixels);
    /// The bytes of the last strip or tile as they were read from the file; libtiff may have reversed their bits.
    const Bytes& raw() const { return raw_; }

private:
    void OpenOldJpeg();

    const PageSource& source_;
    std::unique_ptr<DecoderView> view_;
    TiffHandle handle_;                       ///< null for Deflate, which does not use libtiff
    std::unique_ptr<DeflateReader> deflate_;  ///< null for other schemes
    Bytes raw_;
};

/// Decodes one plane of a page row by row from the top, for strips too large to be held in memory.
///
/// libtiff requires a strip in one piece. It reads the strip from an unnamed file to which the command copies it and
/// which is mapped into memory: if the source itself were mapped and then truncated, the process would end. Deflate
/// data need no copy.
class RowDecoder {
public:
    /// Borrows the source. Copies of strips are stored in `folder`; `name` is the output, for messages.
    RowDecoder(const PageSource& source, unsigned plane, const std::string& folder, const std::string& name);
    ~RowDecoder();

    /// Decodes the next row into `pixels`, in the processor's byte order.
    void ReadRow(unsigned char* pixels);

private:
    /// The position of a strip of the plane, without the bytes after the pixels of uncompressed data: when decoding by
    /// rows, libtiff refuses more if the bits are reversed.
    Extent StripOf(std::uint64_t strip) const;
    void BeginStrip();
    void EndStrip();
    [[noreturn]] void Refuse() const;
    void CopyStrip(Extent strip);
    void Open();
    void GiveBack(std::uint32_t rows);

    const PageSource& source_;
    const std::uint64_t first_;  ///< first strip of the plane
    std::uint32_t row_ = 0;      ///< next row
    std::uint64_t strip_ = 0;    ///< in the plane
    std::uint64_t given_ = 0;    ///< bytes of the copy whose memory has been released
    std::uint64_t start_ = 0;    ///< of a strip within the copy
    std::string folder_, name_;
    FileAccess copy_;
    std::unique_ptr<DecoderView> view_;
    TiffHandle handle_;
    std::unique_ptr<DeflateReader> deflate_;
};

}  // namespace hueweave::tool
