// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

// A minimal reader for profiles: from bytes to tag names and blocks.
namespace hueweave::test {

/// Big-endian numbers of 1, 2 and 4 bytes; bytes after the end read as 0.
inline unsigned ByteAt(const Bytes& bytes, std::uint64_t at) { return at < bytes.size() ? bytes[at] : 0; }
inline unsigned Big16At(const Bytes& bytes, std::uint64_t at) {
    return ByteAt(bytes, at) * 256 + ByteAt(bytes, at + 1);
}
inline std::uint32_t Big32At(const Bytes& bytes, std::uint64_t at) {
    return std::uint32_t{Big16At(bytes, at)} * 65536 + Big16At(bytes, at + 2);
}

/// The four characters of a signature.
inline std::string SignatureText(std::uint32_t word) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(word >> shift & 0xffU);
    return text;
}

/// Whether a tag is a table, A2B0 to B2A2: every other tag costs a profile less.
inline bool IsTableName(const std::string& name) {
    return (name.starts_with("A2B") || name.starts_with("B2A")) && name[3] >= '0' && name[3] <= '2';
}

/// The tags of a profile: names, and blocks padded to a multiple of 4 bytes, with zeros after the end of the file.
inline TagList ReadTags(const Bytes& file) {
    TagList tags;
    if (file.size() < 132) return tags;
    const std::uint64_t count = std::min<std::uint64_t>(Big32At(file, 128), (file.size() - 132) / 12);
    std::uint64_t spent = 0;
    for (std::uint64_t n = 0; n < count; ++n) {
        const std::uint64_t entry = 132 + 12 * n;
        const std::uint64_t offset = Big32At(file, entry + 4), size = Big32At(file, entry + 8);
        if (offset + size > file.size()) continue;
        const std::string name = SignatureText(Big32At(file, entry));
        Bytes block((size + 3) / 4 * 4);
        spent += block.size() + (IsTableName(name) ? 512 : 256);
        if (spent > 8 * file.size() + 4194304) break;
        const std::uint64_t held = std::min<std::uint64_t>(block.size(), file.size() - offset);
        std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(offset), held, block.begin());
        tags.emplace_back(name, std::move(block));
    }
    return tags;
}

/// The first block with a name, or null.
inline const Bytes* FindTag(const TagList& tags, const std::string& name) {
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const auto& tag) { return tag.first == name; });
    return found == tags.end() ? nullptr : &found->second;
}

/// The table in an A2B tag's block; nothing if no engine accepts it.
std::optional<LutContents> DecodeLutTag(const Bytes& block);

/// The block for an intent, or null.
inline const Bytes* SelectTable(const TagList& tags, int intent) {
    const Bytes* block = FindTag(tags, intent == 1 || intent == 3 ? "A2B1" : intent == 2 ? "A2B2" : "A2B0");
    return block != nullptr ? block : FindTag(tags, "A2B1");
}

}  // namespace hueweave::test
