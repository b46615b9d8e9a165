// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "batch/session/ProfileCache.h"
#include "report/picture/PictureReader.h"

namespace hueweave::tool {

inline constexpr std::uint32_t kMostShown = 1600;  ///< pixels of the longer side of a reduced copy

/// By channel and sample of 8 bits: the number of pixels.
using Histograms = std::array<std::array<std::uint64_t, 256>, 3>;

/// A picture before and after its conversion. Everything but the reduced copies counts all pixels.
struct PictureSummary {
    std::uint32_t width = 0, height = 0;
    unsigned bits = 8;
    std::uint64_t pixels = 0;
    std::uint64_t clipped = 0;  ///< pixels with a sample at an end of its range, as `convert` counts them
    std::array<std::uint64_t, 3> low{}, high{};  ///< by channel: samples at the ends
    Histograms before{}, after{};
    std::uint32_t shownWidth = 0, shownHeight = 0;
    std::string beforeUri;           ///< the device's samples as if they were sRGB
    std::string afterUri;            ///< the converted picture
    std::string clipUri;             ///< where at least one pixel is clipped
    std::string way;                 ///< "direct" and so on
    std::size_t page = 0;            ///< which image of the file it is, counted from 0
    std::vector<std::string> notes;  ///< what is not shown, in sentences
};

/// Converts the pixels of a reader and summarises them. `cache` is for the conversion, `target` the profile of its
/// colours.
PictureSummary SummarisePicture(PictureReader& reader, const DeviceProfile& profile, ProfileCache& cache,
                                const Bytes& target);

}  // namespace hueweave::tool
