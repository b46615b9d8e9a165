// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "tiff/TiffTag.h"

namespace Orvix_Tiff_STL2 {

/// A baseline little-endian TIFF container with one image. Reads the first directory into a list of tags and the
/// image into the data of tag 273, and writes both back with one strip. Decodes nothing.
///
/// Some operations throw a pointer to a zero-terminated string.
class Tiff {
public:
    Tiff() = default;
    /// Reads a file by `Tiff::ReadFile`, whose exceptions pass. Kept: `writeIfdOffset` is 0 afterwards.
    explicit Tiff(const char* fileName);
    Tiff(const Tiff&) = delete;
    Tiff& operator=(const Tiff&) = delete;
    virtual ~Tiff() = default;

    virtual void Reset();                 ///< destroys every tag
    virtual int CheckFile(std::FILE* f);  ///< 0, or -1 for null
    /// Reads header, directory and image. Returns 0, -2 (bad header) or -3 (more than 29 entries), the latter two
    /// with no tags. The stream stays open.
    virtual int ReadTiff(std::FILE* f);
    virtual int SaveTiff(std::FILE* f);  ///< writes the whole file; returns 0
    /// Empties the list, then reads. Throws a string for a null name, and the path itself for one that cannot be
    /// opened. Returns 0 otherwise, also for a file that `ReadTiff` refuses.
    virtual int ReadFile(const char* fileName);
    /// Truncates the file and writes the list; prints a line for an empty list. Returns 0.
    virtual int SaveFile(const char* fileName);
    /// Makes the tag object that the signature asks for.
    virtual std::unique_ptr<TiffTag> CreateTag(unsigned int typeAndTag, unsigned int count, unsigned int value,
                                               std::FILE* f);
    virtual int WriteHeader(std::FILE* f);  ///< eight bytes; returns 0

    /// Takes the image into the data of tag 273, turning several strips into one and, where it can, planes into
    /// pixels. Returns 0.
    int ReadImage(std::FILE* f);
    int ReadMultiStripOffset(std::FILE* f);  ///< strips to one buffer; returns 0
    /// Planes to pixels: three for a samples value of 3, else four. T is the sample type. Returns 0.
    template <typename T>
    int Pack(int width, int height);
    /// Appends what `CreateTag` makes; a repeated signature is kept twice. Returns 0.
    int AddTags(unsigned int typeAndTag, unsigned int count, unsigned int value, std::FILE* f);
    /// Adopts a tag: it takes the place of the first tag of the same signature, which is destroyed, else goes to the
    /// end. Null, or a tag that is in that place already, changes nothing. Returns 0.
    int SetTag(TiffTag* tag);
    TiffTag* GetTag(TiffTagSignature sig) const;            ///< first of that signature, or null; lent
    int SetTagValue(TiffTagSignature sig, unsigned int v);  ///< the `value` field alone; returns 0
    int GetTagValue(TiffTagSignature sig) const;            ///< the tag's `GetValue`, 0 if absent

    int WriteIFD(std::FILE* f);                ///< at offset 8; settles every offset in the tags; returns 0
    int WriteTagData(std::FILE* f);            ///< returns 0
    int WriteImageData(std::FILE* f);          ///< returns 0
    int WriteData_Exif_IFD_Tag(std::FILE* f);  ///< returns 0

    std::uint32_t ifdOffset = 0;                 ///< of the file that was read
    std::vector<std::unique_ptr<TiffTag>> tags;  ///< owns, in the order of the directory
    std::int32_t writeIfdOffset = 8;             ///< Kept: nothing reads it

protected:
    /// What `ReadFile` does, but for its exceptions. Returns null, or the string that says what failed.
    const char* TryReadFile(const char* fileName);

private:
    /// One piece of the file becomes the image.
    void ReadStrip(std::FILE* f, std::uint32_t offset, std::uint32_t bytes);
};

}  // namespace Orvix_Tiff_STL2
