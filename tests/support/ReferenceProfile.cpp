// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ReferenceProfile.h"

#include <algorithm>

namespace hueweave::test {
namespace {

/// Whether a tag is a table, A2B0 to B2A2: every other tag costs a profile less.
bool IsTableName(const std::string& name) {
    return (name.starts_with("A2B") || name.starts_with("B2A")) && name[3] >= '0' && name[3] <= '2';
}

}  // namespace

unsigned ByteAt(const Bytes& bytes, std::uint64_t at) { return at < bytes.size() ? bytes[at] : 0; }
unsigned Big16At(const Bytes& bytes, std::uint64_t at) { return ByteAt(bytes, at) * 256 + ByteAt(bytes, at + 1); }
std::uint32_t Big32At(const Bytes& bytes, std::uint64_t at) {
    return std::uint32_t{Big16At(bytes, at)} * 65536 + Big16At(bytes, at + 2);
}

std::string SignatureText(std::uint32_t word) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(word >> shift & 0xffU);
    return text;
}

TagList ReadTags(const Bytes& file) {
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
        for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(ByteAt(file, offset + i));
        tags.emplace_back(name, std::move(block));
    }
    return tags;
}

const Bytes* FindTag(const TagList& tags, const std::string& name) {
    const auto found = std::find_if(tags.begin(), tags.end(), [&](const auto& tag) { return tag.first == name; });
    return found == tags.end() ? nullptr : &found->second;
}

const Bytes* SelectTable(const TagList& tags, int intent) {
    const Bytes* block = FindTag(tags, intent == 1 || intent == 3 ? "A2B1" : intent == 2 ? "A2B2" : "A2B0");
    return block != nullptr ? block : FindTag(tags, "A2B1");
}

}  // namespace hueweave::test
