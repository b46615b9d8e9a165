// SPDX-License-Identifier: MIT
#include "Judge.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "engine/CIccEngineS.h"
#include "tiff/codec/TiffDecoder.h"

namespace hueweave::fuzz {
namespace {

constexpr tmsize_t kMostMemory = tmsize_t{256} << 20;

/// Stores the first error.
int Complain(TIFF*, void* first, const char*, const char* format, std::va_list arguments) {
    char text[200];
    std::vsnprintf(text, sizeof text, format, arguments);
    auto& complaint = *static_cast<std::string*>(first);
    if (complaint.empty()) complaint = text;
    return 1;
}

int Ignore(TIFF*, void*, const char*, const char*, std::va_list) { return 1; }

using Handle = std::unique_ptr<TIFF, decltype([](TIFF* file) { TIFFClose(file); })>;

Handle Open(const std::string& path, std::string& complaint) {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Complain, &complaint);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Ignore, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostMemory);
    // Without mapping, and without reading the first page: if libtiff does not accept that, for instance a mask, the
    // others can still be read.
    return Handle(TIFFOpenExt(path.c_str(), "rhm", options.get()));
}

unsigned Short(TIFF* file, std::uint32_t tag) {
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(file, tag, &value);
    return value;
}

/// Samples of a strip or tile of `columns` x `rows` with its upper left corner at (left, top).
void Place(Image& image, const Bytes& data, std::uint32_t left, std::uint32_t top, std::uint32_t columns,
           std::uint32_t rows, unsigned first, unsigned count) {
    const std::size_t width = image.bits / 8;
    for (std::uint32_t y = 0; y < rows && top + y < image.height; ++y) {
        for (std::uint32_t x = 0; x < columns && left + x < image.width; ++x) {
            for (unsigned s = 0; s < count; ++s) {
                const std::size_t at = (std::size_t{y} * columns + x) * count + s;
                std::uint16_t value = data[at * width];
                if (width == 2) std::memcpy(&value, &data[at * 2], 2);
                image.values[(std::size_t{top + y} * image.width + left + x) * image.samples + first + s] = value;
            }
        }
    }
}

/// `blank` is the initial value of the pixels before decoding.
bool Decode(TIFF* file, Image& image, unsigned char blank) {
    TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &image.width);
    TIFFGetField(file, TIFFTAG_IMAGELENGTH, &image.height);
    image.samples = Short(file, TIFFTAG_SAMPLESPERPIXEL);
    image.bits = Short(file, TIFFTAG_BITSPERSAMPLE);
    if (image.bits != 8 && image.bits != 16) return false;
    if (Short(file, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR) {
        TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    const std::uint64_t values = std::uint64_t{image.width} * image.height * image.samples;
    if (values == 0 || values > (std::uint64_t{1} << 24)) return false;
    image.values.resize(static_cast<std::size_t>(values));
    const bool tiled = TIFFIsTiled(file) != 0;
    const bool planar = Short(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    std::uint32_t columns = image.width, rows = image.height;
    if (tiled) {
        TIFFGetField(file, TIFFTAG_TILEWIDTH, &columns);
        TIFFGetField(file, TIFFTAG_TILELENGTH, &rows);
    } else {
        TIFFGetFieldDefaulted(file, TIFFTAG_ROWSPERSTRIP, &rows);
        rows = std::min(rows, image.height);
    }
    const unsigned count = planar ? 1 : image.samples;
    const tmsize_t size = tiled ? TIFFTileSize(file) : TIFFStripSize(file);
    if (columns == 0 || rows == 0 || size <= 0 || size > kMostMemory) return false;
    if (static_cast<std::uint64_t>(size) < std::uint64_t{columns} * rows * count * (image.bits / 8)) return false;
    Bytes data(static_cast<std::size_t>(size));
    const std::uint32_t segments = tiled ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
    const std::uint32_t inPlane = planar ? segments / image.samples : segments,
                        across = (image.width - 1) / columns + 1;
    for (std::uint32_t n = 0; n < segments; ++n) {
        std::fill(data.begin(), data.end(), blank);
        const tmsize_t got =
            tiled ? TIFFReadEncodedTile(file, n, data.data(), size) : TIFFReadEncodedStrip(file, n, data.data(), size);
        if (got < 0) return false;
        const std::uint32_t place = n % inPlane;
        Place(image, data, place % across * columns, place / across * rows, columns, rows, n / inPlane, count);
    }
    return true;
}

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

const Engine& EngineOf(const Bytes& profile, unsigned bits) {
    static std::map<std::pair<Bytes, unsigned>, std::unique_ptr<Engine>> engines;
    std::unique_ptr<Engine>& engine = engines[{profile, bits}];
    if (engine != nullptr) return *engine;
    engine = std::make_unique<Engine>();
    engine->SetProfile(profile, ICC40::ICCFILE::IntentPerceptual,
                       bits == 8 ? ICC40::ICCFILE::CsRGB_8 : ICC40::ICCFILE::CsRGB_16,
                       bits == 8 ? ICC40::ICCFILE::CssRGB_8 : ICC40::ICCFILE::CssRGB_16, 0, 0, 0);
    Require(engine->Lut1DInR != nullptr, "the judge's engine takes the profile");
    return *engine;
}

void ConvertPixel(const Engine& engine, std::uint16_t* samples, unsigned bits) {
    if (bits == 16) {
        engine.Conversion(samples, samples, 1);
        return;
    }
    unsigned char bytes[3];
    std::copy_n(samples, 3, bytes);
    engine.Conversion(bytes, bytes, 1);
    std::copy_n(bytes, 3, samples);
}

}  // namespace

std::optional<Image> ByLibtiff(const std::string& path, std::uint64_t offset, bool sound) {
    std::string complaint;
    const Handle file = Open(path, complaint);
    complaint.clear();  // an error about the first directory, which may be another one than requested
    Image image, again;
    bool done = true;
    for (const auto& [to, blank] : {std::pair{&image, 0}, std::pair{&again, 0xff}}) {
        done = done && file != nullptr && TIFFSetSubDirectory(file.get(), offset) != 0 &&
               Decode(file.get(), *to, static_cast<unsigned char>(blank));
    }
    if (!done && !sound) std::fprintf(stderr, "libtiff: %s\n", complaint.c_str());
    if (!done || (sound && !complaint.empty())) return std::nullopt;
    // For Deflate data that continue after the pixels, libtiff may decode nothing without reporting an error.
    return image == again ? std::optional(image) : std::nullopt;
}

Image ByOwnDecoder(const tool::TiffStructure& structure, const tool::TiffPage& page) {
    Image image{page.width, page.height, page.samples, page.bits, {}};
    image.values.resize(std::size_t{page.width} * page.height * page.samples);
    const tool::PageSource source(structure, page);
    tool::TiffDecoder decoder(source);
    Bytes data;
    for (std::uint64_t segment = 0; segment < page.Segments(); ++segment) {
        decoder.ReadSegment(segment, data);
        const std::uint64_t place = segment % page.InPlane();
        Place(image, data, static_cast<std::uint32_t>(place % page.across) * page.segmentWidth,
              static_cast<std::uint32_t>(place / page.across) * page.segmentHeight, page.segmentWidth,
              page.RowsOf(segment), static_cast<unsigned>(segment / page.InPlane()), page.SegmentSamples());
    }
    return image;
}

void ConvertImage(Image& image, const Bytes& profile, bool premultiplied) {
    const Engine& engine = EngineOf(profile, image.bits);
    const unsigned top = image.bits == 8 ? 255 : 65535;
    for (std::size_t at = 0; at < image.values.size(); at += image.samples) {
        std::uint16_t* pixel = &image.values[at];
        // Divides by the associated alpha and multiplies by it again.
        const unsigned alpha = premultiplied && image.samples > 3 ? pixel[3] : top;
        if (alpha == 0) continue;  // fully transparent
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] = static_cast<std::uint16_t>(std::min(top, (pixel[c] * top + alpha / 2) / alpha));
        }
        ConvertPixel(engine, pixel, image.bits);
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] = static_cast<std::uint16_t>((pixel[c] * alpha + top / 2) / top);
        }
    }
}

}  // namespace hueweave::fuzz
