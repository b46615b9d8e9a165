// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// Little-endian TIFF files in memory, valid or broken. Entries keep the order in which they are added.
///
/// Layout: header (8 bytes), first gap, directory, next-directory offset, data of the entries back to back, second gap,
/// strips, trailer.
class TiffBuilder {
public:
    /// Twelve bytes as stored in the file.
    TiffBuilder& Entry(unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
        return Add({tag, type, count, value, std::nullopt});
    }
    /// An entry that points to `data`, however short they are and whatever the count says.
    TiffBuilder& Data(unsigned tag, unsigned type, std::uint32_t count, const Bytes& data) {
        return Add({tag, type, count, 0, data});
    }

    TiffBuilder& Short(unsigned tag, unsigned value) { return Entry(tag, 3, 1, value); }
    TiffBuilder& Long(unsigned tag, std::uint32_t value) { return Entry(tag, 4, 1, value); }
    /// Arrays: in the entry if they fit, else after the directory.
    TiffBuilder& Shorts(unsigned tag, const std::vector<std::uint32_t>& values) { return Array(tag, 3, values); }
    TiffBuilder& Longs(unsigned tag, const std::vector<std::uint32_t>& values) { return Array(tag, 4, values); }
    TiffBuilder& Rational(unsigned tag, std::uint32_t numerator, std::uint32_t denominator) {
        return Data(tag, 5, 1, ByteWriter().Little32(numerator).Little32(denominator).Done());
    }
    /// ASCII with its closing zero, at least 5 bytes in all.
    TiffBuilder& Text(unsigned tag, std::string_view text) {
        return Data(tag, 2, static_cast<std::uint32_t>(text.size() + 1), ByteWriter().Text(text).U8(0).Done());
    }
    /// UNDEFINED bytes, at least 5.
    TiffBuilder& Undefined(unsigned tag, const Bytes& data) {
        return Data(tag, 7, static_cast<std::uint32_t>(data.size()), data);
    }
    /// Tag 34665 as one LONG that points to `directory`.
    TiffBuilder& Exif(const Bytes& directory) { return Data(34665, 4, 1, directory); }

    /// Tags 256, 257, 258 (one item a sample), 259, 262 and 277.
    TiffBuilder& Shape(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits);
    TiffBuilder& Strip(const Bytes& bytes);
    /// Tags 273 and 279 for all strips, including those added later. Types: 1, 3 or 4.
    TiffBuilder& StripOffsets(unsigned type = 4) { return Add({273, type, 0, 0, {}, Strips::AtOffsets}); }
    TiffBuilder& StripByteCounts(unsigned type = 4) { return Add({279, type, 0, 0, {}, Strips::OfCounts}); }
    /// Strips are stored last to first; the arrays keep their order.
    TiffBuilder& StripsBackwards() { return Set(backwards_, true); }

    TiffBuilder& Head(const Bytes& firstFour) { return Set(head_, firstFour); }
    /// Announces a wrong offset or a wrong number of entries.
    TiffBuilder& DirectoryAt(std::uint32_t announced) { return Set(place_, announced); }
    TiffBuilder& EntryCount(unsigned announced) { return Set(count_, announced); }
    TiffBuilder& NextDirectory(std::uint32_t offset) { return Set(next_, offset); }
    TiffBuilder& GapBeforeDirectory(std::size_t bytes) { return Set(firstGap_, bytes); }
    TiffBuilder& GapBeforeStrips(std::size_t bytes) { return Set(secondGap_, bytes); }
    TiffBuilder& Trailer(const Bytes& bytes) { return Set(trailer_, bytes); }

    Bytes Build() const;

private:
    enum class Strips { None, AtOffsets, OfCounts };
    struct Item {
        unsigned tag, type;
        std::uint32_t count, value;
        std::optional<Bytes> data;     ///< none: the entry holds `value`
        Strips strips = Strips::None;  ///< an array that is known when the file is built
    };
    TiffBuilder& Add(Item item) {
        items_.push_back(std::move(item));
        return *this;
    }
    template <typename Field, typename Value>
    TiffBuilder& Set(Field& field, const Value& value) {
        field = value;
        return *this;
    }
    TiffBuilder& Array(unsigned tag, unsigned type, const std::vector<std::uint32_t>& values);
    /// With the arrays of strips, of which the first in the file is at `firstStrip`.
    std::vector<Item> ItemsFor(std::size_t firstStrip) const;

    Bytes head_{0x49, 0x49, 0x2a, 0x00};
    std::vector<Item> items_;
    std::vector<Bytes> strips_;
    Bytes trailer_;
    std::size_t firstGap_ = 0;
    std::size_t secondGap_ = 0;
    std::uint32_t next_ = 0;
    bool backwards_ = false;
    std::optional<std::uint32_t> place_;
    std::optional<unsigned> count_;
};

/// A valid file of one chunky strip: shape, strip tags, a resolution of 300 and a text.
TiffBuilder ChunkyTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits, const Bytes& pixels);
/// The shape with tag 284 = 2 and the given strips.
TiffBuilder PlanarTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits,
                       std::uint32_t rowsPerStrip, const std::vector<Bytes>& strips);
/// `count` bytes that differ from their neighbours, starting with `first`.
Bytes CountingBytes(std::size_t count, unsigned first = 1);

}  // namespace hueweave::test
