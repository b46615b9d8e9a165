// SPDX-License-Identifier: MIT
// Mutations that know the formats: a mutator changes a block in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "FuzzInput.h"

namespace hueweave::fuzz {

/// A file or a part of one in the fuzzer's memory, which may grow to `maxSize` bytes. Bytes past its end read as 0 and
/// are not written.
struct Block {
    std::uint8_t* data;
    std::size_t size, maxSize;
    Scatter& scatter;
    bool little = false;  ///< byte order

    std::uint64_t Get(std::size_t at, std::size_t width) const;
    void Put(std::size_t at, std::size_t width, std::uint64_t value) const;
    void Copy(std::size_t to, std::size_t from, std::size_t count) const;
    /// 0, 1, the limit and its neighbours, and the limits of 32-bit numbers.
    std::uint32_t Edge(std::uint64_t limit) const;
    bool OneIn(std::size_t count) const { return scatter.Below(count) == 0; }
    template <typename Values>
    auto AnyOf(const Values& values) const {
        return values[scatter.Below(std::size(values))];
    }
    /// Inserts or removes bytes at `at`; an insertion that does not fit is skipped. Inserted bytes have the value of
    /// the one before them.
    void Stretch(std::size_t at, std::size_t count);
    void Shorten(std::size_t at, std::size_t count);
    /// Inserts or removes 1 to `most` bytes. Returns the growth, which wraps around for a shorter block.
    std::size_t Move(std::size_t at, std::size_t most);
    /// Sometimes truncates the block.
    void Cut();
};

using Mutator = void (*)(Block& block);

/// A profile: changes one field of the tag table or of a block, or truncates, moves, stretches or renames a block.
void MutateIcc(Block& file);
/// A TIFF file: changes one field of an entry, or moves, grows or removes an entry or its data.
void MutateTiff(Block& file);
/// A tag's block of any type: sets a count, an offset, a channel number or a grid size to the limits of the units; or
/// makes the block just long enough, or slightly too short.
void MutateTag(Block& block);

/// An input whose first `prefix` bytes steer the target, followed by a file: half of the mutations are those of the
/// format, the others the fuzzing engine's own; one in four changes the steering bytes. Returns the new size.
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
