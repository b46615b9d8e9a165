// SPDX-License-Identifier: MIT
#include "cli/commands/ImageColours.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "tiff/codec/TiffDecoder.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostPixels = 200000;                    ///< total
constexpr std::uint64_t kWhole = std::uint64_t{16} << 20;        ///< bytes; a larger strip is read by rows
constexpr std::uint64_t kMostMemory = std::uint64_t{128} << 20;  ///< for a tile, or a row, of all planes

bool IsRgb(const TiffPage& page) { return page.IsConvertible() && page.kind.empty() && page.bits == page.written.bits; }

/// Samples the pixels of a file's pages at a fixed interval.
class Collector {
public:
    Collector(const FileAccess& file, const TiffStructure& structure, std::uint64_t step)
        : file_(file), structure_(structure), step_(step) {}

    void Add(const TiffPage& page) {
        std::uint64_t largest = 0;
        for (const Extent& segment : page.segments) largest = std::max(largest, segment.size);
        const unsigned planes = page.planar ? 3 : 1;
        const std::uint64_t whole = largest + planes * page.DecodedBytes(0);
        const bool byRows = !page.tiled && whole > kWhole;
        const std::uint64_t turned = page.fillOrder == 1 ? 0 : largest;  // which libtiff keeps in memory completely
        if ((byRows ? planes * (page.RowBytes() + turned) : whole) > kMostMemory) {
            throw Refusal(Exit::Input, file_.name(),
                          std::string("has ") + (page.tiled ? "tiles" : "rows") + " that take more than 128 MiB",
                          "write it anew with smaller tiles, for example with tiffcp -t -w 512 -l 512");
        }
        if (byRows) {
            AddRows(page);
        } else {
            AddSegments(page);
        }
    }
    std::vector<colour::DeviceColour> Take() { return std::move(colours_); }

private:
    using Planes = Bytes[3];

    void AddSegments(const TiffPage& page) {
        const PageSource source(structure_, page);
        TiffDecoder decoder(source);
        Planes planes;
        for (std::uint64_t s = 0; s < page.InPlane(); ++s) {
            ThrowIfInterrupted();
            for (unsigned plane = 0; plane < (page.planar ? 3 : 1); ++plane) {
                decoder.ReadSegment(plane * page.InPlane() + s, planes[plane]);
            }
            const std::uint64_t left = s % page.across * page.segmentWidth;
            const std::uint64_t top = s / page.across * page.segmentHeight;
            for (std::uint64_t p = 0; p < std::uint64_t{page.RowsOf(s)} * page.segmentWidth; ++p) {
                const bool inside =
                    left + p % page.segmentWidth < page.width && top + p / page.segmentWidth < page.height;
                if (inside) AddPixel(page, planes, p);
            }
        }
    }

    void AddRows(const TiffPage& page) {
        const PageSource source(structure_, page);
        std::unique_ptr<RowDecoder> decoders[3];
        Planes planes;
        const unsigned count = page.planar ? 3 : 1;
        for (unsigned plane = 0; plane < count; ++plane) {
            decoders[plane] = std::make_unique<RowDecoder>(source, plane, TemporaryFolder(), file_.name());
            planes[plane].resize(static_cast<std::size_t>(page.RowBytes()));
        }
        for (std::uint32_t row = 0; row < page.height; ++row) {
            ThrowIfInterrupted();
            for (unsigned plane = 0; plane < count; ++plane) decoders[plane]->ReadRow(planes[plane].data());
            for (std::uint64_t x = 0; x < page.width; ++x) AddPixel(page, planes, x);
        }
    }

    void AddPixel(const TiffPage& page, const Planes& planes, std::uint64_t p) {
        if (counter_++ % step_ != 0) return;
        const std::size_t width = page.bits / 8;
        colour::DeviceColour colour{};
        for (std::size_t c = 0; c < 3; ++c) {
            const unsigned char* at = page.planar ? &planes[c][p * width] : &planes[0][(p * page.samples + c) * width];
            if (width == 1) {
                colour[c] = static_cast<std::uint16_t>(*at * 257);
            } else {
                std::memcpy(&colour[c], at, 2);
            }
        }
        colours_.push_back(colour);
    }

    const FileAccess& file_;
    const TiffStructure& structure_;
    std::uint64_t step_, counter_ = 0;
    std::vector<colour::DeviceColour> colours_;
};

}  // namespace

std::vector<colour::DeviceColour> ImageColours(const std::string& path) {
    const FileAccess file = FileAccess::OpenInput(path);
    const TiffStructure structure(file);
    const std::vector<TiffPage> pages = ReadPages(structure);
    std::uint64_t all = 0;
    for (const TiffPage& page : pages) all += IsRgb(page) ? page.Pixels() : 0;  // below `limit::kImageBytes`
    if (all == 0) {
        throw Refusal(Exit::Input, path, "holds no RGB pixels of 8 or 16 bits", "give an RGB file of 8 or 16 bits");
    }
    Collector collector(file, structure, std::max<std::uint64_t>(1, all / kMostPixels));
    for (const TiffPage& page : pages) {
        if (IsRgb(page)) collector.Add(page);
    }
    std::vector<colour::DeviceColour> colours = collector.Take();
    std::sort(colours.begin(), colours.end());
    colours.erase(std::unique(colours.begin(), colours.end()), colours.end());
    return colours;
}

}  // namespace hueweave::tool
