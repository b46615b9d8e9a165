// SPDX-License-Identifier: MIT
#include "batch/file/notes/LossNotes.h"

#include <fmt/format.h>

#include <vector>

#include "batch/file/notes/MetadataNotes.h"
#include "tiff/PhotoshopResources.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostXmp = std::uint64_t{4} << 20;  ///< bytes; larger metadata are not searched

}  // namespace

void LossNotes::Look(const TiffPage& page, FileNotes& notes) {
    const TiffDirectory& directory = structure_.directories()[page.directory];
    const std::string& name = structure_.file().name();
    if (page.Lossy()) {
        notes.own.push_back(name + ": " + CompressionName(page.compression) +
                            " image data are written as Deflate, without further loss");
    }
    if (page.kind.empty() && page.written.bits != page.bits) {
        notes.common.insert(fmt::format("samples of {} bits are written with {} bits", page.bits, page.written.bits));
    } else if (page.written.photometric == 2 && !page.kind.empty()) {
        notes.common.insert(fmt::format("{} pixels are written as RGB of {} bits", page.kind, page.written.bits));
    }
    if (directory.Find(tag::PhotoshopLayers) != nullptr) {
        notes.own.push_back(name + ": its layers (tag 37724) stay as they were; only the flat image is converted");
    }
    LookAtMetadata(directory, notes);
    LookAtOldTags(page, notes);
}

void LossNotes::LookAtMetadata(const TiffDirectory& directory, FileNotes& notes) {
    NoteColorSpace(options_, structure_.exifColorSpace(), notes);
    const TiffEntry* xmp = directory.Find(tag::Xmp);
    if (xmp != nullptr && IsNew(directory, tag::Xmp) && xmp->dataSize <= kMostXmp)
        NoteXmp(structure_.Data(*xmp), notes);
    if (IsNew(directory, tag::PhotoshopResources)) {
        const PhotoshopResources photoshop(structure_, directory);
        if (photoshop.HasThumbnail()) {
            notes.common.insert("thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old colours");
        }
        if (photoshop.tooLarge()) {
            notes.common.insert("resources of Photoshop (tag 34377) are too large to read, and stay");
        }
    }
}

void LossNotes::LookAtOldTags(const TiffPage& page, FileNotes& notes) const {
    const TiffDirectory& directory = structure_.directories()[page.directory];
    std::vector<std::uint16_t> old;
    for (const auto which : {tag::TransferFunction, tag::WhitePoint, tag::Primaries}) {
        const bool stays = which != tag::TransferFunction || HaveSameSamples(page, page.written);
        if (stays && directory.Find(which) != nullptr) old.push_back(which);
    }
    if (old.empty()) return;
    const bool one = old.size() == 1;
    const char* stay = one ? "stays; the embedded profile takes precedence over it"
                           : "stay; the embedded profile takes precedence over them";
    if (options_.noTag) stay = one ? "stays and no longer applies" : "stay and no longer apply";
    notes.common.insert(fmt::format("{} of the old colours ({}) {}", one ? "tag" : "tags", fmt::join(old, ", "), stay));
}

/// Whether a page has this tag, with a value that no earlier page refers to.
bool LossNotes::IsNew(const TiffDirectory& directory, std::uint16_t wanted) {
    const TiffEntry* entry = directory.Find(wanted);
    return entry != nullptr && (entry->dataOffset == 0 || looked_.emplace(entry->dataOffset, entry->dataSize).second);
}

}  // namespace hueweave::tool
