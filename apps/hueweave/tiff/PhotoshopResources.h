// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <optional>

#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// What Photoshop keeps in tag 34377: numbered resources, one after the other, big-endian whatever the file. Some of
/// them tell of colours. Bytes that are no resource stay as they are, with all that follows.
class PhotoshopResources {
public:
    /// Nothing is found where there is no such tag. Borrows nothing.
    PhotoshopResources(const TiffStructure& structure, const TiffDirectory& directory);

    /// They are there, but so large that they are not looked into.
    bool tooLarge() const { return tooLarge_; }
    bool HasThumbnail() const { return thumbnail_; }
    /// All of them, with another profile, or none if `icc` is empty. Nothing if they hold no profile now. Of several
    /// profiles, one is left.
    std::optional<Bytes> WithProfile(const Bytes& icc) const;

private:
    struct Resource {
        std::size_t begin, size;  ///< of all of it, within the value
        std::size_t data;         ///< where what it holds begins
    };
    Bytes bytes_;
    std::vector<Resource> profiles_;
    bool thumbnail_ = false;
    bool tooLarge_ = false;
};

}  // namespace hueweave::tool
