// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// What all decoders of one page share. It is read from the source once, so that a source that changes meanwhile
/// cannot make them disagree about the shape of what they decode.
class PageSource {
public:
    /// Borrows the structure and the page. Refuses what no decoder may be given.
    PageSource(const TiffStructure& structure, const TiffPage& page);

    const TiffPage& page() const { return page_; }
    const FileAccess& file() const { return file_; }
    bool bigEndian() const { return bigEndian_; }
    const Bytes& jpegTables() const { return jpegTables_; }
    /// Decoded bytes behind the pixels that the page may still have, all strips and tiles together: as much again as
    /// its pixels, and its share of 1 MiB for the file. Small files that decode to a great deal more are made to take
    /// time and nothing else.
    std::atomic<std::int64_t>& surplus() const { return surplus_; }

    /// A TIFF file without its image data that has no entries but those which tell how to decode: one image, in one
    /// plane, as high as `rows`, whose strips or tiles lie at `places`. libtiff is given this instead of the source,
    /// whose own directory may hold any amount of other things. BigTIFF, so that nothing in it runs over.
    Bytes Directory(std::uint64_t rows, const std::vector<Extent>& places) const;
    /// Bytes of such a file.
    std::uint64_t DirectorySize(std::uint64_t places) const;

private:
    const TiffPage& page_;
    const FileAccess& file_;
    bool bigEndian_;
    Bytes jpegTables_;
    std::vector<std::uint64_t> subsampling_;  ///< empty where the file does not tell
    mutable std::atomic<std::int64_t> surplus_;
};

}  // namespace hueweave::tool
