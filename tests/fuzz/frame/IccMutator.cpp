// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "Mutation.h"

namespace hueweave::fuzz {
namespace {

constexpr std::size_t kCount = 128, kTable = 132, kEntry = 12;
constexpr const char* kNames[] = {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "wtpt", "bkpt", "rXYZ", "gXYZ",
                                  "bXYZ", "rTRC", "gTRC", "bTRC", "chad", "desc", "cprt", "A2B3", "none"};

std::size_t Room(const Block& file) { return file.size < kTable ? 0 : (file.size - kTable) / kEntry; }

std::size_t Entries(const Block& file) { return std::min<std::size_t>(file.Get(kCount, 4), Room(file)); }

/// One entry of the tag table and its block.
struct Tag {
    Tag(const Block& file, std::size_t n)
        : entry(kTable + kEntry * n), offset(file.Get(entry + 4, 4)), bytes(file.Get(entry + 8, 4)) {}
    std::size_t entry, offset, bytes;
};

void Rename(const Block& file, const Tag& tag) { std::memcpy(file.data + tag.entry, file.AnyOf(kNames), 4); }

/// Updates the offsets of all blocks after `at`.
void Follow(const Block& file, std::size_t at, std::size_t change) {
    for (std::size_t n = 0; n < Entries(file); ++n) {
        const Tag tag(file, n);
        if (tag.offset > at) file.Put(tag.entry + 4, 4, tag.offset + change);
    }
}

/// Changes a field of an entry.
void ChangeEntry(const Block& file, const Tag& tag) {
    switch (file.scatter.Below(4)) {
        case 0:
            return Rename(file, tag);
        case 1:
            return file.Put(tag.entry + 4, 4, file.Edge(file.size));
        case 2:
            return file.Put(tag.entry + 8, 4, file.Edge(tag.offset < file.size ? file.size - tag.offset : 0));
        default:
            return file.Copy(tag.entry, kTable + kEntry * file.scatter.Below(Entries(file)), kEntry);
    }
}

/// Changes a word of a block, or a field of its type if the block is long enough.
void ChangeBlock(const Block& file, const Tag& tag) {
    const std::size_t held = tag.offset >= file.size ? 0 : std::min(tag.bytes, file.size - tag.offset);
    if (held < 4) return;
    Block block{file.data + tag.offset, held, held, file.scatter};
    file.OneIn(5) ? block.Put(file.scatter.Below(held) & ~std::size_t{3}, 4, block.Edge(held)) : MutateTag(block);
}

/// Lengthens or shortens a block; the offsets of what follows are updated.
void ResizeBlock(Block& file, const Tag& tag) {
    if (tag.offset > file.size || tag.offset < kTable) return;
    const std::size_t at = tag.offset + file.scatter.Below(std::min(tag.bytes, file.size - tag.offset) + 1);
    const std::size_t change = file.Move(at, 12);
    Follow(file, at, change);
    file.Put(tag.entry + 8, 4, tag.bytes + change);
}

/// Adds a copy of an entry; the blocks move.
void AddEntry(Block& file, const Tag& tag) {
    const std::size_t entries = Entries(file), end = kTable + kEntry * entries;
    if (file.size + kEntry > file.maxSize) return;
    file.Stretch(end, kEntry);
    file.Copy(end, tag.entry, kEntry);
    file.Put(kCount, 4, entries + 1);
    Follow(file, 0, kEntry);
    if (file.OneIn(2)) Rename(file, Tag(file, entries));
}

}  // namespace

void MutateIcc(Block& file) {
    const std::size_t changes = 1 + file.scatter.Below(3);
    for (std::size_t n = 0; n < changes; ++n) {
        const std::size_t how = file.scatter.Below(32), entries = Entries(file);
        if (how == 0 || entries == 0) {
            file.Put(kCount, 4, file.Edge(Room(file)));
            continue;
        }
        const Tag tag(file, file.scatter.Below(entries));
        if (how < 8) {
            ChangeEntry(file, tag);
        } else if (how < 12) {
            ResizeBlock(file, tag);
        } else if (how < 16) {
            AddEntry(file, tag);
        } else if (how < 20) {
            file.Cut();
        } else {
            ChangeBlock(file, tag);
        }
    }
}

}  // namespace hueweave::fuzz
