// SPDX-License-Identifier: MIT
#pragma once

#include <zlib.h>

#include "command/support/Command.h"

namespace hueweave::test {

/// A chunk of a PNG file, read and written without the code under test.
struct Chunk {
    std::string type, data;
    bool operator==(const Chunk&) const = default;
};
using Chunks = std::vector<Chunk>;
inline void PrintTo(const Chunk& chunk, std::ostream* out) {
    *out << chunk.type << " of " << chunk.data.size() << " bytes";
}

inline std::string BigEndian(std::size_t number, int bytes = 4) {
    std::string text;
    for (int n = bytes - 1; n >= 0; --n) text += static_cast<char>(number >> (8 * n));
    return text;
}

inline Chunks ChunksOf(const std::string& path) {
    const std::string bytes = FileBytes(path);
    Chunks chunks;
    const auto byte = [&](std::size_t at) { return std::size_t{static_cast<unsigned char>(bytes.at(at))}; };
    for (std::size_t at = 8; at < bytes.size();) {
        const std::size_t size = byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3);
        chunks.push_back({bytes.substr(at + 4, 4), bytes.substr(at + 8, size)});
        at += size + 12;
    }
    return chunks;
}

inline std::string PngOf(const Chunks& chunks) {
    std::string bytes("\x89PNG\r\n\x1a\n", 8);
    for (const Chunk& chunk : chunks) {
        const std::string content = chunk.type + chunk.data;
        const auto sum = crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
        bytes += BigEndian(chunk.data.size()) + content + BigEndian(sum);
    }
    return bytes;
}

/// The chunks without those of these types.
inline Chunks Without(Chunks chunks, const Words& types) {
    std::erase_if(chunks, [&](const Chunk& c) { return std::count(types.begin(), types.end(), c.type) > 0; });
    return chunks;
}
/// All data of a type.
inline std::string DataOf(const Chunks& chunks, const std::string& type) {
    std::string data;
    for (const Chunk& chunk : chunks) data += chunk.type == type ? chunk.data : "";
    return data;
}
/// Adds chunks before the image.
inline Chunks WithBefore(Chunks chunks, const std::string& type, const Chunks& more) {
    const auto place = std::find_if(chunks.begin(), chunks.end(), [&](const Chunk& c) { return c.type == type; });
    chunks.insert(place, more.begin(), more.end());
    return chunks;
}

}  // namespace hueweave::test
