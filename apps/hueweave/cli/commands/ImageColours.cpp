// SPDX-License-Identifier: MIT
#include "cli/commands/ImageColours.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "jpeg/JpegCodec.h"
#include "jpeg/JpegRewriter.h"
#include "picture/Format.h"
#include "png/ChunkRules.h"
#include "png/PngCodec.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "system/files/FileKind.h"
#include "tiff/codec/TiffDecoder.h"

namespace hueweave::tool {
namespace {

constexpr std::uint64_t kMostPixels = 200000;                    ///< total
constexpr std::uint64_t kWhole = std::uint64_t{16} << 20;        ///< bytes; a larger strip is read by rows
constexpr std::uint64_t kMostMemory = std::uint64_t{128} << 20;  ///< for a tile, or a row, of all planes

bool IsRgb(const TiffPage& page) { return page.IsConvertible() && page.kind.empty() && page.bits == page.written.bits; }

/// Takes every `step`-th pixel.
class Sampler {
public:
    explicit Sampler(std::uint64_t pixels) : step_(std::max<std::uint64_t>(1, pixels / kMostPixels)) {}

    /// Whether the next pixel is taken.
    bool Next() { return counter_++ % step_ == 0; }
    /// Takes three samples of 8 or 16 bits, in the processor's byte order, the first of them at `at`.
    void Add(const unsigned char* at, unsigned bits) {
        colour::DeviceColour& colour = colours_.emplace_back();
        for (std::size_t c = 0; c < 3; ++c) {
            if (bits == 8) {
                colour[c] = static_cast<std::uint16_t>(at[c] * 257);
            } else {
                std::memcpy(&colour[c], at + 2 * c, 2);
            }
        }
    }
    /// Each colour once.
    std::vector<colour::DeviceColour> Take() && {
        std::sort(colours_.begin(), colours_.end());
        colours_.erase(std::unique(colours_.begin(), colours_.end()), colours_.end());
        return std::move(colours_);
    }

private:
    std::uint64_t step_, counter_ = 0;
    std::vector<colour::DeviceColour> colours_;
};

[[noreturn]] void RefuseColours(const std::string& name) {
    throw Refusal(Exit::Input, name, "holds no RGB pixels of 8 or 16 bits", "give an RGB file of 8 or 16 bits");
}

/// Refuses an image whose decoder would need this many bytes.
void CheckMemory(std::uint64_t bytes, const std::string& name) {
    if (bytes <= kMostMemory) return;
    throw Refusal(Exit::Input, name, "takes more than 128 MiB to decode",
                  "rewrite it as a TIFF file, for example with convert in.png out.tif");
}

/// Samples the rows of an image, whose indices refer to `palette` unless that is empty.
void AddRows(const Raster& raster, RowSource& source, const Bytes& palette, Sampler& sampler) {
    Bytes row(static_cast<std::size_t>(raster.RowBytes()));
    for (std::uint32_t y = 0; y < raster.height; ++y) {
        ThrowIfInterrupted();
        source.Read(row.data(), 1);
        for (std::size_t x = 0; x < raster.width; ++x) {
            if (!sampler.Next()) continue;
            const bool isIndex = !palette.empty();
            sampler.Add(isIndex ? &palette[std::size_t{3} * row[x]] : &row[x * raster.PixelBytes()], raster.bits);
        }
    }
}

std::vector<colour::DeviceColour> ColoursOfPng(const FileAccess& file) {
    const PngStructure structure(file);
    CheckConvertible(structure);
    const PngHeader& header = structure.header();
    if (header.IsGrey()) RefuseColours(file.name());
    Bytes palette;
    if (header.colours == PngHeader::Palette) {
        palette = structure.Data(*structure.Find("PLTE"));
        palette.resize(768);  // an index without an entry is black
    }
    const Raster raster = RasterOf(header);
    // A row has less than 2^34 bytes.
    const std::uint64_t rows = header.interlaced ? header.height : 1;
    CheckMemory(raster.RowBytes() > kMostMemory / rows ? UINT64_MAX : rows * raster.RowBytes(), file.name());
    CheckMemory(PngCoderMemory(raster.RowBytes()), file.name());
    PngDecoder decoder(structure);
    Bytes all;
    if (header.interlaced) decoder.ReadAll(all);
    RowsInMemory stored(raster, all);
    RowSource* source = &decoder;
    if (header.interlaced) source = &stored;
    Sampler sampler(raster.Pixels());
    AddRows(raster, *source, palette, sampler);
    decoder.Finish();
    return std::move(sampler).Take();
}

std::vector<colour::DeviceColour> ColoursOfJpeg(const FileAccess& file) {
    const JpegStructure structure(file);
    CheckConvertible(structure);
    const JpegFrame& frame = structure.frame();
    if (frame.components.size() != 3) RefuseColours(file.name());
    CheckMemory(JpegCoderMemory(structure, 3), file.name());
    const Raster raster{frame.width, frame.height, 3, 8};
    JpegDecoder decoder(structure);
    Sampler sampler(raster.Pixels());
    AddRows(raster, decoder, {}, sampler);
    decoder.Finish();
    return std::move(sampler).Take();
}

/// Samples the pixels of a file's pages at a fixed interval.
class Collector {
public:
    Collector(const FileAccess& file, const TiffStructure& structure, Sampler& sampler)
        : file_(file), structure_(structure), sampler_(sampler) {}

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
                          "rewrite it with smaller tiles, for example with tiffcp -t -w 512 -l 512");
        }
        if (byRows) {
            AddRows(page);
        } else {
            AddSegments(page);
        }
    }

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
        if (!sampler_.Next()) return;
        const std::size_t width = page.bits / 8;
        unsigned char rgb[6];
        for (std::size_t c = 0; c < 3; ++c) {
            const unsigned char* at = page.planar ? &planes[c][p * width] : &planes[0][(p * page.samples + c) * width];
            std::memcpy(rgb + c * width, at, width);
        }
        sampler_.Add(rgb, page.bits);
    }

    const FileAccess& file_;
    const TiffStructure& structure_;
    Sampler& sampler_;
};

std::vector<colour::DeviceColour> ColoursOfTiff(const FileAccess& file) {
    const TiffStructure structure(file);
    const std::vector<TiffPage> pages = ReadPages(structure);
    std::uint64_t all = 0;
    for (const TiffPage& page : pages) all += IsRgb(page) ? page.Pixels() : 0;  // below `limit::kImageBytes`
    if (all == 0) RefuseColours(file.name());
    Sampler sampler(all);
    Collector collector(file, structure, sampler);
    for (const TiffPage& page : pages) {
        if (IsRgb(page)) collector.Add(page);
    }
    return std::move(sampler).Take();
}

}  // namespace

std::vector<colour::DeviceColour> ImageColours(const std::string& path) {
    const FileAccess file = FileAccess::OpenInput(path);
    switch (FormatOf(file)) {
        case Format::Tiff:
            return ColoursOfTiff(file);
        case Format::Png:
            return ColoursOfPng(file);
        case Format::Jpeg:
            return ColoursOfJpeg(file);
        default:
            throw Refusal(Exit::Input, path, NotA("a TIFF, PNG or JPEG file", file), "give one of these");
    }
}

}  // namespace hueweave::tool
