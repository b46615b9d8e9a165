// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// Little-endian TIFF files in memory, sound or broken. Entries stand in the order in which they are given.
///
/// Layout: head (8 bytes), first gap, directory, next-directory offset, data of the entries back to back, second gap,
/// strips, trailer.
class TiffBuilder {
public:
    /// Twelve bytes as they are to stand in the file.
    TiffBuilder& Entry(unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value);
    /// An entry that points to `data`, however few they are and whatever count says.
    TiffBuilder& Data(unsigned tag, unsigned type, std::uint32_t count, const Bytes& data);

    TiffBuilder& Short(unsigned tag, unsigned value) { return Entry(tag, 3, 1, value); }
    TiffBuilder& Long(unsigned tag, std::uint32_t value) { return Entry(tag, 4, 1, value); }
    /// Arrays: in the entry if they fit, else behind the directory.
    TiffBuilder& Shorts(unsigned tag, const std::vector<std::uint32_t>& values) { return Array(tag, 3, values); }
    TiffBuilder& Longs(unsigned tag, const std::vector<std::uint32_t>& values) { return Array(tag, 4, values); }
    TiffBuilder& Rational(unsigned tag, std::uint32_t numerator, std::uint32_t denominator);
    /// ASCII with its closing zero, at least 5 bytes in all.
    TiffBuilder& Text(unsigned tag, std::string_view text);
    /// UNDEFINED bytes, at least 5.
    TiffBuilder& Undefined(unsigned tag, const Bytes& data);
    /// Tag 34665 as one LONG that points to `directory`.
    TiffBuilder& Exif(const Bytes& directory) { return Data(34665, 4, 1, directory); }

    /// Tags 256, 257, 258 (one item a sample), 259, 262 and 277.
    TiffBuilder& Shape(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits);
    TiffBuilder& Strip(const Bytes& bytes);
    /// Tags 273 and 279 for all strips, also for those that are added later. Types: 1, 3 or 4.
    TiffBuilder& StripOffsets(unsigned type = 4);
    TiffBuilder& StripByteCounts(unsigned type = 4);
    /// Strips stand last to first in the file; the arrays keep their order.
    TiffBuilder& StripsBackwards();

    TiffBuilder& Head(const Bytes& firstFour);
    TiffBuilder& DirectoryAt(std::uint32_t announced);  ///< announces another place than the true one
    TiffBuilder& EntryCount(unsigned announced);        ///< announces another number than the true one
    TiffBuilder& NextDirectory(std::uint32_t offset);
    TiffBuilder& GapBeforeDirectory(std::size_t bytes);
    TiffBuilder& GapBeforeStrips(std::size_t bytes);
    TiffBuilder& Trailer(const Bytes& bytes);

    Bytes Build() const;
    /// Where a strip lies in the file.
    std::uint32_t StripPlace(std::size_t strip) const;

private:
    enum class Source { AsIs, Data, Offsets, Counts };
    struct Item {
        Source source;
        unsigned tag;
        unsigned type;
        std::uint32_t count;
        std::uint32_t value;
        Bytes data;
    };
    TiffBuilder& Array(unsigned tag, unsigned type, const std::vector<std::uint32_t>& values);
    std::size_t ItemBytes(const Item& item) const;
    Bytes ItemData(const Item& item) const;
    std::uint32_t DataStart() const;

    Bytes head_{0x49, 0x49, 0x2a, 0x00};
    std::vector<Item> items_;
    std::vector<Bytes> strips_;
    Bytes trailer_;
    std::size_t firstGap_ = 0;
    std::size_t secondGap_ = 0;
    std::uint32_t next_ = 0;
    bool backwards_ = false;
    bool otherPlace_ = false;
    bool otherCount_ = false;
    std::uint32_t place_ = 0;
    unsigned count_ = 0;
};

/// A sound file of one chunky strip: shape, strip tags, a resolution of 300 and a text.
TiffBuilder ChunkyTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits, const Bytes& pixels);
/// The shape with tag 284 = 2 and the given strips.
TiffBuilder PlanarTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits,
                       std::uint32_t rowsPerStrip, const std::vector<Bytes>& strips);
/// `count` bytes that differ from their neighbours, beginning with `first`.
Bytes CountingBytes(std::size_t count, unsigned first = 1);

}  // namespace hueweave::test
