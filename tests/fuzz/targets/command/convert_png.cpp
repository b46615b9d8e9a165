// SPDX-License-Identifier: MIT
// Any bytes as a PNG file, converted with a fixed profile: libpng, which reads the whole files here, decodes the output
// to the engine's conversion of the source's pixels, or to an image of the same size if they are grey.
#include <png.h>

#include <csetjmp>

#include "Conversion.h"
#include "Judge.h"
#include "support/ReferenceProfile.h"

namespace hueweave::fuzz {
namespace {

/// What libpng reads of a file.
struct PngReader {
    explicit PngReader(const Bytes& file) : bytes(file) {}
    ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
    PngReader(const PngReader&) = delete;

    bool Read() {
        png = png_create_read_struct(
            PNG_LIBPNG_VER_STRING, nullptr, [](png_structp p, png_const_charp) { png_longjmp(p, 1); },
            [](png_structp, png_const_charp) {});
        info = png_create_info_struct(png);
        if (setjmp(png_jmpbuf(png)) != 0) return false;
        png_set_read_fn(png, this, [](png_structp p, png_bytep to, std::size_t size) {
            auto& self = *static_cast<PngReader*>(png_get_io_ptr(p));
            if (size > self.bytes.size() - self.used) png_error(p, "end");
            std::memcpy(to, self.bytes.data() + self.used, size);
            self.used += size;
        });
        png_read_png(png, info, PNG_TRANSFORM_EXPAND | PNG_TRANSFORM_SWAP_ENDIAN, nullptr);
        return true;
    }
    Image Pixels() {
        Image image{.samples = png_get_channels(png, info), .bits = png_get_bit_depth(png, info)};
        image.width = png_get_image_width(png, info), image.height = png_get_image_height(png, info);
        png_bytepp const rows = png_get_rows(png, info);
        for (std::size_t y = 0; y < image.height; ++y) {
            for (std::size_t i = 0; i < std::size_t{image.width} * image.samples; ++i) {
                std::uint16_t value = rows[y][i];
                if (image.bits == 16) std::memcpy(&value, rows[y] + 2 * i, 2);
                image.values.push_back(value);
            }
        }
        return image;
    }

    const Bytes& bytes;
    std::size_t used = 0;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

}  // namespace

void RunTarget(FuzzInput& input) {
    static Conversion conversion(".png");
    const unsigned steering = input.U8();
    Choice choice = Choice::Of(steering);
    Bytes file = input.Rest();
    if ((steering & 8U) == 0) SealPng(file);
    choice.dryRun = std::uint64_t{test::Big32At(file, 16)} * test::Big32At(file, 20) > kMostPixels;
    const auto refusal = conversion.Run(choice, file);
    if (refusal || choice.dryRun || choice.format.value_or(tool::Format::Png) != tool::Format::Png) return;
    PngReader source(file);
    if (!source.Read()) return;  // for a chunk that is copied unread
    const Bytes written = conversion.Output();
    PngReader output(written);
    Require(output.Read(), "libpng reads the output");
    Image wanted = source.Pixels();
    const Image got = output.Pixels();
    Require(got.width == wanted.width && got.height == wanted.height, "the same size");
    if (choice.way != Way::Library) return;
    ConvertImage(wanted, false);
    Require(got.samples == wanted.samples, "the same samples");
    const bool hasKey = file[25] == PNG_COLOR_TYPE_RGB && wanted.samples == 4;
    if (!hasKey) return Require(got == wanted, "the pixels of the engine");
    // With a transparent colour, another colour may be moved by one step, and only the alpha is the same.
    for (std::size_t at = 3; at < got.values.size(); at += 4) {
        Require(got.values[at] == wanted.values[at], "the same pixels are transparent");
    }
}

}  // namespace hueweave::fuzz
