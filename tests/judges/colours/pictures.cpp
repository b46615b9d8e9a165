// SPDX-License-Identifier: MIT
// judge_pictures SOURCE-PROFILE TARGET-PROFILE IN.tif [OUT.tif]: the mean and the largest CIEDE2000 between the pixels
// of OUT.tif, which some program converted from IN.tif with the perceptual intent, and two references: the results of
// Little CMS in doubles, and the colours that the profiles describe, without roundings. Without OUT.tif, what is
// compared with the latter is Little CMS in doubles, these colours rounded to the depth of IN.tif, and those of a
// trilinear interpolation.
#include <tiffio.h>

#include <cstdio>

#include "judges/colours/Unrounded.h"

namespace {

using namespace hueweave::judge;
using hueweave::test::ReadFile;

struct Picture {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 0;
    std::vector<Rgb> pixels;
};

/// The first page: interleaved RGB in rows, 8 or 16 bits.
Picture ReadPicture(const char* path) {
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> file(TIFFOpen(path, "r"), TIFFClose);
    if (file == nullptr) throw std::runtime_error("is not a TIFF file");
    Picture picture;
    std::uint16_t samples = 0, planar = 0;
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &picture.height);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_BITSPERSAMPLE, &picture.bits);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(file.get(), TIFFTAG_PLANARCONFIG, &planar);
    if (samples != 3 || planar != PLANARCONFIG_CONTIG || (picture.bits != 8 && picture.bits != 16)) {
        throw std::runtime_error("has another layout of pixels");
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(TIFFScanlineSize(file.get())));
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        if (TIFFReadScanline(file.get(), bytes.data(), y, 0) < 0) throw std::runtime_error("cannot be read");
        const auto* const words = reinterpret_cast<const std::uint16_t*>(bytes.data());
        const std::vector<Rgb> row =
            picture.bits == 8 ? Pixels(bytes) : Pixels(std::vector(words, words + bytes.size() / 2));
        picture.pixels.insert(picture.pixels.end(), row.begin(), row.end());
    }
    return picture;
}

void Print(const Differences& differences) {
    if (differences.undefined != 0) throw std::runtime_error("a colour is not a number");
    std::printf("%.5f %.5f\n", differences.mean, differences.largest);
}

/// `paths` are the profiles and the source.
void Judge(char** paths, const char* result) {
    const Picture source = ReadPicture(paths[2]);
    const Bytes device = ReadFile(paths[0]), screen = ReadFile(paths[1]);
    const Truth truth(device, screen, INTENT_PERCEPTUAL, false);
    const Unrounded unrounded(device, screen);
    if (result != nullptr) {
        const Picture converted = ReadPicture(result);
        if (converted.width != source.width || converted.height != source.height || converted.bits != source.bits) {
            throw std::runtime_error("the pictures differ in size or depth");
        }
        Print(truth.Compare(source.pixels, converted.pixels));
        Print(unrounded.Compare(source.pixels, converted.pixels));
        return;
    }
    const Unrounded trilinear(device, screen, Interpolation::Trilinear);
    const double top = source.bits == 8 ? 255 : 65535;
    std::vector<Rgb> judged, rounded, other;
    for (const Rgb& pixel : source.pixels) {
        judged.push_back(truth.Of(pixel));
        Rgb& samples = rounded.emplace_back(unrounded.Of(pixel));
        for (double& sample : samples) sample = std::round(sample * top) / top;
        other.push_back(trilinear.Of(pixel));
    }
    for (const auto* const pixels : {&judged, &rounded, &other}) Print(unrounded.Compare(source.pixels, *pixels));
}

}  // namespace

int main(int count, char** words) {
    if (count != 4 && count != 5) {
        std::fprintf(stderr, "usage: judge_pictures SOURCE-PROFILE TARGET-PROFILE IN.tif [OUT.tif]\n");
        return 2;
    }
    TIFFSetWarningHandler(nullptr);
    try {
        Judge(words + 1, words[4]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "judge_pictures: %s\n", error.what());
        return 1;
    }
}
