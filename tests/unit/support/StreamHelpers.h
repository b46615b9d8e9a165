// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/ByteStreams.h"
#include "support/TempDir.h"

namespace hueweave::test {

using ByteList = std::vector<unsigned char>;

/// What a buffer holds before it is read into.
inline constexpr unsigned char kUntouched = 0xcc;

inline std::uint64_t Address(const void* place) { return reinterpret_cast<std::uintptr_t>(place); }

/// `count` bytes that differ from their neighbours, starting with `first`.
inline ByteList Rising(std::size_t count, unsigned first) {
    ByteList bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(first + i);
    return bytes;
}

inline void PutFile(const std::string& path, const ByteList& bytes) {
    std::ofstream out(path, std::ios::binary);
    for (const unsigned char byte : bytes) out.put(static_cast<char>(byte));
}

inline ByteList FileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return {text.begin(), text.end()};
}

/// A block of the caller's between two fences of bytes that nobody may touch.
class FencedBlock {
public:
    explicit FencedBlock(const ByteList& content) : size_(content.size()), all_(kFence, 0xee) {
        all_.insert(all_.end(), content.begin(), content.end());
        all_.insert(all_.end(), kFence, 0xee);
    }
    unsigned char* Data() { return all_.data() + kFence; }
    unsigned long Size() const { return size_; }
    ByteList Content() const {
        const auto first = all_.begin() + kFence;
        return {first, first + static_cast<std::ptrdiff_t>(size_)};
    }
    bool FencesStand() const {
        for (std::size_t i = 0; i < kFence; ++i) {
            if (all_[i] != 0xee || all_[kFence + size_ + i] != 0xee) return false;
        }
        return true;
    }

private:
    static constexpr std::ptrdiff_t kFence = 64;
    std::size_t size_;
    ByteList all_;
};

/// Where a stream stands, counted from its block's start.
inline std::int64_t Place(const IO_Buf& stream) { return static_cast<std::int64_t>(stream.position - stream.begin); }

}  // namespace hueweave::test
