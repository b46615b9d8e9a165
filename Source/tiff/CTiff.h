// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "tiff/Tiff.h"

namespace Orvix_Tiff_STL2 {

/// A TIFF image with its geometry, access to its pixels and its embedded profile. A failed read prints a line to the
/// standard output and throws nothing.
class CTiff : public Tiff {
public:
    CTiff() = default;
    explicit CTiff(const char* fileName);  ///< reads with `CTiff::ReadFile`
    ~CTiff() override = default;

    /// Reads the file and its geometry. Always returns 0; after a failure `imageBuf` is null.
    int ReadFile(const char* fileName) override;

    /// A new image with 15 tags. With `allocate` 1 it has zeroed pixels, with any other value none. Returns 0. For an
    /// image of 4 GiB or more, tag 279 holds the low 32 bits of its size, and saving writes that many bytes. Throws
    /// `std::bad_alloc` if there is not enough memory for the pixels.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, int allocate);
    /// The same with pixels from a raw file; prints a line if it cannot be opened. Returns 0.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile);
    /// The same, then saved to `tiffFile`. Returns 0.
    int CreateNew(int newWidth, int newHeight, int newResolution, int newSamples, int newBits, const char* rawFile,
                  const char* tiffFile);

    // The address of the byte with the first bit of a pixel, or storing one byte there. Plain functions clamp x and y;
    // M functions count rows from the bottom; Q functions check nothing, so the caller must. Checked functions return
    // null, or store nothing, if the position is not in the image data.
    unsigned char* GetXY(int x, int y);
    unsigned char* GetXY_M(int x, int y);
    unsigned char* GetXY_Q(int x, int y);
    unsigned char* GetXY_MQ(int x, int y);
    void SetXY(int x, int y, unsigned char v);
    void SetXY_M(int x, int y, unsigned char v);
    void SetXY_Q(int x, int y, unsigned char v);
    void SetXY_MQ(int x, int y, unsigned char v);  ///< Kept: counts rows from the top, unlike GetXY_MQ

    // One row, clamped: `count` pixels, or the whole row for 0. `buf` holds that many bytes. Returns `count`.
    int GetRow(unsigned char* buf, int row, int count);
    int GetRow(unsigned short* buf, int row, int count);
    int PutRow(unsigned char* buf, int row, int count);
    int PutRow(unsigned short* buf, int row, int count);
    // A block of h rows of w pixels, stored contiguously in `buf`; for 8 and 16 bits, else returns -1. Returns 0.
    int GetRowColumn(unsigned char* buf, int x, int y, int w, int h);
    int GetRowColumn(unsigned short* buf, int x, int y, int w, int h);
    int SetRowColumn(unsigned char* buf, int x, int y, int w, int h);
    int SetRowColumn(unsigned short* buf, int x, int y, int w, int h);

    unsigned char* GetImageBuf() const { return imageBuf; }
    /// Size of the image buffer in bytes. A buffer passed by a caller has the size in tag 279, or `height` rows if that
    /// is more.
    std::size_t ImageBytes() const;
    /// Takes ownership of a buffer allocated with array new. When used, it must have the size given by `ImageBytes`:
    /// tag 279 and the fields may be set before or afterwards. Saving writes as many bytes as tag 279 states at that
    /// time.
    void SetImageBuf(unsigned char* buf);

    using Tiff::SetTag;
    /// Creates a tag with `CreateTag` and sets it. Kept: the bytes passed are ignored. Returns 0.
    int SetTag(TiffTagSignature tag, unsigned short type, unsigned int count, unsigned int value,
               unsigned char* ignored);
    int SetTagValue(TiffTagSignature tag, unsigned int v);  ///< only the `value` field; returns 0

    void RemoveIcc();  ///< removes the first tag 34675 from the list
    /// Replaces the data of tag 34675 by a profile file; never adds the tag. Throws a string if the file cannot be
    /// opened. Returns 0.
    int SetIccProfile(const char* fileName);
    /// Writes the data of tag 34675 to a file. Returns 0 if there is no tag or no file, else the result of closing it.
    int SaveIccProfile(const char* fileName);

    std::int32_t width = 0;             ///< pixels per row
    std::int32_t height = 0;            ///< rows
    std::int32_t samples = 0;           ///< per pixel
    std::int32_t bits = 0;              ///< per sample
    std::int32_t rowBytes = 0;          ///< from one row to the next
    std::int32_t resolution = 0;        ///< value of tag 282
    unsigned char* imageBuf = nullptr;  ///< the data of tag 273; not owned

private:
    void TakeGeometry();                        ///< from the tags read
    std::int64_t OffsetOf(int x, int y) const;  ///< bytes from the start of the image, unchecked
    unsigned char* Checked(int x, int y);       ///< clamped; null outside the image data
    unsigned char* Unchecked(int x, int y);
    std::span<unsigned char> Bytes(unsigned char* from, std::int64_t wanted);  ///< does not extend beyond the image
    std::span<unsigned char> Row(int row, int count);
    int ReadRow(void* buf, int row, int count);
    int WriteRow(const void* buf, int row, int count);
    template <typename T>
    int ReadBlock(T* buf, int x, int y, int w, int h);
    int WriteBlock(const void* buf, int x, int y, int w, int h);
};

}  // namespace Orvix_Tiff_STL2
