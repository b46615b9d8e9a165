// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "colour/base/Bytes.h"
#include "iccfile/IccTypes.h"
#include "iccfile/TagReader.h"

namespace hueweave::colour {

using ICC40::ICC4_HEADER::Signature;
using ICC40::ICCFILE::TagReader;

/// The tags of a profile in memory, unchanged: those that lie completely within it. Borrows the bytes.
class TagTable {
public:
    struct Tag {
        std::uint32_t name;
        TagReader block;
    };

    explicit TagTable(const Bytes& profile) : profile_(profile) {
        constexpr std::size_t kCount = 128, kTable = 132, kEntry = 12;
        const std::uint32_t count = profile_.U32(kCount);
        for (std::size_t i = 0; i < count && profile_.Holds(kTable + kEntry * i, kEntry); ++i) {
            const std::size_t entry = kTable + kEntry * i;
            const std::uint32_t offset = profile_.U32(entry + 4), size = profile_.U32(entry + 8);
            if (!profile_.Holds(offset, size)) continue;
            tags_.push_back({profile_.U32(entry), TagReader(profile_.From(offset).first(size))});
        }
    }
    /// The whole profile, which begins with the header.
    const TagReader& profile() const { return profile_; }
    const std::vector<Tag>& tags() const { return tags_; }
    /// The block of the first tag with that name, or null.
    const TagReader* Find(std::uint32_t name) const {
        for (const Tag& tag : tags_) {
            if (tag.name == name) return &tag.block;
        }
        return nullptr;
    }

private:
    TagReader profile_;
    std::vector<Tag> tags_;
};

}  // namespace hueweave::colour
