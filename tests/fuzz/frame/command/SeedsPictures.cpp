// SPDX-License-Identifier: MIT
// Small PNG and JPEG files written by libpng and libjpeg.
#include <png.h>

#include <cstdio>

#include <jpeglib.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Seeds.h"
#include "support/ByteWriter.h"

namespace hueweave::fuzz {
namespace {

constexpr unsigned kWidth = 19, kHeight = 21;

unsigned char Texture(std::size_t at) { return static_cast<unsigned char>(at * 37 + at / 7 * 5); }

Bytes Steered(int steering, Bytes file) {
    file.insert(file.begin(), static_cast<unsigned char>(steering));
    return file;
}

struct PngKind {
    const char* name;
    int colours, depth, interlace;
    bool extras;
    unsigned char steering = 0;  ///< 16 for grey, 32 for grey that becomes RGB
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
    png_text text[2] = {};
    text[0] = {
        PNG_TEXT_COMPRESSION_NONE, const_cast<char*>("Title"), const_cast<char*>("a seed"), 6, 0, nullptr, nullptr};
    text[1] = {
        PNG_TEXT_COMPRESSION_zTXt, const_cast<char*>("Note"), const_cast<char*>("a seed"), 6, 0, nullptr, nullptr};
    png_set_text(png, info, text, 2);
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
    for (std::size_t n = 0; n < 256; ++n) palette[n] = {Texture(n), Texture(n + 100), Texture(n + 200)};
    if (kind.colours == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette, 1 << kind.depth);
    if (kind.extras) SetExtras(png, info);
    png_write_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass) {
        for (std::size_t y = 0; y < kHeight; ++y) {
            Bytes row(rowBytes);
            for (std::size_t x = 0; x < rowBytes; ++x) row[x] = Texture(y * rowBytes + x);
            png_write_row(png, row.data());
        }
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

struct JpegKind {
    const char* name;
    int across, down;
    bool progressive, arithmetic, optimised, rgb;
    unsigned restart;
    J_COLOR_SPACE colours = JCS_YCbCr;  ///< others than grey and CMYK are made of RGB
    unsigned char steering = 0;         ///< 16 for grey, 32 for grey that becomes RGB, 48 for CMYK
};

constexpr JpegKind kJpegKinds[] = {{"usual", 2, 2, false, false, false, false, 0},
                                   {"optimised-444", 1, 1, false, false, true, false, 0},
                                   {"restarts-422", 2, 1, false, false, false, false, 2},
                                   {"progressive", 2, 2, true, false, false, false, 0},
                                   {"arithmetic", 2, 2, false, true, false, false, 1},
                                   {"arithmetic-progressive", 1, 1, true, true, false, false, 0},
                                   {"rgb", 1, 1, false, false, false, true, 0},
                                   {"grey", 1, 1, false, false, false, false, 3, JCS_GRAYSCALE, 16},
                                   {"grey-progressive", 1, 1, true, false, false, false, 0, JCS_GRAYSCALE, 32},
                                   {"cmyk", 1, 1, false, false, false, false, 0, JCS_CMYK, 48},
                                   {"ycck-420", 2, 2, false, false, true, false, 0, JCS_YCCK, 48}};

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
    info.input_components = kind.colours == JCS_GRAYSCALE ? 1 : isInk ? 4 : 3;
    info.in_color_space = kind.colours == JCS_GRAYSCALE ? JCS_GRAYSCALE : isInk ? JCS_CMYK : JCS_RGB;
    jpeg_set_defaults(&info);
    if (isInk) jpeg_set_colorspace(&info, kind.colours);
    if (kind.rgb) jpeg_set_colorspace(&info, JCS_RGB);
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
    for (std::size_t y = 0; y < kHeight; ++y) {
        Bytes row(static_cast<std::size_t>(info.input_components) * kWidth);
        for (std::size_t x = 0; x < row.size(); ++x) row[x] = Texture(y * row.size() + x);
        JSAMPROW at = row.data();
        jpeg_write_scanlines(&info, &at, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const Bytes file(data, data + size);
    std::free(data);
    return file;
}

/// A little-endian TIFF file, whose entries have numbers of four bytes.
Bytes OldTiff(const Bytes& data, const std::vector<std::pair<unsigned, std::vector<std::size_t>>>& entries) {
    test::ByteWriter values, directory, file;
    const std::size_t start = 8 + data.size(), more = start + 2 + entries.size() * 12 + 4;
    directory.Little16(static_cast<unsigned>(entries.size()));
    std::size_t used = 0;
    for (const auto& [tag, numbers] : entries) {
        directory.Little16(tag).Little16(4).Little32(static_cast<std::uint32_t>(numbers.size()));
        const bool isInside = numbers.size() == 1;
        directory.Little32(static_cast<std::uint32_t>(isInside ? numbers[0] : more + used));
        for (const std::size_t number : isInside ? std::vector<std::size_t>() : numbers) {
            values.Little32(static_cast<std::uint32_t>(number));
            used += 4;
        }
    }
    file.U8('I').U8('I').Little16(42).Little32(static_cast<std::uint32_t>(start)).Append(data);
    return file.Append(directory.Little32(0).Done()).Append(values.Done()).Done();
}

/// The places of the tables in a baseline file of libjpeg, by kind and number, and of its entropy-coded data.
struct TablesOfJpeg {
    std::size_t quantisation[2]{}, dc[2]{}, ac[2]{}, coded = 0;
};
TablesOfJpeg FindTables(const Bytes& jpeg) {
    TablesOfJpeg found;
    for (std::size_t at = 2; jpeg[at + 1] != 0xda; at += 2 + (std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3])) {
        const unsigned number = jpeg[at + 4] & 1U;
        if (jpeg[at + 1] == 0xdb) found.quantisation[number] = at + 5;
        if (jpeg[at + 1] == 0xc4) ((jpeg[at + 4] & 0x10) != 0 ? found.ac : found.dc)[number] = at + 5;
        found.coded = at + 2 + (std::size_t{jpeg[at + 2]} * 256 + jpeg[at + 3]);
    }
    found.coded += std::size_t{2} + jpeg[found.coded + 3];
    return found;
}

}  // namespace

void SowOldJpegs(const Sow& sow) {
    for (const JpegKind& kind : {kJpegKinds[0], kJpegKinds[2]}) {
        const Bytes jpeg = WrittenJpeg(kind);
        const TablesOfJpeg tables = FindTables(jpeg);
        const auto tiff = [&](std::size_t at, bool isWhole) {
            std::vector<std::pair<unsigned, std::vector<std::size_t>>> entries{
                {256, {kWidth}}, {257, {kHeight}}, {258, {8, 8, 8}},          {259, {6}}, {262, {6}}, {273, {8 + at}},
                {277, {3}},      {278, {kHeight}}, {279, {jpeg.size() - at}}, {512, {1}}};
            if (isWhole) {
                entries.push_back({513, {8}});
                entries.push_back({514, {jpeg.size()}});
            } else {
                const auto places = [&](const std::size_t(&of)[2]) {
                    return std::vector<std::size_t>{8 + of[0], 8 + of[1], 8 + of[1]};
                };
                entries.push_back({515, {kind.restart}});
                entries.push_back({519, places(tables.quantisation)});
                entries.push_back({520, places(tables.dc)});
                entries.push_back({521, places(tables.ac)});
            }
            entries.push_back({530, {static_cast<std::size_t>(kind.across), static_cast<std::size_t>(kind.down)}});
            return OldTiff(jpeg, entries);
        };
        sow(std::string("kind-old-jpeg-whole-") + kind.name, tiff(0, true));
        sow(std::string("kind-old-jpeg-scan-") + kind.name, tiff(tables.coded, true));
        sow(std::string("kind-old-jpeg-tables-") + kind.name, tiff(tables.coded, false));
    }
}

void SowPngs(const Sow& sow) {
    for (const PngKind& kind : kPngKinds) {
        sow(kind.name, Steered(kind.steering, WrittenPng(kind)));
        const bool hasAlpha = kind.extras || (kind.colours & PNG_COLOR_MASK_ALPHA) != 0;
        sow(std::string(kind.name) + "-format", Steered(kind.steering | (hasAlpha ? 64 : 192), WrittenPng(kind)));
    }
}

void SowJpegs(const Sow& sow) {
    for (const JpegKind& kind : kJpegKinds) {
        sow(kind.name, Steered(kind.steering, WrittenJpeg(kind)));
        sow(std::string(kind.name) + "-format",
            Steered(kind.steering | (kind.progressive ? 64 : 128), WrittenJpeg(kind)));
    }
}

}  // namespace hueweave::fuzz
