// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace hueweave::tool {

/// The pixels of a page in a file: their geometry, sample format and coding.
struct PageForm {
    std::uint32_t width = 0, height = 0;
    unsigned samples = 0;  ///< per pixel
    unsigned bits = 0;     ///< per sample
    unsigned compression = 1;
    unsigned photometric = 2;
    unsigned predictor = 1;
    unsigned fillOrder = 1;
    bool planar = false;  ///< each sample has its own strips or tiles
    bool tiled = false;
    bool premultiplied = false;                         ///< the sample after the colours is an associated alpha
    std::uint32_t segmentWidth = 0, segmentHeight = 0;  ///< of a strip or tile, in pixels
    std::uint64_t across = 1, down = 1;                 ///< strips or tiles in each plane

    std::uint64_t InPlane() const { return across * down; }
    std::uint64_t Segments() const { return InPlane() * (planar ? samples : 1); }  ///< strips or tiles in total
    unsigned SegmentSamples() const { return planar ? 1 : samples; }               ///< per pixel of a strip or tile
    /// Of a strip or tile. A row begins at a byte.
    std::uint64_t RowBytes() const { return (std::uint64_t{segmentWidth} * SegmentSamples() * bits + 7) / 8; }
    /// Rows in the strip or tile; the last strip may be shorter.
    std::uint32_t RowsOf(std::uint64_t segment) const;
    std::uint64_t DecodedBytes(std::uint64_t segment) const { return RowBytes() * RowsOf(segment); }
    /// Whether the data are uncompressed and need no decoder.
    bool Plain() const { return compression == 1 && fillOrder == 1; }
    /// Whether recompression would lose quality, as for JPEG; such a page is written as Deflate.
    bool Lossy() const;
    /// Bytes of the numbers that depend on the byte order: 2 for samples of 16 bits. Other samples are bytes, or are
    /// packed into bytes from the most significant bit on.
    unsigned OrderedBytes() const { return bits == 16 ? 2 : 1; }
    std::uint64_t Pixels() const { return std::uint64_t{width} * height; }
};

/// Whether the pixels of the two forms have the same samples, in the same planes.
bool HaveSameSamples(const PageForm& read, const PageForm& written);
/// Whether the bytes of the two forms are laid out alike, so that converted samples can replace those that were read.
/// Otherwise all strips or tiles of all planes are rewritten.
bool HaveSameLayout(const PageForm& read, const PageForm& written);

}  // namespace hueweave::tool
