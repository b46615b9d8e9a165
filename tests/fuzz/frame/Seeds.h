// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Inputs that a search starts from, made anew at every build: each reaches a place of its own.
#pragma once

#include <functional>
#include <string>

#include "support/ByteWriter.h"

namespace hueweave::fuzz {

using test::Bytes;

/// "what-1-2", for naming seeds.
template <typename... Numbers>
std::string Name(std::string what, Numbers... numbers) {
    ((what += "-" + std::to_string(numbers)), ...);
    return what;
}

/// Takes one file and a name for it.
using Sow = std::function<void(const std::string& name, const Bytes& file)>;

/// Profiles: every type of tag at every length, tables of 0 to 8 channels, 0 to 34 points, 0 to 4097 entries.
void SowProfiles(const Sow& sow);
/// Blocks of tables of curves and a grid, sound and with each of their offsets and counts off.
void SowCurvedBlocks(const Sow& sow);
/// TIFF files on every path of the image, of every type of entry, cut, and out of order.
void SowTiffs(const Sow& sow);
/// TIFF files as libtiff writes them, in every layout that the command converts, of both orders of bytes and BigTIFF.
void SowCommandTiffs(const Sow& sow);
/// Profiles as Little CMS writes them, small: tables, matrices, and what the command refuses.
void SowCommandProfiles(const Sow& sow);
/// Deflate data behind three bytes that give a strip its size: as long as that, shorter, longer, cut and damaged.
void SowDeflated(const Sow& sow);

}  // namespace hueweave::fuzz
