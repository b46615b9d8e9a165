// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "tiff/Tiff.h"

namespace Orvix_Tiff_STL2 {

/// A TIFF image with its geometry at hand, addressed access to its bytes, and its embedded profile. A failed read
/// prints a line on the standard output and throws nothing.
class CTiff : public Tiff {
public:
    CTiff() = default;
    explicit CTiff(const char* fileName);  ///< reads by `CTiff::ReadFile`
    ~CTiff() override = default;

    /// Reads the file and takes its geometry. Returns 0 on every path; a failure shows in `imageBuf` being null.
    int ReadFile(const char* fileName) override;

    /// A fresh image of 15 tags. With `allocate` 1 it has zeroed pixels, with any other value none. Returns 0. An image
    /// of 4 GiB and more has the low 32 bits of its size in tag 279, and a save writes as many bytes. Throws
    /// `std::bad_alloc` where there is no memory for the pixels.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, int allocate);
    /// The same with pixels read from a raw file; prints a line if that cannot be opened. Returns 0.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile);
    /// The same, then saved to `tiffFile`. Returns 0.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile,
                  const char* tiffFile);

    // Address of the byte with a pixel's first bit, and the store of one byte there. Plain forms clamp x and y; M
    // forms count rows from the bottom; Q forms check nothing, which is up to the caller. Null, and no store, where
    // a checked form has no image to point into.
    unsigned char* GetXY(int x, int y);
    unsigned char* GetXY_M(int x, int y);
    unsigned char* GetXY_Q(int x, int y);
    unsigned char* GetXY_MQ(int x, int y);
    void SetXY(int x, int y, unsigned char v);
    void SetXY_M(int x, int y, unsigned char v);
    void SetXY_Q(int x, int y, unsigned char v);
    void SetXY_MQ(int x, int y, unsigned char v);  ///< Kept: counts rows from the top, unlike its reading twin

    // One row, clamped: `count` pixels, or the whole row for 0. `buf` holds as many bytes. Returns `count`.
    int GetRow(unsigned char* buf, int row, int count);
    int GetRow(unsigned short* buf, int row, int count);
    int PutRow(unsigned char* buf, int row, int count);
    int PutRow(unsigned short* buf, int row, int count);
    // A block of h rows of w pixels, packed in `buf`; for 8 and 16 bits, else -1. Returns 0.
    int GetRowColumn(unsigned char* buf, int x, int y, int w, int h);
    int GetRowColumn(unsigned short* buf, int x, int y, int w, int h);
    int SetRowColumn(unsigned char* buf, int x, int y, int w, int h);
    int SetRowColumn(unsigned short* buf, int x, int y, int w, int h);

    unsigned char* GetImageBuf() const { return imageBuf; }
    /// Bytes in the image buffer. One that a caller handed over has what tag 279 says or `height` rows, if they are
    /// more.
    std::size_t ImageBytes() const;
    /// Takes over a buffer from array new. Wherever it is used, it must have the bytes of `ImageBytes`: tag 279 and the
    /// fields may be set before or afterwards. A save writes as many as tag 279 says by then.
    void SetImageBuf(unsigned char* buf);

    using Tiff::SetTag;
    /// Makes a tag by `CreateTag` and sets it. Kept: the bytes given are ignored. Returns 0.
    int SetTag(TiffTagSignature tag, unsigned short type, unsigned int count, unsigned int value,
               unsigned char* ignored);
    int SetTagValue(TiffTagSignature tag, unsigned int v);  ///< the `value` field alone; returns 0

    void RemoveIcc();  ///< takes the first tag 34675 out of the list
    /// Replaces the bytes of the tag 34675 by a profile file; never adds the tag. Throws a string if the file cannot
    /// be opened. Returns 0.
    int SetIccProfile(const char* fileName);
    /// Writes the bytes of tag 34675. Returns 0 if there is no tag or no file, else what closing gave.
    int SaveIccProfile(const char* fileName);

    std::int32_t width = 0;             ///< pixels a row
    std::int32_t height = 0;            ///< rows
    std::int32_t samples = 0;           ///< a pixel
    std::int32_t bits = 0;              ///< a sample
    std::int32_t rowBytes = 0;          ///< from one row to the next
    std::int32_t resolution = 0;        ///< value of tag 282
    unsigned char* imageBuf = nullptr;  ///< the data of tag 273; not owned

private:
    void TakeGeometry();                        ///< from the tags that were read
    std::int64_t OffsetOf(int x, int y) const;  ///< bytes from the image's start, unchecked
    unsigned char* Checked(int x, int y);       ///< clamped; null outside the image's bytes
    unsigned char* Unchecked(int x, int y);
    std::span<unsigned char> Bytes(unsigned char* from, std::int64_t wanted);  ///< no further than the image goes
    std::span<unsigned char> Row(int row, int count);
    int ReadRow(void* buf, int row, int count);
    int WriteRow(const void* buf, int row, int count);
    template <typename T>
    int ReadBlock(T* buf, int x, int y, int w, int h);
    int WriteBlock(const void* buf, int x, int y, int w, int h);
};

}  // namespace Orvix_Tiff_STL2
