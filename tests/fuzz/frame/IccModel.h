// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What reading a profile comes to, in the plainest words: bytes in, names and blocks out. It shares no line with the
// library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "iccfile/IccFile4.h"
#include "support/ProfileBuilder.h"

namespace hueweave::fuzz {

struct ModelTag {
    std::uint32_t name = 0;
    Bytes block;  ///< rounded up to a multiple of 4, zeros where the file ends
};

struct ModelProfile {
    Bytes header;  ///< 128 bytes
    std::vector<ModelTag> tags;
};

ModelProfile ReadModel(const Bytes& file);
/// The file that saving gives.
Bytes SaveModel(const ModelProfile& profile);
/// The same tags for the reference pipeline.
test::TagList TagsOf(const ModelProfile& profile);
std::string NameOf(std::uint32_t word);

std::uint32_t Word(const Bytes& bytes, std::uint64_t at);  ///< big-endian, zeros behind the end
unsigned Half(const Bytes& bytes, std::uint64_t at);
unsigned Byte(const Bytes& bytes, std::uint64_t at);

/// The tag must be of the class that its name and type ask for, carry the block, and hold what the block says.
void CheckTag(const ICC40::ICCFILE::iccTagBase& tag, std::uint32_t name, const Bytes& block);
/// Tags and header must be those of the model.
void CheckProfile(const ICC40::ICCFILE::IccFile4& file, const ModelProfile& model);

}  // namespace hueweave::fuzz
