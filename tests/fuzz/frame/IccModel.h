// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A profile as the reference reads it, and its comparison with the library's.
#pragma once

#include <string>

#include "FuzzInput.h"
#include "iccfile/IccFile4.h"
#include "iccfile/SimpleTags.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {

using test::Big16At;
using test::Big32At;
using test::ByteAt;

/// What a reading may take of the heap: a block is copied once as it stands and at most four times decoded.
constexpr std::size_t IccHeap(std::size_t size) { return 6 * (8 * size + (std::size_t{4} << 20)) + 65536; }

/// The file that saving gives.
Bytes SavedModel(const Bytes& file, const test::TagList& tags);

/// The tag must be of the class that its name and type ask for, carry the block, and hold what the block says.
void CheckTag(const ICC40::ICCFILE::iccTagBase& tag, const std::string& name, const Bytes& block);
/// Tags and header must be those of the file as the reference reads it.
void CheckProfile(const ICC40::ICCFILE::IccFile4& profile, const Bytes& file, const test::TagList& tags);
/// The entries of a curve at a place of a block, of which there are `count`.
void CheckEntries(const ICC40::ICCFILE::CCurveType& curve, const Bytes& block, std::uint64_t at, std::uint64_t count);

}  // namespace hueweave::fuzz
