// SPDX-License-Identifier: MIT
#include "picture/Exif.h"

#include <tiff.h>

namespace hueweave::tool {
namespace {

/// Numbers of a block in its own byte order; past the end every number is 0.
class ExifReader {
public:
    explicit ExifReader(std::span<const unsigned char> block)
        : block_(block), bigEndian_(!block.empty() && block[0] == 'M') {}
    std::uint32_t U16(std::size_t at) const {
        const std::uint32_t a = Byte(at), b = Byte(at + 1);
        return bigEndian_ ? a << 8 | b : b << 8 | a;
    }
    std::uint32_t U32(std::size_t at) const {
        const std::uint32_t a = U16(at), b = U16(at + 2);
        return bigEndian_ ? a << 16 | b : b << 16 | a;
    }

    struct Entry {
        std::size_t at = 0;  ///< 0 if there is none
        explicit operator bool() const { return at != 0; }
    };
    Entry Find(std::size_t directory, unsigned tag) const {
        for (std::size_t n = 0; directory != 0 && n < U16(directory); ++n) {
            const std::size_t at = directory + 2 + 12 * n;
            if (U16(at) == tag) return {at};
        }
        return {};
    }
    std::size_t Next(std::size_t directory) const {
        return directory == 0 ? 0 : U32(directory + 2 + std::size_t{12} * U16(directory));
    }

private:
    std::uint32_t Byte(std::size_t at) const { return at < block_.size() ? block_[at] : 0; }

    std::span<const unsigned char> block_;
    bool bigEndian_;
};

}  // namespace

ExifColours ReadExif(std::span<const unsigned char> block) {
    const ExifReader reader(block);
    ExifColours colours;
    const std::size_t first = reader.U32(4);
    if (const auto exif = reader.Find(first, TIFFTAG_EXIFIFD)) {
        const auto space = reader.Find(reader.U32(exif.at + 8), EXIFTAG_COLORSPACE);
        if (space && reader.U16(space.at + 2) == TIFF_SHORT) colours.space = reader.U16(space.at + 8);
    }
    const auto orientation = reader.Find(first, TIFFTAG_ORIENTATION);
    if (orientation && reader.U16(orientation.at + 2) == TIFF_SHORT)
        colours.orientation = reader.U16(orientation.at + 8);
    colours.hasThumbnail = static_cast<bool>(reader.Find(reader.Next(first), TIFFTAG_JPEGIFOFFSET));
    return colours;
}

}  // namespace hueweave::tool
