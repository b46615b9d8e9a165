// SPDX-License-Identifier: MIT
#include "tiff/rewrite/ChromaToRgb.h"

#include <algorithm>

namespace hueweave::tool {
namespace {

unsigned char Rounded(double value) { return static_cast<unsigned char>(std::clamp(value, 0.0, 255.0) + 0.5); }

}  // namespace

ChromaToRgb::ChromaToRgb(const Chroma& chroma) : chroma_(chroma) {
    const auto& range = chroma.range;
    const auto [red, green, blue] = chroma.weights;
    const auto scaled = [](double value, double black, double white, double size) {
        return (value - black) * size / (white - black);
    };
    for (unsigned sample = 0; sample < 256; ++sample) {
        const double cb = scaled(sample, range[2], range[3], 127), cr = scaled(sample, range[4], range[5], 127);
        luma_[sample] = scaled(sample, range[0], range[1], 255);
        redOfCr_[sample] = (2 - 2 * red) * cr;
        greenOfCr_[sample] = -(2 - 2 * red) * red / green * cr;
        greenOfCb_[sample] = -(2 - 2 * blue) * blue / green * cb;
        blueOfCb_[sample] = (2 - 2 * blue) * cb;
    }
}

void ChromaToRgb::Expand(const Bytes& units, std::uint32_t rows, Bytes& pixels) const {
    const std::size_t width = chroma_.segmentWidth, across = chroma_.across, size = chroma_.UnitSamples();
    const std::size_t rowBytes = (width + across - 1) / across * size;
    pixels.resize(rows * width * 3);
    unsigned char* to = pixels.data();
    for (std::uint32_t y = 0; y < rows; ++y) {
        const unsigned char* unit = units.data() + y / chroma_.down * rowBytes;
        const std::size_t first = y % chroma_.down * across;
        for (std::size_t x = 0; x < width; x += across, unit += size) {
            const unsigned char cb = unit[size - 2], cr = unit[size - 1];
            const double red = redOfCr_[cr], green = greenOfCr_[cr] + greenOfCb_[cb], blue = blueOfCb_[cb];
            for (std::size_t p = 0; p < std::min(across, width - x); ++p) {
                const double luma = luma_[unit[first + p]];
                *to++ = Rounded(luma + red);
                *to++ = Rounded(luma + green);
                *to++ = Rounded(luma + blue);
            }
        }
    }
}

}  // namespace hueweave::tool
