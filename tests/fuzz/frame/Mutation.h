// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Changes that know the formats: a mutator changes a block in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "FuzzInput.h"

namespace hueweave::fuzz {

/// A file or a part of one that lies in the fuzzer's memory and may grow to `maxSize` bytes. What lies beyond its end
/// reads as 0 and is not written.
struct Block {
    std::uint8_t* data;
    std::size_t size, maxSize;
    Scatter& scatter;
    bool little = false;  ///< order of bytes

    std::uint64_t Get(std::size_t at, std::size_t width) const;
    void Put(std::size_t at, std::size_t width, std::uint64_t value) const;
    void Copy(std::size_t to, std::size_t from, std::size_t count) const;
    /// 0, 1, the limit and its neighbours, and the edges of 32-bit numbers.
    std::uint32_t Edge(std::uint64_t limit) const;
    bool OneIn(std::size_t count) const { return scatter.Below(count) == 0; }
    template <typename Values>
    auto AnyOf(const Values& values) const {
        return values[scatter.Below(std::size(values))];
    }
    /// Puts bytes in or takes them out at `at`; what does not fit is left alone. Bytes that come have the value of the
    /// one before them.
    void Stretch(std::size_t at, std::size_t count);
    void Shorten(std::size_t at, std::size_t count);
    /// One or the other by 1 to `most` bytes. Returns the growth, which wraps around for a shorter block.
    std::size_t Move(std::size_t at, std::size_t most);
    /// Now and then cuts the end off.
    void Cut();
};

using Mutator = void (*)(Block& block);

/// A profile: one field of the table or of a block, or a block that is cut, moved, stretched or renamed.
void MutateIcc(Block& file);
/// A TIFF file: one field of an entry, or an entry or the data of one that move, grow or go.
void MutateTiff(Block& file);
/// A tag's block of any type: a count, an entry's number, a channel's or a point's, at what the units take and at what
/// just fits in the block; or a block that is just too short.
void MutateTag(Block& block);
/// A block of curves and a grid: the same, and its offsets.
void MutateCurvedTag(Block& block);

/// An input whose first `prefix` bytes steer the target, with a file behind them: half of the changes are the format's,
/// the others the engine's own; one in four goes to the steering bytes. Returns the new size.
std::size_t MutateBehind(std::size_t prefix, Mutator format, std::uint8_t* data, std::size_t size, std::size_t maxSize,
                         unsigned seed);

}  // namespace hueweave::fuzz

/// The mutator of a target.
#define HUEWEAVE_FUZZ_MUTATOR(prefix, format)                                                                 \
    extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, \
                                                   unsigned seed) {                                           \
        return hueweave::fuzz::MutateBehind(prefix, hueweave::fuzz::format, data, size, maxSize, seed);       \
    }                                                                                                         \
    static_assert(true)
