// SPDX-License-Identifier: MIT
#include "tiff/rewrite/PlainWriter.h"

#include <algorithm>
#include <span>
#include <utility>

#include "system/WorkUnits.h"
#include "tiff/Samples.h"
#include "tiff/rewrite/PixelBlock.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kBlock = std::uint64_t{512} << 10;  ///< bytes of a block in one plane

/// The positions and byte order of a block of pixels in the source, or in the output.
class PlainBlock {
public:
    PlainBlock(const PageContext& context, const PageForm& form, const PixelBlock& block)
        : form_(form), block_(block), bigEndian_(context.structure.form().bigEndian) {}

    std::size_t PlaneBytes() const { return static_cast<std::size_t>(block_.rows * form_.RowBytes()); }
    /// Calls `what` with the position and the bytes of each part of a plane that is in one piece in the file.
    template <typename What>
    void ForEachPiece(const std::vector<Extent>& places, unsigned plane, std::span<unsigned char> data,
                      const What& what) const {
        std::uint64_t segment = block_.segment, start = 0;
        std::size_t size = 0;
        for (std::uint32_t row = block_.row, left = block_.rows; left > 0; row = 0, ++segment) {
            const std::uint32_t rows = std::min(left, form_.RowsOf(segment) - row);
            const std::uint64_t offset = places[plane * form_.InPlane() + segment].offset + row * form_.RowBytes();
            if (size > 0 && offset != start + size) {
                what(start, data.first(size));
                data = data.subspan(size);
                size = 0;
            }
            if (size == 0) start = offset;
            size += static_cast<std::size_t>(rows * form_.RowBytes());
            left -= rows;
        }
        what(start, data);
    }
    /// Converts from the file's byte order to the processor's, or back.
    void SwapOrder(Bytes& data) const {
        const unsigned width = form_.OrderedBytes();
        ToNative(data.data(), data.size() / width, width, bigEndian_);
    }

private:
    const PageForm& form_;
    const PixelBlock& block_;
    const bool bigEndian_;
};

class PlainSource : public PlaneSource {
public:
    PlainSource(const PageContext& context, const PlainBlock& block, InTurn inTurn)
        : context_(context), block_(block), inTurn_(std::move(inTurn)) {}
    void Take(unsigned plane, Bytes& data) override {
        data.resize(block_.PlaneBytes());
        const auto forEachPiece = [&](const auto& what) {
            block_.ForEachPiece(context_.page.segments, plane, data, what);
        };
        forEachPiece([&](std::uint64_t offset, std::span<unsigned char> piece) {
            context_.structure.file().Read(offset, piece.data(), piece.size());
        });
        if (plane == 0 && context_.settings.taken) inTurn_([&] { forEachPiece(context_.settings.taken); });
        block_.SwapOrder(data);
    }

private:
    const PageContext& context_;
    const PlainBlock& block_;
    const InTurn inTurn_;
};

class PlainSink : public PlaneSink {
public:
    PlainSink(const PageContext& context, const PlainBlock& block, const std::vector<Extent>& places)
        : context_(context), block_(block), places_(places) {}
    void Give(unsigned plane, Bytes& data) override {
        block_.SwapOrder(data);
        block_.ForEachPiece(places_, plane, data, [&](std::uint64_t offset, std::span<unsigned char> piece) {
            context_.target.Write(offset, piece.data(), piece.size());
        });
    }

private:
    const PageContext& context_;
    const PlainBlock& block_;
    const std::vector<Extent>& places_;
};

/// The extents of all strips and tiles of the output.
std::vector<Extent> PlaceAll(const PageContext& context) {
    const TiffPage& page = context.page;
    std::vector<Extent> places = page.segments;
    places.resize(page.written.Segments());
    const bool isNew = !HaveSameLayout(page, page.written);
    for (std::uint64_t segment = 0; segment < PlaneCounts(page).written * page.InPlane(); ++segment) {
        if (isNew) {
            const std::uint64_t size = page.written.DecodedBytes(segment);
            places[segment] = {context.layout.Place(size), size};
        } else {
            places[segment].offset = context.layout.PlaceAgain(context.index, segment);
        }
    }
    return places;
}

/// The blocks of each plane: parts of large strips and tiles, and groups of small strips.
std::vector<PixelBlock> ListBlocks(const TiffPage& page) {
    const std::uint64_t rowBytes = std::max(page.RowBytes(), page.WrittenRowBytes());
    // The last row of data units of a strip may be incomplete.
    const bool mayJoin = !page.planar && !page.tiled && !page.chroma;
    std::vector<PixelBlock> blocks;
    for (std::uint64_t segment = 0; segment < page.InPlane(); ++segment) {
        const std::uint32_t rows = page.RowsOf(segment);
        if (mayJoin && !blocks.empty() && blocks.back().row == 0) {
            PixelBlock& last = blocks.back();
            const std::uint64_t bytes = (std::uint64_t{last.rows} + rows) * rowBytes;
            if (bytes <= kBlock) {
                last.rows += rows;
                continue;
            }
        }
        const auto step = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(kBlock / rowBytes, 1, rows));
        for (std::uint32_t row = 0; row < rows; row += std::min(step, rows - row)) {
            blocks.push_back({segment, row, std::min(step, rows - row)});
        }
    }
    return blocks;
}

}  // namespace

std::vector<Extent> WritePlain(const PageContext& context) {
    const TiffPage& page = context.page;
    const WriteSettings& settings = context.settings;
    std::vector<Extent> places = PlaceAll(context);
    const std::vector<PixelBlock> blocks = ListBlocks(page);
    WorkUnits units(blocks.size());
    const bool isExpanded = PlaneSet::RowMemory(page) != 0;
    const std::uint64_t buffers = (page.planar ? PlaneCounts(page).gathered + 1 : 1) + (isExpanded ? 3 : 0);
    const std::uint64_t need = std::max({kBlock, page.RowBytes(), page.WrittenRowBytes()}) * buffers;
    const auto threads = static_cast<unsigned>(std::clamp<std::uint64_t>(settings.memory / need, 1, settings.threads));
    units.Run(threads, [&]() -> WorkUnits::Work {
        return [&, planes = PlaneSet(page)](std::uint64_t number) mutable {
            const auto inTurn = [&](WorkUnits::Part part) -> InTurn {
                return [&units, part, number](const auto& what) { units.InOrder(part, number, what); };
            };
            const PixelBlock block = WrittenBlock(page, blocks[number]);
            const PlainBlock read(context, page, blocks[number]), written(context, page.written, block);
            // The positions of uncompressed data are known in advance, so `Placing` is free to order what was read.
            PlainSource source(context, read, inTurn(WorkUnits::Placing));
            PlainSink sink(context, written, places);
            ConvertBlock(context, blocks[number], planes, source, sink, inTurn(WorkUnits::Measuring));
        };
    });
    return places;
}

}  // namespace hueweave::tool
