// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "base/ByteOrder.h"
#include "base/ByteSource.h"
#include "base/FileHandle.h"
#include "tiff/Padding.h"
#include "tiff/Tiff.h"

namespace Orvix_Tiff_STL2 {
namespace {

constexpr std::array<unsigned char, 4> kMagic = {'I', 'I', 42, 0};
constexpr std::size_t kMostEntries = 29;
constexpr std::size_t kFewStrips = 64;  ///< for more strips, a small file is read into memory
constexpr FieldType kShort{3}, kLong{4};

/// Limit for the total tag data of one directory.
std::uint64_t TagDataLimit(std::FILE* f) { return 2 * FileSize(f) + (std::uint64_t{64} << 10); }

void ReadBytes(std::FILE* f, unsigned char* to, std::size_t bytes) {
    [[maybe_unused]] const std::size_t got = std::fread(to, 1, bytes, f);  // missing bytes stay 0
}

/// The items of a strip array by their declared width: bytes and shorts as such, everything else as 32-bit words. Up to
/// four bytes are stored in the entry itself.
std::vector<std::uint32_t> Items(const TiffTag& tag) {
    unsigned char inEntry[4];
    StoreLittle32(inEntry, tag.value);
    const auto size = static_cast<std::size_t>(tag.Size());
    std::span<const unsigned char> left(inEntry, std::min<std::size_t>(size, 4));
    if (size > 4) left = {tag.data.get(), std::max(tag.dataSize, tag.Held(size))};
    const int width = ItemWidth(tag.type);
    const std::size_t step = width == 1 || width == 2 ? static_cast<std::size_t>(width) : 4;
    std::vector<std::uint32_t> items;
    items.reserve(left.size() / step);
    for (; left.size() >= step; left = left.subspan(step)) {
        const unsigned char* at = left.data();
        items.push_back(step == 1 ? *at : step == 2 ? LoadLittle16(at) : LoadLittle32(at));
    }
    return items;
}

std::uint64_t PixelsIn(int width, int height) {
    return static_cast<std::uint64_t>(std::max(width, 0)) * static_cast<std::uint64_t>(std::max(height, 0));
}

/// Allocates the image in the data of its tag, to be filled by the caller. Returns null if the image is too large for
/// its file.
unsigned char* AllocateImage(TiffTag& tag, std::uint64_t bytes, std::uint64_t limit) {
    if (bytes <= limit) return tag.AllocateUnset(static_cast<std::size_t>(bytes));
    tag.Adopt(nullptr, 0);
    return nullptr;
}

}  // namespace

int Tiff::ReadFile(const char* fileName) {
    const char* const failure = TryReadFile(fileName);
    if (failure != nullptr) throw failure;
    return 0;
}

const char* Tiff::TryReadFile(const char* fileName) {
    Reset();
    if (fileName == nullptr) return " *** Tiff::ReadFile() --> FileName is NULL. *** ";
    const FileHandle f = OpenForReading(fileName);
    if (CheckFile(f.get()) != 0) return fileName;
    ReadTiff(f.get());  // Kept: a file that it refuses gives an empty list and no error
    return nullptr;
}

int Tiff::ReadTiff(std::FILE* f) {
    std::array<unsigned char, 8> header{};
    SeekTo(f, 0);
    ReadBytes(f, header.data(), header.size());
    if (!std::equal(kMagic.begin(), kMagic.end(), header.begin())) return -2;
    ifdOffset = LoadLittle32(&header[4]);
    SeekTo(f, ifdOffset);
    std::array<unsigned char, 2> countBytes{};
    ReadBytes(f, countBytes.data(), countBytes.size());
    const std::size_t entries = LoadLittle16(countBytes.data());
    if (entries > kMostEntries) return -3;

    // The table is read first, because the data of the entries are elsewhere in the file.
    std::array<unsigned char, kMostEntries * kEntryBytes> table{};
    const std::size_t whole = std::fread(table.data(), kEntryBytes, entries, f);
    const std::uint64_t limit = TagDataLimit(f);
    std::uint64_t spent = 0;
    for (std::size_t i = 0; i < whole; ++i) {
        const unsigned char* entry = &table[i * kEntryBytes];
        // The first word contains tag and type, in this order.
        auto tag = CreateTag(LoadLittle32(entry), LoadLittle32(entry + 4), LoadLittle32(entry + 8), f);
        if (tag == nullptr) continue;
        // Entries can share data: without a limit, a directory could require 29 times the size of its file.
        if (spent + tag->dataSize > limit) tag->Drop();
        spent += tag->dataSize;
        tags.push_back(std::move(tag));
    }
    ReadImage(f);
    return 0;
}

int Tiff::ReadImage(std::FILE* f) {
    if (GetTag(kStripOffsets) == nullptr) return 0;  // there is no tag to own an image
    const int width = GetTagValue(kImageWidth);
    const int height = GetTagValue(kImageLength);
    const int rows = GetTagValue(kRowsPerStrip);
    const auto offset = static_cast<std::uint32_t>(GetTagValue(kStripOffsets));
    const int planar = GetTagValue(kPlanarConfiguration);
    const int bits = GetTagValue(kBitsPerSample);
    const auto samples = static_cast<std::uint32_t>(GetTagValue(kSamplesPerPixel));

    // Kept: with several strips the image stays planar, whatever tag 284 states.
    if (rows != height) return ReadMultiStripOffset(f);
    if (planar <= 1) {
        ReadStrip(f, offset, static_cast<std::uint32_t>(GetTagValue(kStripByteCounts)));
    } else if (bits == 1) {
        // Kept: rows are rounded down to whole bytes, and all planes use one 16-bit offset.
        ReadStrip(f, offset, static_cast<std::uint32_t>(rows) * static_cast<std::uint32_t>(width >> 3) * samples);
    } else {
        ReadMultiStripOffset(f);
        // The pixels may take as much memory as any image of this file, in addition to the planes.
        const std::uint64_t pixelBytes = (samples == 3 ? 3U : 4U) * (bits == 8 ? 1U : 2U);
        const std::uint64_t most = PaddingLimit(FileSize(f)) / pixelBytes;
        if (PixelsIn(width, rows) > most) {
            GetTag(kStripOffsets)->Adopt(nullptr, 0);
        } else if (bits == 8) {
            Pack<unsigned char>(width, rows);
        } else {
            Pack<unsigned short>(width, rows);
        }
        SetTagValue(kPlanarConfiguration, 1);
    }
    return 0;
}

void Tiff::ReadStrip(std::FILE* f, std::uint32_t offset, std::uint32_t bytes) {
    TiffTag* tag = GetTag(kStripOffsets);
    if (tag == nullptr) return;
    const bool unread = tag->Size() > 4 && tag->data == nullptr;
    ByteSource source(f);
    unsigned char* image = AllocateImage(*tag, bytes, PaddingLimit(source.Size()));
    if (unread) {
        // The array could not be read; data attached to the tag now are not its own.
        tag->count = 1;
        tag->type = kLong;
    }
    if (image != nullptr) source.ReadAt(offset, {image, bytes});
}

int Tiff::ReadMultiStripOffset(std::FILE* f) {
    TiffTag* image = GetTag(kStripOffsets);
    if (image == nullptr) return 0;
    TiffTag* counts = GetTag(kStripByteCounts);
    const std::vector<std::uint32_t> offsets = Items(*image);
    const std::vector<std::uint32_t> sizes = counts == nullptr ? std::vector<std::uint32_t>() : Items(*counts);
    // Kept: only tag 273 determines the number of strips, as far as both arrays extend.
    const std::size_t strips = std::min({std::size_t{image->count}, offsets.size(), sizes.size()});
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < strips; ++i) total += sizes[i];

    ByteSource source(f);
    unsigned char* to = AllocateImage(*image, total, PaddingLimit(source.Size()));
    if (to == nullptr) total = 0;
    if (to != nullptr && strips > kFewStrips && source.Size() <= ByteSource::kAhead) source.ReadAhead();
    for (std::size_t i = 0; to != nullptr && i < strips; to += sizes[i], ++i) {
        // Kept: offsets are signed; a negative one does not move the read position.
        if (offsets[i] <= INT32_MAX) source.Seek(offsets[i]);
        source.Read({to, sizes[i]});
    }
    image->count = 1;
    image->type = kLong;
    if (counts != nullptr) {
        counts->Adopt(nullptr, 0);
        counts->type = kShort;  // Kept: a SHORT, with all 32 bits of the total in the entry
        counts->count = 1;
        counts->value = static_cast<std::uint32_t>(total);
    }
    SetTagValue(kRowsPerStrip, static_cast<unsigned>(GetTagValue(kImageLength)));
    return 0;
}

template <typename T>
int Tiff::Pack(int width, int height) {
    TiffTag* image = GetTag(kStripOffsets);
    if (image == nullptr) return 0;
    const std::uint64_t planes = GetTagValue(kSamplesPerPixel) == 3 ? 3 : 4;  // Kept: three or four, nothing else
    // Limited to a number of pixels beyond any memory: a larger product might not fit in 64 bits.
    const std::uint64_t pixels = std::min(PixelsIn(width, height), std::uint64_t{1} << 57);
    const std::uint64_t bytes = pixels * planes * sizeof(T);
    const std::uint64_t held = image->Held(bytes);
    const std::unique_ptr<unsigned char[]> from = std::move(image->data);
    unsigned char* to = AllocateImage(*image, bytes, PaddingLimit(held));
    if (to == nullptr) return 0;
    std::fill(to, to + image->dataSize, static_cast<unsigned char>(0));  // the planes may contain fewer pixels
    for (std::uint64_t i = 0; i < pixels; ++i) {
        for (std::uint64_t plane = 0; plane < planes; ++plane, to += sizeof(T)) {
            const std::uint64_t at = (plane * pixels + i) * sizeof(T);
            if (at < held) std::memcpy(to, &from[at], std::min<std::uint64_t>(sizeof(T), held - at));
        }
    }
    return 0;
}

template int Tiff::Pack<unsigned char>(int width, int height);
template int Tiff::Pack<unsigned short>(int width, int height);

}  // namespace Orvix_Tiff_STL2
