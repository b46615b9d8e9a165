// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "picture/PixelBands.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Gets pixels of one row, from left to right, whose samples are those that a converter takes. They may be changed.
using TakePixels = std::function<void(std::uint32_t x, std::uint32_t y, std::uint32_t pixels, unsigned char* samples)>;

/// The RGB pixels of a picture, or of the first page of a TIFF file that has some. Palettes are looked up, and samples
/// of other depths are scaled as for a conversion. It needs memory for a strip or tile, or for a few rows.
class PictureReader {
public:
    /// Refuses a file that is not a picture, that has no RGB pixels, or that takes too much memory. Borrows the file.
    static std::unique_ptr<PictureReader> Open(const FileAccess& file);
    virtual ~PictureReader() = default;

    /// Decodes all pixels, each of them once. Refuses damaged data.
    virtual void Read(const TakePixels& take) = 0;
    const Raster& raster() const { return raster_; }
    /// Whether the sample after the colours is an associated alpha.
    bool isPremultiplied() const { return isPremultiplied_; }

protected:
    Raster raster_;
    bool isPremultiplied_ = false;
};

/// The same for one format.
std::unique_ptr<PictureReader> OpenTiffPicture(const FileAccess& file);
std::unique_ptr<PictureReader> OpenPngPicture(const FileAccess& file);
std::unique_ptr<PictureReader> OpenJpegPicture(const FileAccess& file);

/// The largest buffer of a picture, in bytes.
inline constexpr std::uint64_t kMostBuffer = std::uint64_t{256} << 20;

}  // namespace hueweave::tool
