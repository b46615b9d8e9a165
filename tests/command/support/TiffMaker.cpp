// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "command/support/TiffMaker.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

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
    std::string packed(size, '\0');
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                  bytes.size(), 9) != Z_OK) {
        throw std::runtime_error("zlib");
    }
    packed.resize(size);
    return packed;
}

std::string DeflatedZeros(std::uint64_t count) {
    z_stream stream{};
    if (deflateInit(&stream, 9) != Z_OK) throw std::runtime_error("zlib");
    std::vector<unsigned char> zeros(65536), out(65536);
    std::string packed;
    int state = Z_OK;
    while (state != Z_STREAM_END) {
        const std::uint64_t part = std::min<std::uint64_t>(count, zeros.size());
        count -= part;
        stream.next_in = zeros.data();
        stream.avail_in = static_cast<unsigned>(part);
        do {
            stream.next_out = out.data();
            stream.avail_out = static_cast<unsigned>(out.size());
            state = deflate(&stream, count == 0 ? Z_FINISH : Z_NO_FLUSH);
            packed.append(reinterpret_cast<char*>(out.data()), out.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return packed;
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
        Short(262, 2),
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
    Shape shape;
    shape.offsets = {pixels};
    shape.counts = {48};
    return Rgb(shape);
}

std::string SmallPixels() {
    std::string pixels;
    for (int i = 0; i < 48; ++i) pixels += static_cast<char>(5 * i);
    return pixels;
}

}  // namespace hueweave::test
