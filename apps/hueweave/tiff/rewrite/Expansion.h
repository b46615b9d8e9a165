// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "tiff/TiffPage.h"
#include "tiff/rewrite/ChromaToRgb.h"

namespace hueweave::tool {

/// Turns samples as they are read into samples of 8 or 16 bits that a converter accepts: unpacks bits, looks up colours
/// in a palette, makes RGB of YCbCr, and scales to the depth of the output.
class Expansion {
public:
    /// Borrows the page.
    explicit Expansion(const TiffPage& page);

    /// Whether samples are packed: they have another depth than 8 and 16 bits.
    static bool IsPacked(const TiffPage& page) { return page.bits != 8 && page.bits != 16; }
    /// Unpacks rows of one plane. Each sample gets one byte, or two if it has more than 8 bits.
    void Unpack(Bytes& plane);

    /// Whether the samples that are read, unpacked, differ from those that a converter accepts.
    static bool IsNeeded(const TiffPage& page);
    /// Replaces interleaved samples by those that a converter accepts: `rows` rows of pixels, of strips or tiles.
    void Expand(Bytes& pixels, std::uint32_t rows);

    /// Bytes of a row of a block in the buffers of this object and of what it makes.
    static std::uint64_t RowMemory(const TiffPage& page);

private:
    template <typename From, typename To>
    void Expand(const Bytes& codes, Bytes& pixels) const;

    const TiffPage& page_;
    std::vector<std::uint16_t> scaled_;  ///< by code: the sample at the depth of the output
    std::optional<ChromaToRgb> chroma_;
    Bytes buffer_;
};

}  // namespace hueweave::tool
