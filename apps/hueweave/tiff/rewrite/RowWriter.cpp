// SPDX-License-Identifier: MIT
#include "tiff/rewrite/RowWriter.h"

#include <algorithm>
#include <memory>

#include "system/Signals.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/codec/TiffDecoder.h"
#include "tiff/rewrite/PixelBlock.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kRowBlock = std::uint64_t{256} << 10;  ///< bytes of pixels converted at a time

/// The decoder and encoder of a plane, and the file that holds an encoded strip until its size is known.
struct RowPlane {
    std::unique_ptr<RowDecoder> decoder;
    std::unique_ptr<TiffEncoder> encoder;  ///< null for a plane that is not written
    FileAccess scratch;
    std::uint64_t size = 0;  ///< of the encoded strip so far
};
using RowPlanes = std::vector<RowPlane>;

class RowSource : public PlaneSource {
public:
    RowSource(RowPlanes& all, const PixelBlock& block, std::uint64_t rowBytes)
        : all_(all), block_(block), rowBytes_(rowBytes) {}
    void Take(unsigned plane, Bytes& data) override {
        data.resize(static_cast<std::size_t>(block_.rows * rowBytes_));
        for (std::uint32_t r = 0; r < block_.rows; ++r) all_[plane].decoder->ReadRow(data.data() + r * rowBytes_);
    }

private:
    RowPlanes& all_;
    const PixelBlock& block_;
    const std::uint64_t rowBytes_;
};

class RowSink : public PlaneSink {
public:
    RowSink(RowPlanes& all, const PixelBlock& block, std::uint64_t rowBytes)
        : all_(all), block_(block), rowBytes_(rowBytes) {}
    void Give(unsigned plane, Bytes& data) override {
        for (std::uint32_t r = 0; r < block_.rows; ++r) {
            all_[plane].encoder->Row(block_.row + r, data.data() + r * rowBytes_);
        }
    }

private:
    RowPlanes& all_;
    const PixelBlock& block_;
    const std::uint64_t rowBytes_;
};

class RowWriter {
public:
    explicit RowWriter(const PageContext& context)
        : context_(context),
          page_(context.page),
          source_(context.structure, page_),
          places_(page_.segments),
          planes_(page_),
          all_(PlaneCounts(page_).read) {
        places_.resize(page_.written.Segments());
        const WriteSettings& settings = context.settings;
        const std::string folder = settings.scratch.empty() ? FolderOf(context.target.name()) : settings.scratch;
        for (unsigned p = 0; p < all_.size(); ++p) {
            all_[p].decoder = std::make_unique<RowDecoder>(source_, p, folder, context.target.name());
            if (p >= PlaneCounts(page_).written) continue;
            all_[p].encoder = std::make_unique<TiffEncoder>(context.target, page_.written, source_.bigEndian());
            all_[p].scratch = FileAccess::Scratch(folder, context.target.name());
        }
    }

    std::vector<Extent> Write() {
        for (std::uint64_t strip = 0; strip < page_.InPlane(); ++strip) WriteStrip(strip);
        return places_;
    }

private:
    void WriteStrip(std::uint64_t strip) {
        Begin();
        const std::uint32_t rows = page_.RowsOf(strip);
        const std::uint64_t pixelRow = std::max(page_.RowBytes() * (page_.planar ? planes_.samples() : 1),
                                                page_.WrittenRowBytes() * PlaneCounts(page_).written);
        // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no page is without width
        const auto step = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kRowBlock / pixelRow, 1, rows));
        for (std::uint32_t row = 0; row < rows; row += std::min(step, rows - row)) {
            ThrowIfInterrupted();
            const PixelBlock block{strip, row, std::min(step, rows - row)};
            RowSource source(all_, block, page_.RowBytes());
            const PixelBlock written = WrittenBlock(page_, block);
            RowSink sink(all_, written, page_.written.RowBytes());
            ConvertBlock(context_, block, planes_, source, sink, [](const auto& what) { what(); });
        }
        End(strip);
    }

    void Begin() {
        for (RowPlane& plane : all_) {
            if (plane.encoder == nullptr) continue;
            plane.size = 0;
            plane.encoder->BeginRows([&plane](const unsigned char* data, std::size_t size) {
                plane.scratch.Write(plane.size, data, size);
                plane.size += size;
            });
        }
    }

    void End(std::uint64_t strip) {
        for (unsigned p = 0; p < all_.size(); ++p) {
            RowPlane& plane = all_[p];
            if (plane.encoder == nullptr) continue;
            plane.encoder->EndRows();
            const Extent place{context_.layout.Place(plane.size), plane.size};
            CopyRange(plane.scratch, {0, plane.size}, context_.target, place.offset);
            places_[p * page_.InPlane() + strip] = place;
        }
    }

    const PageContext& context_;
    const TiffPage& page_;
    const PageSource source_;
    std::vector<Extent> places_;
    PlaneSet planes_;
    RowPlanes all_;
};

}  // namespace

std::vector<Extent> WriteRows(const PageContext& context) { return RowWriter(context).Write(); }

}  // namespace hueweave::tool
