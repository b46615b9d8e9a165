// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "picture/PixelBands.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Pixels per inch.
struct Resolution {
    double x = 0, y = 0;
};

/// The metadata that every format can hold.
struct Metadata {
    Bytes exif;  ///< a block that begins like a TIFF file; empty for none
    Bytes xmp;   ///< a packet; empty for none
    std::optional<Resolution> resolution{};
    bool hasOthers = false;     ///< the source has metadata beside these, which are left out
    bool hasMakerNote = false;  ///< one was left out
};

/// An image that is written as a new file of some format.
struct NewImage {
    Raster raster;         ///< its pixels: the colours, and an unassociated alpha if there is one more sample
    unsigned colours = 3;  ///< samples of colours: 1 for grey, 3 for RGB
    std::shared_ptr<const Bytes> icc;  ///< the profile to embed; null for none
    Metadata metadata;
    std::string name;  ///< of the source, for messages

    bool HasAlpha() const { return raster.samples > colours; }
};

/// A file that takes the rows of an image.
class NewFile : public RowSink {
public:
    /// Ends the file, after the last row.
    virtual void Finish() = 0;
};

/// Write to an empty file, which is borrowed, as the image is.
std::unique_ptr<NewFile> MakeNewPng(const FileAccess& target, const NewImage& image);
/// In strips of Deflate data.
std::unique_ptr<NewFile> MakeNewTiff(const FileAccess& target, const NewImage& image);
/// Samples of 16 bits are rounded to 8. The image has no alpha. `quality` is that of libjpeg, 1 to 100; colours are not
/// subsampled. `memory` is what is left for optimised Huffman codes.
std::unique_ptr<NewFile> MakeNewJpeg(const FileAccess& target, const NewImage& image, unsigned quality,
                                     std::uint64_t memory);

/// The largest width and height of a JPEG file that libjpeg writes.
inline constexpr std::uint32_t kMostJpegSize = 65500;
/// The largest blocks that a segment of a JPEG file holds behind their names.
inline constexpr std::size_t kMostJpegExif = 65533 - 6, kMostJpegXmp = 65533 - 29;

}  // namespace hueweave::tool
