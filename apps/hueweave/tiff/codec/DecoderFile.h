// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <vector>

#include "tiff/TiffPage.h"

namespace hueweave::tool {

/// Data shared by all decoders of one page. They are read from the source once, so that decoders agree about the
/// geometry even if the source changes in the meantime.
class PageSource {
public:
    /// Borrows the structure and the page. Refuses pages that must not be given to a decoder.
    PageSource(const TiffStructure& structure, const TiffPage& page);

    const TiffPage& page() const { return page_; }
    const FileAccess& file() const { return file_; }
    bool bigEndian() const { return bigEndian_; }
    const Bytes& jpegTables() const { return jpegTables_; }
    /// Decoded bytes after the pixels that the page may still have, for all strips and tiles together: the size of its
    /// pixels, plus its share of 1 MiB for the file. Small files that decode to much more exist only to waste time.
    std::atomic<std::int64_t>& surplus() const { return surplus_; }

    /// A TIFF file without image data that contains only the entries needed for decoding: one image in one plane with
    /// `rows` rows, whose strips or tiles are at `places`. libtiff gets this instead of the source, whose own directory
    /// may contain anything else. It is BigTIFF, so that no value overflows.
    Bytes Directory(std::uint64_t rows, const std::vector<Extent>& places) const;
    /// The same for a page of old-style JPEG: libtiff sees the whole file behind the directory, because the tags refer
    /// to tables and data anywhere in it. Their places are moved by the size of the directory.
    Bytes OldJpegDirectory() const;
    /// Size of such a file in bytes.
    std::uint64_t DirectorySize(std::uint64_t places) const;

private:
    void ReadOldJpeg(const TiffStructure& structure);

    const TiffPage& page_;
    const FileAccess& file_;
    bool bigEndian_;
    Bytes jpegTables_;
    std::map<std::uint16_t, std::vector<std::uint64_t>> oldJpeg_;  ///< numbers of its tags
    std::vector<std::uint64_t> subsampling_;                       ///< empty if the file does not state it
    mutable std::atomic<std::int64_t> surplus_;
};

}  // namespace hueweave::tool
