// SPDX-License-Identifier: MIT
#include "support/TiffBuilder.h"

namespace hueweave::test {
namespace {

constexpr unsigned kGapByte = 0xee;

std::size_t ArrayItemBytes(unsigned type) { return type == 1 ? 1 : type == 3 ? 2 : 4; }

Bytes ArrayBytes(unsigned type, const std::vector<std::uint32_t>& values) {
    ByteWriter out;
    for (const std::uint32_t value : values) {
        for (std::size_t i = 0; i < ArrayItemBytes(type); ++i) out.U8(value >> 8 * i & 0xffU);
    }
    return out.Done();
}

/// Up to four bytes as the value word of an entry.
std::uint32_t EntryWord(const Bytes& bytes) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) word |= std::uint32_t{bytes[i]} << 8 * i;
    return word;
}

}  // namespace

TiffBuilder& TiffBuilder::Array(unsigned tag, unsigned type, const std::vector<std::uint32_t>& values) {
    const Bytes data = ArrayBytes(type, values);
    const auto count = static_cast<std::uint32_t>(values.size());
    return data.size() <= 4 ? Entry(tag, type, count, EntryWord(data)) : Data(tag, type, count, data);
}

TiffBuilder& TiffBuilder::Shape(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits) {
    Long(256, width).Long(257, height);
    Shorts(258, std::vector<std::uint32_t>(samples, bits));
    return Short(259, 1).Short(262, samples == 3 ? 2 : 1).Short(277, samples);
}

TiffBuilder& TiffBuilder::Strip(const Bytes& bytes) {
    strips_.push_back(bytes);
    return *this;
}

std::vector<TiffBuilder::Item> TiffBuilder::ItemsFor(std::size_t firstStrip) const {
    std::vector<std::uint32_t> places(strips_.size()), sizes(strips_.size());
    for (std::size_t i = 0; i < strips_.size(); ++i) {
        const std::size_t next = backwards_ ? strips_.size() - 1 - i : i;
        places[next] = static_cast<std::uint32_t>(firstStrip);
        sizes[next] = static_cast<std::uint32_t>(strips_[next].size());
        firstStrip += strips_[next].size();
    }
    TiffBuilder filled;
    for (const Item& item : items_) {
        if (item.strips == Strips::None) filled.Add(item);
        if (item.strips == Strips::AtOffsets) filled.Array(item.tag, item.type, places);
        if (item.strips == Strips::OfCounts) filled.Array(item.tag, item.type, sizes);
    }
    return filled.items_;
}

Bytes TiffBuilder::Build() const {
    const std::size_t dataStart = 8 + firstGap_ + 2 + 12 * items_.size() + 4;
    // The data of the entries are as long wherever the strips are.
    std::size_t firstStrip = dataStart + secondGap_;
    for (const Item& item : ItemsFor(0)) firstStrip += item.data.value_or(Bytes()).size();

    ByteWriter out, blocks;
    out.Append(head_).Little32(place_.value_or(static_cast<std::uint32_t>(8 + firstGap_)));
    out.Fill(firstGap_, kGapByte);
    out.Little16(count_.value_or(static_cast<unsigned>(items_.size())));
    for (const Item& item : ItemsFor(firstStrip)) {
        out.Little16(item.tag).Little16(item.type).Little32(item.count);
        out.Little32(item.data ? static_cast<std::uint32_t>(dataStart + blocks.Size()) : item.value);
        blocks.Append(item.data.value_or(Bytes()));
    }
    out.Little32(next_).Append(blocks.Done()).Fill(secondGap_, kGapByte);
    for (std::size_t i = 0; i < strips_.size(); ++i) out.Append(strips_[backwards_ ? strips_.size() - 1 - i : i]);
    return out.Append(trailer_).Done();
}

TiffBuilder ChunkyTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits,
                       const Bytes& pixels) {
    TiffBuilder tiff;
    tiff.Shape(width, height, samples, bits).Long(278, height).StripOffsets().StripByteCounts();
    return tiff.Rational(282, 300, 1).Text(305, "Hueweave").Strip(pixels);
}

TiffBuilder PlanarTiff(std::uint32_t width, std::uint32_t height, unsigned samples, unsigned bits,
                       std::uint32_t rowsPerStrip, const std::vector<Bytes>& strips) {
    TiffBuilder tiff;
    tiff.Shape(width, height, samples, bits).Long(278, rowsPerStrip).StripOffsets().StripByteCounts().Short(284, 2);
    for (const Bytes& strip : strips) tiff.Strip(strip);
    return tiff;
}

Bytes CountingBytes(std::size_t count, unsigned first) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(first + i);
    return bytes;
}

}  // namespace hueweave::test
