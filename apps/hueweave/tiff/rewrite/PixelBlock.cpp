// SPDX-License-Identifier: MIT
#include "tiff/rewrite/PixelBlock.h"

#include <algorithm>

#include "tiff/Samples.h"

namespace hueweave::tool {
namespace {

/// Counts the clipped pixels of a rectangle and hashes its colours, row by row.
void MeasureColours(const PageContext& context, PlaneSet& planes, std::uint64_t columns, std::uint32_t rows) {
    const PageForm& form = context.page.written;
    const unsigned width = form.bits / 8;
    const std::uint64_t pixelBytes = std::uint64_t{planes.samples()} * width;
    const std::uint64_t rowBytes = form.segmentWidth * pixelBytes;
    const std::size_t colours = std::size_t{context.converter.targetChannels()} * width;
    Bytes line(static_cast<std::size_t>(columns * colours));
    for (std::uint32_t r = 0; r < rows; ++r) {
        const unsigned char* from = &planes.data()[r * rowBytes];
        for (std::uint64_t x = 0; x < columns; ++x) {
            std::copy_n(from + x * pixelBytes, colours, line.data() + x * colours);
        }
        context.measured.clipped += context.converter.CountClipped(line.data(), static_cast<std::size_t>(columns));
        ToNative(line.data(), line.size() / width, width, false);
        context.measured.hash.Add(line.data(), line.size());
    }
}

/// Measures the pixels of the image, without the padding of tiles, and reports the progress.
void Measure(const PageContext& context, const PixelBlock& block, PlaneSet& planes) {
    const PageForm& form = context.page.written;
    const std::uint64_t left = block.segment % form.across * form.segmentWidth;
    const std::uint64_t top = block.segment / form.across * form.segmentHeight + block.row;
    if (top >= form.height) return;
    const std::uint64_t columns = std::min<std::uint64_t>(form.segmentWidth, form.width - left);
    const auto rows = static_cast<std::uint32_t>(std::min<std::uint64_t>(block.rows, form.height - top));
    context.measured.pixels += columns * rows;
    if (context.settings.progress) context.settings.progress(columns * rows);
    if (context.settings.measure) MeasureColours(context, planes, columns, rows);
}

}  // namespace

PixelBlock WrittenBlock(const TiffPage& page, const PixelBlock& block) {
    if (!page.chroma) return block;
    const std::uint32_t row = block.row * page.chroma.down;
    return {block.segment, row, std::min(block.rows * page.chroma.down, page.written.RowsOf(block.segment) - row)};
}

void ConvertBlock(const PageContext& context, const PixelBlock& block, PlaneSet& planes, PlaneSource& source,
                  PlaneSink& sink, const InTurn& inTurn) {
    const PixelBlock written = WrittenBlock(context.page, block);
    planes.Gather(source, written.rows);
    const std::uint64_t pixels = std::uint64_t{written.rows} * context.page.written.segmentWidth;
    planes.Convert(context.converter, static_cast<std::size_t>(pixels));
    inTurn([&] { Measure(context, written, planes); });
    planes.Scatter(sink);  // may overwrite the pixels
}

}  // namespace hueweave::tool
