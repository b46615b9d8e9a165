// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <vector>

#include "tiff/TiffPage.h"
#include "tiff/TiffStructure.h"

namespace hueweave::tool {

/// Where things stand in the output. Everything but the image data of converted pages keeps its place, so that every
/// offset in the file stays right, also one that only its maker knows of. Encoded image data go where the old ones
/// were, one after the other, and what does not fit goes to the end.
class OutputLayout {
public:
    OutputLayout(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    /// What is copied from the source, in order.
    const std::vector<Extent>& kept() const { return kept_; }
    /// Image data that stay as they are, sorted by offset: of pages that stay, and planes beyond the colours.
    const std::vector<Extent>& untouched() const { return untouched_; }
    /// Where a strip or tile of a plain page goes that has the size of the old one.
    std::uint64_t PlaceAgain(std::size_t page, std::uint64_t segment);
    /// A new place for `size` bytes, at an even offset.
    std::uint64_t Place(std::uint64_t size);
    /// Length of the file.
    std::uint64_t End() const { return end_; }

private:
    void FindExclusive(const TiffStructure& structure, const std::vector<TiffPage>& pages);
    bool IsPadding(std::uint64_t at, std::uint64_t size) const;
    void Divide(const TiffStructure& structure, const std::vector<TiffPage>& pages);

    const TiffStructure& structure_;
    const std::vector<TiffPage>& pages_;
    std::vector<std::vector<bool>> exclusive_;  ///< by page and segment: no other part of the file lies there
    std::vector<Extent> kept_, untouched_;
    std::vector<Extent> free_;  ///< stretches for encoded data; the last one may reach beyond any file
    std::size_t cursor_ = 0;
    std::uint64_t end_ = 0;
};

}  // namespace hueweave::tool
