// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

constexpr std::uint32_t Sig(std::string_view name) {
    std::uint32_t value = 0;
    for (const char c : name) value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

/// The tags of a profile in memory, as they stand in it. Reads past the end give 0. Borrows the bytes.
class TagTable {
public:
    struct Tag {
        std::uint32_t name = 0;
        std::uint64_t offset = 0, size = 0;  ///< within the profile
    };

    explicit TagTable(const Bytes& profile) : bytes_(profile) {
        const std::uint32_t count = Word(128);
        for (std::uint32_t i = 0; i < count && 132 + 12 * std::size_t{i} + 12 <= bytes_.size(); ++i) {
            const std::size_t at = 132 + 12 * std::size_t{i};
            const Tag tag{Word(at), Word(at + 4), Word(at + 8)};
            if (tag.offset + tag.size <= bytes_.size()) tags_.push_back(tag);
        }
    }
    std::uint32_t Half(std::size_t at) const { return At(at) << 8 | At(at + 1); }
    std::uint32_t Word(std::size_t at) const { return Half(at) << 16 | Half(at + 2); }
    const std::vector<Tag>& tags() const { return tags_; }
    std::optional<Tag> Find(std::string_view name) const {
        for (const Tag& tag : tags_) {
            if (tag.name == Sig(name)) return tag;
        }
        return std::nullopt;
    }

private:
    std::uint32_t At(std::size_t at) const { return at < bytes_.size() ? bytes_[at] : 0U; }
    const Bytes& bytes_;
    std::vector<Tag> tags_;
};

}  // namespace hueweave::tool
