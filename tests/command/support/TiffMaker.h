// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hueweave::test {

/// `count` numbers of `size` bytes each, little-endian.
std::string Little(const std::vector<std::uint64_t>& numbers, std::size_t size);
/// Bytes as a Deflate stream.
std::string Deflated(const std::string& bytes);

/// Writes little-endian TIFF files, valid or broken: blocks and directories follow each other in the order of the
/// calls.
class TiffMaker {
public:
    struct Entry {
        unsigned tag, type;
        std::uint64_t count;
        std::uint64_t value;    ///< the value field, if `data` is empty
        std::string data = {};  ///< in the value field if it fits, else before the directory
    };
    /// The entries of an RGB image; a field of 0 or an empty one omits its entry.
    struct Shape {
        std::uint64_t width = 4, height = 4;
        std::vector<std::uint64_t> offsets{}, counts{};
        unsigned compression = 1, samples = 3, planar = 1;
        std::uint64_t rows = 4, tileWidth = 0, tileHeight = 0, photometric = 2;
    };

    explicit TiffMaker(bool bigTiff = false);
    /// Appends a block at an even offset, which it returns.
    std::uint64_t Put(const std::string& data);
    /// Appends a directory, its entries sorted by tag, and returns its offset.
    std::uint64_t Directory(std::vector<Entry> entries, std::uint64_t next = 0);
    /// Appends a directory and links it to the chain of pages.
    std::uint64_t Page(const std::vector<Entry>& entries);
    /// Writes a number of the size of an offset.
    void Patch(std::uint64_t at, std::uint64_t value);
    void First(std::uint64_t directory) { Patch(bigTiff_ ? 8 : 4, directory); }
    void Save(const std::string& path) const;
    std::string& bytes() { return bytes_; }

    static std::vector<Entry> Rgb(const Shape& shape);
    /// The entries of an image of 4 x 4 pixels of 8 bits, whose pixels are at offset `pixels`.
    static std::vector<Entry> Small(std::uint64_t pixels);
    static Entry Long(unsigned tag, std::uint64_t value) { return {tag, 4, 1, value}; }
    static Entry Short(unsigned tag, std::uint64_t value) { return {tag, 3, 1, value}; }
    static Entry Longs(unsigned tag, const std::vector<std::uint64_t>& values) {
        return {tag, 4, values.size(), 0, Little(values, 4)};
    }

private:
    bool bigTiff_;
    std::string bytes_;
    std::uint64_t last_;  ///< where the offset of the next page is written
};

using Entries = std::vector<TiffMaker::Entry>;
/// The entries plus one; with the entries of its tag replaced by one; without those of a tag.
Entries And(Entries entries, const TiffMaker::Entry& more);
Entries With(Entries entries, const TiffMaker::Entry& changed);
Entries Without(Entries entries, unsigned tag);

/// A file of one page whose only strip holds `data`, with further entries; an image of 4 x 4 pixels unless `shape` says
/// otherwise.
TiffMaker OneStrip(const std::string& data, TiffMaker::Shape shape = {}, const Entries& more = {});

/// A resource in tag 34377: signature, number, name, length and data, each padded to an even length.
std::string Resource(unsigned number, const std::string& name, std::string data);

/// 48 bytes: the pixels of `TiffMaker::Small`.
std::string SmallPixels();

}  // namespace hueweave::test
