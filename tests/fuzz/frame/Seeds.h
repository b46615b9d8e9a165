// SPDX-License-Identifier: MIT
// Seeds of a search, generated at every build: each reaches different code.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>

#include "support/ByteWriter.h"

namespace hueweave::fuzz {

using test::Bytes;

/// "what-1-2", for the names of seeds.
template <typename... Numbers>
std::string Name(std::string what, Numbers... numbers) {
    ((what += "-" + std::to_string(numbers)), ...);
    return what;
}

/// Bytes for pixels, the same on every machine.
inline Bytes Pattern(std::size_t size, unsigned seed = 0) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 37 + i / 7 * 5 + seed * 41);
    return bytes;
}

/// A file behind bytes that steer the target.
inline Bytes Steered(std::initializer_list<unsigned> steering, const Bytes& file) {
    test::ByteWriter out;
    for (const unsigned byte : steering) out.U8(byte);
    return out.Append(file).Done();
}

/// Receives one file and a name for it.
using Sow = std::function<void(const std::string& name, const Bytes& file)>;

/// Profiles: every tag type at every length, tables of 0 to 8 channels, 0 to 34 points, 0 to 4097 entries.
void SowProfiles(const Sow& sow);
/// TIFF files for every image layout and every type of entry, truncated and out of order.
void SowTiffs(const Sow& sow);
/// TIFF files written by libtiff, in every layout that the command converts, in both byte orders and as BigTIFF.
void SowCommandTiffs(const Sow& sow);
/// PNG files written by libpng, and JPEG files written by libjpeg, of each kind that the command converts, behind
/// the byte that steers the conversion.
void SowPngs(const Sow& sow);
void SowJpegs(const Sow& sow);
/// TIFF files of old-style JPEG: with the place of a whole JPEG file, and with the places of its tables.
void SowOldJpegs(const Sow& sow);
/// Small profiles written by Little CMS: tables, matrices, and kinds that the command refuses.
void SowCommandProfiles(const Sow& sow);
/// Deflate data after three bytes that give the size of the strip: of that size, shorter, longer, truncated and
/// damaged.
void SowDeflated(const Sow& sow);

}  // namespace hueweave::fuzz
