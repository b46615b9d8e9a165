// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "hueweave/hueweave.h"

namespace ICC40::ICCFILE {

/// Rendering intents and pixel encodings are those of the public header.
using Intent = ::HueweaveIntent;
using ColorSpaceSignature = ::HueweaveColorSpace;
using enum ::HueweaveIntent;
using enum ::HueweaveColorSpace;

}  // namespace ICC40::ICCFILE

namespace ICC40::ICC4_HEADER {

/// A tag's name in the tag table, and the type at the start of its block: big-endian characters, in host byte order.
enum icTagSignature : std::uint32_t {};
enum icTagTypeSignature : std::uint32_t {};

/// The value of a four-character signature.
constexpr std::uint32_t Signature(const char (&name)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(name[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(name[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(name[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(name[3]));
}
constexpr icTagSignature TagName(const char (&name)[5]) { return static_cast<icTagSignature>(Signature(name)); }
constexpr icTagTypeSignature TypeName(const char (&name)[5]) {
    return static_cast<icTagTypeSignature>(Signature(name));
}

/// The eight bytes at the start of every tag block.
struct icTagBase {
    icTagTypeSignature sig{};
    std::uint32_t reserved = 0;
};

}  // namespace ICC40::ICC4_HEADER

namespace ICC40::ICCFILE {
using ICC4_HEADER::icTagSignature;
using ICC4_HEADER::icTagTypeSignature;
}  // namespace ICC40::ICCFILE
