// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "support/ByteWriter.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {

/// A little-endian, uncompressed TIFF file of one strip, in the layout of the library's own writer: header, directory,
/// data of the entries back to back, image. So one description gives a source and, with converted pixels and without
/// the profile, the expected output.
struct MiniTiff {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned samples = 3;
    unsigned bits = 8;
    Bytes pixels;
    Bytes icc;  ///< embedded profile of more than 4 bytes, or empty for none

    Bytes Build() const {
        ByteWriter depths;
        for (unsigned s = 0; s < samples; ++s) depths.Little16(bits);
        TiffBuilder tiff;
        tiff.Long(256, width).Long(257, height);
        samples == 1 ? tiff.Short(258, bits) : tiff.Data(258, 3, samples, depths.Done());
        tiff.Short(259, 1).Short(262, samples == 1 ? 1 : 2).StripOffsets().Short(277, samples).Long(278, height);
        tiff.StripByteCounts().Rational(282, 30000, 100).Text(305, "Hueweave");
        if (!icc.empty()) tiff.Undefined(34675, icc);
        return tiff.Strip(pixels).Build();
    }
};

}  // namespace hueweave::test
