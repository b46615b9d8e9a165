// SPDX-License-Identifier: MIT
// Any bytes as a TIFF file, its directories rewritten with a few changes: when read again, every directory has the same
// entries apart from the changed ones, with the same values.
#include <fcntl.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>

#include "FuzzInput.h"
#include "Mutation.h"
#include "Scene.h"
#include "tiff/TagRules.h"
#include "tiff/rewrite/DirectoryWriter.h"

namespace hueweave::fuzz {
namespace {

using namespace tool;

constexpr std::size_t kSteering = 16;

/// Tags that the command rewrites, first those with numbers.
constexpr std::uint16_t kNumbers[] = {tag::Compression,  tag::Photometric,     tag::Orientation, tag::Predictor,
                                      tag::StripOffsets, tag::StripByteCounts, tag::TileOffsets, tag::TileByteCounts};
constexpr std::uint16_t kData[] = {tag::IccProfile, tag::PhotoshopResources};
constexpr std::uint16_t kRemoved[] = {tag::IccProfile, tag::JpegTables, tag::YCbCrCoefficients};

/// The expected contents of one entry; nothing if it is removed.
struct Wanted {
    std::vector<std::uint64_t> numbers{};
    Bytes data{};
    bool gone = false;
};
using Changes = std::map<std::pair<std::size_t, std::uint16_t>, Wanted>;

Changes DrawChanges(FuzzInput& input, std::size_t directories) {
    Changes changes;
    const std::size_t count = input.Below(4);
    for (std::size_t n = 0; n < count; ++n) {
        const std::size_t where = input.Below(std::min<std::size_t>(directories, 4));
        const std::size_t how = input.Below(4);
        const std::size_t size = 1 + input.Below(how == 2 ? 40 : 3);
        if (how == 3) {
            changes[{where, kRemoved[input.Below(std::size(kRemoved))]}].gone = true;
        } else if (how == 2) {
            changes[{where, kData[input.Below(std::size(kData))]}].data = Bytes(size, 0xa5);
        } else {
            const std::uint16_t which = kNumbers[input.Below(std::size(kNumbers))];
            changes[{where, which}].numbers = std::vector<std::uint64_t>(size, std::uint64_t{1} << input.Below(32));
        }
    }
    return changes;
}

/// Whether all of it lies in the file, so that it can be compared.
bool IsReadable(const TiffStructure& structure, const TiffEntry& entry) {
    return entry.dataSize <= structure.form().OffsetSize() ||
           (entry.dataOffset < structure.fileSize() && entry.dataSize <= structure.fileSize() - entry.dataOffset);
}

Bytes Value(const TiffStructure& structure, const TiffEntry& entry) {
    if (entry.dataSize <= structure.form().OffsetSize()) {
        return Bytes(entry.value.begin(), entry.value.begin() + static_cast<std::ptrdiff_t>(entry.dataSize));
    }
    return structure.file().Read({entry.dataOffset, entry.dataSize});
}

void CheckChanged(const TiffStructure& after, const TiffDirectory& directory, std::uint16_t which,
                  const Wanted& wanted) {
    const TiffEntry* entry = directory.Find(which);
    Require((entry == nullptr) == wanted.gone, "an entry is there unless it was removed");
    if (entry == nullptr) return;
    if (!wanted.data.empty()) {
        Require(entry->count == wanted.data.size() && Value(after, *entry) == wanted.data, "the new bytes");
    } else {
        Require(after.Numbers(*entry) == wanted.numbers, "the new numbers");
    }
}

/// Unchanged entries, in order. Entries that point to directories point to their new offsets.
void CheckKept(const TiffStructure& before, const TiffDirectory& old, const TiffStructure& after,
               const TiffDirectory& now, const std::set<std::uint16_t>& changed,
               const std::map<std::uint64_t, std::uint64_t>& moved) {
    const auto kept = [&](const TiffDirectory& directory) {
        std::vector<TiffEntry> entries = directory.entries;
        std::erase_if(entries, [&](const TiffEntry& entry) { return changed.contains(entry.tag); });
        return entries;
    };
    const std::vector<TiffEntry> left = kept(old), right = kept(now);
    Require(left.size() == right.size(), "as many entries");
    for (std::size_t i = 0; i < left.size(); ++i) {
        const TiffEntry& a = left[i];
        const TiffEntry& b = right[i];
        Require(a.tag == b.tag && a.count == b.count, "the same entry");
        if (a.tag == tag::SubIfds) {
            std::vector<std::uint64_t> places = before.Numbers(a);
            for (std::uint64_t& place : places) {
                if (const auto found = moved.find(place); found != moved.end()) place = found->second;
            }
            Require(after.Numbers(b) == places, "the directories below");
            continue;
        }
        Require(a.type == b.type && a.dataSize == b.dataSize, "the same type");
        if (TypeSize(a.type) == 0) Require(a.value == b.value, "the field of an unknown type");
        if (!IsReadable(before, a)) continue;
        Require(Value(before, a) == Value(after, b), "the same value");
    }
}

/// Values that overlap a directory would be overwritten when that is written.
bool IsSound(const TiffStructure& structure) {
    for (const TiffDirectory& directory : structure.directories()) {
        if (!FaultOfTags(structure, directory).empty()) return false;
        for (const TiffEntry& entry : directory.entries) {
            if (structure.LiesOverDirectory(entry)) return false;
        }
    }
    return true;
}

std::map<std::uint64_t, std::uint64_t> Rewrite(const TiffStructure& structure, const Changes& changes,
                                               const FileAccess& target) {
    // The pages as masks, so that all image data stay.
    std::vector<TiffPage> pages(structure.directories().size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
        pages[i].directory = i;
        pages[i].other = TiffPage::kMask, pages[i].stays = true;
    }
    OutputLayout layout(structure, pages);
    for (const Extent& extent : layout.kept()) CopyRange(structure.file(), extent, target, extent.offset);
    DirectoryWriter writer(structure, layout, target);
    for (const auto& [place, wanted] : changes) {
        if (wanted.gone) {
            writer.Remove(place.first, place.second);
        } else if (!wanted.data.empty()) {
            writer.SetData(place.first, place.second, 7, std::make_shared<const Bytes>(wanted.data));
        } else {
            writer.SetNumbers(place.first, place.second, wanted.numbers, 4);
        }
    }
    writer.Write();
    target.Resize(layout.End());
    return writer.moved();
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile source, output;
    FuzzInput choices = input.Split(kSteering);
    source.Put(input.Rest());
    output.Put({});
    const FileAccess file = FileAccess::OpenInput(source.Path());
    std::optional<TiffStructure> before, after;
    bool sound = false;
    const auto unreadable = RefusalOf([&] {
        before.emplace(file);
        sound = IsSound(*before);
    });
    if (unreadable || !sound) return;

    const Changes changes = DrawChanges(choices, before->directories().size());
    const FileAccess target(::open(output.Path(), O_RDWR | O_CLOEXEC), output.Path());
    std::map<std::uint64_t, std::uint64_t> moved;
    const auto refusal = RefusalOf([&] { moved = Rewrite(*before, changes, target); });
    // Reasons: no room for one more entry, or values too large to be copied with a directory that moves.
    if (refusal) return;
    const auto broken = RefusalOf([&] { after.emplace(target); });
    Require(!broken, "what was written can be read");
    Require(after->directories().size() == before->directories().size(), "as many directories");
    Require(after->form().bigEndian == before->form().bigEndian, "the same order of bytes");
    Require(after->exifColorSpace() == before->exifColorSpace(), "the same EXIF data");
    for (std::size_t i = 0; i < after->directories().size(); ++i) {
        const TiffDirectory& old = before->directories()[i];
        const TiffDirectory& now = after->directories()[i];
        std::set<std::uint16_t> changed;
        for (const auto& [place, wanted] : changes) {
            if (place.first != i) continue;
            if (wanted.gone && old.Find(place.second) == nullptr) continue;
            changed.insert(place.second);
            CheckChanged(*after, now, place.second, wanted);
        }
        Require(old.parent == now.parent, "below the same directory");
        CheckKept(*before, old, *after, now, changed, moved);
    }
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, TiffLayout);

}  // namespace hueweave::fuzz
