// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "colour/base/ColourModel.h"
#include "system/Refusal.h"
#include "tiff/Chroma.h"
#include "tiff/PageForm.h"
#include "tiff/Palette.h"
#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// One image of a file as it is read, the position of its strips or tiles, and its form in the output. If it has
/// `chroma`, it is read as an image of data units: its own form counts units and their samples, `written` counts
/// pixels.
struct TiffPage : PageForm {
    std::size_t directory = 0;  ///< index in the structure
    std::string label;          ///< "page 2", for messages; empty if the file has one image
    std::string kind;           ///< of pixels that are not RGB, such as "palette"; empty for RGB
    /// The kind of a page that is not converted, such as "bilevel" or "mask"; empty for other pages. The geometry of
    /// such a page may be unknown.
    std::string other;
    std::optional<Refusal> whyNot;                         ///< why a page of a kind that can be converted is not
    colour::ColourModel model = colour::ColourModel::Rgb;  ///< of its colours, or of those in the palette
    bool inverted = false;                                 ///< a grey sample of 0 is white
    Palette palette;
    Chroma chroma;
    bool stays = false;            ///< its image data are not changed: not RGB, or in the colours of the output already
    std::vector<Extent> segments;  ///< plane after plane
    /// The tags with their places. Those of strips may hold the places of tiles.
    std::uint16_t offsetsTag = tag::StripOffsets, sizesTag = tag::StripByteCounts;

    std::uint64_t slack = 0;  ///< bytes per strip or tile in addition to the decoded size of the page
    PageForm written;         ///< the same page in the output, if its image data change

    /// Whether the page can be converted, if there is a profile for it.
    bool IsConvertible() const { return other.empty(); }
    /// Leaves the page as it is: its kind is not converted here.
    void Carry();
    /// Per pixel, without extra samples.
    unsigned ColourSamples() const {
        return palette.bits != 0 ? 1 : chroma ? chroma.UnitSamples() : colour::ChannelsOf(model);
    }
    /// Rows of pixels in a row that is read: those of a data unit.
    unsigned RowsInRow() const { return chroma ? chroma.down : 1; }
    /// Bytes that are written for a row that is read.
    std::uint64_t WrittenRowBytes() const { return RowsInRow() * written.RowBytes(); }
    std::uint64_t LargestSegment() const;  ///< bytes of the largest strip or tile in the file
    /// `other` of a transparency mask, which belongs to another page.
    static constexpr std::string_view kMask = "mask";
    /// `other` of a page without a photometric interpretation.
    static constexpr std::string_view kUnstated = "of no stated kind";
};

/// The images of a file. Refuses a file without an image that can be converted, and one with an RGB image that cannot
/// be converted completely, and gives the reason.
std::vector<TiffPage> ReadPages(const TiffStructure& structure);

/// The image of one directory.
TiffPage ReadPage(const TiffStructure& structure, std::size_t directory);

/// The form of a converted page: lossy image data become Deflate, and colours RGB, or grey with 1 as `channels`, of 8
/// or 16 bits.
PageForm FormWritten(const TiffPage& page, unsigned channels = 3);

/// Names for messages.
std::string CompressionName(unsigned compression);
std::string PhotometricName(unsigned photometric);

}  // namespace hueweave::tool
