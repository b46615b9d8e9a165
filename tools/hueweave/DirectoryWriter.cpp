// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "DirectoryWriter.h"

#include <algorithm>

namespace hueweave::tool {
namespace {

constexpr std::uint16_t kShort = 3, kLong = 4, kLong8 = 16;

}  // namespace

DirectoryWriter::DirectoryWriter(const TiffStructure& structure, OutputLayout& layout, const FileAccess& target)
    : structure_(structure),
      layout_(layout),
      target_(target),
      sorted_(structure.structure()),
      changes_(structure.directories().size()) {
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
    if (before != nullptr) type = before->type;
    const std::uint64_t top = numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end());
    if (TypeSize(type) < 2 && top > 0xff) type = kShort;
    if (TypeSize(type) < 4 && top > 0xffff) type = kLong;
    if (TypeSize(type) < 8 && top > 0xffffffff) type = kLong8;
    const std::size_t size = TypeSize(type);
    Bytes data(numbers.size() * size);
    for (std::size_t i = 0; i < numbers.size(); ++i) structure_.form().Put(&data[i * size], size, numbers[i]);
    SetData(directory, wanted, type, data);
}

void DirectoryWriter::SetData(std::size_t directory, std::uint16_t wanted, std::uint16_t type, const Bytes& data) {
    changes_[directory][wanted] = {type, data, false};
}

void DirectoryWriter::Remove(std::size_t directory, std::uint16_t wanted) {
    if (structure_.directories()[directory].Find(wanted) != nullptr) changes_[directory][wanted] = {0, {}, true};
}

DirectoryWriter::Plan DirectoryWriter::PlanDirectory(std::size_t index) {
    const TiffDirectory& directory = structure_.directories()[index];
    const std::size_t inside = structure_.form().OffsetSize();
    Plan plan{directory.entries, directory.offset, !changes_[index].empty()};
    for (const auto& [wanted, change] : changes_[index]) {
        const auto number = wanted;
        const auto found = std::find_if(plan.entries.begin(), plan.entries.end(),
                                        [&](const TiffEntry& entry) { return entry.tag == number; });
        if (change.removed) {
            plan.entries.erase(found);
            continue;
        }
        TiffEntry entry{wanted, change.type, change.data.size() / TypeSize(change.type), Bytes(inside), 0, 0};
        entry.dataSize = change.data.size();
        if (change.data.size() <= inside) {
            std::copy(change.data.begin(), change.data.end(), entry.value.begin());
        } else {
            // A value that is as long as before goes to its old place.
            const bool fits = found != plan.entries.end() && found->dataSize == change.data.size() && Alone(*found);
            entry.dataOffset = fits ? found->dataOffset : layout_.Place(change.data.size());
            target_.Write(entry.dataOffset, change.data);
            structure_.form().Put(entry.value.data(), inside, entry.dataOffset);
        }
        if (found != plan.entries.end()) {
            *found = entry;
        } else {
            const auto after = std::find_if(plan.entries.begin(), plan.entries.end(),
                                            [&](const TiffEntry& other) { return other.tag > number; });
            plan.entries.insert(after, entry);
        }
    }
    if (plan.entries.size() > directory.entries.size()) {
        plan.offset = layout_.Place(structure_.DirectoryBytes(plan.entries.size()));
        moved_[directory.offset] = plan.offset;
    }
    return plan;
}

/// SubIFDs follow the directories that they point at.
void DirectoryWriter::Point(Plan& plan, TiffEntry& entry) const {
    Bytes data = structure_.Data(entry);
    const std::size_t size = TypeSize(entry.type);
    bool any = false;
    for (std::size_t at = 0; at + size <= data.size(); at += size) {
        const auto moved = moved_.find(structure_.form().Get(&data[at], size));
        if (moved == moved_.end()) continue;
        structure_.form().Put(&data[at], size, moved->second);
        any = true;
    }
    if (!any) return;
    plan.changed = true;
    if (entry.dataOffset != 0) {
        target_.Write(entry.dataOffset, data);
    } else {
        std::copy(data.begin(), data.end(), entry.value.begin());
    }
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
        std::copy(entry.value.begin(), entry.value.end(), at + 4 + form.OffsetSize());
        at += form.EntrySize();
    }
    form.Put(at, form.OffsetSize(), next);
    target_.Write(plan.offset, block);
}

void DirectoryWriter::Write() {
    const TiffForm& form = structure_.form();
    std::vector<Plan> plans;
    for (std::size_t i = 0; i < structure_.directories().size(); ++i) plans.push_back(PlanDirectory(i));
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
