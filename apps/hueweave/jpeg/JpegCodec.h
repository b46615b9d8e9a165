// SPDX-License-Identifier: MIT
// libjpeg decodes the image to RGB, grey or CMYK, and encodes it as it was encoded: with its quantisation tables,
// sampling factors, colours, restart interval and coding.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jpeg/JpegStructure.h"
#include "picture/PixelBands.h"

namespace hueweave::tool {

/// Bytes that libjpeg needs to decode an image and to encode it again with this number of samples per pixel, without
/// optimised Huffman codes.
std::uint64_t JpegCoderMemory(const JpegStructure& structure, unsigned samples);

/// Decodes an image to RGB, grey, or CMYK where 0 is no ink. Refuses damaged data.
class JpegDecoder : public RowSource {
public:
    /// Borrows the structure.
    explicit JpegDecoder(const JpegStructure& structure);
    ~JpegDecoder() override;
    struct Parts;
    void Read(unsigned char* rows, std::uint32_t count) override;
    /// Verifies what follows the last row.
    void Finish();

private:
    friend class JpegEncoder;
    std::unique_ptr<Parts> parts_;
};

/// How a new image is encoded: as grey, or as YCbCr without subsampling.
struct NewJpegSettings {
    std::uint32_t width = 0, height = 0;
    unsigned samples = 3;  ///< 1 for grey, 3 for RGB
    unsigned quality = 95;
    double xPerInch = 0, yPerInch = 0;  ///< resolution; 0 if it is not known
};

/// Encodes RGB or grey as the image of a decoder was encoded, and writes it to a file from its beginning. An image
/// whose number of samples changes becomes YCbCr, with the tables of the first three old components, or of the only
/// one.
class JpegEncoder : public RowSink {
public:
    /// Writes the first marker. `samples` per pixel: 1 or 3. `memory` is what is left for optimised Huffman codes,
    /// which are used if the image had them. Borrows the file and the decoder.
    JpegEncoder(const FileAccess& target, const JpegDecoder& decoder, unsigned samples, std::uint64_t memory);
    /// The same for a new image, with the segment of JFIF. `name` is the source, for messages.
    JpegEncoder(const FileAccess& target, const NewJpegSettings& settings, std::string name, std::uint64_t memory);
    ~JpegEncoder() override;
    /// Writes a segment. All of them come before the rows.
    void WriteSegment(unsigned marker, const Bytes& data);
    void Write(unsigned char* rows, std::uint32_t count) override;
    /// Ends the image and returns the size of the file.
    std::uint64_t Finish();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace hueweave::tool
