// SPDX-License-Identifier: MIT
#include "tiff/TiffStructure.h"

#include <tiffio.h>

#include <algorithm>

#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/files/FileKind.h"

namespace hueweave::tool {
std::uint64_t TiffForm::Get(const unsigned char* at, std::size_t size) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value |= std::uint64_t{at[i]} << 8 * (bigEndian ? size - 1 - i : i);
    return value;
}

void TiffForm::Put(unsigned char* at, std::size_t size, std::uint64_t value) const {
    for (std::size_t i = 0; i < size; ++i) {
        at[i] = static_cast<unsigned char>(value >> 8 * (bigEndian ? size - 1 - i : i));
    }
}

std::size_t TypeSize(unsigned type) {
    // libtiff gives the invalid type 0 a size of one byte.
    const bool known = type > TIFF_NOTYPE && type <= TIFF_IFD8;
    return known ? static_cast<std::size_t>(TIFFDataWidth(static_cast<TIFFDataType>(type))) : 0;
}

bool IsWhole(unsigned which) {
    return which == type::Byte || which == type::Short || which == type::Long || which == type::Ifd ||
           which == type::Long8 || which == type::Ifd8;
}

const TiffEntry* TiffDirectory::Find(std::uint16_t wanted) const {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e.tag == wanted; });
    return found == entries.end() ? nullptr : &*found;
}

void TiffStructure::Refuse(const std::string& reason) const {
    throw Refusal(Exit::Input, file_->name(), reason, "get a complete copy of the file");
}

TiffStructure::TiffStructure(const FileAccess& file)
    : file_(&file), fileSize_(file.Size()), budget_(file.name(), fileSize_) {
    unsigned char head[16] = {};
    if (fileSize_ >= 8) file.Read(0, head, fileSize_ < 16 ? 8 : 16);
    form_.bigEndian = head[0] == 'M';
    const auto version = form_.Get(head + 2, 2);
    if (head[0] != head[1] || (head[0] != 'I' && head[0] != 'M') || (version != 42 && version != 43)) {
        throw Refusal(Exit::Input, file.name(), NotA("a TIFF file", file), "give a TIFF file");
    }
    form_.bigTiff = version == 43;
    if (form_.bigTiff && (fileSize_ < 16 || form_.Get(head + 4, 2) != 8 || form_.Get(head + 6, 2) != 0))
        Refuse("has a damaged header");
    structure_.push_back({0, form_.bigTiff ? 16U : 8U});
    taken_[0] = {structure_[0].size, false};
    first_ = form_.Get(head + (form_.bigTiff ? 8 : 4), form_.OffsetSize());
    ReadChain(first_, std::nullopt, 0);
    if (directories_.empty()) Refuse("holds no image");
}

bool TiffStructure::Overlaps(Extent extent) const {
    const auto after = taken_.upper_bound(extent.offset);
    if (after != taken_.end() && after->first < extent.End()) return true;
    return after != taken_.begin() && std::prev(after)->second.end > extent.offset;
}

/// Whether a directory has already been read. A directory that is both image and metadata is refused.
bool TiffStructure::IsTaken(std::uint64_t offset, bool image) const {
    const auto found = taken_.find(offset);
    if (found == taken_.end()) return false;
    if (found->second.image != image) Refuse("has a directory that is both an image and metadata");
    return true;
}

std::vector<std::uint64_t> TiffStructure::DirectoriesBelow(const TiffEntry& entry) const {
    if (entry.count > limit::kDirectories) Refuse("has too many directories in tag " + std::to_string(entry.tag));
    return Numbers(entry);
}

void TiffStructure::ReadChain(std::uint64_t offset, std::optional<std::size_t> parent, int depth) {
    if (depth > limit::kDepth) Refuse("nests its directories too deeply");
    while (offset != 0) {
        ThrowIfInterrupted();
        const std::size_t place = directories_.size();
        directories_.push_back(ReadDirectory(offset, true));
        for (const TiffEntry& entry : directories_.back().entries) {
            if (entry.dataSize > form_.OffsetSize()) CheckInside(entry);
        }
        directories_[place].parent = parent;
        offset = directories_[place].next;

        std::vector<std::uint64_t> below;
        if (const TiffEntry* entry = directories_[place].Find(tag::SubIfds)) below = DirectoriesBelow(*entry);
        for (const std::uint64_t sub : below) {
            // Two pages may share a SubIFD.
            if (sub != 0 && !IsTaken(sub, true)) ReadChain(sub, place, depth + 1);
        }
        NoteMetadata(directories_[place], depth);
        if (offset != 0 && IsTaken(offset, true)) Refuse("has pages that lead back to earlier ones");
    }
}

TiffDirectory TiffStructure::ReadDirectory(std::uint64_t offset, bool image) {
    TiffDirectory directory;
    directory.offset = offset;
    unsigned char head[8];
    if (offset > fileSize_ || fileSize_ - offset < form_.CountSize())
        Refuse("is truncated: a directory lies past its end");
    file_->Read(offset, head, form_.CountSize());
    const std::uint64_t count = form_.Get(head, form_.CountSize());
    if (count > 65535 || DirectoryBytes(count) > fileSize_ - offset)
        Refuse("is truncated: a directory runs past its end");
    const Extent extent{offset, DirectoryBytes(count)};
    // Thus the total size of all directories is limited by the file size.
    if (Overlaps(extent)) Refuse("has overlapping directories");
    budget_.AddDirectory(count);
    taken_[offset] = {extent.End(), image};
    structure_.push_back(extent);
    const Bytes block = file_->Read(extent);
    const unsigned char* at = block.data() + form_.CountSize();
    directory.entries.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i, at += form_.EntrySize()) directory.entries.push_back(ReadEntry(at));
    directory.next = form_.Get(at, form_.OffsetSize());
    return directory;
}

TiffEntry TiffStructure::ReadEntry(const unsigned char* at) {
    TiffEntry entry;
    entry.tag = static_cast<std::uint16_t>(form_.Get(at, 2));
    entry.type = static_cast<std::uint16_t>(form_.Get(at + 2, 2));
    entry.count = form_.Get(at + 4, form_.OffsetSize());
    const unsigned char* value = at + 4 + form_.OffsetSize();
    std::copy(value, value + form_.OffsetSize(), entry.value.begin());
    const std::size_t item = TypeSize(entry.type);
    entry.dataSize = item != 0 && entry.count > fileSize_ / item ? fileSize_ + 1 : entry.count * item;
    if (entry.dataSize <= form_.OffsetSize()) return entry;
    entry.dataOffset = form_.Get(value, form_.OffsetSize());
    if (entry.dataOffset < fileSize_) {
        structure_.push_back({entry.dataOffset, std::min(entry.dataSize, fileSize_ - entry.dataOffset)});
    }
    return entry;
}

void TiffStructure::NoteMetadata(const TiffDirectory& directory, int depth) {
    for (const auto metadata : {tag::ExifIfd, tag::GpsIfd, tag::InteroperabilityIfd}) {
        const TiffEntry* entry = directory.Find(metadata);
        if (entry == nullptr) continue;
        for (const std::uint64_t at : DirectoriesBelow(*entry)) NoteDirectory(at, depth + 1);
    }
}

void TiffStructure::NoteDirectory(std::uint64_t offset, int depth) {
    if (offset == 0 || depth > limit::kDepth || IsTaken(offset, false)) return;
    ThrowIfInterrupted();
    const TiffDirectory directory = ReadDirectory(offset, false);
    const TiffEntry* colours = directory.Find(tag::ExifColorSpace);
    if (colours != nullptr && colours->type == type::Short) exifColorSpace_ = Number(directory, tag::ExifColorSpace, 0);
    const std::uint64_t thumbnail = Number(directory, tag::JpegData, 0);
    const std::uint64_t size = Number(directory, tag::JpegDataSize, 0);
    if (thumbnail < fileSize_ && size > 0) structure_.push_back({thumbnail, std::min(size, fileSize_ - thumbnail)});
    NoteMetadata(directory, depth);
}

void TiffStructure::CheckInside(const TiffEntry& entry) const {
    if (entry.dataOffset == 0 || entry.dataOffset > fileSize_ || entry.dataSize > fileSize_ - entry.dataOffset) {
        Refuse("is truncated: the value of tag " + std::to_string(entry.tag) + " lies past its end");
    }
}

bool TiffStructure::LiesOverDirectory(const TiffEntry& entry) const {
    return entry.dataSize > form_.OffsetSize() && Overlaps({entry.dataOffset, entry.dataSize});
}

/// The first `size` bytes of a value.
Bytes TiffStructure::Data(const TiffEntry& entry, std::uint64_t size) const {
    if (entry.dataSize <= form_.OffsetSize()) {
        return Bytes(entry.value.begin(), entry.value.begin() + static_cast<std::ptrdiff_t>(size));
    }
    CheckInside(entry);
    if (size > limit::kValue) Refuse("has too large a value in tag " + std::to_string(entry.tag));
    budget_.AddRead(size);
    return file_->Read({entry.dataOffset, size});
}

Bytes TiffStructure::Data(const TiffEntry& entry) const { return Data(entry, entry.dataSize); }

std::vector<std::uint64_t> TiffStructure::Numbers(const TiffEntry& entry, std::uint64_t most) const {
    if (!IsWhole(entry.type)) Refuse("has no integers in tag " + std::to_string(entry.tag));
    const std::size_t size = TypeSize(entry.type);
    const std::uint64_t wanted = most < entry.count ? most * size : entry.dataSize;
    const Bytes data = Data(entry, wanted);
    std::vector<std::uint64_t> numbers(data.size() / size);
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = form_.Get(data.data() + i * size, size);
    return numbers;
}

std::uint64_t TiffStructure::Number(const TiffDirectory& directory, std::uint16_t wanted,
                                    std::uint64_t fallback) const {
    const TiffEntry* entry = directory.Find(wanted);
    if (entry == nullptr) return fallback;
    const std::vector<std::uint64_t> first = Numbers(*entry, 1);
    return first.empty() ? fallback : first.front();
}

}  // namespace hueweave::tool
