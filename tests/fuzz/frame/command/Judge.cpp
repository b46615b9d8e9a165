// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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

struct Complaints {
    std::string first;
    static int Take(void* user, const char* format, std::va_list arguments) {
        auto* complaints = static_cast<Complaints*>(user);
        char text[200];
        std::vsnprintf(text, sizeof text, format, arguments);
        if (complaints->first.empty()) complaints->first = text;
        return 1;
    }
    static int Error(TIFF*, void* user, const char*, const char* format, std::va_list arguments) {
        return Take(user, format, arguments);
    }
    static int Ignore(TIFF*, void*, const char*, const char*, std::va_list) { return 1; }
};

struct Closer {
    void operator()(TIFF* file) const { TIFFClose(file); }
};
using Handle = std::unique_ptr<TIFF, Closer>;

Handle Open(const std::string& path, Complaints& complaints) {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Complaints::Error, &complaints);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), Complaints::Ignore, &complaints);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostMemory);
    // Without mapping, and without reading the first page: one that libtiff does not take, as a mask may be, does not
    // end the reading of others.
    return Handle(TIFFOpenExt(path.c_str(), "rhm", options.get()));
}

unsigned Short(TIFF* file, std::uint32_t tag) {
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(file, tag, &value);
    return value;
}

/// Samples of a strip or tile of `columns` x `rows` whose left upper corner is at (left, top).
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

/// `blank` is what the pixels are before they are decoded.
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
    for (unsigned plane = 0; plane < (planar ? image.samples : 1); ++plane) {
        const auto sample = static_cast<std::uint16_t>(plane);
        for (std::uint32_t top = 0; top < image.height; top += rows) {
            for (std::uint32_t left = 0; left < image.width; left += columns) {
                const std::uint32_t number =
                    tiled ? TIFFComputeTile(file, left, top, 0, sample) : TIFFComputeStrip(file, top, sample);
                std::fill(data.begin(), data.end(), blank);
                const tmsize_t got = tiled ? TIFFReadEncodedTile(file, number, data.data(), size)
                                           : TIFFReadEncodedStrip(file, number, data.data(), size);
                if (got < 0) return false;
                Place(image, data, left, top, columns, rows, plane, count);
                if (image.width - left <= columns) break;  // the next place may be beyond 32 bits
            }
            if (image.height - top <= rows) break;
        }
    }
    return true;
}

/// The colour that stands behind an associated alpha, or in front of it.
std::uint16_t Divided(unsigned sample, unsigned alpha, unsigned top) {
    return static_cast<std::uint16_t>(std::min(top, (sample * top + alpha / 2) / alpha));
}
std::uint16_t Multiplied(unsigned sample, unsigned alpha, unsigned top) {
    return static_cast<std::uint16_t>((sample * alpha + top / 2) / top);
}

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

const Engine& EngineOf(const Bytes& profile, unsigned bits) {
    static std::map<std::pair<Bytes, unsigned>, std::unique_ptr<Engine>> engines;
    std::unique_ptr<Engine>& engine = engines[{profile, bits}];
    if (engine != nullptr) return *engine;
    const ScratchFile file;
    file.Put(profile);
    engine = std::make_unique<Engine>();
    engine->SetProfile(file.Path(), ICC40::ICCFILE::IntentPerceptual,
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

std::optional<Image> ByLibtiff(const std::string& path, std::uint64_t offset, bool silent, std::string& complaint) {
    Complaints complaints;
    const Handle file = Open(path, complaints);
    complaints.first.clear();  // about the first directory, which need not be the one that is wanted
    Image image, again;
    bool done = true;
    for (const auto& [to, blank] : {std::pair{&image, 0}, std::pair{&again, 0xff}}) {
        done = done && file != nullptr && TIFFSetSubDirectory(file.get(), offset) != 0 &&
               Decode(file.get(), *to, static_cast<unsigned char>(blank));
    }
    complaint = done || !complaints.first.empty() ? complaints.first : "cannot be opened or decoded";
    if (!done || (silent && !complaint.empty())) return std::nullopt;
    // Of Deflate data that go on behind the pixels, libtiff may decode nothing, and say so neither.
    if (image != again) complaint = "leaves pixels as they were";
    if (image != again) return std::nullopt;
    return image;
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
        if (!premultiplied || image.samples < 4) {
            ConvertPixel(engine, pixel, image.bits);
            continue;
        }
        const unsigned alpha = pixel[3];
        if (alpha == 0) continue;  // nothing is seen there
        for (std::size_t c = 0; c < 3; ++c) pixel[c] = Divided(pixel[c], alpha, top);
        ConvertPixel(engine, pixel, image.bits);
        for (std::size_t c = 0; c < 3; ++c) pixel[c] = Multiplied(pixel[c], alpha, top);
    }
}

}  // namespace hueweave::fuzz
