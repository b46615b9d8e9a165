// SPDX-License-Identifier: MIT
// Small PNG and JPEG files written by libpng and libjpeg.
#include <png.h>

#include <cstdio>

#include <jpeglib.h>

#include <cstdlib>

#include "Seeds.h"
#include "support/TiffBuilder.h"

namespace hueweave::fuzz {
namespace {

constexpr unsigned kWidth = 19, kHeight = 21;

/// The rows of a picture.
std::vector<unsigned char*> Rows(Bytes& pixels) {
    std::vector<unsigned char*> rows;
    for (std::size_t y = 0; y < kHeight; ++y) rows.push_back(&pixels[y * (pixels.size() / kHeight)]);
    return rows;
}

struct PngKind {
    const char* name;
    int colours, depth, interlace;
    bool extras;
    unsigned steering = 0;  ///< 16 for grey, 32 for grey that becomes RGB
};

constexpr PngKind kPngKinds[] = {{"rgb-8", PNG_COLOR_TYPE_RGB, 8, 0, true},
                                 {"rgb-16", PNG_COLOR_TYPE_RGB, 16, 0, false},
                                 {"rgb-16-interlaced", PNG_COLOR_TYPE_RGB, 16, 1, true},
                                 {"rgba-8-interlaced", PNG_COLOR_TYPE_RGB_ALPHA, 8, 1, false},
                                 {"rgba-16", PNG_COLOR_TYPE_RGB_ALPHA, 16, 0, false},
                                 {"palette-1", PNG_COLOR_TYPE_PALETTE, 1, 0, false},
                                 {"palette-4-interlaced", PNG_COLOR_TYPE_PALETTE, 4, 1, true},
                                 {"palette-8", PNG_COLOR_TYPE_PALETTE, 8, 0, true},
                                 {"grey-1", PNG_COLOR_TYPE_GRAY, 1, 0, true, 16},
                                 {"grey-4-interlaced", PNG_COLOR_TYPE_GRAY, 4, 1, true, 32},
                                 {"grey-8", PNG_COLOR_TYPE_GRAY, 8, 0, false, 16},
                                 {"grey-16", PNG_COLOR_TYPE_GRAY, 16, 0, true, 16},
                                 {"grey-alpha-8", PNG_COLOR_TYPE_GRAY_ALPHA, 8, 0, false, 32},
                                 {"grey-alpha-16-interlaced", PNG_COLOR_TYPE_GRAY_ALPHA, 16, 1, false, 16}};

void SetExtras(png_structp png, png_infop info) {
    char title[] = "Title", note[] = "Note", seed[] = "a seed";
    const png_text texts[] = {{PNG_TEXT_COMPRESSION_NONE, title, seed, 6, 0, nullptr, nullptr},
                              {PNG_TEXT_COMPRESSION_zTXt, note, seed, 6, 0, nullptr, nullptr}};
    png_set_text(png, info, texts, 2);
    png_set_pHYs(png, info, 3000, 3000, PNG_RESOLUTION_METER);
    png_set_gAMA_fixed(png, info, 45455);
    png_color_16 colour{1, 7, 8, 9, 1};
    png_set_bKGD(png, info, &colour);
    const bool hasPalette = png_get_color_type(png, info) == PNG_COLOR_TYPE_PALETTE;
    png_byte alpha[3] = {0, 128, 255};
    png_set_tRNS(png, info, alpha, 3, hasPalette ? nullptr : &colour);
}

Bytes WrittenPng(const PngKind& kind) {
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp p, png_bytep data, std::size_t size) {
            auto& to = *static_cast<Bytes*>(png_get_io_ptr(p));
            to.insert(to.end(), data, data + size);
        },
        [](png_structp) {});
    png_set_IHDR(png, info, kWidth, kHeight, kind.depth, kind.colours, kind.interlace, 0, 0);
    png_color palette[256];
    const Bytes texture = Pattern(456);
    for (std::size_t n = 0; n < 256; ++n) palette[n] = {texture[n], texture[n + 100], texture[n + 200]};
    if (kind.colours == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette, 1 << kind.depth);
    if (kind.extras) SetExtras(png, info);
    Bytes pixels = Pattern(png_get_rowbytes(png, info) * kHeight);
    std::vector<unsigned char*> rows = Rows(pixels);
    png_set_rows(png, info, rows.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return file;
}

struct JpegKind {
    const char* name;
    int across, down;
    bool progressive, arithmetic, optimised;
    unsigned restart;
    J_COLOR_SPACE colours = JCS_YCbCr;  ///< in the file
    unsigned steering = 0;              ///< 16 for grey, 32 for grey that becomes RGB, 48 for CMYK
};

constexpr JpegKind kJpegKinds[] = {{"usual", 2, 2, false, false, false, 0},
                                   {"optimised-444", 1, 1, false, false, true, 0},
                                   {"restarts-422", 2, 1, false, false, false, 2},
                                   {"progressive", 2, 2, true, false, false, 0},
                                   {"arithmetic", 2, 2, false, true, false, 1},
                                   {"arithmetic-progressive", 1, 1, true, true, false, 0},
                                   {"rgb", 1, 1, false, false, false, 0, JCS_RGB},
                                   {"grey", 1, 1, false, false, false, 3, JCS_GRAYSCALE, 16},
                                   {"grey-progressive", 1, 1, true, false, false, 0, JCS_GRAYSCALE, 32},
                                   {"cmyk", 1, 1, false, false, false, 0, JCS_CMYK, 48},
                                   {"ycck-420", 2, 2, false, false, true, 0, JCS_YCCK, 48}};

Bytes WrittenJpeg(const JpegKind& kind) {
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &data, &size);
    info.image_width = kWidth;
    info.image_height = kHeight;
    const bool isInk = kind.colours == JCS_CMYK || kind.colours == JCS_YCCK;
    info.in_color_space = kind.colours == JCS_GRAYSCALE ? JCS_GRAYSCALE : isInk ? JCS_CMYK : JCS_RGB;
    info.input_components = info.in_color_space == JCS_GRAYSCALE ? 1 : isInk ? 4 : 3;
    jpeg_set_defaults(&info);
    jpeg_set_colorspace(&info, kind.colours);
    info.comp_info[0].h_samp_factor = kind.across;
    info.comp_info[0].v_samp_factor = kind.down;
    info.arith_code = kind.arithmetic ? TRUE : FALSE;
    info.optimize_coding = kind.optimised ? TRUE : FALSE;
    info.restart_interval = kind.restart;
    if (kind.progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    const std::string profile("ICC_PROFILE\0\1\1 a profile", 24);
    // A directory with the place of another one, which has the sensitivity.
    const std::string exif(
        "Exif\0\0II*\0\x08\0\0\0"
        "\1\0\x69\x87\4\0\1\0\0\0\x1a\0\0\0\0\0\0\0"
        "\1\0\x27\x88\3\0\1\0\0\0\xc8\0\0\0\0\0\0\0",
        50);
    for (const auto& [marker, text] : {std::pair{0xe1, exif}, std::pair{0xe2, profile}, std::pair{0xfe, exif}}) {
        jpeg_write_marker(&info, marker, reinterpret_cast<const unsigned char*>(text.data()),
                          static_cast<unsigned>(text.size()));
    }
    Bytes pixels = Pattern(static_cast<std::size_t>(info.input_components) * kWidth * kHeight);
    jpeg_write_scanlines(&info, Rows(pixels).data(), kHeight);
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const Bytes file(data, data + size);
    std::free(data);
    return file;
}

/// A TIFF file with a JPEG file of libjpeg behind its header: with its place, with that of its data, or with that and
/// the places of its tables.
Bytes OldTiff(const JpegKind& kind, const Bytes& jpeg, bool isWhole, bool hasTables) {
    // Two tables for quantisation, then for each of them one for the first coefficient and one for the others.
    std::vector<std::uint32_t> tables;
    std::uint32_t at = 2;
    bool isLast = false;
    for (; !isLast; at += 2 + jpeg[at + 2] * 256U + jpeg[at + 3]) {
        if (jpeg[at + 1] == 0xdb || jpeg[at + 1] == 0xc4) tables.push_back(8 + at + 5);
        isLast = jpeg[at + 1] == 0xda;
    }
    const auto size = static_cast<std::uint32_t>(jpeg.size()), from = isWhole ? 0 : at;
    test::TiffBuilder file;
    file.GapBeforeDirectory(size).Long(256, kWidth).Long(257, kHeight).Longs(258, {8, 8, 8}).Long(259, 6).Long(262, 6);
    file.Long(273, 8 + from).Long(277, 3).Long(278, kHeight).Long(279, size - from).Long(512, 1);
    if (hasTables) {
        file.Long(515, kind.restart).Longs(519, {tables[0], tables[1], tables[1]});
        file.Longs(520, {tables[2], tables[4], tables[4]}).Longs(521, {tables[3], tables[5], tables[5]});
    } else {
        file.Long(513, 8).Long(514, size);
    }
    Bytes bytes = file.Longs(530, {std::uint32_t(kind.across), std::uint32_t(kind.down)}).Build();
    std::copy(jpeg.begin(), jpeg.end(), bytes.begin() + 8);
    return bytes;
}

}  // namespace

void SowOldJpegs(const Sow& sow) {
    for (const JpegKind& kind : {kJpegKinds[0], kJpegKinds[2]}) {
        const Bytes jpeg = WrittenJpeg(kind);
        sow(std::string("kind-old-jpeg-whole-") + kind.name, OldTiff(kind, jpeg, true, false));
        sow(std::string("kind-old-jpeg-scan-") + kind.name, OldTiff(kind, jpeg, false, false));
        sow(std::string("kind-old-jpeg-tables-") + kind.name, OldTiff(kind, jpeg, false, true));
    }
}

void SowPngs(const Sow& sow) {
    for (const PngKind& kind : kPngKinds) {
        sow(kind.name, Steered({kind.steering}, WrittenPng(kind)));
        const bool hasAlpha = kind.extras || (kind.colours & PNG_COLOR_MASK_ALPHA) != 0;
        sow(std::string(kind.name) + "-format", Steered({kind.steering | (hasAlpha ? 64U : 192U)}, WrittenPng(kind)));
    }
}

void SowJpegs(const Sow& sow) {
    for (const JpegKind& kind : kJpegKinds) {
        sow(kind.name, Steered({kind.steering}, WrittenJpeg(kind)));
        const unsigned format = kind.progressive ? 64 : 128;
        sow(std::string(kind.name) + "-format", Steered({kind.steering | format}, WrittenJpeg(kind)));
    }
}

}  // namespace hueweave::fuzz
