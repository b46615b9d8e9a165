// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#include "jpeg/JpegParts.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kWriteBlock = std::size_t{64} << 10;

bool AreSame(const JHUFF_TBL* a, const JHUFF_TBL* b) {
    return a != nullptr && b != nullptr && std::equal(std::begin(a->bits), std::end(a->bits), b->bits) &&
           std::equal(std::begin(a->huffval), std::end(a->huffval), b->huffval);
}

/// Whether the Huffman tables of an image are others than those of the standard, which `to` has.
bool HasOwnCodes(const jpeg_decompress_struct& from, const jpeg_compress_struct& to) {
    for (int n = 0; n < NUM_HUFF_TBLS; ++n) {
        const JHUFF_TBL *const dc = from.dc_huff_tbl_ptrs[n], *const ac = from.ac_huff_tbl_ptrs[n];
        if (dc != nullptr && !AreSame(dc, to.dc_huff_tbl_ptrs[n])) return true;
        if (ac != nullptr && !AreSame(ac, to.ac_huff_tbl_ptrs[n])) return true;
    }
    return false;
}

/// The number of a table with these contents: `wanted`, unless another component has put other contents there.
int PutTable(j_compress_ptr to, const JQUANT_TBL& table, int wanted) {
    for (int offset = 0; offset < NUM_QUANT_TBLS; ++offset) {
        const int number = (wanted + offset) % NUM_QUANT_TBLS;
        JQUANT_TBL*& place = to->quant_tbl_ptrs[number];
        if (place != nullptr && std::memcmp(place->quantval, table.quantval, sizeof table.quantval) != 0) continue;
        if (place == nullptr) place = jpeg_alloc_quant_table(reinterpret_cast<j_common_ptr>(to));
        std::memcpy(place->quantval, table.quantval, sizeof table.quantval);
        place->sent_table = FALSE;
        return number;
    }
    return wanted;  // four tables are more than three components have
}

/// The table with which a component was quantised.
const JQUANT_TBL* TableOf(const jpeg_decompress_struct& from, int component) {
    const jpeg_component_info& info = from.comp_info[component];
    return info.quant_table != nullptr ? info.quant_table : from.quant_tbl_ptrs[info.quant_tbl_no];
}

/// Whether a table contains 0, by which the encoder would divide. The decoder multiplies by it.
bool HasZero(const jpeg_decompress_struct& from) {
    for (int c = 0; c < from.num_components; ++c) {
        const JQUANT_TBL* const table = TableOf(from, c);
        if (table == nullptr) return true;
        if (std::find(std::begin(table->quantval), std::end(table->quantval), 0) != std::end(table->quantval))
            return true;
    }
    return false;
}

/// Gives the encoder the settings with which the decoder's image was encoded, for pixels with this number of samples.
void Imitate(j_compress_ptr to, j_decompress_ptr from, int samples) {
    const bool isSame = samples == from->num_components;
    // The first three components of YCCK are those of YCbCr.
    const bool keepsFactors = isSame || from->jpeg_color_space == JCS_YCCK;
    to->image_width = from->output_width;
    to->image_height = from->output_height;
    to->input_components = samples;
    to->in_color_space = samples == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(to);
    jpeg_set_colorspace(to, isSame ? from->jpeg_color_space : JCS_YCbCr);
    std::fill(std::begin(to->quant_tbl_ptrs), std::end(to->quant_tbl_ptrs), nullptr);
    for (int c = 0; c < samples; ++c) {
        const int number = std::min(c, from->num_components - 1);
        const jpeg_component_info& old = from->comp_info[number];
        jpeg_component_info& component = to->comp_info[c];
        if (isSame) component.component_id = old.component_id;
        component.h_samp_factor = keepsFactors ? old.h_samp_factor : 1;
        component.v_samp_factor = keepsFactors ? old.v_samp_factor : 1;
        component.quant_tbl_no = PutTable(to, *TableOf(*from, number), old.quant_tbl_no);
    }
    // These markers are among the segments that are copied.
    to->write_JFIF_header = FALSE;
    to->write_Adobe_marker = FALSE;
    to->restart_interval = from->restart_interval;
    to->arith_code = from->arith_code;
    to->dct_method = JDCT_ISLOW;
    if (from->progressive_mode != 0) jpeg_simple_progression(to);
}

void SetNew(j_compress_ptr to, const NewJpegSettings& settings) {
    to->image_width = settings.width;
    to->image_height = settings.height;
    to->input_components = static_cast<int>(settings.samples);
    to->in_color_space = settings.samples == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(to);
    jpeg_set_quality(to, static_cast<int>(settings.quality), TRUE);
    for (int c = 0; c < to->num_components; ++c) {
        to->comp_info[c].h_samp_factor = to->comp_info[c].v_samp_factor = 1;
    }
    to->dct_method = JDCT_ISLOW;
    constexpr double kMost = 65535;
    if (settings.xPerInch < 1 || settings.yPerInch < 1) return;
    to->density_unit = 1;
    to->X_density = static_cast<UINT16>(std::lround(std::min(kMost, settings.xPerInch)));
    to->Y_density = static_cast<UINT16>(std::lround(std::min(kMost, settings.yPerInch)));
}

}  // namespace

struct JpegEncoder::Parts {
    Parts(const FileAccess& file, std::string source) : target(file), name(std::move(source)), block(kWriteBlock) {
        info.err = &errors.manager;
        info.client_data = this;
        destination.init_destination = [](j_compress_ptr compress) { Of(compress).Restart(); };
        destination.empty_output_buffer = [](j_compress_ptr compress) -> boolean {
            if (!Of(compress).Put(kWriteBlock)) LeaveCallback(reinterpret_cast<j_common_ptr>(compress));
            return TRUE;
        };
        destination.term_destination = [](j_compress_ptr compress) {
            Parts& parts = Of(compress);
            const std::size_t used = kWriteBlock - parts.destination.free_in_buffer;
            if (!parts.Put(used)) LeaveCallback(reinterpret_cast<j_common_ptr>(compress));
        };
    }
    ~Parts() { jpeg_destroy_compress(&info); }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    std::size_t Samples() const { return static_cast<std::size_t>(info.input_components); }
    static Parts& Of(j_compress_ptr compress) { return *static_cast<Parts*>(compress->client_data); }
    void Restart() {
        destination.next_output_byte = block.data();
        destination.free_in_buffer = block.size();
    }
    bool Put(std::size_t size) noexcept {
        try {
            target.Write(at, block.data(), size);
            at += size;
            Restart();
            return true;
        } catch (...) {
            errors.failure = std::current_exception();
            return false;
        }
    }

    const FileAccess& target;
    const std::string name;  ///< of the source
    JpegErrors errors;
    jpeg_compress_struct info{};
    jpeg_destination_mgr destination{};
    Bytes block;
    std::uint64_t at = 0;
};

JpegEncoder::JpegEncoder(const FileAccess& target, const JpegDecoder& decoder, unsigned samples, std::uint64_t memory)
    : parts_(std::make_unique<Parts>(target, decoder.parts_->structure.file().name())) {
    Parts& parts = *parts_;
    JpegDecoder::Parts& from = *decoder.parts_;
    if (HasZero(from.info)) {
        throw Refusal(Exit::Input, parts.name, "is damaged: its quantisation tables contain 0",
                      "get a complete copy of the file");
    }
    const bool mayOptimise = from.structure.frame().CoefficientBytes(samples) <= memory;
    const bool done = Guarded(parts.errors, [&parts, &from, samples, mayOptimise] {
        jpeg_create_compress(&parts.info);
        parts.info.dest = &parts.destination;
        Imitate(&parts.info, &from.info, static_cast<int>(samples));
        if (mayOptimise && parts.info.arith_code == 0 && HasOwnCodes(from.info, parts.info)) {
            parts.info.optimize_coding = TRUE;
        }
        jpeg_start_compress(&parts.info, TRUE);
    });
    if (!done) parts.errors.Throw(parts.name);
}

JpegEncoder::JpegEncoder(const FileAccess& target, const NewJpegSettings& settings, std::string name,
                         std::uint64_t memory)
    : parts_(std::make_unique<Parts>(target, std::move(name))) {
    Parts& parts = *parts_;
    const std::uint64_t coefficients =
        (std::uint64_t{settings.width} + 7) * (std::uint64_t{settings.height} + 7) * settings.samples * 2;
    const bool done = Guarded(parts.errors, [&parts, &settings, mayOptimise = coefficients <= memory] {
        jpeg_compress_struct& info = parts.info;
        jpeg_create_compress(&info);
        info.dest = &parts.destination;
        SetNew(&info, settings);
        info.optimize_coding = mayOptimise ? TRUE : FALSE;
        jpeg_start_compress(&info, TRUE);
    });
    if (!done) parts.errors.Throw(parts.name);
}

JpegEncoder::~JpegEncoder() = default;

void JpegEncoder::WriteSegment(unsigned marker, const Bytes& data) {
    Parts& parts = *parts_;
    const bool done = Guarded(parts.errors, [&parts, marker, &data] {
        jpeg_write_marker(&parts.info, static_cast<int>(marker), data.data(), static_cast<unsigned>(data.size()));
    });
    if (!done) parts.errors.Throw(parts.name);
}

void JpegEncoder::Write(unsigned char* rows, std::uint32_t count) {
    Parts& parts = *parts_;
    const std::size_t rowBytes = std::size_t{parts.info.image_width} * parts.Samples();
    const bool done = Guarded(parts.errors, [&parts, rows, count, rowBytes] {
        for (std::uint32_t r = 0; r < count; ++r) {
            JSAMPROW row = rows + r * rowBytes;
            jpeg_write_scanlines(&parts.info, &row, 1);
        }
    });
    if (!done) parts.errors.Throw(parts.name);
}

std::uint64_t JpegEncoder::Finish() {
    Parts& parts = *parts_;
    if (!Guarded(parts.errors, [&parts] { jpeg_finish_compress(&parts.info); })) {
        parts.errors.Throw(parts.name);
    }
    return parts.at;
}

}  // namespace hueweave::tool
