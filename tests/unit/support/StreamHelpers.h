// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "support/ByteStreams.h"
#include "support/ByteWriter.h"
#include "support/Matchers.h"
#include "support/TempDir.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {

/// The content of a buffer before it is read into.
inline constexpr unsigned char kUntouched = 0xcc;

inline std::uint64_t Address(const void* place) { return reinterpret_cast<std::uintptr_t>(place); }

/// These bytes first, then untouched bytes up to `count`.
inline Bytes ReadInto(std::size_t count, const Bytes& first) {
    Bytes bytes = first;
    bytes.resize(count, kUntouched);
    return bytes;
}

/// A caller's block between two fences of bytes that must stay unchanged.
class FencedBlock {
public:
    explicit FencedBlock(const Bytes& content) : size_(content.size()), all_(kFence, 0xee) {
        all_.insert(all_.end(), content.begin(), content.end());
        all_.insert(all_.end(), kFence, 0xee);
    }
    unsigned char* Data() { return all_.data() + kFence; }
    Bytes Content() const {
        const auto first = all_.begin() + kFence;
        return {first, first + static_cast<std::ptrdiff_t>(size_)};
    }
    bool FencesStand() const {
        const Bytes fence(kFence, 0xee);
        return std::equal(fence.begin(), fence.end(), all_.begin()) &&
               std::equal(fence.begin(), fence.end(), all_.end() - kFence);
    }

private:
    static constexpr std::ptrdiff_t kFence = 64;
    std::size_t size_;
    Bytes all_;
};

/// The position of a stream, relative to the start of its block.
inline std::int64_t Place(const IO_Buf& stream) { return static_cast<std::int64_t>(stream.position - stream.begin); }

}  // namespace hueweave::test
