// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// How many planes of a page take part in what. Samples that are interleaved are one plane.
struct PlaneCounts {
    explicit PlaneCounts(const TiffPage& page);

    unsigned gathered;  ///< become pixels: the colours, and what the converter needs beside them
    unsigned read;      ///< these, and encoded planes that stay as they are: no damage is passed on
    unsigned written;   ///< the colours; all where the page changes its compression
};

/// Where the planes of a block of pixels come from.
class PlaneSource {
public:
    virtual ~PlaneSource() = default;
    /// Sets `data` to the block's samples of one plane, in the processor's byte order. Planes come in order.
    virtual void Take(unsigned plane, Bytes& data) = 0;
};

/// Where they go to.
class PlaneSink {
public:
    virtual ~PlaneSink() = default;
    /// The same for what was converted; `data` may be spoilt.
    virtual void Give(unsigned plane, Bytes& data) = 0;
};

/// A block of pixels, interleaved as the converter takes them, whether the page holds its samples so or in planes.
/// It is used for one block after the other, and keeps its buffers between them.
class PlaneSet {
public:
    explicit PlaneSet(const TiffPage& page);

    void Gather(PlaneSource& source);
    void Scatter(PlaneSink& sink);

    unsigned char* data() { return pixels_.data(); }
    unsigned samples() const { return samples_; }  ///< a pixel

private:
    const TiffPage& page_;
    const PlaneCounts counts_;
    const unsigned samples_;
    Bytes pixels_, plane_;  ///< a plane at a time; not used where samples are interleaved
};

}  // namespace hueweave::tool
