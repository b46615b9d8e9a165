// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What every fuzz target stands on: numbers out of the input's bytes, files in memory, and a count of the heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "support/ByteWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
/// Present in a fuzzing build only by the engine, in a replay by Replay.cpp: changes a block in place, returns its
/// size.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace hueweave::fuzz {

using test::Bytes;

/// Tells what does not hold, and ends the process.
[[noreturn]] void Fail(const char* what, const char* file, int line);
inline void Require(bool holds, const char* what, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) Fail(what, file, line);
}

/// Numbers from the input, front to back; behind its end everything is 0.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    bool Empty() const { return left_ == 0; }
    std::size_t Left() const { return left_; }
    unsigned U8() {
        if (left_ == 0) return 0;
        --left_;
        return *data_++;
    }
    unsigned U16() {
        const unsigned low = U8();
        return low | U8() << 8;
    }
    std::uint32_t U32() {
        const std::uint32_t low = U16();
        return low | static_cast<std::uint32_t>(U16()) << 16;
    }
    std::uint64_t U64() {
        const std::uint64_t low = U32();
        return low | static_cast<std::uint64_t>(U32()) << 32;
    }
    bool Bool() { return (U8() & 1U) != 0; }
    /// 0 to `limit` - 1; `limit` from 1 on.
    std::size_t Below(std::size_t limit) { return (limit <= 256 ? U8() : limit <= 65536 ? U16() : U32()) % limit; }
    /// `low` to `high`, both possible.
    int Between(int low, int high) {
        return low + static_cast<int>(Below(static_cast<std::size_t>(static_cast<std::int64_t>(high) - low) + 1));
    }
    /// Any int: half of the time a small one, else one at or beside the edges of the usual widths.
    int Int();
    /// A size as callers pass it: mostly small, now and then at the limits of 32 or 64 bits.
    std::uint64_t Length();
    /// Any double: colours, edges, endless ones and no numbers.
    double Double();
    /// The next bytes, `count` of them.
    Bytes Take(std::size_t count);
    Bytes Rest() { return Take(left_); }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

/// A number generator for contents that need no bytes of the input each.
class Scatter {
public:
    explicit Scatter(std::uint32_t seed) : state_(seed * 2654435761U + 12345U) {}
    std::uint32_t Next() {
        state_ = state_ * 1664525U + 1013904223U;
        return state_ >> 8;
    }
    unsigned Sample() { return Next() >> 4 & 0xffffU; }
    std::size_t Below(std::size_t limit) { return Next() % limit; }

private:
    std::uint32_t state_;
};

/// A regular file in memory that has a path.
class ScratchFile {
public:
    ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile();
    void Put(std::span<const std::uint8_t> bytes) const;
    Bytes Get() const;
    std::size_t Size() const;
    const char* Path() const { return path_.c_str(); }

private:
    int descriptor_;
    std::string path_;
};

/// The heap from here on: bytes beyond what was in use, at the most, and the number of allocations.
class HeapWatch {
public:
    HeapWatch();
    std::size_t Peak() const;
    std::size_t Count() const;

private:
    std::size_t liveBefore_, countBefore_;
};

/// What the library prints to the standard output stream while this lives.
class PrintWatch {
public:
    PrintWatch();
    PrintWatch(const PrintWatch&) = delete;
    PrintWatch& operator=(const PrintWatch&) = delete;
    ~PrintWatch();
    std::string Text() const;

private:
    struct State;
    State* state_;
};

/// Open descriptors of this process.
std::size_t OpenDescriptors();

}  // namespace hueweave::fuzz
