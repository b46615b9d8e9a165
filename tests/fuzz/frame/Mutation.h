// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Changes that know the formats. A mutator changes a block of `size` bytes in place, may let it grow to `maxSize`, and
// returns its new size.
#pragma once

#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"

namespace hueweave::fuzz {

using Mutator = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter);

/// A profile: one field of the table or of a block, or a block that is cut, moved, stretched or renamed.
std::size_t MutateIcc(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter);
/// A TIFF file: one field of an entry, or an entry or the data of one that move, grow or go.
std::size_t MutateTiff(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter);

/// A tag's block of any type: a count, an entry's number, a channel's or a point's, at what the units take and at what
/// just fits in the block; or a block that is just too short.
std::size_t MutateBlock(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter);
/// A block of curves and a grid: the same, and its offsets.
std::size_t MutateCurvedBlock(std::uint8_t* data, std::size_t size, std::size_t maxSize, Scatter& scatter);

/// An input whose first `prefix` bytes steer the target, with a file behind them: half of the changes are the format's,
/// the others the engine's own; one in four goes to the steering bytes.
std::size_t MutateBehind(std::size_t prefix, Mutator format, std::uint8_t* data, std::size_t size, std::size_t maxSize,
                         unsigned seed);

/// 0, 1, the limit and its neighbours, and the edges of 32-bit numbers.
std::uint32_t EdgeOf(std::uint32_t limit, Scatter& scatter);
/// Puts `count` bytes (of the value of their neighbours) in at `at`, or takes them out; what does not fit is left
/// alone.
std::size_t Stretch(std::uint8_t* data, std::size_t size, std::size_t maxSize, std::size_t at, std::size_t count);
std::size_t Shorten(std::uint8_t* data, std::size_t size, std::size_t at, std::size_t count);

}  // namespace hueweave::fuzz

/// The mutator of a target.
#define HUEWEAVE_FUZZ_MUTATOR(prefix, format)                                                                 \
    extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, \
                                                   unsigned seed) {                                           \
        return hueweave::fuzz::MutateBehind(prefix, hueweave::fuzz::format, data, size, maxSize, seed);       \
    }                                                                                                         \
    static_assert(true)
