// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "command/support/Command.h"

struct tiff;

namespace hueweave::test {

/// One page of a TIFF file as libtiff decodes it: all samples interleaved, in rows.
struct Picture {
    std::uint32_t width = 0, height = 0;
    unsigned samples = 0, bits = 0;
    std::vector<std::uint16_t> values;  ///< width x height x samples
    std::string icc;
    bool operator==(const Picture&) const = default;
};

/// Closes a file of libtiff.
struct TiffCloser {
    void operator()(tiff* file) const;
};

/// The page that an open file of libtiff stands at.
Picture ReadPicture(tiff* file);
/// All pages of the chain.
std::vector<Picture> ReadPictures(const std::string& path);

/// The picture with its first three samples converted by an engine of the library, driven by hand: bound to
/// `profile` and `intent`, for the encoding `space` (a number of the public header).
Picture ByEngine(Picture picture, const std::string& profile, int intent, int space);

/// The same to sRGB, by the perceptual table of `profile`.
Picture ToSrgb(const Picture& picture, const std::string& profile = Input("scanner.icc"));
/// Every page of `output` has the samples of the same page of `source`, which the engine converted to sRGB.
void ExpectSrgb(const std::string& output, const std::string& source,
                const std::string& profile = Input("scanner.icc"));
/// The page that `TiffMaker::Small` describes.
Picture SmallPicture();

/// What exiftool and tiffinfo tell of a file but for places of image data, the profile, and the file's own name.
std::string TagsOf(const std::string& path);

}  // namespace hueweave::test
