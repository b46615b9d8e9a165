// SPDX-License-Identifier: MIT
#include "tiff/codec/DecoderFile.h"

#include <tiffio.h>

#include <algorithm>
#include <limits>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kHeader = 16, kEntry = 20;  ///< bytes, of BigTIFF
constexpr std::uint64_t kMostEntries = 20;          ///< written below
constexpr std::uint64_t kMostTables = 64 << 10;     ///< bytes; valid JPEG tables have a few hundred

/// Writes entries to a directory with a fixed number of them, and their values after it.
class Writer {
public:
    Writer(bool bigEndian, std::uint64_t size) : form_{bigEndian, true}, bytes_(static_cast<std::size_t>(size)) {
        bytes_[0] = bytes_[1] = bigEndian ? 'M' : 'I';
        Put(2, 2, 43);
        Put(4, 2, 8);
        Put(8, 8, kHeader);
    }

    /// Must be called in the order of the tags.
    void Add(unsigned tag, unsigned type, const std::vector<std::uint64_t>& values) {
        const std::size_t item = TypeSize(type);
        const std::uint64_t at = kHeader + 8 + kEntry * count_++;
        Put(at, 2, tag);
        Put(at + 2, 2, type);
        Put(at + 4, 8, values.size());
        std::uint64_t to = at + 12;
        if (item * values.size() > 8) {
            Put(to, 8, data_);
            to = data_;
            data_ += (item * values.size() + 7) / 8 * 8;
        }
        for (const std::uint64_t value : values) Put(to, item, value), to += item;
    }

    Bytes Finish() {
        Put(kHeader, 8, count_);
        return std::move(bytes_);
    }

private:
    void Put(std::uint64_t at, std::size_t size, std::uint64_t value) { form_.Put(&bytes_.at(at), size, value); }
    TiffForm form_;
    Bytes bytes_;
    std::uint64_t count_ = 0;
    std::uint64_t data_ = kHeader + 8 + kMostEntries * kEntry + 8;
};

std::uint64_t Padded(std::uint64_t size) { return (size + 7) / 8 * 8; }

bool TakesPredictor(const TiffPage& page) {
    return page.compression == COMPRESSION_LZW || page.compression == COMPRESSION_ADOBE_DEFLATE ||
           page.compression == COMPRESSION_DEFLATE || page.compression == COMPRESSION_LZMA ||
           page.compression == COMPRESSION_ZSTD;
}

}  // namespace

PageSource::PageSource(const TiffStructure& structure, const TiffPage& page)
    : page_(page), file_(structure.file()), bigEndian_(structure.form().bigEndian) {
    const std::uint64_t rows = page.tiled ? page.down * page.segmentHeight : page.height;
    const std::uint64_t row = page.RowBytes() * page.across * (page.planar ? page.samples : 1);
    constexpr auto kMostBytes = std::uint64_t{std::numeric_limits<std::int64_t>::max()} / 2;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no page is without width
    surplus_ = static_cast<std::int64_t>((rows > kMostBytes / row ? kMostBytes : rows * row) +
                                         page.slack * page.segments.size());
    if (page.compression == COMPRESSION_OJPEG) ReadOldJpeg(structure);
    if (page.compression != COMPRESSION_JPEG) return;
    const auto refuse = [&](const char* reason) {
        throw Refusal(Exit::Input, file_.name(), (page.label.empty() ? "" : page.label + " ") + reason,
                      "rewrite it with LZW or Deflate, for example with tiffcp -c zip");
    };
    // Their planes would be interpreted as red, green and blue.
    if (page.planar && page.photometric == PHOTOMETRIC_YCBCR) refuse("contains planar YCbCr pixels");
    const TiffDirectory& directory = structure.directories()[page.directory];
    if (const TiffEntry* tables = directory.Find(tag::JpegTables)) {
        if (tables->dataSize > kMostTables) refuse("has JPEG tables that are too large");
        jpegTables_ = structure.Data(*tables);
    }
    const TiffEntry* subsampling = directory.Find(tag::YCbCrSubSampling);
    if (page.photometric != PHOTOMETRIC_YCBCR || subsampling == nullptr) return;
    if (subsampling->count != 2) refuse("does not state its chroma subsampling");
    subsampling_ = structure.Numbers(*subsampling);
}

void PageSource::ReadOldJpeg(const TiffStructure& structure) {
    constexpr std::uint64_t kMostNumbers = 3;  // a table for each component
    for (const auto which : {tag::JpegProcess, tag::JpegData, tag::JpegDataSize, tag::JpegRestart,
                             tag::JpegQuantisation, tag::JpegDc, tag::JpegAc}) {
        const TiffEntry* entry = structure.directories()[page_.directory].Find(which);
        if (entry != nullptr && entry->count > 0) oldJpeg_[which] = structure.Numbers(*entry, kMostNumbers);
    }
}

Bytes PageSource::OldJpegDirectory() const {
    const Chroma& chroma = page_.chroma;
    constexpr std::uint64_t kOfTables = 256;  ///< bytes, of all values but those of strips
    const std::uint64_t size = kHeader + 8 + kMostEntries * kEntry + 8 + 2 * 8 * page_.segments.size() + kOfTables;
    Writer writer(bigEndian_, size);
    std::vector<std::uint64_t> offsets, sizes;
    for (const Extent& place : page_.segments) offsets.push_back(size + place.offset), sizes.push_back(place.size);
    writer.Add(tag::Width, type::Long, {chroma.width});
    writer.Add(tag::Height, type::Long, {chroma.height});
    writer.Add(tag::BitsPerSample, type::Short, {8, 8, 8});
    writer.Add(tag::Compression, type::Short, {page_.compression});
    writer.Add(tag::Photometric, type::Short, {page_.photometric});
    writer.Add(tag::StripOffsets, type::Long8, offsets);
    writer.Add(tag::SamplesPerPixel, type::Short, {3});
    writer.Add(tag::RowsPerStrip, type::Long, {chroma.segmentHeight});
    writer.Add(tag::StripByteCounts, type::Long8, sizes);
    writer.Add(tag::Planar, type::Short, {PLANARCONFIG_CONTIG});
    for (auto [which, numbers] : oldJpeg_) {
        const bool isPlace =
            which == tag::JpegData || which == tag::JpegQuantisation || which == tag::JpegDc || which == tag::JpegAc;
        for (std::uint64_t& number : numbers) number = std::min(number, file_.Size()) + (isPlace ? size : 0);
        const bool isShort = which == tag::JpegProcess || which == tag::JpegRestart;
        writer.Add(which, isShort ? type::Short : type::Long8, numbers);
    }
    writer.Add(tag::YCbCrSubSampling, type::Short, {chroma.across, chroma.down});
    return writer.Finish();
}

std::uint64_t PageSource::DirectorySize(std::uint64_t places) const {
    const std::uint64_t samples = page_.SegmentSamples();
    return kHeader + 8 + kMostEntries * kEntry + 8 + 2 * 8 * places + 2 * Padded(2 * samples) +
           Padded(jpegTables_.size());
}

Bytes PageSource::Directory(std::uint64_t rows, const std::vector<Extent>& places) const {
    Writer writer(bigEndian_, DirectorySize(places.size()));
    const unsigned samples = page_.SegmentSamples();
    // Data units of YCbCr are to be left as they are: to libtiff they are pixels with further samples.
    const bool ycbcr = page_.photometric == PHOTOMETRIC_YCBCR && !page_.chroma;
    const unsigned colours = ycbcr ? page_.photometric : samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    std::vector<std::uint64_t> offsets, sizes;
    for (const Extent& place : places) offsets.push_back(place.offset), sizes.push_back(place.size);
    writer.Add(tag::Width, type::Long, {page_.segmentWidth});
    writer.Add(tag::Height, type::Long, {rows});
    writer.Add(tag::BitsPerSample, type::Short, std::vector<std::uint64_t>(samples, page_.bits));
    writer.Add(tag::Compression, type::Short, {page_.compression});
    writer.Add(tag::Photometric, type::Short, {colours});
    writer.Add(tag::FillOrder, type::Short, {page_.fillOrder});
    if (!page_.tiled) writer.Add(tag::StripOffsets, type::Long8, offsets);
    writer.Add(tag::SamplesPerPixel, type::Short, {samples});
    if (!page_.tiled) writer.Add(tag::RowsPerStrip, type::Long, {page_.segmentHeight});
    if (!page_.tiled) writer.Add(tag::StripByteCounts, type::Long8, sizes);
    writer.Add(tag::Planar, type::Short, {PLANARCONFIG_CONTIG});
    if (TakesPredictor(page_)) writer.Add(tag::Predictor, type::Short, {page_.predictor});
    if (page_.tiled) {
        writer.Add(tag::TileWidth, type::Long, {page_.segmentWidth});
        writer.Add(tag::TileHeight, type::Long, {page_.segmentHeight});
        writer.Add(tag::TileOffsets, type::Long8, offsets);
        writer.Add(tag::TileByteCounts, type::Long8, sizes);
    }
    const unsigned extra = samples - (samples < 3 ? 1 : 3);
    if (extra > 0) writer.Add(tag::ExtraSamples, type::Short, std::vector<std::uint64_t>(extra));
    if (!jpegTables_.empty()) {
        writer.Add(tag::JpegTables, type::Undefined,
                   std::vector<std::uint64_t>(jpegTables_.begin(), jpegTables_.end()));
    }
    if (!subsampling_.empty()) writer.Add(tag::YCbCrSubSampling, type::Short, subsampling_);
    return writer.Finish();
}

}  // namespace hueweave::tool
