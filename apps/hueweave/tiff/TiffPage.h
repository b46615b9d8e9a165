// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// One image of a file: its geometry, and the position of its strips or tiles.
struct TiffPage {
    std::size_t directory = 0;  ///< index in the structure
    std::string label;          ///< "page 2", for messages; empty if the file has one image
    /// The kind of a page that is not RGB, such as "grey" or "mask": it is not converted, and its geometry is not read.
    /// Empty for an RGB page.
    std::string other;
    bool stays = false;  ///< its image data are not changed: not RGB, or in the colours of the output already
    std::uint32_t width = 0, height = 0;
    unsigned samples = 0;  ///< per pixel
    unsigned bits = 0;     ///< per sample: 8 or 16
    unsigned compression = 1;
    unsigned photometric = 2;
    unsigned predictor = 1;
    unsigned fillOrder = 1;
    bool planar = false;  ///< each sample has its own strips or tiles
    bool tiled = false;
    bool premultiplied = false;                         ///< the fourth sample is an associated alpha
    std::uint32_t segmentWidth = 0, segmentHeight = 0;  ///< of a strip or tile, in pixels
    std::uint64_t across = 1, down = 1;                 ///< strips or tiles in each plane
    std::vector<Extent> segments;                       ///< plane after plane
    /// The tags with their places. Those of strips may hold the places of tiles.
    std::uint16_t offsetsTag = tag::StripOffsets, sizesTag = tag::StripByteCounts;

    std::uint64_t slack = 0;  ///< bytes per strip or tile in addition to the decoded size of the page

    std::uint64_t InPlane() const { return across * down; }
    std::uint64_t Segments() const { return InPlane() * (planar ? samples : 1); }  ///< strips or tiles in total
    unsigned SegmentSamples() const { return planar ? 1 : samples; }               ///< per pixel of a strip or tile
    std::uint64_t RowBytes() const { return std::uint64_t{segmentWidth} * SegmentSamples() * (bits / 8); }
    /// Rows in the strip or tile; the last strip may be shorter.
    std::uint32_t RowsOf(std::uint64_t segment) const;
    std::uint64_t DecodedBytes(std::uint64_t segment) const { return RowBytes() * RowsOf(segment); }
    /// Whether the data are uncompressed and need no decoder.
    bool Plain() const { return compression == 1 && fillOrder == 1; }
    /// Whether recompression would lose quality, as for JPEG; such a page is written as Deflate.
    bool Lossy() const;
    std::uint64_t Pixels() const { return std::uint64_t{width} * height; }
    bool IsRgb() const { return other.empty(); }
    /// `other` of a transparency mask, which belongs to another page.
    static constexpr std::string_view kMask = "mask";
};

/// The images of a file. Refuses a file without an RGB image, and one with an RGB image that cannot be converted
/// completely, and gives the reason.
std::vector<TiffPage> ReadPages(const TiffStructure& structure);

/// The image of one directory.
TiffPage ReadPage(const TiffStructure& structure, std::size_t directory);

/// Names for messages.
std::string CompressionName(unsigned compression);
std::string PhotometricName(unsigned photometric);

}  // namespace hueweave::tool
