// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

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
    explicit FencedBlock(const Bytes& content)
        : all_(ByteWriter().Fill(kFence, 0xee).Append(content).Fill(kFence, 0xee).Done()) {}
    unsigned char* Data() { return all_.data() + kFence; }
    Bytes Content() const { return {all_.begin() + kFence, all_.end() - kFence}; }
    bool FencesStand() const { return all_ == FencedBlock(Content()).all_; }

private:
    static constexpr std::ptrdiff_t kFence = 64;
    Bytes all_;
};

/// The position of a stream, relative to the start of its block.
inline std::int64_t Place(const IO_Buf& stream) { return static_cast<std::int64_t>(stream.position - stream.begin); }

}  // namespace hueweave::test
