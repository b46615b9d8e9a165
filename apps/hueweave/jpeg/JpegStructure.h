// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// Limits on the cost of a JPEG file apart from its pixels.
namespace jpeg_limit {
inline constexpr std::uint64_t kSegments = 65536;
/// Each scan of a progressive image visits the whole image, however few bytes it has.
inline constexpr std::uint64_t kScans = 256;
}  // namespace jpeg_limit

namespace jpeg_marker {
inline constexpr unsigned kSof0 = 0xc0, kSof15 = 0xcf, kDht = 0xc4, kJpg = 0xc8, kDac = 0xcc, kRst0 = 0xd0,
                          kRst7 = 0xd7, kSoi = 0xd8, kEoi = 0xd9, kSos = 0xda, kDnl = 0xdc, kApp0 = 0xe0, kApp1 = 0xe1,
                          kApp2 = 0xe2, kApp13 = 0xed, kApp14 = 0xee, kApp15 = 0xef, kCom = 0xfe;
}  // namespace jpeg_marker

/// A marker with its parameters.
struct JpegSegment {
    unsigned marker = 0;  ///< second byte
    Extent place;         ///< from the first byte of the marker, or of the fill bytes before it
    Extent data;          ///< without the marker and the length
    /// A comment, or data of an application: not needed to decode the image.
    bool IsAttached() const {
        return marker == jpeg_marker::kCom || (marker >= jpeg_marker::kApp0 && marker <= jpeg_marker::kApp15);
    }
};

/// The frame header.
struct JpegFrame {
    struct Component {
        unsigned across = 1, down = 1;  ///< sampling factors
    };
    unsigned marker = 0;  ///< SOF0 to SOF15, second byte
    unsigned precision = 8;
    std::uint32_t width = 0, height = 0;
    std::vector<Component> components;
    /// Both kinds of coding, Huffman and arithmetic, have one progressive process without hierarchy.
    bool IsProgressive() const { return marker == 0xc2 || marker == 0xca; }
    bool IsArithmetic() const { return marker == 0xc9 || marker == 0xca; }
    /// Whether a decoder for 8 bits can decode it: baseline, extended or progressive.
    bool IsUsual() const { return (marker >= 0xc0 && marker <= 0xc2) || IsArithmetic(); }
    /// Bytes of all coefficients of the image.
    std::uint64_t CoefficientBytes() const;
    /// The same, at most, for the output image with this number of samples per pixel.
    std::uint64_t CoefficientBytes(unsigned samples) const {
        return CoefficientBytes() * (samples > components.size() ? samples : 1);
    }
};

/// The segments of a JPEG file in their order, up to the end of its first image. Refuses damaged and truncated files;
/// entropy-coded data are not decoded.
class JpegStructure {
public:
    /// Borrows the file.
    explicit JpegStructure(const FileAccess& file);

    const FileAccess& file() const { return file_; }
    const JpegFrame& frame() const { return frame_; }
    /// Those before the first scan; behind them, comments and data of applications between later scans,
    /// except those that describe how to read an image.
    const std::vector<JpegSegment>& segments() const { return segments_; }
    std::uint64_t scans() const { return scans_; }
    /// From the first scan to the end of the image.
    Extent coded() const { return coded_; }
    /// Bytes after the end of the image.
    Extent trailer() const { return {coded_.End(), fileSize_ - coded_.End()}; }
    Bytes Data(const JpegSegment& segment) const { return file_.Read(segment.data); }
    /// Whether the data of a segment begin with these bytes.
    bool Begins(const JpegSegment& segment, std::string_view start) const;
    bool IsProfile(const JpegSegment& segment) const;
    /// The Adobe marker, which says how colours are encoded.
    bool IsAdobe(const JpegSegment& segment) const;
    bool HasAdobe() const;
    /// The profile, put together from its segments; empty if there is none.
    Bytes Profile() const;

private:
    class Cursor;
    [[noreturn]] void Refuse(const std::string& reason) const;
    void ReadSegments(Cursor& cursor);
    JpegSegment ReadSegment(Cursor& cursor, std::uint64_t start, unsigned marker);
    void ReadFrame(const JpegSegment& segment);

    const FileAccess& file_;
    std::uint64_t fileSize_;
    JpegFrame frame_;
    std::vector<JpegSegment> segments_;
    std::uint64_t scans_ = 0;
    Extent coded_;
};

inline constexpr std::string_view kProfileStart{"ICC_PROFILE\0", 12};
inline constexpr std::string_view kExifStart{"Exif\0\0", 6};
inline constexpr std::string_view kXmpStart{"http://ns.adobe.com/xap/1.0/\0", 29};
inline constexpr std::string_view kAdobeStart{"Adobe", 5};
inline constexpr std::size_t kAdobeTransform = 11;  ///< index of the last byte, which gives the encoding of the colours
inline constexpr std::string_view kFurtherImagesStart{"MPF\0", 4};

}  // namespace hueweave::tool
