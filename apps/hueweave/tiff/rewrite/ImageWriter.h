// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "colour/PixelConverter.h"
#include "system/Sha256.h"
#include "tiff/TiffPage.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::tool {

/// How the work is done, and what is measured on the way.
struct WriteSettings {
    unsigned threads = 1;
    std::uint64_t memory = std::uint64_t{40} << 20;      ///< bytes for all buffers of one file
    std::string scratch;                                 ///< folder of temporary files; empty for the output's own
    bool measure = false;                                ///< clipped pixels and SHA-256
    std::function<void(std::uint64_t pixels)> progress;  ///< called from all threads
};

/// What was measured.
struct Measured {
    std::uint64_t pixels = 0;
    std::uint64_t clipped = 0;  ///< pixels with a sample at an end of the range
    Sha256 hash;  ///< of the colour samples, strip by strip or tile by tile without padding; 16 bits little-endian
};

/// Converts the image data of one page from the source into its places in the output. All samples but the three
/// colours are copied.
class ImageWriter {
public:
    ImageWriter(const TiffStructure& structure, const std::vector<TiffPage>& pages, std::size_t page,
                const PixelConverter& converter, OutputLayout& layout, const FileAccess& target,
                const WriteSettings& settings, Measured& measured);

    /// Returns the places of all strips and tiles, plane after plane.
    std::vector<Extent> Write();

private:
    struct PlainUnit {
        std::uint64_t segment, segments;  ///< in a plane; more than one are whole and stand in a row
        std::uint32_t row, rows;          ///< of the first
    };

    std::vector<PlainUnit> PlainUnits() const;
    void WritePlain();
    void ConvertPlain(const PlainUnit& unit, std::uint64_t number, class WorkUnits& units, Bytes& data, Bytes& mixed);
    void WriteCoded(unsigned threads);
    struct RowPlane;
    void WriteRows();
    void WriteStripByRows(std::uint64_t strip, std::vector<RowPlane>& all);
    bool FitsInMemory(unsigned threads) const;
    bool RowsFitInMemory() const;

    /// Converts interleaved pixels of `columns` x `rows`.
    void ConvertPixels(unsigned char* data, std::uint64_t pixels, unsigned samples) const;
    /// Counts and hashes the pixels of rows that belong to the image, and tells of the progress.
    void Measure(const unsigned char* data, unsigned samples, std::uint64_t segment, std::uint32_t row,
                 std::uint32_t rows);
    unsigned Planes() const;  ///< planes that take part: one if samples are interleaved

    const TiffStructure& structure_;
    const TiffPage& page_;
    std::size_t index_;
    const PixelConverter& converter_;
    OutputLayout& layout_;
    const FileAccess& target_;
    const WriteSettings& settings_;
    Measured& measured_;
    std::vector<Extent> places_;
};

}  // namespace hueweave::tool
