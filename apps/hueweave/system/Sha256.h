// SPDX-License-Identifier: MIT
#pragma once

#include <nettle/sha2.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace hueweave::tool {

/// SHA-256 (FIPS 180-4) of the bytes added in order, computed by Nettle.
class Sha256 {
public:
    Sha256() { sha256_init(&context_); }
    void Add(const void* data, std::size_t size);
    void Add(std::string_view text) { Add(text.data(), text.size()); }
    /// 64 hexadecimal digits; no bytes may be added afterwards.
    std::string Hex();

private:
    sha256_ctx context_;
};

}  // namespace hueweave::tool
