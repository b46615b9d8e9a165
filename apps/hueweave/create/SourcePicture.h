// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "create/NewImage.h"
#include "jpeg/JpegStructure.h"
#include "picture/Writing.h"
#include "png/PngStructure.h"
#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// The image of a file that is written in another format.
class SourcePicture {
public:
    virtual ~SourcePicture() = default;
    /// The pixels as a converter accepts them: those of a palette are RGB, a transparent colour is an alpha channel.
    virtual Raster raster() const = 0;
    virtual Metadata metadata() const = 0;
    /// Converts all pixels and gives them to a file. `target` is where that is written; temporary files are made beside
    /// it. Refuses damaged data, and images that do not fit in the memory allowed.
    virtual void Convert(const colour::PixelConverter& converter, NewFile& file, const FileAccess& target,
                         const WriteSettings& settings, Measured& measured) const = 0;
};

/// These borrow the structure.
std::unique_ptr<const SourcePicture> PictureOf(const PngStructure& structure);
std::unique_ptr<const SourcePicture> PictureOf(const JpegStructure& structure);
/// `pages` are those of the structure, and are borrowed too; one is the image.
std::unique_ptr<const SourcePicture> PictureOf(const TiffStructure& structure, const std::vector<TiffPage>& pages,
                                               std::size_t page);

/// The metadata of a file. Those that are damaged are left out.
Metadata MetadataOf(const PngStructure& structure);
Metadata MetadataOf(const JpegStructure& structure);
Metadata MetadataOf(const TiffStructure& structure, const TiffDirectory& directory);

}  // namespace hueweave::tool
