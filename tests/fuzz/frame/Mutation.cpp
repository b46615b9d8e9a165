// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Mutation.h"

#include <algorithm>
#include <cstring>

namespace hueweave::fuzz {

std::uint32_t EdgeOf(std::uint32_t limit, Scatter& scatter) {
    switch (scatter.Below(8)) {
        case 0:
            return 0;
        case 1:
            return 1;
        case 2:
            return limit - 1;
        case 3:
            return limit;
        case 4:
            return limit + 1;
        case 5:
            return 0x80000000U;
        case 6:
            return 0xffffffffU;
        default:
            return static_cast<std::uint32_t>(scatter.Below(std::size_t{limit} + 1));
    }
}

std::size_t Stretch(std::uint8_t* data, std::size_t size, std::size_t maxSize, std::size_t at, std::size_t count) {
    if (at > size || count > maxSize - size) return size;
    std::memmove(data + at + count, data + at, size - at);
    std::memset(data + at, at > 0 ? data[at - 1] : 0, count);
    return size + count;
}

std::size_t Shorten(std::uint8_t* data, std::size_t size, std::size_t at, std::size_t count) {
    if (at >= size) return size;
    const std::size_t gone = std::min(count, size - at);
    std::memmove(data + at, data + at + gone, size - at - gone);
    return size - gone;
}

std::size_t MutateBehind(std::size_t prefix, Mutator format, std::uint8_t* data, std::size_t size, std::size_t maxSize,
                         unsigned seed) {
    Scatter scatter(seed);
    if (size <= prefix || maxSize <= prefix) return LLVMFuzzerMutate(data, size, maxSize);
    const std::size_t how = scatter.Below(8);
    if (prefix != 0 && how < 2) {
        const std::size_t kept = LLVMFuzzerMutate(data, prefix, prefix);
        std::memset(data + kept, 0, prefix - kept);
        return size;
    }
    std::uint8_t* file = data + prefix;
    if (how % 2 == 0) return prefix + LLVMFuzzerMutate(file, size - prefix, maxSize - prefix);
    return prefix + format(file, size - prefix, maxSize - prefix, scatter);
}

}  // namespace hueweave::fuzz
