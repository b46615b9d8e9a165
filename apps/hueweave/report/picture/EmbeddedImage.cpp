// SPDX-License-Identifier: MIT
#include "report/picture/EmbeddedImage.h"

#include <nettle/base64.h>
#include <png.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "jpeg/JpegErrors.h"

namespace hueweave::tool {
namespace {

constexpr int kQuality = 90;  ///< of libjpeg; without subsampling, no difference is visible

/// The colours of a map: by the channels that are clipped, with alpha.
constexpr png_byte kMapColours[8][4] = {{0, 0, 0, 0},       {230, 50, 40, 255},  {20, 160, 60, 255},
                                        {240, 180, 0, 255}, {50, 90, 240, 255},  {210, 60, 220, 255},
                                        {0, 180, 200, 255}, {255, 255, 255, 255}};

/// libjpeg's side of an encoder. It has no object with a destructor, because libjpeg's jumps pass it.
struct JpegWriter {
    JpegErrors errors;
    jpeg_compress_struct info{};
    unsigned char* data = nullptr;
    unsigned long size = 0;

    JpegWriter() { info.err = &errors.manager; }
    ~JpegWriter() {
        jpeg_destroy_compress(&info);
        std::free(data);  // NOLINT: libjpeg allocates it with malloc
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;
};

}  // namespace

std::string Base64(const unsigned char* data, std::size_t size) {
    std::string text(BASE64_ENCODE_RAW_LENGTH(size), 0);
    base64_encode_raw(text.data(), size, data);
    return text;
}

std::string JpegUri(const Bytes& rgb, std::uint32_t width, std::uint32_t height) {
    JpegWriter writer;
    const bool done = Guarded(writer.errors, [&writer, &rgb, width, height] {
        jpeg_compress_struct& info = writer.info;
        jpeg_create_compress(&info);
        jpeg_mem_dest(&info, &writer.data, &writer.size);
        info.image_width = width;
        info.image_height = height;
        info.input_components = 3;
        info.in_color_space = JCS_RGB;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, kQuality, TRUE);
        for (int c = 0; c < 3; ++c) info.comp_info[c].h_samp_factor = info.comp_info[c].v_samp_factor = 1;
        jpeg_start_compress(&info, TRUE);
        while (info.next_scanline < height) {
            // libjpeg does not change the row, although its interface is not const.
            auto* row = const_cast<JSAMPROW>(rgb.data() + std::size_t{info.next_scanline} * width * 3);
            jpeg_write_scanlines(&info, &row, 1);
        }
        jpeg_finish_compress(&info);
    });
    if (!done) writer.errors.Throw("the picture for the report");
    return "data:image/jpeg;base64," + Base64(writer.data, writer.size);
}

std::string ClipMapUri(const Bytes& map, std::uint32_t width, std::uint32_t height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGBA_COLORMAP;
    image.colormap_entries = 8;
    Bytes file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = file.size();
    if (png_image_write_to_memory(&image, file.data(), &size, 0, map.data(), static_cast<png_int_32>(width),
                                  kMapColours) == 0) {
        throw std::bad_alloc();
    }
    return "data:image/png;base64," + Base64(file.data(), size);
}

}  // namespace hueweave::tool
