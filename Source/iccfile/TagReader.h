// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ICC40::ICCFILE {

/// Reads big-endian words of one tag block; reads beyond the end give 0, so that the decoders need no error handling.
/// Data that must not be read partially are checked with `Holds` first.
class TagReader {
public:
    explicit TagReader(std::span<const unsigned char> block) : block_(block) {}
    /// A block of `size` bytes at `data`; null or a size below 1 is an empty block.
    TagReader(const unsigned char* data, int size)
        : block_(data, data == nullptr || size < 1 ? 0 : static_cast<std::size_t>(size)) {}

    std::uint8_t U8(std::uint64_t at) const {
        return at < block_.size() ? block_[static_cast<std::size_t>(at)] : std::uint8_t{0};
    }
    std::uint16_t U16(std::uint64_t at) const { return static_cast<std::uint16_t>(U8(at) << 8 | U8(at + 1)); }
    std::uint32_t U32(std::uint64_t at) const {
        return static_cast<std::uint32_t>(U16(at)) << 16 | static_cast<std::uint32_t>(U16(at + 2));
    }

    std::size_t Size() const { return block_.size(); }
    /// Number of bytes from `at` to the end of the block; 0 beyond it.
    std::size_t Room(std::uint64_t at) const {
        return at < block_.size() ? block_.size() - static_cast<std::size_t>(at) : std::size_t{0};
    }
    bool Holds(std::uint64_t at, std::uint64_t bytes) const {
        return at <= block_.size() && bytes <= block_.size() - at;
    }
    /// The rest of the block from `at` on.
    std::span<const unsigned char> From(std::uint64_t at) const { return block_.last(Room(at)); }

private:
    std::span<const unsigned char> block_;
};

}  // namespace ICC40::ICCFILE
