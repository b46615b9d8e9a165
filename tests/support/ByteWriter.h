// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace hueweave::test {

using Bytes = std::vector<unsigned char>;

/// Appends integers of either byte order to a growing block.
class ByteWriter {
public:
    ByteWriter& U8(unsigned value) {
        bytes_.push_back(static_cast<unsigned char>(value));
        return *this;
    }
    ByteWriter& Big16(unsigned value) { return U8(value >> 8 & 0xffU).U8(value & 0xffU); }
    ByteWriter& Big32(std::uint32_t value) { return Big16(value >> 16).Big16(value & 0xffffU); }
    /// 16 bits for each item.
    template <typename Values>
    ByteWriter& Big16s(const Values& values) {
        for (const auto value : values) Big16(value);
        return *this;
    }
    ByteWriter& Little16(unsigned value) { return U8(value & 0xffU).U8(value >> 8 & 0xffU); }
    ByteWriter& Little32(std::uint32_t value) { return Little16(value & 0xffffU).Little16(value >> 16); }
    ByteWriter& Text(std::string_view text) {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    ByteWriter& Append(const Bytes& block) {
        bytes_.insert(bytes_.end(), block.begin(), block.end());
        return *this;
    }
    ByteWriter& Fill(std::size_t count, unsigned value = 0) {
        bytes_.insert(bytes_.end(), count, static_cast<unsigned char>(value));
        return *this;
    }
    /// Pads with zeros to a multiple of `step`.
    ByteWriter& Align(std::size_t step) {
        while (bytes_.size() % step != 0) U8(0);
        return *this;
    }
    ByteWriter& PatchBig32(std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i) bytes_.at(at + i) = static_cast<unsigned char>(value >> (24 - 8 * i));
        return *this;
    }
    std::size_t Size() const { return bytes_.size(); }
    const Bytes& Done() const { return bytes_; }

private:
    Bytes bytes_;
};

inline void WriteFile(const std::string& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

inline Bytes ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

}  // namespace hueweave::test
