// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// A whole TIFF file through an engine: the one place where colour meets image files.
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

/// Turns 16-bit samples between the file's byte order and the machine's.
void SwapSamples(unsigned char* samples, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i, samples += 2) std::swap(samples[0], samples[1]);
}

/// Pixels to convert: width times height, and no more than the buffer holds.
int PixelsOf(const CTiff& image, std::size_t pixelBytes) {
    const std::int64_t stated = std::int64_t{image.GetTagValue(Orvix_Tiff_STL2::kImageWidth)} *
                                image.GetTagValue(Orvix_Tiff_STL2::kImageLength);
    const auto held = static_cast<std::int64_t>(image.ImageBytes() / pixelBytes);
    return static_cast<int>(std::clamp(stated, std::int64_t{0}, std::min(held, std::int64_t{INT32_MAX})));
}

/// A line of the progress log. The log has no clock: its counts are always 0.
void Log(const char* event) { std::cout << "Start Conversion(" << event << std::endl; }

}  // namespace

int CIccEngineS::Conversion(const char* source, const char* dest) const {
    CTiff image;
    if (image.ReadFile(source) < 0) return -1;
    // Kept: the width of the samples is the engine's, whatever the file says of itself.
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
    // Saving would empty a file of which nothing was read.
    const bool keep = image.tags.empty() && SameFile(source, dest);
    image.SaveFile(keep ? nullptr : dest);  // Kept: its result is not looked at
    return 0;
}

}  // namespace ICC40::ICC_ENG_S4
