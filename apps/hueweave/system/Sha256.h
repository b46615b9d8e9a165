// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace hueweave::tool {

/// SHA-256 (FIPS 180-4) of what is added, in order.
class Sha256 {
public:
    void Add(const void* data, std::size_t size);
    void Add(std::string_view text) { Add(text.data(), text.size()); }
    /// 64 hexadecimal digits; nothing may be added afterwards.
    std::string Hex();

private:
    std::array<std::uint32_t, 8> state_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                        0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, 64> block_{};
    std::size_t filled_ = 0;    ///< bytes in `block_`
    std::uint64_t length_ = 0;  ///< bytes added
};

}  // namespace hueweave::tool
