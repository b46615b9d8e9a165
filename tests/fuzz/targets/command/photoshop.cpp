// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Any bytes as the resources of Photoshop: with another profile they are the same list with that one in the place of
// the first, and without further ones; what follows the last whole resource stays as it is.
#include <cstring>
#include <optional>
#include <vector>

#include "FuzzInput.h"
#include "Scene.h"
#include "tiff/PhotoshopResources.h"

using namespace hueweave::fuzz;
using namespace hueweave::tool;
using hueweave::test::ByteWriter;

namespace {

constexpr unsigned kProfile = 1039, kThumbnail = 1036, kOldThumbnail = 1033;
constexpr std::size_t kDirectoryAt = 8, kValueAt = 26;

/// One resource: everything up to its data, the data, and a byte of padding where there is one.
struct Item {
    unsigned number;
    Bytes head, data, padding;
};
struct Items {
    std::vector<Item> list;
    Bytes rest;
};

/// The list in the plainest words.
Items ReadItems(const Bytes& bytes) {
    Items items;
    std::size_t at = 0;
    const auto slice = [&](std::size_t from, std::size_t to) {
        return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                     bytes.begin() + static_cast<std::ptrdiff_t>(to));
    };
    while (bytes.size() - at >= 12 && std::memcmp(&bytes[at], "8BIM", 4) == 0) {
        const std::size_t name = 1 + std::size_t{bytes[at + 6]}, length = at + 6 + name + name % 2;
        if (length + 4 > bytes.size()) break;
        std::uint64_t size = 0;
        for (std::size_t i = 0; i < 4; ++i) size = size << 8 | bytes[length + i];
        const std::size_t data = length + 4;
        if (size > bytes.size() - data) break;
        const std::size_t end = data + static_cast<std::size_t>(size), next = std::min(end + size % 2, bytes.size());
        items.list.push_back(
            {256U * bytes[at + 4] + bytes[at + 5], slice(at, data), slice(data, end), slice(end, next)});
        at = next;
    }
    items.rest = slice(at, bytes.size());
    return items;
}

Bytes Expected(const Items& items, const Bytes& icc) {
    ByteWriter out;
    bool placed = icc.empty();
    for (const Item& item : items.list) {
        if (item.number != kProfile) {
            out.Append(item.head).Append(item.data).Append(item.padding);
        } else if (!placed) {
            const Bytes head(item.head.begin(), item.head.end() - 4);
            out.Append(head).Big32(static_cast<std::uint32_t>(icc.size())).Append(icc).Fill(icc.size() % 2);
            placed = true;
        }
    }
    return out.Append(items.rest).Done();
}

/// A file of one directory with the resources alone.
Bytes FileWith(const Bytes& resources) {
    ByteWriter file;
    file.Text("II").Little16(42).Little32(kDirectoryAt);
    file.Little16(1).Little16(34377).Little16(7).Little32(static_cast<std::uint32_t>(resources.size()));
    if (resources.size() > 4) {
        file.Little32(kValueAt).Little32(0);
        return file.Append(resources).Done();
    }
    return file.Append(resources).Fill(4 - resources.size()).Little32(0).Done();
}

struct Read {
    std::optional<Bytes> changed;
    bool thumbnail = false;
};

Read ReadBack(const ScratchFile& memory, const Bytes& resources, const Bytes& icc) {
    memory.Put(FileWith(resources));
    Read read;
    const auto refusal = RefusalOf([&] {
        const FileAccess file = FileAccess::OpenInput(memory.Path());
        const TiffStructure structure(file);
        const PhotoshopResources photoshop(structure, structure.directories()[0]);
        Require(!photoshop.tooLarge(), "small enough to be looked into");
        read = {photoshop.WithProfile(icc), photoshop.HasThumbnail()};
    });
    Require(!refusal, "the file is sound");
    return read;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile memory;
    FuzzInput input(data, size);
    const Bytes icc(input.Below(8) * input.Below(40), 0x5a);
    const Bytes resources = input.Rest();
    const Items items = ReadItems(resources);
    bool profile = false, thumbnail = false;
    for (const Item& item : items.list) {
        profile = profile || item.number == kProfile;
        thumbnail = thumbnail || item.number == kThumbnail || item.number == kOldThumbnail;
    }
    const Read read = ReadBack(memory, resources, icc);
    Require(read.changed.has_value() == profile, "there is something to change where there is a profile");
    Require(read.thumbnail == thumbnail, "a thumbnail is seen");
    if (!read.changed) return 0;
    Require(*read.changed == Expected(items, icc), "the same list with another profile");
    const Read again = ReadBack(memory, *read.changed, icc);
    Require(icc.empty() || (again.changed && *again.changed == *read.changed), "a second time changes nothing");
    return 0;
}
