// SPDX-License-Identifier: MIT
#include <algorithm>
#include <vector>

#include "report/picture/PictureReader.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/rewrite/PixelBlock.h"
#include "tiff/rewrite/PlaneSet.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kWhole = std::uint64_t{16} << 20;  ///< bytes; a larger strip is read by rows

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
    explicit TiffPicture(const FileAccess& file) : structure_(file) {
        const std::vector<TiffPage> pages = ReadPages(structure_);
        const auto isRgb = [](const TiffPage& page) {
            return page.IsConvertible() && page.model == colour::ColourModel::Rgb;
        };
        const auto found = std::find_if(pages.begin(), pages.end(), isRgb);
        if (found == pages.end()) {
            throw Refusal(Exit::Input, file.name(), "holds no RGB pixels", "give an RGB picture");
        }
        page_ = *found;
        isPremultiplied_ = page_.premultiplied;
        raster_ = {page_.written.width, page_.written.height, PlaneSet(page_).samples(), page_.written.bits};
        CheckMemory();
    }

    void Read(const TakePixels& take) override {
        const PageSource source(structure_, page_);
        PlaneSet planes(page_);
        byRows_ ? ReadRows(source, planes, take) : ReadSegments(source, planes, take);
    }

private:
    void CheckMemory() {
        std::uint64_t largest = 0;
        for (const Extent& segment : page_.segments) largest = std::max(largest, segment.size);
        const std::uint64_t planes = page_.planar ? page_.samples : 1;
        const std::uint64_t whole = largest + planes * page_.DecodedBytes(0);
        byRows_ = !page_.tiled && whole > kWhole;
        const std::uint64_t turned = page_.fillOrder == 1 ? 0 : largest;  // which libtiff keeps in memory completely
        const std::uint64_t row = planes * (page_.RowBytes() + turned) + PlaneSet::RowMemory(page_);
        if ((byRows_ ? row : whole + PlaneSet::RowMemory(page_) * page_.RowsOf(0)) > kMostBuffer) {
            throw Refusal(Exit::Input, structure_.file().name(),
                          std::string("has ") + (page_.tiled ? "tiles" : "rows") + " that take more than 256 MiB",
                          "write it anew with smaller tiles, for example with tiffcp -t -w 512 -l 512");
        }
    }

    void ReadSegments(const PageSource& source, PlaneSet& planes, const TakePixels& take) {
        WholeSegments segments(source, page_);
        for (std::uint64_t s = 0; s < page_.InPlane(); ++s) {
            ThrowIfInterrupted();
            segments.Choose(s);
            Pass(planes, segments, {s, 0, page_.RowsOf(s)}, take);
        }
    }

    void ReadRows(const PageSource& source, PlaneSet& planes, const TakePixels& take) {
        SingleRows rows(source, page_, structure_.file().name());
        for (std::uint64_t s = 0; s < page_.InPlane(); ++s) {
            for (std::uint32_t row = 0; row < page_.RowsOf(s); ++row) {
                ThrowIfInterrupted();
                Pass(planes, rows, {s, row, 1}, take);
            }
        }
    }

    /// Passes on the pixels of a block, without the padding of tiles.
    void Pass(PlaneSet& planes, PlaneSource& source, const PixelBlock& read, const TakePixels& take) {
        const PageForm& form = page_.written;
        const PixelBlock block = WrittenBlock(page_, read);
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
    TiffPage page_;
    bool byRows_ = false;
    Bytes row_;
};

}  // namespace

std::unique_ptr<PictureReader> OpenTiffPicture(const FileAccess& file) { return std::make_unique<TiffPicture>(file); }

}  // namespace hueweave::tool
