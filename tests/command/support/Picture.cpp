// SPDX-License-Identifier: MIT
#include "command/support/Picture.h"

#include <tiffio.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "command/support/ExifTool.h"
#include "command/support/TiffMaker.h"
#include "engine/CIccEngineS.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

/// The engine of the previous call, reused if the binding is the same: building its tables takes longer than converting
/// most images.
std::shared_ptr<Engine> BoundEngine(const std::string& profile, int intent, int space, unsigned bits) {
    static std::shared_ptr<Engine> last;
    static std::tuple<std::string, int, int, unsigned> lastBound;
    const auto bound = std::make_tuple(FileBytes(profile), intent, space, bits);
    if (last != nullptr && bound == lastBound) return last;
    last = std::make_shared<Engine>();
    lastBound = bound;
    const auto output = static_cast<HueweaveColorSpace>(space);
    const auto input = bits == 8 ? ICC40::ICCFILE::CsRGB_8 : ICC40::ICCFILE::CsRGB_16;
    last->SetProfile(profile.c_str(), static_cast<HueweaveIntent>(intent), input, output, 0, 0, 0);
    if (last->Unit.OutputSpace != output) {
        last.reset();
        throw std::runtime_error("the engine refuses " + profile);
    }
    return last;
}

unsigned Get16(TIFF* file, unsigned tag) {
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(file, tag, &value);
    return value;
}

/// Copies decoded samples of a strip or tile to (left, top) of the image, from sample `first` on.
void PlaceSamples(Picture& picture, const std::vector<unsigned char>& data, std::uint32_t left, std::uint32_t top,
                  std::uint32_t columns, std::uint32_t rows, unsigned first, unsigned count) {
    for (std::uint32_t y = 0; y < rows && top + y < picture.height; ++y) {
        for (std::uint32_t x = 0; x < columns && left + x < picture.width; ++x) {
            for (unsigned s = 0; s < count; ++s) {
                const std::size_t at = (std::size_t{y} * columns + x) * count + s;
                const std::size_t to = (std::size_t{top + y} * picture.width + left + x) * picture.samples + first + s;
                picture.values[to] = data[at];
                if (picture.bits == 16) std::memcpy(&picture.values[to], &data[2 * at], 2);
            }
        }
    }
}

}  // namespace

void TiffCloser::operator()(tiff* file) const { TIFFClose(file); }

Picture ReadPicture(tiff* file) {
    Picture picture;
    TIFFGetField(file, TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(file, TIFFTAG_IMAGELENGTH, &picture.height);
    picture.samples = Get16(file, TIFFTAG_SAMPLESPERPIXEL);
    picture.bits = Get16(file, TIFFTAG_BITSPERSAMPLE);
    std::uint32_t size = 0;
    const void* icc = nullptr;
    if (TIFFGetField(file, TIFFTAG_ICCPROFILE, &size, &icc) != 0)
        picture.icc.assign(static_cast<const char*>(icc), size);
    if (picture.bits < 8) return picture;
    if (Get16(file, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR)
        TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    picture.values.resize(std::size_t{picture.width} * picture.height * picture.samples);
    const bool tiled = TIFFIsTiled(file) != 0;
    const bool planar = Get16(file, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    std::uint32_t columns = picture.width, rows = 1;
    if (tiled) {
        TIFFGetField(file, TIFFTAG_TILEWIDTH, &columns);
        TIFFGetField(file, TIFFTAG_TILELENGTH, &rows);
    }
    std::vector<unsigned char> data(static_cast<std::size_t>(tiled ? TIFFTileSize(file) : TIFFScanlineSize(file)));
    const unsigned count = planar ? 1 : picture.samples;
    for (std::uint16_t plane = 0; plane < picture.samples; plane += static_cast<std::uint16_t>(count)) {
        for (std::uint32_t top = 0; top < picture.height; top += rows) {
            for (std::uint32_t left = 0; left < picture.width; left += columns) {
                const auto got = tiled ? TIFFReadTile(file, data.data(), left, top, 0, plane)
                                       : TIFFReadScanline(file, data.data(), top, plane);
                if (got < 0) throw std::runtime_error("libtiff cannot decode the file");
                PlaceSamples(picture, data, left, top, columns, rows, plane, count);
            }
        }
    }
    return picture;
}

std::vector<Picture> ReadPictures(const std::string& path) {
    TIFFSetWarningHandler(nullptr);
    const std::unique_ptr<TIFF, TiffCloser> file(TIFFOpen(path.c_str(), "r"));
    if (file == nullptr) throw std::runtime_error("libtiff cannot open " + path);
    std::vector<Picture> pictures;
    do {
        pictures.push_back(ReadPicture(file.get()));
    } while (TIFFReadDirectory(file.get()) != 0);
    return pictures;
}

Picture ByEngine(Picture picture, const std::string& profile, int intent, int space) {
    const auto engine = BoundEngine(profile, intent, space, picture.bits);
    const std::size_t pixels = picture.values.size() / picture.samples;
    for (std::size_t p = 0; p < pixels; ++p) {
        std::uint16_t* sample = &picture.values[p * picture.samples];
        if (picture.bits == 16) {
            engine->Conversion(sample, sample, 1);
            continue;
        }
        unsigned char bytes[3];
        std::copy_n(sample, 3, bytes);
        engine->Conversion(bytes, bytes, 1);
        std::copy_n(bytes, 3, sample);
    }
    return picture;
}

Picture ToSrgb(const Picture& picture, const std::string& profile) {
    return ByEngine(picture, profile, 0, picture.bits == 8 ? 8 : 9);
}

void ExpectSrgb(const std::string& output, const std::string& source, const std::string& profile) {
    const std::vector<Picture> before = ReadPictures(source), after = ReadPictures(output);
    ASSERT_EQ(after.size(), before.size()) << "pages of " << output;
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_THAT(after[i].values, EqualTo(ToSrgb(before[i], profile).values)) << "page " << i << " of " << output;
    }
}

Picture SmallPicture() {
    Picture picture{4, 4, 3, 8, {}, ""};
    for (const char sample : SmallPixels()) picture.values.push_back(static_cast<unsigned char>(sample));
    return picture;
}

std::string TagsOf(const std::string& path) {
    Words words{"-api", "largefilesupport=1", "-a", "-u", "-U", "-G1", "-s", "-n"};
    for (const char* group : {"ICC_Profile", "ICC-header", "System", "File", "ExifTool", "Composite"}) {
        words.push_back("--" + std::string(group) + ":all");
    }
    for (const char* tag : {"StripOffsets", "StripByteCounts", "TileOffsets", "TileByteCounts", "ICC_Profile"}) {
        words.insert(words.end(), {"-x", tag});
    }
    std::string told;
    for (const std::string& line : Lines(ExifTool(words + Words{path}))) {
        if (!line.starts_with("[ICC")) told += line + "\n";
    }
    EXPECT_NE(told, "") << path;
    return told +
           Shell("tiffinfo " + Quoted(path) + " 2>/dev/null | grep -v -e 'at offset' -e 'ICC Profile' -e '^==='");
}

}  // namespace hueweave::test
