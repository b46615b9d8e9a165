// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Limits on the cost of a PNG file apart from its pixels.
namespace png_limit {
inline constexpr std::uint64_t kChunks = 65536;                          ///< besides those of the image
inline constexpr std::uint64_t kImageChunks = std::uint64_t{1} << 21;    ///< chunks IDAT
inline constexpr std::uint64_t kValue = std::uint64_t{32} << 20;         ///< bytes of a chunk that is read
inline constexpr std::uint64_t kProfile = std::uint64_t{32} << 20;       ///< bytes of a decoded profile
inline constexpr std::uint64_t kBehindPixels = std::uint64_t{64} << 10;  ///< encoded bytes after the last pixel, about
}  // namespace png_limit

/// A chunk, or all chunks IDAT together.
struct PngChunk {
    std::string type;  ///< four letters
    Extent place;      ///< with its length, type and checksum
    Extent Data() const { return {place.offset + 8, place.size - 12}; }
    /// A reader that does not know the type must refuse the file.
    bool IsCritical() const { return type[0] < 'a'; }
    /// It may be copied by a program that changes the image and does not know the type.
    bool IsSafeToCopy() const { return type[3] >= 'a'; }
};

/// The fields of IHDR.
struct PngHeader {
    enum Colours : unsigned { Grey = 0, Rgb = 2, Palette = 3, GreyAlpha = 4, RgbAlpha = 6 };
    std::uint32_t width = 0, height = 0;
    unsigned depth = 0;  ///< bits per sample, or an index of a palette
    Colours colours = Grey;
    bool interlaced = false;
    bool IsGrey() const { return colours == Grey || colours == GreyAlpha; }
};

/// The header of a converted image with this many channels of colours: grey of less than 8 bits gets 8, and may become
/// RGB. Palettes and RGB images keep theirs.
PngHeader HeaderWritten(const PngHeader& source, unsigned channels);

/// The chunks of a PNG file in their order. Their checksums are verified, except those of the image, which its decoder
/// verifies. Refuses a file that readers could understand differently.
class PngStructure {
public:
    /// Borrows the file.
    explicit PngStructure(const FileAccess& file);

    const FileAccess& file() const { return file_; }
    const PngHeader& header() const { return header_; }
    /// From IHDR to IEND; the chunks IDAT are one element.
    const std::vector<PngChunk>& chunks() const { return chunks_; }
    const PngChunk* Find(std::string_view type) const;
    Extent image() const { return Find("IDAT")->place; }
    /// Bytes after IEND, which belong to no chunk.
    Extent trailer() const { return trailer_; }
    /// The bytes of a chunk. Refuses a chunk that is too large to be read.
    Bytes Data(const PngChunk& chunk) const;
    /// The decoded profile of the chunk iCCP.
    Bytes Profile() const;

private:
    [[noreturn]] void Refuse(const std::string& reason) const;
    PngChunk ReadChunk(std::uint64_t offset);
    void Add(PngChunk chunk);
    void CheckSum(const PngChunk& chunk) const;
    void ReadHeader();
    void CheckOrder() const;

    const FileAccess& file_;
    std::uint64_t fileSize_;
    PngHeader header_;
    std::vector<PngChunk> chunks_;
    std::uint64_t imageChunks_ = 0;
    Extent trailer_;
};

/// A chunk as bytes, with its length and checksum.
Bytes MakeChunk(std::string_view type, const Bytes& data);
/// The chunk iCCP for a profile.
Bytes MakeProfileChunk(const Bytes& profile);

inline constexpr unsigned char kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

}  // namespace hueweave::tool
