// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "ImageColours.h"

#include <algorithm>
#include <cstring>

#include "Samples.h"
#include "TiffCodec.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostPixels = 200000;  ///< looked at in all

}  // namespace

std::vector<DeviceColour> ImageColours(const std::string& path) {
    const FileAccess file = FileAccess::OpenInput(path);
    const TiffStructure structure(file);
    const std::vector<TiffPage> pages = ReadPages(structure);
    std::uint64_t all = 0;
    for (const TiffPage& page : pages) all += page.mask ? 0 : page.Pixels();
    const std::uint64_t step = std::max<std::uint64_t>(1, all / kMostPixels);
    std::vector<DeviceColour> colours;
    std::uint64_t counter = 0;
    for (const TiffPage& page : pages) {
        if (page.mask) continue;
        const std::size_t width = page.bits / 8;
        TiffDecoder decoder(file, page, structure.directories()[page.directory].offset);
        Bytes planes[3];
        for (std::uint64_t s = 0; s < page.InPlane(); ++s) {
            for (unsigned plane = 0; plane < (page.planar ? 3 : 1); ++plane) {
                decoder.ReadSegment(plane * page.InPlane() + s, planes[plane]);
            }
            const std::uint64_t left = s % page.across * page.segmentWidth;
            const std::uint64_t top = s / page.across * page.segmentHeight;
            for (std::uint64_t p = 0; p < std::uint64_t{page.RowsOf(s)} * page.segmentWidth; ++p) {
                const bool inside =
                    left + p % page.segmentWidth < page.width && top + p / page.segmentWidth < page.height;
                if (!inside || counter++ % step != 0) continue;
                DeviceColour colour{};
                for (std::size_t c = 0; c < 3; ++c) {
                    const unsigned char* at =
                        page.planar ? &planes[c][p * width] : &planes[0][(p * page.samples + c) * width];
                    if (width == 1) {
                        colour[c] = static_cast<std::uint16_t>(*at * 257);
                    } else {
                        std::memcpy(&colour[c], at, 2);
                    }
                }
                colours.push_back(colour);
            }
        }
    }
    std::sort(colours.begin(), colours.end());
    colours.erase(std::unique(colours.begin(), colours.end()), colours.end());
    return colours;
}

}  // namespace hueweave::tool
