// SPDX-License-Identifier: MIT
#include "Mutation.h"

#include <algorithm>
#include <cstring>

/// The fuzzing engine's own mutation, in a replay that of Replay.cpp: changes a block in place, returns its size.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace hueweave::fuzz {

std::uint64_t Block::Get(std::size_t at, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = at + (little ? width - 1 - i : i);
        value = value << 8 | (place < size ? data[place] : 0U);
    }
    return value;
}

void Block::Put(std::size_t at, std::size_t width, std::uint64_t value) const {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = at + (little ? i : width - 1 - i);
        if (place < size) data[place] = static_cast<std::uint8_t>(value >> 8 * i);
    }
}

void Block::Copy(std::size_t to, std::size_t from, std::size_t count) const {
    if (std::max(to, from) + count <= size) std::memmove(data + to, data + from, count);
}

std::uint32_t Block::Edge(std::uint64_t limit) const {
    const auto most = static_cast<std::uint32_t>(limit);
    const std::uint32_t edges[] = {0, 1, most - 1, most, most + 1, 0x80000000U, 0xffffffffU};
    const std::size_t which = scatter.Below(8);
    return which < 7 ? edges[which] : static_cast<std::uint32_t>(scatter.Below(std::size_t{most} + 1));
}

void Block::Stretch(std::size_t at, std::size_t count) {
    if (at > size || count > maxSize - size) return;
    std::memmove(data + at + count, data + at, size - at);
    std::memset(data + at, at > 0 ? data[at - 1] : 0, count);
    size += count;
}

void Block::Shorten(std::size_t at, std::size_t count) {
    if (at >= size) return;
    const std::size_t gone = std::min(count, size - at);
    std::memmove(data + at, data + at + gone, size - at - gone);
    size -= gone;
}

std::size_t Block::Move(std::size_t at, std::size_t most) {
    const std::size_t before = size, count = 1 + scatter.Below(most);
    OneIn(2) ? Stretch(at, count) : Shorten(at, count);
    return size - before;
}

void Block::Cut() {
    if (size > 1 && OneIn(4)) size -= scatter.Below(size);
}

std::size_t MutateBehind(std::size_t prefix, Mutator format, std::uint8_t* data, std::size_t size, std::size_t maxSize,
                         unsigned seed) {
    Scatter scatter(seed * 2654435761U);  // so that successive seeds differ from the first number on
    if (size <= prefix || maxSize <= prefix) return LLVMFuzzerMutate(data, size, maxSize);
    const std::size_t how = scatter.Below(8);
    if (prefix != 0 && how < 2) {
        const std::size_t kept = LLVMFuzzerMutate(data, prefix, prefix);
        std::memset(data + kept, 0, prefix - kept);
        return size;
    }
    Block file{data + prefix, size - prefix, maxSize - prefix, scatter};
    if (how % 2 == 0) return prefix + LLVMFuzzerMutate(file.data, file.size, file.maxSize);
    format(file);
    return prefix + file.size;
}

}  // namespace hueweave::fuzz
