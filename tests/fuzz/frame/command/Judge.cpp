// SPDX-License-Identifier: MIT
#include "Judge.h"

#include <tiffio.h>

#include <cstdarg>

#include "Scene.h"
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

/// Puts an image together; `read` decodes a strip or tile, or returns null.
template <typename Read>
std::optional<Image> Assembled(const tool::PageForm& form, const Read& read) {
    Image image{form.width, form.height, form.samples, form.bits, {}};
    image.values.resize(std::size_t{form.width} * form.height * form.samples);
    const std::size_t bytes = form.bits / 8, count = form.SegmentSamples(), columns = form.segmentWidth;
    for (std::uint64_t segment = 0; segment < form.Segments(); ++segment) {
        const unsigned char* data = read(segment);
        if (data == nullptr) return std::nullopt;
        const std::size_t plane = segment / form.InPlane(), place = segment % form.InPlane();
        const std::size_t left = place % form.across * columns, top = place / form.across * form.segmentHeight;
        for (std::size_t y = 0; y < form.segmentHeight && top + y < form.height; ++y) {
            for (std::size_t i = 0; i < columns * count && left + i / count < form.width; ++i) {
                const unsigned char* sample = data + (y * columns * count + i) * bytes;
                std::uint16_t value = *sample;
                if (bytes == 2) std::memcpy(&value, sample, 2);
                image.values[((top + y) * form.width + left + i / count) * form.samples + plane + i % count] = value;
            }
        }
    }
    return image;
}

/// `blank` is the initial value of the pixels before decoding.
std::optional<Image> Decoded(TIFF* file, unsigned char blank) {
    tool::PageForm form;
    TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &form.width);
    TIFFGetField(file, TIFFTAG_IMAGELENGTH, &form.height);
    form.samples = Short(file, TIFFTAG_SAMPLESPERPIXEL);
    form.bits = Short(file, TIFFTAG_BITSPERSAMPLE);
    const std::uint64_t values = form.Pixels() * form.samples;
    if ((form.bits != 8 && form.bits != 16) || values == 0 || values > (std::uint64_t{1} << 24)) return std::nullopt;
    if (Short(file, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR) {
        TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    }
    form.planar = Short(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    form.segmentWidth = form.width;
    const bool tiled = TIFFIsTiled(file) != 0;
    if (tiled) TIFFGetField(file, TIFFTAG_TILEWIDTH, &form.segmentWidth);
    TIFFGetFieldDefaulted(file, tiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, &form.segmentHeight);
    if (!tiled) form.segmentHeight = std::min(form.segmentHeight, form.height);
    const tmsize_t size = tiled ? TIFFTileSize(file) : TIFFStripSize(file);
    if (form.segmentWidth == 0 || form.segmentHeight == 0 || size <= 0 || size > kMostMemory) return std::nullopt;
    if (static_cast<std::uint64_t>(size) < form.RowBytes() * form.segmentHeight) return std::nullopt;
    form.across = (form.width - 1) / form.segmentWidth + 1;
    const std::uint32_t segments = tiled ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
    form.down = segments / (form.planar ? form.samples : 1) / form.across;
    Bytes data(static_cast<std::size_t>(size));
    return Assembled(form, [&](std::uint64_t segment) {
        std::fill(data.begin(), data.end(), blank);
        const auto read = tiled ? TIFFReadEncodedTile : TIFFReadEncodedStrip;
        return read(file, static_cast<std::uint32_t>(segment), data.data(), size) < 0 ? nullptr : data.data();
    });
}

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

std::unique_ptr<Engine> MakeEngine(bool wide) {
    using namespace ICC40::ICCFILE;
    auto engine = std::make_unique<Engine>();
    engine->SetProfile(PlainProfile().data, IntentPerceptual, wide ? CsRGB_16 : CsRGB_8, wide ? CssRGB_16 : CssRGB_8, 0,
                       0, 0);
    Require(engine->Lut1DInR != nullptr, "the judge's engine takes the profile");
    return engine;
}

void ConvertPixel(std::uint16_t* samples, unsigned bits) {
    static const std::unique_ptr<Engine> narrow = MakeEngine(false), wide = MakeEngine(true);
    if (bits == 16) {
        wide->Conversion(samples, samples, 1);
        return;
    }
    unsigned char bytes[3];
    std::copy_n(samples, 3, bytes);
    narrow->Conversion(bytes, bytes, 1);
    std::copy_n(bytes, 3, samples);
}

}  // namespace

std::optional<Image> ByLibtiff(const std::string& path, std::uint64_t offset, bool sound) {
    std::string complaint;
    const Handle file = Open(path, complaint);
    complaint.clear();  // an error about the first directory, which may be another one than requested
    const auto decoded = [&](unsigned char blank) {
        const bool found = file != nullptr && TIFFSetSubDirectory(file.get(), offset) != 0;
        return found ? Decoded(file.get(), blank) : std::nullopt;
    };
    const std::optional<Image> image = decoded(0), again = image ? decoded(0xff) : std::nullopt;
    if (!again && !sound) std::fprintf(stderr, "libtiff: %s\n", complaint.c_str());
    // For Deflate data that continue after the pixels, libtiff may decode nothing without reporting an error.
    return image == again && (!sound || complaint.empty()) ? image : std::nullopt;
}

Image ByOwnDecoder(const tool::TiffStructure& structure, const tool::TiffPage& page) {
    const tool::PageSource source(structure, page);
    tool::TiffDecoder decoder(source);
    Bytes data;
    return *Assembled(page, [&](std::uint64_t segment) {
        decoder.ReadSegment(segment, data);
        return data.data();
    });
}

void ConvertImage(Image& image, bool premultiplied) {
    const unsigned top = image.bits == 8 ? 255 : 65535;
    for (std::size_t at = 0; at < image.values.size(); at += image.samples) {
        std::uint16_t* pixel = &image.values[at];
        // Divides by the associated alpha and multiplies by it again.
        const unsigned alpha = premultiplied && image.samples > 3 ? pixel[3] : top;
        if (alpha == 0) continue;  // fully transparent
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] = static_cast<std::uint16_t>(std::min(top, (pixel[c] * top + alpha / 2) / alpha));
        }
        ConvertPixel(pixel, image.bits);
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] = static_cast<std::uint16_t>((pixel[c] * alpha + top / 2) / top);
        }
    }
}

}  // namespace hueweave::fuzz
