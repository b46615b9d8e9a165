// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

/// The bytes of one file, taken from any place of it: they stand in the memory of a caller, or are read from a stream.
/// What the file does not hold is 0. The stream or the memory is borrowed.
class ByteSource {
public:
    /// What `ReadAhead` holds at the most.
    static constexpr std::uint64_t kAhead = std::uint64_t{4} << 20;

    /// All bytes of a file.
    explicit ByteSource(std::span<const unsigned char> bytes) : held_(bytes), size_(bytes.size()) {}
    /// A stream, from where it stands on.
    explicit ByteSource(std::FILE* stream);
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Bytes in the file, 0 when that cannot be told.
    std::uint64_t Size() const { return size_; }
    /// Reads the first `kAhead` bytes of the file at once, and holds them; a file that ends before is not read again.
    /// For files that may ask for so many pieces, anywhere, that a seek for each would take far longer than a sound
    /// file of that size.
    void ReadAhead();
    /// Goes to a place, counted from the file's start. False, and no move, where the stream refuses.
    bool Seek(std::uint64_t offset);
    /// Takes the next bytes and goes behind them. Returns how many of them the file holds.
    std::size_t Read(std::span<unsigned char> to);
    /// Takes the bytes from `start` on: none where the stream refuses to go there.
    void ReadAt(std::uint64_t start, std::span<unsigned char> to);
    /// The same for `size` bytes that are lent until the next call. Where `Read` goes on afterwards is not defined.
    std::span<const unsigned char> Block(std::uint64_t start, std::uint64_t size);

private:
    std::FILE* stream_ = nullptr;          ///< null once all bytes are held
    std::span<const unsigned char> held_;  ///< the file's first bytes
    std::uint64_t size_;
    std::uint64_t at_ = 0;  ///< where `Read` goes on, without a stream
    std::vector<unsigned char> ahead_;
    std::vector<unsigned char> block_;
};
