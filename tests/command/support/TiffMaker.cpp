// SPDX-License-Identifier: MIT
#include "command/support/TiffMaker.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "command/support/Command.h"

namespace hueweave::test {

std::string Little(const std::vector<std::uint64_t>& numbers, std::size_t size) {
    std::string bytes;
    bytes.reserve(numbers.size() * size);
    for (const std::uint64_t number : numbers) {
        for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i);
    }
    return bytes;
}

std::string Deflated(const std::string& bytes) {
    uLongf size = compressBound(bytes.size());
    std::vector<Bytef> packed(size);
    if (compress2(packed.data(), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(), 9) != Z_OK) {
        throw std::runtime_error("zlib");
    }
    return {packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)};
}

TiffMaker::TiffMaker(bool bigTiff) : bigTiff_(bigTiff), last_(bigTiff ? 8 : 4) {
    bytes_ = bigTiff ? std::string("II+\0\10\0\0\0", 8) + std::string(8, '\0') : std::string("II*\0\0\0\0\0", 8);
}

std::uint64_t TiffMaker::Put(const std::string& data) {
    if (bytes_.size() % 2 != 0) bytes_ += '\0';
    const std::uint64_t at = bytes_.size();
    bytes_ += data;
    return at;
}

std::uint64_t TiffMaker::Directory(std::vector<Entry> entries, std::uint64_t next) {
    const std::size_t field = bigTiff_ ? 8 : 4;
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
    std::string block = Little({entries.size()}, bigTiff_ ? 8 : 2);
    for (const Entry& entry : entries) {
        std::string value = Little({entry.value}, field);
        if (entry.data.size() > field) value = Little({Put(entry.data)}, field);
        if (!entry.data.empty() && entry.data.size() <= field) value.replace(0, entry.data.size(), entry.data);
        block += Little({entry.tag, entry.type}, 2) + Little({entry.count}, field) + value;
    }
    return Put(block + Little({next}, field));
}

std::uint64_t TiffMaker::Page(const std::vector<Entry>& entries) {
    const std::uint64_t at = Directory(entries);
    Patch(last_, at);
    last_ = bytes_.size() - (bigTiff_ ? 8 : 4);
    return at;
}

void TiffMaker::Patch(std::uint64_t at, std::uint64_t value) {
    const std::string number = Little({value}, bigTiff_ ? 8 : 4);
    bytes_.replace(at, number.size(), number);
}

void TiffMaker::Save(const std::string& path) const { WriteBytes(path, bytes_); }

std::vector<TiffMaker::Entry> TiffMaker::Rgb(const Shape& shape) {
    std::vector<Entry> entries{
        Long(256, shape.width),
        Long(257, shape.height),
        {258, 3, shape.samples, 0, Little(std::vector<std::uint64_t>(shape.samples, 8), 2)},
        Short(259, shape.compression),
        Short(262, shape.photometric),
        Short(277, shape.samples),
        Short(284, shape.planar),
    };
    const bool tiled = shape.tileWidth != 0;
    if (tiled) {
        entries.push_back(Long(322, shape.tileWidth));
        entries.push_back(Long(323, shape.tileHeight));
    } else {
        entries.push_back(Long(278, shape.rows));
    }
    if (!shape.offsets.empty()) entries.push_back(Longs(tiled ? 324 : 273, shape.offsets));
    if (!shape.counts.empty()) entries.push_back(Longs(tiled ? 325 : 279, shape.counts));
    return entries;
}

std::vector<TiffMaker::Entry> TiffMaker::Small(std::uint64_t pixels) {
    return Rgb({.offsets = {pixels}, .counts = {48}});
}

Entries And(Entries entries, const TiffMaker::Entry& more) {
    entries.push_back(more);
    return entries;
}

Entries With(Entries entries, const TiffMaker::Entry& changed) {
    return And(Without(std::move(entries), changed.tag), changed);
}

Entries Without(Entries entries, unsigned tag) {
    std::erase_if(entries, [&](const TiffMaker::Entry& entry) { return entry.tag == tag; });
    return entries;
}

TiffMaker OneStrip(const std::string& data, TiffMaker::Shape shape, const Entries& more) {
    TiffMaker tiff;
    shape.offsets = {tiff.Put(data)};
    shape.counts = {data.size()};
    Entries entries = TiffMaker::Rgb(shape);
    entries.insert(entries.end(), more.begin(), more.end());
    tiff.Page(entries);
    return tiff;
}

std::string Resource(unsigned number, const std::string& name, std::string data) {
    std::string text = "8BIM";
    text += {static_cast<char>(number >> 8), static_cast<char>(number & 255), static_cast<char>(name.size())};
    text += name;
    if (name.size() % 2 == 0) text += '\0';
    for (const unsigned shift : {24U, 16U, 8U, 0U}) text += static_cast<char>(data.size() >> shift & 255);
    if (data.size() % 2 != 0) data += '\0';
    return text + data;
}

std::string SmallPixels() {
    std::string pixels;
    for (int i = 0; i < 48; ++i) pixels += static_cast<char>(5 * i);
    return pixels;
}

}  // namespace hueweave::test
