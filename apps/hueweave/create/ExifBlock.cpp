// SPDX-License-Identifier: MIT
#include "create/ExifBlock.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <optional>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kHeader = 8, kEntry = 12;
constexpr std::size_t kMostEntries = 1000, kMostDirectories = 8;
constexpr std::uint64_t kMostValues = std::uint64_t{1} << 20;  ///< bytes of all values of a page's metadata

/// What describes a picture, with the directories EXIF and GPS.
constexpr std::uint16_t kDescribing[] = {tag::Description, tag::Maker,   tag::Model,  tag::Orientation,
                                         tag::Software,    tag::Date,    tag::Artist, tag::Computer,
                                         tag::Copyright,   tag::ExifIfd, tag::GpsIfd};
constexpr std::uint16_t kPointers[] = {tag::ExifIfd, tag::GpsIfd, tag::InteroperabilityIfd};

template <std::size_t kCount>
bool IsOneOf(std::uint16_t which, const std::uint16_t (&list)[kCount]) {
    return std::find(std::begin(list), std::end(list), which) != std::end(list);
}

TiffForm FormOf(std::span<const unsigned char> block) { return {block[0] == 'M', false}; }

/// Reads the directories of a block; those that extend past its end are damaged.
class BlockReader {
public:
    explicit BlockReader(std::span<const unsigned char> block) : block_(block), form_(FormOf(block)) {}

    std::uint64_t First() const { return form_.Get(&block_[4], 4); }
    /// The entries of a directory; nothing if it or a value is not inside.
    std::optional<std::vector<TiffEntry>> Read(std::uint64_t at, std::uint64_t& next) const {
        if (at < kHeader || at > block_.size() || block_.size() - at < 6) return std::nullopt;
        const std::uint64_t count = form_.Get(&block_[at], 2);
        if (count > kMostEntries || block_.size() - at < 6 + count * kEntry) return std::nullopt;
        std::vector<TiffEntry> entries;
        for (std::uint64_t n = 0; n < count; ++n) {
            const unsigned char* const from = &block_[at + 2 + n * kEntry];
            TiffEntry entry;
            entry.tag = static_cast<std::uint16_t>(form_.Get(from, 2));
            entry.type = static_cast<std::uint16_t>(form_.Get(from + 2, 2));
            entry.count = form_.Get(from + 4, 4);
            std::copy_n(from + 8, 4, entry.value.begin());
            entry.dataSize = TypeSize(entry.type) * entry.count;  // below 2^36
            if (entry.dataSize > 4) entry.dataOffset = form_.Get(from + 8, 4);
            const bool isInside = entry.dataSize <= 4 || (entry.dataOffset <= block_.size() &&
                                                          entry.dataSize <= block_.size() - entry.dataOffset);
            if (!isInside) return std::nullopt;
            entries.push_back(entry);
        }
        next = form_.Get(&block_[at + 2 + count * kEntry], 4);
        return entries;
    }
    bool IsSound() const {
        std::vector<std::uint64_t> waiting{First()};
        for (std::size_t done = 0; done < waiting.size(); ++done) {
            std::uint64_t next = 0;
            const auto entries = Read(waiting[done], next);
            if (!entries || waiting.size() > kMostDirectories) return false;
            if (next != 0) waiting.push_back(next);
            for (const TiffEntry& entry : *entries) {
                if (!IsOneOf(entry.tag, kPointers)) continue;
                if (entry.type != type::Long || entry.count != 1) return false;
                waiting.push_back(form_.Get(entry.value.data(), 4));
            }
        }
        return true;
    }

private:
    std::span<const unsigned char> block_;
    TiffForm form_;
};

/// An entry with its value, in the byte order of its file.
struct Item {
    std::uint16_t tag, type;
    std::uint64_t count;
    Bytes value;
};
using Items = std::vector<Item>;

/// Reads metadata of a page with a limit on their size.
class MetadataReader {
public:
    explicit MetadataReader(const TiffStructure& structure) : structure_(structure), form_(structure.form()) {}

    /// Types of 8 bytes an offset do not exist in a block.
    void Add(Items& items, const TiffEntry& entry) {
        const bool isKnown = entry.type >= 1 && entry.type <= 12 && entry.count > 0;
        const bool isPointer = IsOneOf(entry.tag, kPointers) && IsWhole(entry.type) && entry.count == 1;
        if (!isKnown && !isPointer) return;
        Take(entry.dataSize);
        items.push_back({entry.tag, entry.type, entry.count, structure_.Data(entry)});
    }
    /// The directory at an offset. Throws a refusal if it is damaged.
    Items Directory(std::uint64_t offset) {
        const std::size_t size = form_.EntrySize();
        if (offset > structure_.fileSize()) throw Damaged();
        const Bytes head = structure_.file().Read({offset, form_.CountSize()});
        const std::uint64_t count = form_.Get(head.data(), form_.CountSize());
        Take(count * size);
        const Bytes all = structure_.file().Read({offset + form_.CountSize(), count * size});
        Items items;
        for (std::uint64_t n = 0; n < count; ++n) {
            const unsigned char* const at = &all[static_cast<std::size_t>(n * size)];
            TiffEntry entry;
            entry.tag = static_cast<std::uint16_t>(form_.Get(at, 2));
            entry.type = static_cast<std::uint16_t>(form_.Get(at + 2, 2));
            entry.count = form_.Get(at + 4, form_.OffsetSize());
            std::copy_n(at + 4 + form_.OffsetSize(), form_.OffsetSize(), entry.value.begin());
            if (entry.count > kMostValues) throw Damaged();
            entry.dataSize = TypeSize(entry.type) * entry.count;
            if (entry.dataSize > form_.OffsetSize())
                entry.dataOffset = form_.Get(entry.value.data(), form_.OffsetSize());
            Add(items, entry);
        }
        return items;
    }
    /// Takes the directory to which an entry of another one points.
    Items Below(Items& items, std::uint16_t pointer) {
        const auto found = std::find_if(items.begin(), items.end(), [&](const Item& i) { return i.tag == pointer; });
        if (found == items.end()) return {};
        if (!IsWhole(found->type) || found->count != 1) throw Damaged();
        const std::uint64_t offset = form_.Get(found->value.data(), found->value.size());
        items.erase(found);
        return Directory(offset);
    }

private:
    Refusal Damaged() const { return {Exit::Input, structure_.file().name(), "has damaged metadata", ""}; }
    void Take(std::uint64_t bytes) {
        if (bytes > left_) throw Damaged();
        left_ -= bytes;
    }

    const TiffStructure& structure_;
    const TiffForm& form_;
    std::uint64_t left_ = kMostValues;
};

/// Writes directories one after the other.
class BlockWriter {
public:
    explicit BlockWriter(bool bigEndian) : form_{bigEndian, false}, bytes_(kHeader) {
        bytes_[0] = bytes_[1] = bigEndian ? 'M' : 'I';
        form_.Put(&bytes_[2], 2, 42);
        form_.Put(&bytes_[4], 4, kHeader);
    }

    static std::uint64_t SizeOf(const Items& items) {
        std::uint64_t size = 6 + items.size() * kEntry;
        for (const Item& item : items) size += item.value.size() > 4 ? item.value.size() + item.value.size() % 2 : 0;
        return size;
    }
    void Put(Items items) {
        std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.tag < b.tag; });
        std::size_t at = bytes_.size();
        bytes_.resize(at + 6 + items.size() * kEntry);
        form_.Put(&bytes_[at], 2, items.size());
        at += 2;
        for (const Item& item : items) {
            form_.Put(&bytes_[at], 2, item.tag);
            form_.Put(&bytes_[at + 2], 2, item.type);
            form_.Put(&bytes_[at + 4], 4, item.count);
            if (item.value.size() <= 4) {
                std::copy(item.value.begin(), item.value.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(at + 8));
            } else {
                form_.Put(&bytes_[at + 8], 4, bytes_.size());
                bytes_.insert(bytes_.end(), item.value.begin(), item.value.end());
                bytes_.resize(bytes_.size() + item.value.size() % 2);
            }
            at += kEntry;
        }
    }
    /// An entry that points to a directory.
    Item Pointer(std::uint16_t which, std::uint64_t offset) const {
        Item item{which, type::Long, 1, Bytes(4)};
        form_.Put(item.value.data(), 4, offset);
        return item;
    }
    Bytes Take() && { return std::move(bytes_); }

private:
    TiffForm form_;
    Bytes bytes_;
};

}  // namespace

bool IsSoundExif(std::span<const unsigned char> block) {
    if (block.size() < kHeader || (block[0] != 'I' && block[0] != 'M') || block[0] != block[1]) return false;
    return FormOf(block).Get(&block[2], 2) == 42 && BlockReader(block).IsSound();
}

std::vector<TiffEntry> DescribingEntries(std::span<const unsigned char> block) {
    const BlockReader reader(block);
    std::uint64_t next = 0;
    std::vector<TiffEntry> entries = reader.Read(reader.First(), next).value();
    std::erase_if(entries, [](const TiffEntry& entry) { return !DescribesPicture(entry.tag); });
    return entries;
}

bool DescribesPicture(std::uint16_t tag) { return IsOneOf(tag, kDescribing); }

ExifOfPage MakeExifBlock(const TiffStructure& structure, const TiffDirectory& directory) {
    ExifOfPage made;
    try {
        MetadataReader reader(structure);
        Items page;
        for (const TiffEntry& entry : directory.entries) {
            if (DescribesPicture(entry.tag)) reader.Add(page, entry);
        }
        // The usual orientation carries no information.
        const bool isUsual = structure.Number(directory, tag::Orientation, 1) == 1;
        if (page.empty() || (page.size() == 1 && page[0].tag == tag::Orientation && isUsual)) return {};
        Items exif = reader.Below(page, tag::ExifIfd), gps = reader.Below(page, tag::GpsIfd);
        const Items shared = reader.Below(exif, tag::InteroperabilityIfd);
        made.hasMakerNote = std::erase_if(exif, [](const Item& item) { return item.tag == tag::MakerNote; }) > 0;
        BlockWriter writer(structure.form().bigEndian);
        for (const auto which : {tag::ExifIfd, tag::GpsIfd}) {
            if (!(which == tag::ExifIfd ? exif : gps).empty()) page.push_back(writer.Pointer(which, 0));
        }
        if (!shared.empty()) exif.push_back(writer.Pointer(tag::InteroperabilityIfd, 0));
        std::uint64_t at = kHeader + BlockWriter::SizeOf(page);
        const auto place = [&](Items& from, std::uint16_t which, const Items& below) {
            const auto pointer = std::find_if(from.begin(), from.end(), [&](const Item& i) { return i.tag == which; });
            if (pointer == from.end()) return;
            *pointer = writer.Pointer(which, at);
            at += BlockWriter::SizeOf(below);
        };
        place(page, tag::ExifIfd, exif);
        place(page, tag::GpsIfd, gps);
        place(exif, tag::InteroperabilityIfd, shared);
        writer.Put(page);
        for (const Items* const items : std::initializer_list<const Items*>{&exif, &gps, &shared}) {
            if (!items->empty()) writer.Put(*items);
        }
        made.block = std::move(writer).Take();
    } catch (const ReadFailure&) {
        throw;
    } catch (const Refusal&) {
        return {};  // the picture is whole
    }
    return made;
}

}  // namespace hueweave::tool
