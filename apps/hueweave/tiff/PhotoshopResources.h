// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// Photoshop's resources in tag 34377: a sequence of numbered resources, big-endian whatever the byte order of the
/// file. Some of them describe colours. Bytes that are not a resource, and everything after them, do not change.
class PhotoshopResources {
public:
    /// Finds nothing if there is no such tag. Borrows nothing.
    PhotoshopResources(const TiffStructure& structure, const TiffDirectory& directory);

    /// Whether the resources exist but are too large to be read.
    bool tooLarge() const { return tooLarge_; }
    bool HasThumbnail() const { return thumbnail_; }
    /// All resources with another profile, or without one if `icc` is empty. Nothing if they contain no profile. Of
    /// several profiles, one is kept.
    std::optional<Bytes> WithProfile(const Bytes& icc) const;

private:
    struct Resource {
        std::size_t begin, size;  ///< of the resource, within the value
        std::size_t data;         ///< start of its data
    };
    Bytes bytes_;
    std::vector<Resource> profiles_;
    bool thumbnail_ = false;
    bool tooLarge_ = false;
};

}  // namespace hueweave::tool
