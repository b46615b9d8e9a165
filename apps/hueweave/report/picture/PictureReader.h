// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "picture/PixelBands.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Gets pixels of one row, from left to right, whose samples are those that a converter accepts. They may be changed.
using TakePixels = std::function<void(std::uint32_t x, std::uint32_t y, std::uint32_t pixels, unsigned char* samples)>;

/// The RGB pixels of a picture, or of the first page of a TIFF file that has some. Palettes are looked up, and samples
/// of other depths are scaled as for a conversion. It needs memory for a strip or tile, or for a few rows.
class PictureReader {
public:
    /// Refuses a file that is not a picture, that has no RGB pixels, or whose pixels take more than `memory` bytes.
    /// Borrows the file.
    static std::unique_ptr<PictureReader> Open(const FileAccess& file, std::uint64_t memory);
    virtual ~PictureReader() = default;

    /// Decodes all pixels, each of them once. Refuses damaged data.
    virtual void Read(const TakePixels& take) = 0;
    const Raster& raster() const { return raster_; }
    /// Whether the sample after the colours is an associated alpha.
    bool isPremultiplied() const { return isPremultiplied_; }
    /// Which image of the file it is, counted from 0.
    std::size_t page() const { return page_; }
    /// What the pixels leave out of the picture, each in a sentence.
    const std::vector<std::string>& notes() const { return notes_; }

protected:
    /// `orientation` is that of TIFF files.
    void NoteOrientation(std::uint64_t orientation);

    Raster raster_;
    bool isPremultiplied_ = false;
    std::size_t page_ = 0;
    std::vector<std::string> notes_;
};

/// The same for one format.
std::unique_ptr<PictureReader> OpenTiffPicture(const FileAccess& file, std::uint64_t memory);
std::unique_ptr<PictureReader> OpenPngPicture(const FileAccess& file, std::uint64_t memory);
std::unique_ptr<PictureReader> OpenJpegPicture(const FileAccess& file, std::uint64_t memory);

/// Refuses a picture with pixels of another kind, such as "grey".
[[noreturn]] void RefuseKind(const FileAccess& file, std::string_view kind);
/// Refuses a picture whose `what` do not fit in the memory allowed: "rows", for example.
[[noreturn]] void RefuseMemory(const FileAccess& file, std::string_view what);

}  // namespace hueweave::tool
