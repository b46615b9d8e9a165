// SPDX-License-Identifier: MIT
// Converts a TIFF file with an engine: the only place that combines colour and image files.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <iostream>

#include "base/FileHandle.h"
#include "engine/CIccEngineS.h"
#include "tiff/CTiff.h"

namespace ICC40::ICC_ENG_S4 {
namespace {

using Orvix_Tiff_STL2::CTiff;

/// Converts 16-bit samples between the byte order of the file and that of the machine.
void SwapSamples(unsigned char* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, samples += 2) std::swap(samples[0], samples[1]);
}

/// Number of pixels to convert: width times height, but no more than the buffer holds.
int PixelsOf(const CTiff& image, std::size_t pixelBytes) {
    const std::int64_t stated = std::int64_t{image.GetTagValue(Orvix_Tiff_STL2::kImageWidth)} *
                                image.GetTagValue(Orvix_Tiff_STL2::kImageLength);
    const auto held = static_cast<std::int64_t>(image.ImageBytes() / pixelBytes);
    return static_cast<int>(std::clamp(stated, std::int64_t{0}, std::min(held, std::int64_t{INT32_MAX})));
}

/// Prints one line of the progress log. No times are measured: its counts are always 0.
void Log(const char* event) { std::cout << "Start Conversion(" << event << std::endl; }

}  // namespace

int CIccEngineS::Conversion(const char* source, const char* dest) const {
    CTiff image;
    if (image.ReadFile(source) < 0) return -1;
    // Kept: the sample width is that of the engine, not of the file.
    const bool wide = Unit.InputSpace == ICCFILE::CsRGB_16;
    const std::size_t pixelBytes = wide ? 6 : 3;
    unsigned char* pixels = image.GetImageBuf();
    const int count = PixelsOf(image, pixelBytes);

    Log("Start) : New ID");
    const bool foreign = wide && std::endian::native == std::endian::big && count > 0;
    const std::size_t samples = foreign ? static_cast<std::size_t>(count) * 3 : 0;
    SwapSamples(pixels, samples);
    Conversion(pixels, pixels, count);
    SwapSamples(pixels, samples);
    Log("Pause) : End Conversion(count : 0)");
    Log("Stop) :  End Conversion(count : 0)");

    image.RemoveIcc();
    // If nothing could be read, saving would truncate the source.
    const bool keep = image.tags.empty() && SameFile(source, dest);
    image.SaveFile(keep ? nullptr : dest);  // Kept: the result is ignored
    return 0;
}

}  // namespace ICC40::ICC_ENG_S4
