// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "command/support/Picture.h"

struct jpeg_compress_struct;

namespace hueweave::test {

/// A JPEG file of an image of grey, RGB or CMYK with 8 bits, written by libjpeg with other settings than its defaults.
/// Samples of CMYK are stored as they are.
std::string JpegOf(const Picture& picture, const std::function<void(jpeg_compress_struct*)>& set);

/// How libjpeg finds an image encoded: sampling factors, quantisation tables, colours, coding, restart interval.
std::string JpegSettings(const std::string& path);
/// The image decoded by libjpeg to RGB, grey, or CMYK as it is stored.
Picture ReadJpeg(const std::string& path);

/// A marker segment: the second byte of the marker, and the data.
struct Segment {
    unsigned marker;
    std::string data;
    bool operator==(const Segment&) const = default;
};
/// The segments APPn and COM before the first scan, without those of a profile.
std::vector<Segment> AttachedSegments(const std::string& path);
std::string SegmentBytes(const Segment& segment);
/// Inserts bytes after the first marker.
std::string WithAtStart(const std::string& jpeg, const std::string& bytes);

}  // namespace hueweave::test
