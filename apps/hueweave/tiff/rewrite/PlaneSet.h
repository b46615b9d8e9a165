// SPDX-License-Identifier: MIT
#pragma once

#include "colour/PixelConverter.h"
#include "tiff/TiffPage.h"
#include "tiff/rewrite/Expansion.h"

namespace hueweave::tool {

/// How many planes of a page are gathered, read and written. Interleaved samples are one plane.
struct PlaneCounts {
    explicit PlaneCounts(const TiffPage& page);

    unsigned gathered;  ///< become pixels: the colours, and what else the converter needs
    unsigned read;      ///< these, and unchanged compressed planes, to detect damage
    unsigned written;   ///< the colours; all planes if the layout changes
};

/// Supplies the planes of a block of pixels.
class PlaneSource {
public:
    virtual ~PlaneSource() = default;
    /// Sets `data` to the block's samples of one plane, in the processor's byte order. Called for the planes in order.
    virtual void Take(unsigned plane, Bytes& data) = 0;
};

/// Receives the planes of a converted block.
class PlaneSink {
public:
    virtual ~PlaneSink() = default;
    /// Takes the converted samples of one plane, in the processor's byte order. Called for the planes in order. May
    /// overwrite `data`.
    virtual void Give(unsigned plane, Bytes& data) = 0;
};

/// A block of pixels with interleaved samples, as the converter requires them, for pages with interleaved samples or
/// with separate planes, of any depth and with a palette. Reused for successive blocks, keeping its buffers.
class PlaneSet {
public:
    explicit PlaneSet(const TiffPage& page);

    /// Makes `rows` rows of pixels.
    void Gather(PlaneSource& source, std::uint32_t rows);
    /// Converts the first `pixels` pixels that were gathered.
    void Convert(const colour::PixelConverter& converter, std::size_t pixels);
    void Scatter(PlaneSink& sink);

    /// The pixels. Their samples have the depth of the output when they are converted.
    const unsigned char* data() const { return pixels_.data(); }
    unsigned samples() const { return samples_; }  ///< per pixel, as they are written
    /// Bytes of a row in the buffers that only pages of other kinds than RGB of 8 or 16 bits need.
    static std::uint64_t RowMemory(const TiffPage& page);

private:
    void GatherSamples(PlaneSource& source);

    const TiffPage& page_;
    const PlaneCounts counts_;
    Expansion expansion_;
    const unsigned samples_;
    Bytes pixels_, plane_;  ///< one plane; not used for interleaved samples, except by a converter
};

}  // namespace hueweave::tool
