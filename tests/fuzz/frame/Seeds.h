// SPDX-License-Identifier: MIT
// Seeds of a search, generated at every build: each reaches different code.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/ByteWriter.h"

namespace hueweave::fuzz {

using test::Bytes;

/// "what-1-2".
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
/// Files for the command, written by libtiff, libpng, libjpeg and Little CMS: of each kind that it converts, and some
/// that it refuses. A byte that steers the conversion precedes PNG and JPEG files.
void SowCommandTiffs(const Sow& sow);
void SowPngs(const Sow& sow);
void SowJpegs(const Sow& sow);
void SowCommandProfiles(const Sow& sow);
/// TIFF files of old-style JPEG: with the place of a whole JPEG file, and with the places of its tables.
void SowOldJpegs(const Sow& sow);
/// Deflate data behind three bytes for the size of the strip: of that size, shorter, longer, truncated and damaged.
void SowDeflated(const Sow& sow);

}  // namespace hueweave::fuzz
