// SPDX-License-Identifier: MIT
#include "tiff/rewrite/ImageWriter.h"

#include <tiff.h>

#include <algorithm>

#include "system/Refusal.h"
#include "tiff/codec/TiffCodec.h"
#include "tiff/rewrite/CodedWriter.h"
#include "tiff/rewrite/PlainWriter.h"
#include "tiff/rewrite/PlaneSet.h"
#include "tiff/rewrite/RowWriter.h"

namespace hueweave::tool {
namespace {

/// Whether a row fits in memory, since rows are never divided. Uncompressed rows are counted twice, compressed ones
/// four times, because of the coder's buffers.
bool RowFits(const TiffPage& page, std::uint64_t memory) {
    const std::uint64_t row =
        page.RowBytes() * (page.planar ? PlaneCounts(page).gathered + 1 : 1) + PlaneSet::RowMemory(page);
    return row <= memory / (page.Plain() ? 2 : 4);
}

/// Whether each thread can hold a whole strip or tile.
bool SegmentsFit(const TiffPage& page, std::uint64_t memory, unsigned threads) {
    const std::uint64_t largest = page.LargestSegment();
    // Checked separately, because the sum below might exceed 64 bits.
    const std::uint64_t expanded = PlaneSet::RowMemory(page);
    if (largest > memory || page.RowsOf(0) > memory / (page.RowBytes() + expanded)) return false;
    // Raw, decoded and encoded bytes, the buffer of libtiff, and the pixels of planes.
    const std::uint64_t decoded = page.DecodedBytes(0);
    const std::uint64_t pixels = 4 * decoded + (page.planar ? 2 * PlaneCounts(page).gathered * decoded : 0);
    // Expanded pixels, and the encoder's bytes and buffer of them.
    const std::uint64_t more = expanded != 0 ? page.RowsOf(0) * (expanded + 2 * page.WrittenRowBytes()) : 0;
    return largest + pixels + more + CoderMemory(page) <= memory / threads;
}

/// When decoding by rows, a strip is read from a file piece by piece, but libtiff reads all of it if it has to reverse
/// the bits.
bool RowCodersFit(const TiffPage& page, std::uint64_t memory) {
    // The decoder of old-style JPEG has no rows.
    if (page.tiled || page.compression == COMPRESSION_OJPEG) return false;
    // All planes are decoded at the same time, each by its own coder. Memory for one coder is always available.
    if (page.planar && CoderMemory(page) > memory / (page.samples - 1)) return false;
    return page.fillOrder == 1 || page.LargestSegment() * (page.planar ? page.samples : 1) <= memory / 2;
}

}  // namespace

std::vector<Extent> WriteImage(const PageContext& context) {
    const TiffPage& page = context.page;
    const std::uint64_t memory = context.settings.memory;
    const bool rowFits = RowFits(page, memory);
    if (page.Plain()) {
        if (rowFits) return WritePlain(context);
    } else {
        // Each decoder of old-style JPEG would decode all strips before its own.
        const bool isSerial = page.compression == COMPRESSION_OJPEG;
        for (unsigned threads = isSerial ? 1 : context.settings.threads; threads > 0; --threads) {
            if (SegmentsFit(page, memory, threads)) return WriteCoded(context, threads);
        }
        if (rowFits && RowCodersFit(page, memory)) return WriteRows(context);
    }
    const std::string what = page.tiled ? "tiles" : rowFits ? "strips" : "rows";
    throw Refusal(Exit::Input, context.structure.file().name(),
                  "has " + what + " that do not fit in the memory allowed", "raise --max-memory");
}

}  // namespace hueweave::tool
