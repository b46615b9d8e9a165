// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "tiff/TiffPage.h"
#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// The layout of the output. Everything except the image data of converted pages keeps its offset, so that all offsets
/// in the file stay valid, including undocumented ones. Compressed image data are written in order into the space of
/// the old data; data that do not fit are appended.
class OutputLayout {
public:
    OutputLayout(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    /// The extents to copy from the source, sorted by offset.
    const std::vector<Extent>& kept() const { return kept_; }
    /// Image data that do not change, sorted by offset: those of unchanged pages, and planes of extra samples.
    const std::vector<Extent>& untouched() const { return untouched_; }
    /// The offset of a new strip or tile of an uncompressed page, which has the size of the old one.
    std::uint64_t PlaceAgain(std::size_t page, std::uint64_t segment);
    /// Allocates `size` bytes at an even offset.
    std::uint64_t Place(std::uint64_t size);
    /// Length of the file.
    std::uint64_t End() const { return end_; }

private:
    void FindExclusive(const TiffStructure& structure, const std::vector<TiffPage>& pages);
    bool IsPadding(std::uint64_t at, std::uint64_t size) const;
    void Divide(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    const TiffStructure& structure_;
    const std::vector<TiffPage>& pages_;
    std::vector<std::vector<bool>> exclusive_;  ///< by page and segment: no other data overlap it
    std::vector<Extent> kept_, untouched_;
    std::vector<Extent> free_;  ///< free areas in order; the last one is unlimited
    std::size_t cursor_ = 0;
    std::uint64_t end_ = 0;
};

}  // namespace hueweave::tool
