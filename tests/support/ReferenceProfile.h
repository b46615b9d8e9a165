// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

// A minimal reader for profiles: from bytes to tag names and blocks.
namespace hueweave::test {

/// Big-endian numbers of 1, 2 and 4 bytes; bytes after the end read as 0.
unsigned ByteAt(const Bytes& bytes, std::uint64_t at);
unsigned Big16At(const Bytes& bytes, std::uint64_t at);
std::uint32_t Big32At(const Bytes& bytes, std::uint64_t at);

/// The four characters of a signature.
std::string SignatureText(std::uint32_t word);

/// The tags of a profile: names, and blocks padded to a multiple of 4 bytes, with zeros after the end of the file.
TagList ReadTags(const Bytes& file);
/// The first block with a name, or null.
const Bytes* FindTag(const TagList& tags, const std::string& name);
/// The block for an intent, or null.
const Bytes* SelectTable(const TagList& tags, int intent);

}  // namespace hueweave::test
