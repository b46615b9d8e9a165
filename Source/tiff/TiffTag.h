// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>

namespace Orvix_Tiff_STL2 {

/// Bytes per item, by type code. Kept: codes 10 and 11 have 4 and 8 bytes, not 8 and 4 as in the TIFF standard.
inline constexpr int DataType[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 4, 8};
static_assert(std::size(DataType) == 12 && DataType[10] == 4);

/// Type code of an entry, as in the file.
enum FieldType : std::int32_t {};

/// Bytes per item for any type code: `DataType`, 8 for code 12 and 4 for code 13, so that such data are kept when
/// saving, and 0 for all others, whose entries are kept unchanged.
constexpr int ItemWidth(FieldType type) {
    if (type >= 0 && type < static_cast<int>(std::size(DataType))) return DataType[type];
    return type == 12 ? 8 : type == 13 ? 4 : 0;
}

/// Tag number: the low 16 bits of an entry's first word.
enum TiffTagSignature : std::uint32_t {
    kImageWidth = 256,
    kImageLength = 257,
    kBitsPerSample = 258,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
    kRowsPerStrip = 278,
    kStripByteCounts = 279,
    kXResolution = 282,
    kYResolution = 283,
    kPlanarConfiguration = 284,
    kExifIfd = 34665,
    kIccProfile = 34675
};

/// One entry of an image file directory: its four fields and, for data that do not fit in the entry, a copy of those
/// bytes as in the file (little-endian). For tag 273, the data are the image instead.
///
/// A tag knows the size of data that it has read or created, and never accesses bytes beyond it. Data passed by a
/// caller have the size that the caller states when they are used, which may change until then.
class TiffTag {
public:
    TiffTag() = default;
    explicit TiffTag(TiffTagSignature signature) : tag(signature) {}
    /// Stores all five arguments and takes ownership of `bytes`, which must be allocated with array new. When used,
    /// they must hold `count` items of `type`; for the image (tag 273), the size in tag 279; for an Exif directory (tag
    /// 34665), 44 bytes.
    TiffTag(TiffTagSignature signature, FieldType fieldType, unsigned int itemCount, unsigned int entryValue,
            unsigned char* bytes);
    /// An entry of a file: `typeAndTag` is type x 65536 + tag. Reads data of five bytes or more from `f` at
    /// `entryValue`; missing bytes are 0. If the file cannot hold data of that size, or `f` is null, the tag has no
    /// data.
    TiffTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    TiffTag(const TiffTag&) = delete;
    TiffTag& operator=(const TiffTag&) = delete;
    virtual ~TiffTag() = default;

    /// For data outside the entry, the first 16-bit item (0 without data), whatever the type; else `value`.
    virtual unsigned int GetValue() const;
    /// Writes data that do not fit in the entry. Returns the number of items written, 0 for data in the entry.
    virtual int SaveFile(std::FILE* f) const;
    virtual unsigned char* GetData() const;
    bool ValueIsOffset() const;

    /// Declared size in bytes: item width x count, or 0 if it does not fit in an int.
    int Size() const;
    /// The same for the data actually written: 0 if data outside the entry are missing.
    int StoredSize() const;
    /// Whether the entry declares data outside the entry that could not be read from its file. It is saved without
    /// items, because any offset would refer to other data.
    bool IsLost() const;
    /// Drops data that were read, as if the file could not hold them.
    void Drop();
    /// Replaces `data` by `bytes` zeroed bytes and returns them.
    unsigned char* Allocate(std::size_t bytes);
    /// The same without zeroing, for a caller that sets every byte: writing to an image twice is slow.
    unsigned char* AllocateUnset(std::size_t bytes);
    /// Takes ownership of data allocated by a caller with array new (or null). `size` is the size currently stated by
    /// the caller.
    void Adopt(unsigned char* bytes, std::size_t size);
    bool IsAdopted() const { return adopted_; }  ///< whether only the caller knows the size of the data
    /// How many of the first `wanted` bytes exist: all for data of a caller, who is never asked for more than stated.
    std::size_t Held(std::size_t wanted) const;

    TiffTagSignature tag{};
    FieldType type{};
    std::uint32_t count = 0;                ///< items
    std::uint32_t value = 0;                ///< the data if they fit in four bytes, else their offset in the file
    std::unique_ptr<unsigned char[]> data;  ///< null if there are no data
    std::size_t dataSize = 0;               ///< size of `data` in bytes; for adopted data, their size when adopted

protected:
    /// Reads from offset `value`; `bytes` beyond the end of the file do not change.
    void ReadInto(unsigned char* bytes, std::size_t size, std::FILE* f) const;

private:
    void Own(std::unique_ptr<unsigned char[]> bytes, std::size_t size);
    std::size_t HeldItems(std::size_t size) const;  ///< `Held` for data written as items

    bool adopted_ = false;
    bool unread_ = false;  ///< the data were not read from the file, or were dropped
};

/// BitsPerSample. Without a stream, the constructor creates `count` copies of the value, unless the count is 1.
class BitsPerSampleTag : public TiffTag {
public:
    BitsPerSampleTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    /// `value` for one sample, else the first item; 0 without data (Kept: two samples in the entry give 0).
    unsigned int GetValue() const override;
};

/// XResolution and YResolution. Without a stream, the constructor creates the rational number value x 100 / 100.
class ResolutionTag : public TiffTag {
public:
    ResolutionTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    /// Numerator / denominator, truncated; 0 without data or with a zero denominator.
    unsigned int GetValue() const override;
};

/// The Exif pointer. Kept: stores the first 44 bytes of the Exif directory, whatever its length.
class Exif_IFD_Tag : public TiffTag {
public:
    static constexpr std::size_t kBytes = 44;
    Exif_IFD_Tag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
};

}  // namespace Orvix_Tiff_STL2
