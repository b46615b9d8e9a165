// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <tiff.h>

#include <algorithm>
#include <vector>

#include "report/picture/PictureReader.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/rewrite/PixelBlock.h"
#include "tiff/rewrite/PlaneSet.h"

namespace hueweave::tool {
namespace {

/// The part of the memory that a strip may take as a whole; a larger one is read by rows.
constexpr std::uint64_t kWholePart = 16;

/// The strips or tiles of all planes, decoded as a whole.
class WholeSegments : public PlaneSource {
public:
    WholeSegments(const PageSource& source, const TiffPage& page) : decoder_(source), page_(page) {}
    void Choose(std::uint64_t segment) { segment_ = segment; }
    void Take(unsigned plane, Bytes& data) override { decoder_.ReadSegment(plane * page_.InPlane() + segment_, data); }

private:
    TiffDecoder decoder_;
    const TiffPage& page_;
    std::uint64_t segment_ = 0;
};

/// The next row of all planes.
class SingleRows : public PlaneSource {
public:
    SingleRows(const PageSource& source, const TiffPage& page, const std::string& name)
        : rowBytes_(static_cast<std::size_t>(page.RowBytes())) {
        for (unsigned plane = 0; plane < (page.planar ? page.samples : 1); ++plane) {
            decoders_.push_back(std::make_unique<RowDecoder>(source, plane, TemporaryFolder(), name));
        }
    }
    void Take(unsigned plane, Bytes& data) override {
        data.resize(rowBytes_);
        decoders_[plane]->ReadRow(data.data());
    }

private:
    std::size_t rowBytes_;
    std::vector<std::unique_ptr<RowDecoder>> decoders_;
};

class TiffPicture : public PictureReader {
public:
    TiffPicture(const FileAccess& file, std::uint64_t memory) : structure_(file) {
        const std::vector<TiffPage> pages = ReadPages(structure_);
        const auto isRgb = [](const TiffPage& page) {
            return page.IsConvertible() && page.model == colour::ColourModel::Rgb;
        };
        const auto found = std::find_if(pages.begin(), pages.end(), isRgb);
        if (found == pages.end()) RefuseKind(file, KindOf(pages));
        source_ = *found;
        page_ = source_.directory;
        isPremultiplied_ = source_.premultiplied;
        raster_ = {source_.written.width, source_.written.height, PlaneSet(source_).samples(), source_.written.bits};
        CheckMemory(memory);
        Note(pages.size());
    }

    void Read(const TakePixels& take) override {
        const PageSource source(structure_, source_);
        PlaneSet planes(source_);
        byRows_ ? ReadRows(source, planes, take) : ReadSegments(source, planes, take);
    }

private:
    /// The kind of a file without an RGB page: that of its first page which has colours.
    static std::string KindOf(const std::vector<TiffPage>& pages) {
        const auto found =
            std::find_if(pages.begin(), pages.end(), [](const auto& page) { return !page.kind.empty(); });
        return found == pages.end() ? "other" : found->kind;
    }

    void Note(std::size_t pages) {
        if (pages > 1) {
            notes_.push_back(
                fmt::format("Of the {} images in the file, only that of page {} is shown and counted, the first one "
                            "with RGB pixels.",
                            pages, page_ + 1));
        }
        if (isPremultiplied_) {
            notes_.emplace_back("Transparent pixels are shown over black.");
        } else if (raster_.samples > 3) {
            notes_.emplace_back("Samples besides the colours, such as transparency, are not shown.");
        }
        NoteOrientation(structure_.Number(structure_.directories()[page_], tag::Orientation, 1));
    }

    void CheckMemory(std::uint64_t memory) {
        const TiffPage& page = source_;
        std::uint64_t largest = 0;
        for (const Extent& segment : page.segments) largest = std::max(largest, segment.size);
        const std::uint64_t planes = page.planar ? page.samples : 1;
        // Planes are also held in memory as interleaved pixels; rows of interleaved samples are passed on directly.
        const std::uint64_t row = (page.planar ? 2 : 1) * planes * page.RowBytes() + PlaneSet::RowMemory(page);
        const std::uint64_t whole = largest + page.RowsOf(0) * row + CoderMemory(page) + raster_.RowBytes();
        // Old-style JPEG has no rows, and runs of PackBits may cross them.
        const bool hasRows =
            !page.tiled && page.compression != COMPRESSION_OJPEG && page.compression != COMPRESSION_PACKBITS;
        byRows_ = hasRows && whole > memory / kWholePart;
        const std::uint64_t turned = page.fillOrder == 1 ? 0 : largest;  // which libtiff keeps in memory completely
        const std::uint64_t byRows = row + planes * (turned + CoderMemory(page)) + raster_.RowBytes();
        if ((byRows_ ? byRows : whole) <= memory) return;
        RefuseMemory(structure_.file(), page.tiled ? "tiles" : row > memory ? "rows" : "strips");
    }

    void ReadSegments(const PageSource& source, PlaneSet& planes, const TakePixels& take) {
        WholeSegments segments(source, source_);
        for (std::uint64_t s = 0; s < source_.InPlane(); ++s) {
            ThrowIfInterrupted();
            segments.Choose(s);
            Pass(planes, segments, {s, 0, source_.RowsOf(s)}, take);
        }
    }

    void ReadRows(const PageSource& source, PlaneSet& planes, const TakePixels& take) {
        SingleRows rows(source, source_, structure_.file().name());
        for (std::uint64_t s = 0; s < source_.InPlane(); ++s) {
            for (std::uint32_t row = 0; row < source_.RowsOf(s); ++row) {
                ThrowIfInterrupted();
                Pass(planes, rows, {s, row, 1}, take);
            }
        }
    }

    /// Passes on the pixels of a block, without the padding of tiles.
    void Pass(PlaneSet& planes, PlaneSource& source, const PixelBlock& read, const TakePixels& take) {
        const PageForm& form = source_.written;
        const PixelBlock block = WrittenBlock(source_, read);
        planes.Gather(source, block.rows);
        const auto left = static_cast<std::uint32_t>(block.segment % form.across * form.segmentWidth);
        const auto top = static_cast<std::uint32_t>(block.segment / form.across * form.segmentHeight + block.row);
        const std::uint32_t columns = std::min(form.segmentWidth, form.width - left);
        for (std::uint32_t r = 0; r < block.rows && top + r < form.height; ++r) {
            const auto* const from = planes.data() + raster_.PixelBytes() * form.segmentWidth * r;
            row_.assign(from, from + raster_.PixelBytes() * columns);
            take(left, top + r, columns, row_.data());
        }
    }

    const TiffStructure structure_;
    TiffPage source_;
    bool byRows_ = false;
    Bytes row_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenTiffPicture(const FileAccess& file, std::uint64_t memory) {
    return std::make_unique<TiffPicture>(file, memory);
}

}  // namespace hueweave::tool
