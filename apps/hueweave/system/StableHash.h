// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

namespace hueweave::tool {

/// A hash of a path that is the same on every machine: FNV-1a, with the high bits folded in.
inline std::uint64_t StableHash(std::string_view path) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : path) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash ^ hash >> 32;
}

}  // namespace hueweave::tool
