// SPDX-License-Identifier: MIT
#pragma once

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

/// Closes a libtiff file.
struct TiffCloser {
    void operator()(tiff* file) const;
};

/// The current directory of an open libtiff file.
Picture ReadPicture(tiff* file);
/// All pages of the chain of directories.
std::vector<Picture> ReadPictures(const std::string& path);

/// The image with its first three samples converted by an engine of the library that is called directly: bound to
/// `profile` and `intent`, for the encoding `space` (a number of the public header).
Picture ByEngine(Picture picture, const std::string& profile, int intent, int space);

/// The same to sRGB, with the perceptual intent of `profile`.
Picture ToSrgb(const Picture& picture, const std::string& profile = Input("scanner.icc"));
/// Expects the samples of every page of `output` to be those of the page of `source`, converted to sRGB by the engine.
void ExpectSrgb(const std::string& output, const std::string& source,
                const std::string& profile = Input("scanner.icc"));
/// The page that `TiffMaker::Small` describes.
Picture SmallPicture();

/// The output of exiftool and tiffinfo for a file, without offsets of image data, the profile and the file name.
std::string TagsOf(const std::string& path);

}  // namespace hueweave::test
