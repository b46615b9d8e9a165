// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "tiff/TiffTag.h"

namespace Orvix_Tiff_STL2 {

constexpr std::size_t kEntryBytes = 12;  ///< of a tag in a directory

/// A baseline little-endian TIFF container with one image. Reads the first directory into a list of tags and the image
/// into the data of tag 273, and writes both with one strip. Does not decompress.
///
/// Some operations throw a pointer to a zero-terminated string.
class Tiff {
public:
    Tiff() = default;
    /// Reads a file with `Tiff::ReadFile` and passes on its exceptions. Kept: `writeIfdOffset` is 0 afterwards.
    explicit Tiff(const char* fileName);
    Tiff(const Tiff&) = delete;
    Tiff& operator=(const Tiff&) = delete;
    virtual ~Tiff() = default;

    virtual void Reset();                 ///< destroys all tags
    virtual int CheckFile(std::FILE* f);  ///< 0, or -1 for null
    /// Reads header, directory and image. Returns 0, -2 (bad header) or -3 (more than 29 entries); in the last two
    /// cases there are no tags. The stream stays open.
    virtual int ReadTiff(std::FILE* f);
    virtual int SaveTiff(std::FILE* f);  ///< writes the whole file; returns 0
    /// Clears the list, then reads. Throws a string for a null name, and the path for a file that cannot be opened.
    /// Otherwise returns 0, even if `ReadTiff` refuses the file.
    virtual int ReadFile(const char* fileName);
    /// Truncates the file and writes the list; prints a line for an empty list. Returns 0.
    virtual int SaveFile(const char* fileName);
    /// Creates the tag object for a signature.
    virtual std::unique_ptr<TiffTag> CreateTag(unsigned int typeAndTag, unsigned int count, unsigned int value,
                                               std::FILE* f);
    virtual int WriteHeader(std::FILE* f);  ///< eight bytes; returns 0

    /// Reads the image into the data of tag 273, merging several strips into one and, if possible, planes into pixels.
    /// Returns 0.
    int ReadImage(std::FILE* f);
    int ReadMultiStripOffset(std::FILE* f);  ///< merges strips into one buffer; returns 0
    /// Converts planes to pixels: three for a samples value of 3, else four. T is the sample type. Returns 0.
    template <typename T>
    int Pack(int width, int height);
    /// Appends the result of `CreateTag`; repeated signatures are kept. Returns 0.
    int AddTags(unsigned int typeAndTag, unsigned int count, unsigned int value, std::FILE* f);
    /// Takes ownership of a tag, which replaces the first tag with the same signature or is appended. Null, or a tag
    /// that is already in that place, changes nothing. Returns 0.
    int SetTag(TiffTag* tag);
    TiffTag* GetTag(TiffTagSignature sig) const;            ///< first tag with that signature, or null; not owned
    int SetTagValue(TiffTagSignature sig, unsigned int v);  ///< only the `value` field; returns 0
    int GetTagValue(TiffTagSignature sig) const;            ///< the tag's `GetValue`, 0 if absent

    int WriteIFD(std::FILE* f);                ///< at offset 8; sets all offsets in the tags; returns 0
    int WriteTagData(std::FILE* f);            ///< returns 0
    int WriteImageData(std::FILE* f);          ///< returns 0
    int WriteData_Exif_IFD_Tag(std::FILE* f);  ///< returns 0

    std::uint32_t ifdOffset = 0;                 ///< of the file read
    std::vector<std::unique_ptr<TiffTag>> tags;  ///< owned, in directory order
    std::int32_t writeIfdOffset = 8;             ///< Kept: never read

protected:
    /// Same as `ReadFile`, but without exceptions. Returns null, or a string that describes the failure.
    const char* TryReadFile(const char* fileName);

private:
    /// Reads the image from one contiguous part of the file.
    void ReadStrip(std::FILE* f, std::uint32_t offset, std::uint32_t bytes);
};

}  // namespace Orvix_Tiff_STL2
