// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// One image of a file: its shape, and where its strips or tiles stand.
struct TiffPage {
    std::size_t directory = 0;  ///< index in the structure
    std::string label;          ///< "page 2", for messages; empty if the file has one image
    bool mask = false;          ///< a transparency mask: no colour, left as it is
    std::uint32_t width = 0, height = 0;
    unsigned samples = 0;  ///< a pixel
    unsigned bits = 0;     ///< a sample: 8 or 16
    unsigned compression = 1;
    unsigned photometric = 2;
    unsigned predictor = 1;
    unsigned fillOrder = 1;
    bool planar = false;  ///< each sample has strips or tiles of its own
    bool tiled = false;
    bool premultiplied = false;                         ///< the fourth sample is an associated alpha
    std::uint32_t segmentWidth = 0, segmentHeight = 0;  ///< of a strip or tile, in pixels
    std::uint64_t across = 1, down = 1;                 ///< strips or tiles in each plane
    std::vector<Extent> segments;                       ///< plane after plane

    std::uint64_t slack = 0;  ///< bytes by which a strip or tile adds to what the page may decode to

    std::uint64_t InPlane() const { return across * down; }
    std::uint64_t Segments() const { return InPlane() * (planar ? samples : 1); }  ///< strips or tiles in all
    unsigned SegmentSamples() const { return planar ? 1 : samples; }               ///< a pixel of one strip or tile
    std::uint64_t RowBytes() const { return std::uint64_t{segmentWidth} * SegmentSamples() * (bits / 8); }
    /// Rows that the strip or tile holds; the last strip may be shorter.
    std::uint32_t RowsOf(std::uint64_t segment) const;
    std::uint64_t DecodedBytes(std::uint64_t segment) const { return RowBytes() * RowsOf(segment); }
    /// Plain bytes in the file, which need no decoder.
    bool Plain() const { return compression == 1 && fillOrder == 1; }
    /// JPEG and its like lose something each time; such a page is written as Deflate.
    bool Lossy() const;
    std::uint64_t Pixels() const { return std::uint64_t{width} * height; }
};

/// The images of a file. Refuses a file in which one cannot be converted as a whole, naming the reason.
std::vector<TiffPage> ReadPages(const TiffStructure& structure);

/// The image of one directory.
TiffPage ReadPage(const TiffStructure& structure, std::size_t directory);

/// A name for people.
std::string CompressionName(unsigned compression);
std::string PhotometricName(unsigned photometric);

}  // namespace hueweave::tool
