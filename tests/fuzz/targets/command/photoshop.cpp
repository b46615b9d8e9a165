// SPDX-License-Identifier: MIT
// Any bytes as Photoshop resources: setting another profile gives the same list with that profile instead of the first
// one, and without further ones; what follows the last complete resource is unchanged.
#include "Scene.h"
#include "support/ReferenceProfile.h"
#include "support/TiffBuilder.h"
#include "tiff/PhotoshopResources.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr unsigned kProfile = 1039, kThumbnail = 1036, kOldThumbnail = 1033;
constexpr std::size_t kFewest = 5;  ///< bytes that are data of an entry; fewer are no resource

/// One resource: `head` ends with the size of its data, and the whole includes a byte of padding where there is one.
struct Item {
    unsigned number;
    Bytes head, whole;
};

/// A minimal parser of the list. What follows the last complete resource is an item without a number.
std::vector<Item> ReadItems(const Bytes& bytes) {
    std::vector<Item> items;
    std::size_t at = 0;
    const auto slice = [&](std::size_t from, std::size_t to) { return Bytes(bytes.data() + from, bytes.data() + to); };
    while (bytes.size() - at >= 12 && std::memcmp(&bytes[at], "8BIM", 4) == 0) {
        const std::size_t name = 1 + std::size_t{bytes[at + 6]}, length = at + 6 + name + name % 2, data = length + 4;
        const std::size_t size = test::Big32At(bytes, length);
        if (data > bytes.size() || size > bytes.size() - data) break;
        const std::size_t next = std::min(data + size + size % 2, bytes.size());
        items.push_back({test::Big16At(bytes, at + 4), slice(at, length), slice(at, next)});
        at = next;
    }
    items.push_back({0, {}, slice(at, bytes.size())});
    return items;
}

Bytes Expected(const std::vector<Item>& items, const Bytes& icc) {
    test::ByteWriter out;
    bool placed = icc.empty();
    for (const Item& item : items) {
        if (item.number != kProfile) {
            out.Append(item.whole);
        } else if (!placed) {
            out.Append(item.head).Big32(static_cast<std::uint32_t>(icc.size())).Append(icc).Fill(icc.size() % 2);
            placed = true;
        }
    }
    return out.Done();
}

struct Read {
    std::optional<Bytes> changed;
    bool thumbnail = false;
};

Read ReadBack(const ScratchFile& memory, const Bytes& resources, const Bytes& icc) {
    memory.Put(test::TiffBuilder().Undefined(tag::PhotoshopResources, resources).Build());
    Read read;
    const auto work = [&] {
        const FileAccess file = FileAccess::OpenInput(memory.Path());
        const TiffStructure structure(file);
        const PhotoshopResources photoshop(structure, structure.directories()[0]);
        Require(!photoshop.tooLarge(), "small enough to be looked into");
        read = {photoshop.WithProfile(icc), photoshop.HasThumbnail()};
    };
    MustSucceed(work, "the file is sound");
    return read;
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile memory;
    const Bytes icc(input.Below(8) * input.Below(40), 0x5a);
    const Bytes resources = input.Rest();
    if (resources.size() < kFewest) return;
    const std::vector<Item> items = ReadItems(resources);
    const auto has = [&](unsigned number) {
        return std::ranges::any_of(items, [&](const Item& item) { return item.number == number; });
    };
    const Read read = ReadBack(memory, resources, icc);
    Require(read.changed.has_value() == has(kProfile), "there is something to change where there is a profile");
    Require(read.thumbnail == (has(kThumbnail) || has(kOldThumbnail)), "a thumbnail is seen");
    if (!read.changed) return;
    Require(*read.changed == Expected(items, icc), "the same list with another profile");
    if (read.changed->size() < kFewest) return;
    const Read again = ReadBack(memory, *read.changed, icc);
    Require(icc.empty() || (again.changed && *again.changed == *read.changed), "a second time changes nothing");
}

}  // namespace hueweave::fuzz
