// SPDX-License-Identifier: MIT
#include "system/Sha256.h"

#include <nettle/base16.h>

#include <cstdint>

namespace hueweave::tool {

void Sha256::Add(const void* data, std::size_t size) {
    sha256_update(&context_, size, static_cast<const std::uint8_t*>(data));
}

std::string Sha256::Hex() {
    std::uint8_t digest[SHA256_DIGEST_SIZE];
    sha256_digest(&context_, sizeof digest, digest);
    std::string digits(BASE16_ENCODE_LENGTH(sizeof digest), '\0');
    base16_encode_update(digits.data(), sizeof digest, digest);
    return digits;
}

}  // namespace hueweave::tool
