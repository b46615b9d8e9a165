// SPDX-License-Identifier: MIT
#include "Mutation.h"

namespace hueweave::fuzz {

std::uint64_t Block::Get(std::size_t at, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = at + (little ? width - 1 - i : i);
        value = value << 8 | (place < size ? data[place] : 0U);
    }
    return value;
}

void Block::Put(std::size_t at, std::size_t width, std::uint64_t value) const {
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t place = at + (little ? i : width - 1 - i);
        if (place < size) data[place] = static_cast<std::uint8_t>(value >> 8 * i);
    }
}

void Block::Copy(std::size_t to, std::size_t from, std::size_t count) const {
    if (std::max(to, from) + count <= size) std::memmove(data + to, data + from, count);
}

void Block::Stretch(std::size_t at, std::size_t count) {
    if (at > size || count > maxSize - size) return;
    std::memmove(data + at + count, data + at, size - at);
    std::memset(data + at, at > 0 ? data[at - 1] : 0, count);
    size += count;
}

void Block::Shorten(std::size_t at, std::size_t count) {
    if (at >= size) return;
    const std::size_t gone = std::min(count, size - at);
    std::memmove(data + at, data + at + gone, size - at - gone);
    size -= gone;
}

namespace {

void Change(const Block& file, const Field& field) {
    if (field.value) return file.Put(field.at, field.width, *field.value);
    const auto most = static_cast<std::uint32_t>(field.limit);
    const std::uint32_t edges[] = {0, 1, most - 1, most, most + 1, 0x80000000U, 0xffffffffU};
    const std::size_t which = file.scatter.Below(8);
    const auto value = which < 7 ? edges[which] : static_cast<std::uint32_t>(file.scatter.Below(std::size_t{most} + 1));
    // Limits in the upper half of the 32-bit range are scaled to the width of a narrower field.
    const bool scaled = value >= 0x80000000U && field.width < 4;
    file.Put(field.at, field.width, scaled ? value >> (32 - 8 * field.width) : value);
}

/// Inserts or removes bytes; offsets keep their targets. Returns the growth, which wraps around for a shorter file.
std::size_t Resize(Block& file, const Layout& layout, std::size_t at, std::size_t count, bool adds) {
    const std::size_t before = file.size;
    adds ? file.Stretch(at, count) : file.Shorten(at, count);
    const std::size_t change = file.size - before;
    for (const std::size_t place : layout.offsets) {
        if (!adds && place >= at && place < at + count) continue;
        const std::size_t now = place >= at ? place + change : place, offset = file.Get(now, layout.width);
        if (offset > at) file.Put(now, layout.width, offset + change);
    }
    return change;
}

void MoveData(Block& file, const Layout& layout) {
    const std::size_t at = layout.begin + file.scatter.Below(layout.end - layout.begin + 1);
    const std::size_t change = Resize(file, layout, at, 1 + file.scatter.Below(24), file.OneIn(2));
    if (layout.counter != 0) file.Put(layout.counter, 4, file.Get(layout.counter, 4) + change);
}

void AddOrDropEntry(Block& file, const Layout& layout) {
    const bool adds = file.OneIn(2);
    const auto& [entry, each, entries] = layout.table;
    if (Resize(file, layout, entry, each, adds) == 0) return;
    file.Put(entries.at, entries.width, file.Get(entries.at, entries.width) + (adds ? 1 : std::uint64_t(-1)));
    if (!adds) return;
    file.Copy(entry, entry + each, each);
    if (file.OneIn(2)) Change(file, layout.fields[0]);
}

/// Lengthens or shortens the file at the end: to the size that is needed, one byte less or one more.
void ResizeToFit(Block& file, std::uint64_t needed) {
    const std::size_t size = needed + file.scatter.Below(3), target = size > 0 ? size - 1 : 0;
    target > file.size ? file.Stretch(file.size, target - file.size) : file.Shorten(target, file.size - target);
}

void Mutate(Block& file, FindLayout find) {
    for (std::size_t changes = 1 + file.scatter.Below(3); changes > 0; --changes) {
        const Layout layout = find(file);
        const std::size_t how = file.scatter.Below(32);
        if (how == 0 && file.size > 1) {
            file.size -= file.scatter.Below(file.size);
        } else if (how < 4 && layout.begin < layout.end) {
            MoveData(file, layout);
        } else if (how < 7 && layout.table.each != 0) {
            AddOrDropEntry(file, layout);
        } else if (how < 10 && layout.copy.size != 0) {
            file.Copy(layout.copy.to, layout.copy.from, layout.copy.size);
        } else if (how < 10 && layout.needed != 0) {
            ResizeToFit(file, layout.needed);
        } else {
            Change(file, file.AnyOf(layout.fields));
        }
    }
}

}  // namespace

std::size_t MutateBehind(std::size_t prefix, FindLayout format, std::uint8_t* data, std::size_t size,
                         std::size_t maxSize, unsigned seed) {
    Scatter scatter(seed * 2654435761U);  // so that successive seeds differ from the first number on
    if (size <= prefix || maxSize <= prefix) return LLVMFuzzerMutate(data, size, maxSize);
    const std::size_t how = scatter.Below(8);
    if (prefix != 0 && how < 2) {
        const std::size_t kept = LLVMFuzzerMutate(data, prefix, prefix);
        std::memset(data + kept, 0, prefix - kept);
        return size;
    }
    Block file{data + prefix, size - prefix, maxSize - prefix, scatter};
    if (how % 2 == 0) return prefix + LLVMFuzzerMutate(file.data, file.size, file.maxSize);
    Mutate(file, format);
    return prefix + file.size;
}

}  // namespace hueweave::fuzz
