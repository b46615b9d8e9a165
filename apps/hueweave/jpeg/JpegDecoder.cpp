// SPDX-License-Identifier: MIT
#include <algorithm>

#include "jpeg/JpegParts.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kReadBlock = std::uint64_t{64} << 10;

JpegDecoder::Parts& Of(j_decompress_ptr info) { return *static_cast<JpegDecoder::Parts*>(info->client_data); }

boolean Fill(j_decompress_ptr info) {
    JpegDecoder::Parts& parts = Of(info);
    if (!parts.Refill()) LeaveCallback(reinterpret_cast<j_common_ptr>(info));
    return TRUE;
}

void Skip(j_decompress_ptr info, long bytes) {
    jpeg_source_mgr& source = *info->src;
    auto left = static_cast<std::size_t>(std::max(bytes, 0L));
    while (left > source.bytes_in_buffer) {
        left -= source.bytes_in_buffer;
        Fill(info);
    }
    source.next_input_byte += left;
    source.bytes_in_buffer -= left;
}

}  // namespace

std::uint64_t JpegCoderMemory(const JpegStructure& structure, unsigned samples) {
    const JpegFrame& frame = structure.frame();
    // Rows of blocks before and after the colours are converted, in both directions.
    const std::uint64_t rows = std::uint64_t{frame.width} * std::max<std::size_t>(3, frame.components.size()) * 16 * 8 +
                               (std::uint64_t{512} << 10);
    const bool readsWhole = frame.IsProgressive() || structure.scans() > 1;
    return rows + (readsWhole ? frame.CoefficientBytes() : 0) +
           (frame.IsProgressive() ? frame.CoefficientBytes(samples) : 0);
}

JpegDecoder::Parts::Parts(const JpegStructure& from) : structure(from) {
    info.err = &errors.manager;
    info.client_data = this;
    source.init_source = [](j_decompress_ptr) {};
    source.fill_input_buffer = Fill;
    source.skip_input_data = Skip;
    source.resync_to_restart = jpeg_resync_to_restart;
    source.term_source = [](j_decompress_ptr) {};
}

bool JpegDecoder::Parts::Refill() noexcept {
    try {
        const std::uint64_t end = structure.coded().End();
        if (next >= end) {
            throw Refusal(Exit::Input, structure.file().name(), "contains damaged image data (they end too early)",
                          "get a complete copy of the file");
        }
        block = structure.file().Read({next, std::min(kReadBlock, end - next)});
        next += block.size();
        source.next_input_byte = block.data();
        source.bytes_in_buffer = block.size();
        return true;
    } catch (...) {
        errors.failure = std::current_exception();
        return false;
    }
}

JpegDecoder::JpegDecoder(const JpegStructure& structure) : parts_(std::make_unique<Parts>(structure)) {
    Parts& parts = *parts_;
    const bool done = Guarded(parts.errors, [&parts] {
        jpeg_create_decompress(&parts.info);
        parts.info.src = &parts.source;
        jpeg_read_header(&parts.info, TRUE);
        const int samples = parts.info.num_components;
        parts.info.out_color_space = samples == 1 ? JCS_GRAYSCALE : samples == 4 ? JCS_CMYK : JCS_RGB;
        parts.info.dct_method = JDCT_ISLOW;
        jpeg_start_decompress(&parts.info);
    });
    if (!done) parts.errors.Throw(structure.file().name());
    const JpegFrame& frame = structure.frame();
    if (parts.info.output_width != frame.width || parts.info.output_height != frame.height ||
        static_cast<std::size_t>(parts.info.output_components) != frame.components.size()) {
        throw Refusal(Exit::Input, structure.file().name(), "contains image data of another size than its header",
                      "get a complete copy of the file");
    }
}

JpegDecoder::~JpegDecoder() = default;

void JpegDecoder::Read(unsigned char* rows, std::uint32_t count) {
    Parts& parts = *parts_;
    const std::size_t rowBytes = std::size_t{parts.info.output_width} * parts.structure.frame().components.size();
    const bool done = Guarded(parts.errors, [&parts, rows, count, rowBytes] {
        for (std::uint32_t r = 0; r < count; ++r) {
            JSAMPROW row = rows + r * rowBytes;
            jpeg_read_scanlines(&parts.info, &row, 1);
        }
    });
    if (!done) parts.errors.Throw(parts.structure.file().name());
    if (parts.info.out_color_space != JCS_CMYK) return;
    // With Adobe's marker, which every file of four components has here, 255 is no ink.
    std::transform(rows, rows + count * rowBytes, rows,
                   [](unsigned char ink) { return static_cast<unsigned char>(255 - ink); });
}

void JpegDecoder::Finish() {
    Parts& parts = *parts_;
    if (!Guarded(parts.errors, [&parts] { jpeg_finish_decompress(&parts.info); })) {
        parts.errors.Throw(parts.structure.file().name());
    }
}

}  // namespace hueweave::tool
