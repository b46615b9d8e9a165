// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

/// Random access to the bytes of one file, either in the caller's memory or in a stream. Bytes beyond the end of the
/// file are read as 0. The stream or the memory is borrowed.
class ByteSource {
public:
    /// Maximum number of bytes held by `ReadAhead`.
    static constexpr std::uint64_t kAhead = std::uint64_t{4} << 20;

    /// A file in memory.
    explicit ByteSource(std::span<const unsigned char> bytes) : held_(bytes), size_(bytes.size()) {}
    /// A stream, starting at its current position.
    explicit ByteSource(std::FILE* stream);
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Size of the file in bytes, or 0 if it is unknown.
    std::uint64_t Size() const { return size_; }
    /// Reads the first `kAhead` bytes of the file at once and holds them; a shorter file is not read again. For files
    /// that can refer to so many parts that one seek each would take far longer than a valid file of that size.
    void ReadAhead();
    /// Moves to a position, counted from the start of the file. Returns false without moving if the stream refuses.
    bool Seek(std::uint64_t offset);
    /// Reads the next bytes. Returns how many of them the file contains.
    std::size_t Read(std::span<unsigned char> to);
    /// Reads the bytes from `start` on, or none if the stream refuses to seek there.
    void ReadAt(std::uint64_t start, std::span<unsigned char> to);
    /// The same for `size` bytes, which stay valid until the next call. The position of the next `Read` is then
    /// undefined.
    std::span<const unsigned char> Block(std::uint64_t start, std::uint64_t size);

private:
    std::FILE* stream_ = nullptr;          ///< null if all bytes are held
    std::span<const unsigned char> held_;  ///< the first bytes of the file
    std::uint64_t size_;
    std::uint64_t at_ = 0;  ///< position of the next `Read`, without a stream
    std::vector<unsigned char> ahead_;
    std::vector<unsigned char> block_;
};
