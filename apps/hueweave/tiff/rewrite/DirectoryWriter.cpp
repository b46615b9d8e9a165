// SPDX-License-Identifier: MIT
#include "tiff/rewrite/DirectoryWriter.h"

#include <algorithm>
#include <utility>

#include "system/Refusal.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kMostCounted = 65535;           ///< in a directory, whose entry count has two bytes
constexpr std::size_t kLarge = std::size_t{1} << 20;  ///< bytes; larger values are not kept in memory

}  // namespace

DirectoryWriter::DirectoryWriter(const TiffStructure& structure, OutputLayout& layout, const FileAccess& target)
    : structure_(structure),
      layout_(layout),
      target_(target),
      sorted_(structure.structure()),
      changes_(structure.directories().size()) {
    sorted_.insert(sorted_.end(), layout.untouched().begin(), layout.untouched().end());
    std::sort(sorted_.begin(), sorted_.end(), [](const Extent& a, const Extent& b) { return a.offset < b.offset; });
    std::uint64_t furthest = 0;
    for (const Extent& extent : sorted_) {
        reached_.push_back(furthest);
        furthest = std::max(furthest, extent.End());
    }
}

bool DirectoryWriter::Alone(const TiffEntry& entry) const {
    const auto at = std::lower_bound(sorted_.begin(), sorted_.end(), entry.dataOffset,
                                     [](const Extent& extent, std::uint64_t offset) { return extent.offset < offset; });
    if (at == sorted_.end() || at->offset != entry.dataOffset || at->size != entry.dataSize) return false;
    const bool next = at + 1 == sorted_.end() || at[1].offset >= at->End();
    return next && reached_[static_cast<std::size_t>(at - sorted_.begin())] <= at->offset;
}

void DirectoryWriter::SetNumbers(std::size_t directory, std::uint16_t wanted, const std::vector<std::uint64_t>& numbers,
                                 std::uint16_t type) {
    const TiffEntry* before = structure_.directories()[directory].Find(wanted);
    if (before != nullptr &&
        (before->type == type::Byte || before->type == type::Long8 || before->type == type::Short)) {
        type = before->type;
    } else if (before != nullptr) {
        type = type::Long;
    }
    const std::uint64_t top = numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
    if (TypeSize(type) < 2 && top > 0xff) type = type::Short;
    if (TypeSize(type) < 4 && top > 0xffff) type = type::Long;
    if (TypeSize(type) < 8 && top > 0xffffffff) type = type::Long8;
    SetData(directory, wanted, type, Encoded(numbers, type));
}

std::shared_ptr<const Bytes> DirectoryWriter::Encoded(const std::vector<std::uint64_t>& numbers,
                                                      std::uint16_t type) const {
    const std::size_t size = TypeSize(type);
    auto data = std::make_shared<Bytes>(numbers.size() * size);
    for (std::size_t i = 0; i < numbers.size(); ++i) structure_.form().Put(data->data() + i * size, size, numbers[i]);
    return data;
}

void DirectoryWriter::SetData(std::size_t directory, std::uint16_t wanted, std::uint16_t type,
                              std::shared_ptr<const Bytes> data) {
    NewEntry change{type, std::move(data), {}};
    if (change.data->size() > kLarge) {
        change.entry = PlanEntry(wanted, change, structure_.directories()[directory].Find(wanted));
        change.data = nullptr;
    }
    changes_[directory][wanted] = std::move(change);
}

void DirectoryWriter::Remove(std::size_t directory, std::uint16_t wanted) {
    if (structure_.directories()[directory].Find(wanted) != nullptr) changes_[directory][wanted] = {};
}

/// Returns the offset of a value, and writes it. A value of unchanged size is written to its old offset if no other
/// data overlap it.
std::uint64_t DirectoryWriter::PlaceOf(const NewEntry& change, const TiffEntry* before) {
    const std::uint64_t size = change.data->size();
    if (before != nullptr && before->dataSize == size && Alone(*before)) {
        target_.Write(before->dataOffset, *change.data);
        return before->dataOffset;
    }
    const bool shared = before != nullptr && before->dataOffset != 0;
    const Shared key{change.data, shared ? before->dataOffset : 0};
    if (const auto found = written_.find(key); shared && found != written_.end()) return found->second;
    const std::uint64_t offset = layout_.Place(size);
    target_.Write(offset, *change.data);
    if (!shared) return offset;
    written_[key] = offset;
    if (size > kLarge) written_.erase(std::exchange(large_, key));
    return offset;
}

TiffEntry DirectoryWriter::PlanEntry(std::uint16_t wanted, const NewEntry& change, const TiffEntry* before) {
    const std::size_t inside = structure_.form().OffsetSize();
    const std::size_t item = std::max<std::size_t>(1, TypeSize(change.type));
    TiffEntry entry{wanted, change.type, change.data->size() / item, {}, change.data->size(), {}};
    if (change.data->size() <= inside) {
        std::copy(change.data->begin(), change.data->end(), entry.value.begin());
    } else {
        entry.dataOffset = PlaceOf(change, before);
        structure_.form().Put(entry.value.data(), inside, entry.dataOffset);
    }
    return entry;
}

DirectoryWriter::Plan DirectoryWriter::PlanDirectory(std::size_t index) {
    const TiffDirectory& directory = structure_.directories()[index];
    Plan plan{directory.entries, directory.offset, !changes_[index].empty()};
    for (const auto& [wanted, change] : changes_[index]) {
        const auto number = wanted;
        const auto found = std::find_if(plan.entries.begin(), plan.entries.end(),
                                        [&](const TiffEntry& entry) { return entry.tag == number; });
        const TiffEntry* before = found != plan.entries.end() ? &*found : nullptr;
        if (change.Removed()) {
            std::erase_if(plan.entries, [&](const TiffEntry& entry) { return entry.tag == number; });
        } else if (before != nullptr) {
            *found = change.entry ? *change.entry : PlanEntry(wanted, change, before);
        } else {
            const auto after = std::find_if(plan.entries.begin(), plan.entries.end(),
                                            [&](const TiffEntry& other) { return other.tag > number; });
            plan.entries.insert(after, change.entry ? *change.entry : PlanEntry(wanted, change, before));
        }
    }
    if (plan.entries.size() > kMostCounted) {
        throw Refusal(Exit::Input, structure_.file().name(), "has no room for one more entry in a directory",
                      "leave the profile out with --no-tag");
    }
    if (plan.entries.size() > directory.entries.size()) {
        plan.offset = layout_.Place(structure_.DirectoryBytes(plan.entries.size()));
        moved_[directory.offset] = plan.offset;
    }
    return plan;
}

/// Updates the offsets in a SubIFDs entry if their directories have moved.
void DirectoryWriter::Point(Plan& plan, TiffEntry& entry) {
    std::vector<std::uint64_t> numbers = structure_.Numbers(entry);
    bool any = false;
    for (std::uint64_t& number : numbers) {
        const auto moved = moved_.find(number);
        if (moved == moved_.end()) continue;
        number = moved->second;
        any = true;
    }
    if (!any) return;
    plan.changed = true;
    const bool wide = *std::max_element(numbers.begin(), numbers.end()) > 0xffffffff;
    const std::uint16_t type = wide && TypeSize(entry.type) < 8 ? type::Ifd8 : entry.type;
    entry = PlanEntry(entry.tag, {type, Encoded(numbers, type), {}}, &entry);
}

void DirectoryWriter::WritePlan(const Plan& plan, std::uint64_t next) const {
    const TiffForm& form = structure_.form();
    Bytes block(static_cast<std::size_t>(structure_.DirectoryBytes(plan.entries.size())));
    form.Put(block.data(), form.CountSize(), plan.entries.size());
    unsigned char* at = block.data() + form.CountSize();
    for (const TiffEntry& entry : plan.entries) {
        form.Put(at, 2, entry.tag);
        form.Put(at + 2, 2, entry.type);
        form.Put(at + 4, form.OffsetSize(), entry.count);
        std::copy_n(entry.value.begin(), form.OffsetSize(), at + 4 + form.OffsetSize());
        at += form.EntrySize();
    }
    form.Put(at, form.OffsetSize(), next);
    target_.Write(plan.offset, block);
}

void DirectoryWriter::Write() {
    const TiffForm& form = structure_.form();
    std::vector<Plan> plans;
    for (std::size_t i = 0; i < structure_.directories().size(); ++i) {
        ThrowIfInterrupted();
        plans.push_back(PlanDirectory(i));
    }
    const auto now = [&](std::uint64_t offset) {
        const auto moved = moved_.find(offset);
        return moved == moved_.end() ? offset : moved->second;
    };
    for (std::size_t i = 0; i < plans.size(); ++i) {
        Plan& plan = plans[i];
        for (TiffEntry& entry : plan.entries) {
            if (entry.tag == tag::SubIfds) Point(plan, entry);
        }
        const std::uint64_t next = structure_.directories()[i].next;
        if (plan.changed || now(next) != next) WritePlan(plan, now(next));
    }
    const std::uint64_t first = now(structure_.firstDirectory());
    Bytes field(form.OffsetSize());
    form.Put(field.data(), field.size(), first);
    target_.Write(form.bigTiff ? 8 : 4, field);
}

}  // namespace hueweave::tool
