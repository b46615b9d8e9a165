// SPDX-License-Identifier: MIT
#include "command/support/JpegMaker.h"

#include <cstdio>

#include <jpeglib.h>

#include <cstdlib>
#include <sstream>

#include "command/support/PngChunks.h"

namespace hueweave::test {
namespace {

/// An open decoder. An error of libjpeg ends the process.
class Decoder {
public:
    explicit Decoder(const std::string& path) : bytes_(FileBytes(path)) {
        info.err = jpeg_std_error(&errors_);
        jpeg_create_decompress(&info);
        jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes_.data()), bytes_.size());
        jpeg_read_header(&info, TRUE);
    }
    ~Decoder() { jpeg_destroy_decompress(&info); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    jpeg_decompress_struct info{};

private:
    std::string bytes_;
    jpeg_error_mgr errors_{};
};

}  // namespace

std::string JpegOf(const Picture& picture, const std::function<void(jpeg_compress_struct*)>& set) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &data, &size);
    info.image_width = picture.width;
    info.image_height = picture.height;
    info.input_components = static_cast<int>(picture.samples);
    info.in_color_space = picture.samples == 1 ? JCS_GRAYSCALE : picture.samples == 4 ? JCS_CMYK : JCS_RGB;
    jpeg_set_defaults(&info);
    set(&info);
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> pixels(picture.values.begin(), picture.values.end());
    while (info.next_scanline < info.image_height) {
        JSAMPROW at = &pixels[std::size_t{info.next_scanline} * picture.width * picture.samples];
        jpeg_write_scanlines(&info, &at, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::free(data);
    return bytes;
}

std::string JpegSettings(const std::string& path) {
    Decoder decoder(path);
    jpeg_decompress_struct& info = decoder.info;
    std::ostringstream text;
    text << info.image_width << " x " << info.image_height << ", colours " << info.jpeg_color_space << ", progressive "
         << info.progressive_mode << ", arithmetic " << info.arith_code << ", restart " << info.restart_interval;
    for (int c = 0; c < info.num_components; ++c) {
        const jpeg_component_info& component = info.comp_info[c];
        text << "; " << component.component_id << ": " << component.h_samp_factor << " x " << component.v_samp_factor;
        for (const UINT16 value : info.quant_tbl_ptrs[component.quant_tbl_no]->quantval) text << " " << value;
    }
    return text.str();
}

Picture ReadJpeg(const std::string& path) {
    Decoder decoder(path);
    const int samples = decoder.info.num_components;
    decoder.info.out_color_space = samples == 1 ? JCS_GRAYSCALE : samples == 4 ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&decoder.info);
    Picture picture{decoder.info.output_width, decoder.info.output_height, static_cast<unsigned>(samples), 8, {}, ""};
    std::vector<unsigned char> row(std::size_t{picture.width} * picture.samples);
    while (decoder.info.output_scanline < picture.height) {
        JSAMPROW at = row.data();
        jpeg_read_scanlines(&decoder.info, &at, 1);
        picture.values.insert(picture.values.end(), row.begin(), row.end());
    }
    return picture;
}

std::vector<Segment> AttachedSegments(const std::string& path) {
    const std::string bytes = FileBytes(path);
    const auto byte = [&](std::size_t at) { return std::size_t{static_cast<unsigned char>(bytes.at(at))}; };
    std::vector<Segment> segments;
    for (std::size_t at = 2; byte(at + 1) != 0xda; at += 2 + (byte(at + 2) << 8 | byte(at + 3))) {
        const Segment segment{static_cast<unsigned>(byte(at + 1)),
                              bytes.substr(at + 4, (byte(at + 2) << 8 | byte(at + 3)) - 2)};
        const bool isAttached = segment.marker >= 0xe0 && segment.marker != 0xff;
        if (isAttached && !segment.data.starts_with("ICC_PROFILE")) segments.push_back(segment);
    }
    return segments;
}

std::string SegmentBytes(const Segment& segment) {
    return BigEndian(0xff00 | segment.marker, 2) + BigEndian(segment.data.size() + 2, 2) + segment.data;
}

std::string WithAtStart(const std::string& jpeg, const std::string& bytes) {
    return jpeg.substr(0, 2) + bytes + jpeg.substr(2);
}

}  // namespace hueweave::test
