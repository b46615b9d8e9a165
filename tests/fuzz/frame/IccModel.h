// SPDX-License-Identifier: MIT
// A profile as read by the reference implementation, and its comparison with the library's.
#pragma once

#include "FuzzInput.h"
#include "iccfile/IccFile4.h"
#include "iccfile/SimpleTags.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {

using test::Big16At;
using test::Big32At;
using test::ByteAt;

/// A limit on the heap for reading: each block is copied once unchanged and at most four times decoded.
constexpr std::size_t IccHeap(std::size_t size) { return 6 * (8 * size + (std::size_t{4} << 20)) + 65536; }

/// The tag must be of the class for its name and type, hold the block, and have the values in the block.
void CheckTag(const ICC40::ICCFILE::iccTagBase& tag, const std::string& name, const Bytes& block);
/// The `count` entries of a curve at an offset in a block.
void CheckEntries(const ICC40::ICCFILE::CCurveType& curve, const Bytes& block, std::uint64_t at, std::uint64_t count);

}  // namespace hueweave::fuzz
