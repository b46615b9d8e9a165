// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

// What reading a profile comes to, in the plainest words: bytes in, names and blocks out.
namespace hueweave::test {

/// Big-endian numbers of 1, 2 and 4 bytes, zeros behind the end.
unsigned ByteAt(const Bytes& bytes, std::uint64_t at);
unsigned Big16At(const Bytes& bytes, std::uint64_t at);
std::uint32_t Big32At(const Bytes& bytes, std::uint64_t at);

/// The four characters of a signature.
std::string SignatureText(std::uint32_t word);

/// The tags of a profile: names, and blocks rounded up to a multiple of 4 bytes, zeros where the file ends.
TagList ReadTags(const Bytes& file);
/// The first block of a name, or null.
const Bytes* FindTag(const TagList& tags, const std::string& name);
/// The block that an intent selects, or null.
const Bytes* SelectTable(const TagList& tags, int intent);

}  // namespace hueweave::test
