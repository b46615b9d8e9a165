// SPDX-License-Identifier: MIT
// libpng decodes and encodes the image data only. It gets the chunks IHDR, IDAT and IEND, and sees no other.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "picture/PixelBands.h"
#include "png/PngStructure.h"

namespace hueweave::tool {

/// The image as libpng decodes it: 16-bit samples in the processor's byte order; grey of less than 8 bits expanded to
/// 8; one byte per pixel for a palette.
Raster RasterOf(const PngHeader& header);
/// Bytes that libpng needs for an image with rows of this many bytes, besides the rows of the caller.
std::uint64_t PngCoderMemory(std::uint64_t rowBytes);

/// Decodes an image. Refuses damaged data.
class PngDecoder : public RowSource {
public:
    /// Borrows the structure.
    explicit PngDecoder(const PngStructure& structure);
    ~PngDecoder() override;
    /// The next rows of an image that is not interlaced.
    void Read(unsigned char* rows, std::uint32_t count) override;
    /// The whole image, interlaced or not.
    void ReadAll(Bytes& pixels);
    /// Verifies what follows the last row.
    void Finish();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

/// Encodes an image as chunks IDAT, which it writes to a file one after the other.
class PngEncoder : public RowSink {
public:
    /// For an image of 8 or 16 bits, without a palette. `level` is that of zlib, 1 to 9. Borrows the file. `name` is
    /// the source, for messages.
    PngEncoder(const FileAccess& target, std::uint64_t offset, const PngHeader& header, std::string name, int level);
    ~PngEncoder() override;
    /// The next rows of an image that is not interlaced. They may be changed.
    void Write(unsigned char* rows, std::uint32_t count) override;
    /// The whole image, interlaced or not.
    void WriteAll(Bytes& pixels);
    /// The end of the chunks, after the last row.
    std::uint64_t End() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace hueweave::tool
