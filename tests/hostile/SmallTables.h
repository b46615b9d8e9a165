// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string_view>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// A profile of `bytes` bytes with as many curved tables as it has entries, each of eleven curves without entries.
inline Bytes SmallTables(std::size_t bytes, std::string_view name) {
    ByteWriter block;
    block.Text("mAB ").Big32(0).U8(16).U8(16).Big16(0);
    for (int part = 0; part < 5; ++part) block.Big32(32);
    const std::size_t entries = (bytes - 132 - block.Size()) / 12;
    const auto start = static_cast<std::uint32_t>(132 + 12 * entries);
    ByteWriter out;
    out.Fill(128).Big32(static_cast<std::uint32_t>(entries));
    for (std::size_t i = 0; i < entries; ++i) out.Text(name).Big32(start).Big32(32);
    return out.Append(block.Done()).Fill(bytes - out.Size()).Done();
}

}  // namespace hueweave::test
