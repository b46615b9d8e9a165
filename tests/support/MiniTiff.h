// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// A little-endian, uncompressed TIFF file of one strip, laid out as the library's own writer lays it out: header,
/// directory, the data of its entries back to back, image. So the same description gives a source and, with other
/// pixels and without the profile, the file that must come of it.
struct MiniTiff {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned samples = 3;
    unsigned bits = 8;
    Bytes pixels;
    Bytes icc;  ///< embedded profile of more than 4 bytes, or empty for none

    Bytes Build() const {
        const std::uint32_t entries = icc.empty() ? 11 : 12;
        std::uint32_t free = 14 + 12 * entries;  // where the next block of data goes
        ByteWriter data;
        const auto place = [&](std::uint32_t size) {
            free += size;
            return free - size;
        };
        ByteWriter out;
        const auto entry = [&](unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
            out.Little16(tag).Little16(type).Little32(count).Little32(value);
        };
        out.Text("II").Little16(42).Little32(8).Little16(entries);
        entry(256, 4, 1, width);
        entry(257, 4, 1, height);
        if (samples == 1) {
            entry(258, 3, 1, bits);
        } else {
            entry(258, 3, samples, place(2 * samples));
            for (unsigned s = 0; s < samples; ++s) data.Little16(bits);
        }
        entry(259, 3, 1, 1);
        entry(262, 3, 1, samples == 1 ? 1 : 2);
        const std::size_t stripOffset = out.Size() + 8;
        entry(273, 4, 1, 0);
        entry(277, 3, 1, samples);
        entry(278, 4, 1, height);
        entry(279, 4, 1, static_cast<std::uint32_t>(pixels.size()));
        entry(282, 5, 1, place(8));
        data.Little32(30000).Little32(100);
        entry(305, 2, 9, place(9));
        data.Text("Hueweave").U8(0);
        if (!icc.empty()) {
            entry(34675, 7, static_cast<std::uint32_t>(icc.size()), place(static_cast<std::uint32_t>(icc.size())));
            data.Append(icc);
        }
        out.Little32(0).Append(data.Done()).Append(pixels);
        Bytes file = out.Done();
        for (std::size_t i = 0; i < 4; ++i) file[stripOffset + i] = static_cast<unsigned char>(free >> 8 * i);
        return file;
    }
};

}  // namespace hueweave::test
