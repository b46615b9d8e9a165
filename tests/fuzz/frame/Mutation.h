// SPDX-License-Identifier: MIT
// Mutations that know where a format has its numbers, offsets and entries.
#pragma once

#include "FuzzInput.h"

/// The fuzzing engine's own mutation, in a replay that of Replay.cpp: changes a block in place, returns its size.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace hueweave::fuzz {

/// A part of the fuzzer's memory, which may grow to `maxSize` bytes. Bytes past its end read as 0 and are not written.
struct Block {
    std::uint8_t* data;
    std::size_t size, maxSize;
    Scatter& scatter;
    bool little = false;  ///< byte order

    std::uint64_t Get(std::size_t at, std::size_t width) const;
    void Put(std::size_t at, std::size_t width, std::uint64_t value) const;
    void Copy(std::size_t to, std::size_t from, std::size_t count) const;
    bool OneIn(std::size_t count) const { return scatter.Below(count) == 0; }
    template <typename Values>
    auto AnyOf(const Values& values) const {
        return values[scatter.Below(std::size(values))];
    }
    /// Inserts bytes with the value of the one before them, unless they do not fit; and removes bytes.
    void Stretch(std::size_t at, std::size_t count);
    void Shorten(std::size_t at, std::size_t count);
};

/// A number that becomes 0, 1, its limit or a neighbour, or a limit of 32-bit numbers; or a given value.
struct Field {
    std::size_t at, width;
    std::uint64_t limit;  ///< the greatest ordinary value
    std::optional<std::uint64_t> value{};
};

/// What a format provides for one change of a file, for the most part by chance.
struct Layout {
    std::vector<Field> fields{};  ///< at least one
    /// Where bytes may be inserted and removed, and the number that counts them, if there is one.
    std::size_t begin = 0, end = 0, counter = 0;
    std::vector<std::size_t> offsets{};  ///< places of offsets, which are updated then
    std::size_t width = 4;               ///< bytes of an offset
    struct Table {
        std::size_t entry = 0, each = 0;
        Field entries{};  ///< how many there are
    };
    Table table{};  ///< an entry that may be removed, or inserted again with another name; `each` is 0 for none
    struct Copy {
        std::size_t to = 0, from = 0, size = 0;
    };
    Copy copy{};               ///< bytes that may be copied to a place where they could stand
    std::uint64_t needed = 0;  ///< a size that is just long enough, if it is known
};
using FindLayout = Layout (*)(Block& file);

/// A profile: a field of the tag table or of one block.
Layout IccLayout(Block& file);
/// A TIFF file of either byte order, classic or BigTIFF: a directory of the chain, or one that an entry points to.
Layout TiffLayout(Block& file);
/// A tag's block of any type: counts, offsets, channels and grid sizes with the limits of the units.
Layout TagLayout(Block& block);

/// Changes an input whose first `prefix` bytes steer the target, followed by a file: one time in four the steering
/// bytes, else the file, by its format or by the fuzzing engine's own mutation. Returns the new size.
std::size_t MutateBehind(std::size_t prefix, FindLayout format, std::uint8_t* data, std::size_t size,
                         std::size_t maxSize, unsigned seed);

}  // namespace hueweave::fuzz

/// The mutator of a target.
#define HUEWEAVE_FUZZ_MUTATOR(prefix, format)                                                                 \
    extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, \
                                                   unsigned seed) {                                           \
        return hueweave::fuzz::MutateBehind(prefix, hueweave::fuzz::format, data, size, maxSize, seed);       \
    }                                                                                                         \
    static_assert(true)
