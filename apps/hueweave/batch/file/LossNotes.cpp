// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/file/LossNotes.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "tiff/PhotoshopResources.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostXmp = std::uint64_t{4} << 20;  ///< bytes; larger metadata are not searched

/// Whether the XMP metadata contain the name of a profile, as written by Photoshop.
bool XmpNamesProfile(const TiffStructure& structure, const TiffDirectory& directory) {
    const TiffEntry* entry = directory.Find(tag::Xmp);
    if (entry == nullptr || entry->dataSize > kMostXmp) return false;
    const Bytes xmp = structure.Data(*entry);
    constexpr std::string_view kField = "photoshop:ICCProfile";
    return std::search(xmp.begin(), xmp.end(), kField.begin(), kField.end()) != xmp.end();
}

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
    const std::uint64_t exif = structure_.exifColorSpace();
    const std::string_view space = options_.rendering.space != nullptr ? options_.rendering.space->name : "";
    if ((exif == 1 && space != "srgb") || (exif == 2 && space != "adobe-rgb")) {
        notes.common.insert(
            fmt::format("EXIF field ColorSpace stays at {}, which no longer applies", exif == 1 ? "sRGB" : "AdobeRGB"));
    }
    if (IsNew(directory, tag::Xmp) && XmpNamesProfile(structure_, directory)) {
        notes.common.insert("XMP field photoshop:ICCProfile stays, and names the old profile");
    }
    if (IsNew(directory, tag::PhotoshopResources)) {
        const PhotoshopResources photoshop(structure_, directory);
        if (photoshop.HasThumbnail()) {
            notes.common.insert("thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old colours");
        }
        if (photoshop.tooLarge()) {
            notes.common.insert("resources of Photoshop (tag 34377) are too large to look into, and stay");
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
