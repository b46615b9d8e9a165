// SPDX-License-Identifier: MIT
// Any bytes as a JPEG file, converted with a fixed profile: libjpeg, which reads the whole files here, decodes the
// output without a warning, and finds the size, tables and sampling factors of the source.
#include <cstdio>

#include <jpeglib.h>

#include <csetjmp>

#include "Conversion.h"
#include "jpeg/JpegStructure.h"

namespace hueweave::fuzz {
namespace {

/// What libjpeg reads of a file.
struct JpegReader {
    explicit JpegReader(const Bytes& file) : bytes(file) {
        info.err = jpeg_std_error(&errors);
        info.client_data = this;
        errors.error_exit = [](j_common_ptr common) {
            std::longjmp(static_cast<JpegReader*>(common->client_data)->out, 1);
        };
        errors.emit_message = [](j_common_ptr common, int level) {
            if (level < 0) ++common->err->num_warnings;
        };
    }
    ~JpegReader() { jpeg_destroy_decompress(&info); }
    JpegReader(const JpegReader&) = delete;

    bool Read() {
        row.resize(std::size_t{4} * 65536);
        if (setjmp(out) != 0) return false;
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, bytes.data(), bytes.size());
        jpeg_read_header(&info, TRUE);
        if (info.num_components == 3) info.out_color_space = JCS_RGB;
        jpeg_start_decompress(&info);
        JSAMPROW at = row.data();
        while (info.output_scanline < info.output_height) jpeg_read_scanlines(&info, &at, 1);
        // Everything that the encoder has to keep, before the tables are freed.
        settings = {info.image_width,      info.image_height,     info.jpeg_color_space,
                    info.progressive_mode, info.restart_interval, info.arith_code};
        for (int c = 0; c < info.num_components; ++c) {
            const jpeg_component_info& part = info.comp_info[c];
            settings.push_back(part.component_id);
            settings.push_back(part.h_samp_factor * 16 + part.v_samp_factor);
            settings.insert(settings.end(), part.quant_table->quantval, part.quant_table->quantval + DCTSIZE2);
        }
        jpeg_finish_decompress(&info);
        return errors.num_warnings == 0;
    }

    const Bytes& bytes;
    Bytes row;
    std::vector<std::int64_t> settings;
    std::jmp_buf out;
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
};

}  // namespace

void RunTarget(FuzzInput& input) {
    static Conversion conversion(".jpg");
    Choice choice = Choice::Of(input.U8());
    const Bytes file = input.Rest();
    choice.dryRun = true;
    (void)RefusalOf([&] {
        const tool::FileAccess source = tool::FileAccess::OpenInput(conversion.PutSource(file));
        const auto frame = tool::JpegStructure(source).frame();
        choice.dryRun = std::uint64_t{frame.width} * frame.height > kMostPixels;
    });
    const auto refusal = conversion.Run(choice, file);
    if (refusal || choice.dryRun || choice.format.value_or(tool::Format::Jpeg) != tool::Format::Jpeg) return;
    const Bytes written = conversion.Output();
    JpegReader source(file), output(written);
    Require(source.Read(), "libjpeg reads the source without a warning");
    Require(output.Read(), "libjpeg reads the output without a warning");
    const bool isSame = output.info.num_components == source.info.num_components;
    Require(isSame || choice.way != Way::Library, "the output has the samples of the source");
    if (isSame) return Require(output.settings == source.settings, "the output is encoded as the source");
    Require(output.info.image_width == source.info.image_width && output.info.image_height == source.info.image_height,
            "the output has the size of the source");
}

}  // namespace hueweave::fuzz
