// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>

namespace Orvix_Tiff_STL2 {

/// Bytes an item, by type code. Kept: codes 10 and 11 run one place early against the TIFF standard.
inline constexpr int DataType[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 4, 8};
static_assert(std::size(DataType) == 12 && DataType[10] == 4);

/// Type code of an entry, as the file has it.
enum FieldType : std::int32_t {};

/// Bytes an item of any type code: `DataType`, 8 for code 12 and 4 for code 13, so that such data survive a save,
/// and 0 for all others, whose entries are carried as they stand.
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

/// One entry of an image file directory: its four fields and, for data that do not fit in the entry, a private copy
/// of those bytes as they stand in the file (little-endian). The data of tag 273 are the image instead.
///
/// Of data that were read or made here every tag knows how many bytes they have, and never reads or writes past them.
/// Data that a caller hands over have as many as the caller says when they are used, which may change until then.
class TiffTag {
public:
    TiffTag() = default;
    explicit TiffTag(TiffTagSignature signature) : tag(signature) {}
    /// Stores all five. Adopts `bytes`, which must come from array new. When they are used they must hold `count` items
    /// of `type`; as the image (tag 273), what tag 279 says; as an Exif directory (tag 34665), 44 bytes.
    TiffTag(TiffTagSignature signature, FieldType fieldType, unsigned int itemCount, unsigned int entryValue,
            unsigned char* bytes);
    /// An entry of a file: `typeAndTag` is type x 65536 + tag. Reads data of five bytes or more from `f` at
    /// `entryValue`; what the file does not hold is 0. A size that the file cannot hold, or a null `f`, leaves the
    /// tag without data.
    TiffTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    TiffTag(const TiffTag&) = delete;
    TiffTag& operator=(const TiffTag&) = delete;
    virtual ~TiffTag() = default;

    /// With data out of line the first 16-bit item (0 without data), whatever the type; else `value`.
    virtual unsigned int GetValue() const;
    /// Writes the data if they are out of line. Returns the items written, 0 for data that fit in the entry.
    virtual int SaveFile(std::FILE* f) const;
    virtual unsigned char* GetData() const;
    bool ValueIsOffset() const;

    /// Bytes that the entry announces: item width x count, 0 if an int cannot hold that.
    int Size() const;
    /// The same for what is really written: 0 if data that do not fit in the entry are absent.
    int StoredSize() const;
    /// Whether the entry announces data out of line that could not be taken from its file. It is saved without items,
    /// since any place that it named would be that of something else.
    bool IsLost() const;
    /// Gives up data that were read, as if the file could not hold them.
    void Drop();
    /// Puts `bytes` zeroed bytes into `data`, in place of what was there, and returns them.
    unsigned char* Allocate(std::size_t bytes);
    /// The same without the zeros, for a caller that sets every byte: an image should be touched once, not twice.
    unsigned char* AllocateUnset(std::size_t bytes);
    /// Takes over what a caller has made by array new (or null). `size` is how many bytes the caller says by now.
    void Adopt(unsigned char* bytes, std::size_t size);
    bool IsAdopted() const { return adopted_; }  ///< whether only the caller knows how many bytes the data have
    /// How many of the first `wanted` bytes the data have: all of a caller's, who is asked for no more than it said.
    std::size_t Held(std::size_t wanted) const;

    TiffTagSignature tag{};
    FieldType type{};
    std::uint32_t count = 0;                ///< items
    std::uint32_t value = 0;                ///< the data if they fit in four bytes, else their place in the file
    std::unique_ptr<unsigned char[]> data;  ///< null if there are none
    std::size_t dataSize = 0;               ///< bytes in `data`; of adopted data, when they were adopted

protected:
    /// Reads from `value` on; what the file does not hold leaves `bytes` as they are.
    void ReadInto(unsigned char* bytes, std::size_t size, std::FILE* f) const;

private:
    void Own(std::unique_ptr<unsigned char[]> bytes, std::size_t size);
    std::size_t HeldItems(std::size_t size) const;  ///< `Held` for data that are written as items

    bool adopted_ = false;
    bool unread_ = false;  ///< the file was not read for the data, or they were given up
};

/// BitsPerSample. Made without a stream it builds `count` copies of the value, but for a count of 1.
class BitsPerSampleTag : public TiffTag {
public:
    BitsPerSampleTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    /// `value` for one sample, else the first item; 0 without data (Kept: two samples in the entry answer 0).
    unsigned int GetValue() const override;
};

/// XResolution and YResolution. Made without a stream it builds the rational value x 100 / 100.
class ResolutionTag : public TiffTag {
public:
    ResolutionTag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
    /// Numerator by denominator, truncated; 0 without data or with a zero denominator.
    unsigned int GetValue() const override;
};

/// The Exif pointer. Kept: carries the first 44 bytes of the Exif directory, however long that is.
class Exif_IFD_Tag : public TiffTag {
public:
    static constexpr std::size_t kBytes = 44;
    Exif_IFD_Tag(unsigned int typeAndTag, unsigned int itemCount, unsigned int entryValue, std::FILE* f);
};

}  // namespace Orvix_Tiff_STL2
