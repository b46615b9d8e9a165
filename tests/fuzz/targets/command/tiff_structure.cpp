// SPDX-License-Identifier: MIT
// Any bytes as a TIFF file, its directories rewritten with a few changes: when read again, every directory has the same
// entries apart from the changed ones, with the same values.
#include <fcntl.h>

#include <map>

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
    for (std::size_t left = input.Below(4); left > 0; --left) {
        const std::size_t where = input.Below(std::min<std::size_t>(directories, 4));
        const std::size_t how = input.Below(4), size = 1 + input.Below(how == 2 ? 40 : 3);
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

/// Nothing if not all of it lies in the file.
std::optional<Bytes> Value(const TiffStructure& structure, const TiffEntry& entry) {
    if (entry.dataSize <= structure.form().OffsetSize()) {
        return Bytes(entry.value.begin(), entry.value.begin() + static_cast<std::ptrdiff_t>(entry.dataSize));
    }
    const std::uint64_t end = structure.fileSize();
    if (entry.dataOffset >= end || entry.dataSize > end - entry.dataOffset) return std::nullopt;
    return structure.file().Read({entry.dataOffset, entry.dataSize});
}

void CheckChanged(const TiffStructure& after, const TiffEntry* entry, const Wanted& wanted) {
    Require((entry == nullptr) == wanted.gone, "an entry is there unless it was removed");
    if (entry == nullptr) return;
    if (!wanted.data.empty()) {
        Require(entry->count == wanted.data.size() && Value(after, *entry) == wanted.data, "the new bytes");
    } else {
        Require(after.Numbers(*entry) == wanted.numbers, "the new numbers");
    }
}

/// An unchanged entry. Those that point to directories point to their new offsets.
void CheckKept(const TiffStructure& before, const TiffEntry& a, const TiffStructure& after, const TiffEntry& b,
               const std::map<std::uint64_t, std::uint64_t>& moved) {
    Require(a.tag == b.tag && a.count == b.count, "the same entry");
    if (a.tag == tag::SubIfds) {
        std::vector<std::uint64_t> places = before.Numbers(a);
        for (std::uint64_t& place : places) {
            if (const auto found = moved.find(place); found != moved.end()) place = found->second;
        }
        return Require(after.Numbers(b) == places, "the directories below");
    }
    Require(a.type == b.type && a.dataSize == b.dataSize, "the same type");
    if (TypeSize(a.type) == 0) Require(a.value == b.value, "the field of an unknown type");
    if (const auto value = Value(before, a)) Require(value == Value(after, b), "the same value");
}

/// Values that overlap a directory would be overwritten when that is written.
bool IsSound(const TiffStructure& structure) {
    const auto overlaps = [&](const TiffEntry& entry) { return structure.LiesOverDirectory(entry); };
    return std::ranges::all_of(structure.directories(), [&](const TiffDirectory& directory) {
        return FaultOfTags(structure, directory).empty() && std::ranges::none_of(directory.entries, overlaps);
    });
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
    MustSucceed([&] { after.emplace(target); }, "what was written can be read");
    Require(after->directories().size() == before->directories().size(), "as many directories");
    Require(after->form().bigEndian == before->form().bigEndian, "the same order of bytes");
    Require(after->exifColorSpace() == before->exifColorSpace(), "the same EXIF data");
    for (const auto& [place, wanted] : changes) {
        CheckChanged(*after, after->directories()[place.first].Find(place.second), wanted);
    }
    for (std::size_t i = 0; i < after->directories().size(); ++i) {
        TiffDirectory old = before->directories()[i], now = after->directories()[i];
        for (TiffDirectory* directory : {&old, &now}) {
            std::erase_if(directory->entries, [&](const TiffEntry& e) { return changes.contains({i, e.tag}); });
        }
        Require(old.parent == now.parent, "below the same directory");
        Require(old.entries.size() == now.entries.size(), "as many entries");
        for (std::size_t n = 0; n < old.entries.size(); ++n) {
            CheckKept(*before, old.entries[n], *after, now.entries[n], moved);
        }
    }
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, TiffLayout);

}  // namespace hueweave::fuzz
