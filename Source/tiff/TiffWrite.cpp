// SPDX-License-Identifier: MIT
#include <iostream>
#include <vector>

#include "base/ByteOrder.h"
#include "base/FileHandle.h"
#include "tiff/Padding.h"
#include "tiff/Tiff.h"

namespace Orvix_Tiff_STL2 {
namespace {

constexpr std::uint32_t kIfdStart = 8;

/// Kept: entries of these four types always have an offset, even if their data would fit in the entry.
bool AlwaysOffset(FieldType type) { return type >= 6 && type <= 9; }

}  // namespace

int Tiff::SaveFile(const char* fileName) {
    const FileHandle f = OpenForWriting(fileName);
    if (tags.empty()) {
        std::cout << "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***" << std::endl;
        return 0;
    }
    try {
        return f == nullptr ? 0 : SaveTiff(f.get());
    } catch (const char* text) {  // thrown by an override
        std::cout << text << std::endl;
    }
    return 0;
}

int Tiff::SaveTiff(std::FILE* f) {
    WriteHeader(f);
    WriteIFD(f);
    WriteTagData(f);
    WriteImageData(f);
    WriteData_Exif_IFD_Tag(f);
    return 0;
}

int Tiff::WriteHeader(std::FILE* f) {
    constexpr unsigned char kHeader[8] = {'I', 'I', 42, 0, kIfdStart, 0, 0, 0};
    std::fwrite(kHeader, 1, sizeof kHeader, f);
    return 0;
}

int Tiff::WriteIFD(std::FILE* f) {
    // Tag data follow the directory in list order, then the image, then the kept part of Exif.
    auto cursor = static_cast<std::uint32_t>(kEntryBytes * tags.size() + 14);
    for (const auto& tag : tags) {
        if (tag->IsLost()) {
            tag->value = 0;  // there are no data to refer to, and no items are declared below
            continue;
        }
        const auto size = static_cast<std::uint32_t>(tag->StoredSize());
        if (!AlwaysOffset(tag->type) && size <= 4) continue;
        tag->value = cursor;
        cursor += size;
    }
    SetTagValue(kStripOffsets, cursor);
    SetTagValue(kExifIfd, cursor + static_cast<std::uint32_t>(GetTagValue(kStripByteCounts)));

    std::vector<unsigned char> directory(2 + kEntryBytes * tags.size() + 4);
    StoreLittle16(directory.data(), static_cast<std::uint16_t>(tags.size()));
    unsigned char* entry = directory.data() + 2;
    for (const auto& tag : tags) {
        StoreLittle32(entry, static_cast<std::uint32_t>(tag->type) << 16 | tag->tag);
        StoreLittle32(entry + 4, tag->IsLost() ? 0 : tag->count);
        StoreLittle32(entry + 8, tag->value);
        entry += kEntryBytes;
    }
    SeekTo(f, kIfdStart);
    std::fwrite(directory.data(), 1, directory.size(), f);
    return 0;
}

int Tiff::WriteTagData(std::FILE* f) {
    for (const auto& tag : tags) tag->SaveFile(f);
    return 0;
}

int Tiff::WriteImageData(std::FILE* f) {
    const TiffTag* image = GetTag(kStripOffsets);
    if (image == nullptr || image->data == nullptr) return 0;
    const std::size_t announced = static_cast<std::uint32_t>(GetTagValue(kStripByteCounts));
    const std::size_t held = image->Held(announced);
    const std::size_t bytes = announced <= PaddingLimit(held) ? announced : held;
    WritePadded(f, image->data.get(), held, bytes);
    return 0;
}

int Tiff::WriteData_Exif_IFD_Tag(std::FILE* f) {
    const TiffTag* exif = GetTag(kExifIfd);
    constexpr std::size_t kBytes = Exif_IFD_Tag::kBytes;
    if (exif != nullptr) WritePadded(f, exif->data.get(), exif->Held(kBytes), kBytes);
    return 0;
}

}  // namespace Orvix_Tiff_STL2
