// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>

#include "tiff/Chroma.h"

namespace hueweave::tool {

/// Makes RGB pixels of the data units of a YCbCr page. Each pixel has the Cb and Cr of its unit, as in libtiff, whose
/// whole numbers differ by two steps at the most: here the result is rounded once.
class ChromaToRgb {
public:
    explicit ChromaToRgb(const Chroma& chroma);

    /// Expands rows of data units to `rows` rows of pixels, of the width of a strip or tile, each with three bytes.
    void Expand(const Bytes& units, std::uint32_t rows, Bytes& pixels) const;

private:
    using Table = std::array<double, 256>;  ///< by sample
    const Chroma chroma_;
    Table luma_, redOfCr_, greenOfCr_, greenOfCb_, blueOfCb_;
};

}  // namespace hueweave::tool
