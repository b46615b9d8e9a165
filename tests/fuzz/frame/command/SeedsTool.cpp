// SPDX-License-Identifier: MIT
// TIFF files written by libtiff, Deflate data, and profiles written by Little CMS.
#include <tiffio.h>
#include <zlib.h>

#include "Seeds.h"
#include "colour/Profiles.h"
#include "support/TempDir.h"

namespace hueweave::fuzz {
namespace {

struct Layout {
    std::string name{};
    unsigned bits = 8, samples = 3, photometric = PHOTOMETRIC_RGB;
    unsigned across = 2, down = 2;  ///< pixels that share the chroma of YCbCr
    std::string mode = "wl";        ///< for TIFFOpen: byte order, "8" for BigTIFF
    unsigned compression = COMPRESSION_NONE;
    bool planar = false, tiled = false;
    unsigned predictor = 0, fillOrder = 0, orientation = 0;  ///< without the tag if 0
    unsigned extra = EXTRASAMPLE_UNASSALPHA;
    unsigned pages = 1, below = 0;  ///< further images: in the chain, in SubIFDs of the first
    bool mask = false;              ///< as the last page
    bool metadata = false;
    std::uint32_t width = 7, height = 5, rows = 2;
};

void SetShape(TIFF* file, const Layout& layout) {
    const bool jpeg = layout.compression == COMPRESSION_JPEG, tiled = layout.tiled;
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, jpeg ? PHOTOMETRIC_YCBCR : static_cast<int>(layout.photometric));
    const std::pair<std::uint32_t, unsigned> fields[] = {
        {TIFFTAG_SUBFILETYPE, layout.photometric == PHOTOMETRIC_MASK ? FILETYPE_MASK : 0},
        {TIFFTAG_IMAGEWIDTH, layout.width},
        {TIFFTAG_IMAGELENGTH, layout.height},
        {TIFFTAG_BITSPERSAMPLE, layout.bits},
        {TIFFTAG_SAMPLESPERPIXEL, layout.samples},
        {TIFFTAG_COMPRESSION, layout.compression},
        {jpeg ? TIFFTAG_JPEGCOLORMODE : TIFFTAG_PREDICTOR, jpeg ? JPEGCOLORMODE_RGB : layout.predictor},
        {TIFFTAG_FILLORDER, layout.fillOrder},
        {TIFFTAG_PLANARCONFIG, layout.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG},
        {TIFFTAG_ORIENTATION, layout.orientation},
        {tiled ? TIFFTAG_TILEWIDTH : TIFFTAG_ROWSPERSTRIP, tiled ? 16 : layout.rows},
        {TIFFTAG_TILELENGTH, tiled ? 16 : 0}};
    for (const auto& [tag, value] : fields) {
        if (value != 0) TIFFSetField(file, tag, value);
    }
    if (layout.photometric == PHOTOMETRIC_YCBCR) {
        TIFFSetField(file, TIFFTAG_YCBCRSUBSAMPLING, layout.across, layout.down);
    }
    if (layout.photometric == PHOTOMETRIC_PALETTE) {
        std::vector<std::uint16_t> map(std::size_t{3} << layout.bits);
        for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint16_t>(i * 257);
        const std::size_t count = map.size() / 3;
        TIFFSetField(file, TIFFTAG_COLORMAP, &map[0], &map[count], &map[2 * count]);
    }
    if (layout.photometric != PHOTOMETRIC_RGB || layout.samples == 3) return;
    const std::uint16_t more = static_cast<std::uint16_t>(layout.extra), extra[] = {more, more, more};
    TIFFSetField(file, TIFFTAG_EXTRASAMPLES, layout.samples - 3, extra);
}

void SetMetadata(TIFF* file) {
    // Photoshop resources with a profile and a thumbnail.
    static const std::string_view kResources(
        "8BIM\4\17\0\0\0\0\0\5abcde\0"
        "8BIM\4\14\0\0\0\0\0\4WXYZ",
        34);
    const std::string_view xmp = "<x photoshop:ICCProfile=\"sRGB\"/>";
    TIFFSetField(file, TIFFTAG_ICCPROFILE, 50, Pattern(50, 3).data());
    TIFFSetField(file, TIFFTAG_PHOTOSHOP, 34, kResources.data());
    TIFFSetField(file, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(xmp.size()), xmp.data());
    TIFFSetField(file, TIFFTAG_SOFTWARE, "a seed");
    TIFFSetField(file, TIFFTAG_XRESOLUTION, 300.0);
    const float white[] = {0.3127F, 0.329F};
    TIFFSetField(file, TIFFTAG_WHITEPOINT, white);
}

void WriteImage(TIFF* file, const Layout& layout, unsigned seed) {
    SetShape(file, layout);
    if (layout.metadata) SetMetadata(file);
    const std::uint32_t count = layout.tiled ? TIFFNumberOfTiles(file) : TIFFNumberOfStrips(file);
    const std::uint32_t inPlane = layout.planar ? count / layout.samples : count;
    for (std::uint32_t n = 0; n < count; ++n) {
        const std::uint32_t rows = std::min(layout.rows, layout.height - n % inPlane * layout.rows);
        const tmsize_t size = layout.tiled ? TIFFTileSize(file) : TIFFVStripSize(file, rows);
        Bytes data = Pattern(static_cast<std::size_t>(size), seed + n);
        const tmsize_t put = layout.tiled ? TIFFWriteEncodedTile(file, n, data.data(), size)
                                          : TIFFWriteEncodedStrip(file, n, data.data(), size);
        if (put < 0) throw std::runtime_error("libtiff cannot write " + layout.name);
    }
}

Bytes Written(const Layout& layout) {
    static const test::TempDir folder;
    const std::string path = folder.File("seed.tif");
    std::unique_ptr<TIFF, decltype(&TIFFClose)> file(TIFFOpen(path.c_str(), layout.mode.c_str()), TIFFClose);
    if (file == nullptr) throw std::runtime_error("libtiff cannot open a file");
    if (layout.below != 0) {
        const std::vector<std::uint64_t> none(layout.below, 0);
        TIFFSetField(file.get(), TIFFTAG_SUBIFD, static_cast<int>(layout.below), none.data());
    }
    const Layout mask{.bits = 1, .samples = 1, .photometric = PHOTOMETRIC_MASK, .width = 8, .height = 4, .rows = 4};
    const unsigned images = layout.pages + layout.below, masks = layout.mask ? 1 : 0;
    for (unsigned n = 0; n < images + masks; ++n) {
        n < images ? WriteImage(file.get(), layout, n) : WriteImage(file.get(), mask, 1);
        if (TIFFWriteDirectory(file.get()) == 0) throw std::runtime_error("libtiff cannot end a page");
    }
    file.reset();
    return test::ReadFile(path);
}

/// Every compression scheme at both depths, in strips and tiles, with and without planes and predictor.
void SowSchemes(const Sow& sow) {
    const Layout schemes[] = {{.name = "none"},
                              {.name = "lzw", .compression = COMPRESSION_LZW},
                              {.name = "lzw2", .compression = COMPRESSION_LZW, .predictor = 2},
                              {.name = "packbits", .compression = COMPRESSION_PACKBITS},
                              {.name = "deflate", .compression = COMPRESSION_ADOBE_DEFLATE},
                              {.name = "deflate2", .compression = COMPRESSION_ADOBE_DEFLATE, .predictor = 2},
                              {.name = "old-deflate", .compression = COMPRESSION_DEFLATE},
                              {.name = "zstd2", .compression = COMPRESSION_ZSTD, .predictor = 2},
                              {.name = "lzma", .compression = COMPRESSION_LZMA},
                              {.name = "jpeg", .compression = COMPRESSION_JPEG, .width = 16, .height = 32, .rows = 16},
                              {.name = "webp", .compression = COMPRESSION_WEBP, .width = 16, .height = 32, .rows = 16}};
    for (Layout layout : schemes) {
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(layout.compression)) == 0) continue;
        const std::string scheme = layout.name;
        for (unsigned n = 0; n < 8; ++n) {
            layout.bits = n % 2 == 0 ? 8 : 16;
            layout.tiled = (n & 2U) != 0;
            layout.planar = (n & 4U) != 0;
            const bool isPicture = layout.width == 16;
            if (isPicture && (layout.bits == 16 || layout.planar)) continue;
            layout.name = scheme + (layout.tiled ? "-tiles" : "-strips") + (layout.planar ? "-planes-" : "-") +
                          std::to_string(layout.bits);
            layout.mode = "wl";
            sow(layout.name, Written(layout));
            layout.mode = n % 3 == 0 ? "wb" : n % 3 == 1 ? "wb8" : "wl8";
            sow(layout.name + "-" + layout.mode, Written(layout));
        }
    }
}

/// Strips, pages, metadata, bit order and extra samples, in both byte orders and as BigTIFF.
void SowOthers(const Sow& sow) {
    constexpr unsigned kPremultiplied = EXTRASAMPLE_ASSOCALPHA, kTurned = FILLORDER_LSB2MSB;
    const Layout others[] = {
        {.name = "one-row-a-strip", .height = 9, .rows = 1},
        {.name = "one-strip", .bits = 16, .rows = 5},
        {.name = "three-pages", .compression = COMPRESSION_ADOBE_DEFLATE, .pages = 3},
        {.name = "below", .below = 2, .metadata = true},
        {.name = "mask", .pages = 2, .mask = true},
        {.name = "metadata", .metadata = true},
        {.name = "metadata-pages", .compression = COMPRESSION_LZW, .pages = 3, .metadata = true},
        {.name = "rotated", .orientation = 6},
        {.name = "turned-bits", .fillOrder = kTurned},
        {.name = "turned-bits-deflate", .compression = COMPRESSION_ADOBE_DEFLATE, .fillOrder = kTurned},
        {.name = "alpha", .samples = 4},
        {.name = "alpha-planes", .samples = 4, .compression = COMPRESSION_LZW, .planar = true},
        {.name = "premultiplied", .samples = 4, .extra = kPremultiplied},
        {.name = "premultiplied-16", .bits = 16, .samples = 4, .extra = kPremultiplied},
        {.name = "six-samples", .samples = 6, .compression = COMPRESSION_ADOBE_DEFLATE, .extra = 0}};
    for (const char* mode : {"wl", "wb", "wl8", "wb8"}) {
        for (Layout layout : others) {
            layout.mode = mode;
            sow(layout.name + "-" + mode, Written(layout));
        }
    }
}

/// Kinds of pixels that become RGB or stay grey.
void SowKinds(const Sow& sow) {
    const Layout kinds[] = {{"palette-1", 1, 1, PHOTOMETRIC_PALETTE},    {"palette-4", 4, 1, PHOTOMETRIC_PALETTE},
                            {"palette-8", 8, 1, PHOTOMETRIC_PALETTE},    {"grey-8", 8, 1, PHOTOMETRIC_MINISBLACK},
                            {"grey-16", 16, 1, PHOTOMETRIC_MINISWHITE},  {"rgb-12", 12, 3, PHOTOMETRIC_RGB},
                            {"cmyk-8", 8, 4, PHOTOMETRIC_SEPARATED},     {"lab-8", 8, 3, PHOTOMETRIC_CIELAB},
                            {"icc-lab-16", 16, 3, PHOTOMETRIC_ICCLAB},   {"ycbcr-8", 8, 3, PHOTOMETRIC_YCBCR},
                            {"ycbcr-41", 8, 3, PHOTOMETRIC_YCBCR, 4, 1}, {"ycbcr-11", 8, 3, PHOTOMETRIC_YCBCR, 1, 1}};
    for (Layout kind : kinds) {
        kind.pages = 2;
        for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
            kind.compression = static_cast<unsigned>(compression);
            kind.tiled = compression == COMPRESSION_LZW;
            kind.mode = compression == COMPRESSION_NONE ? "wb" : "wl";
            sow(Name("kind-" + kind.name, compression), Written(kind));
        }
    }
}

}  // namespace

void SowCommandTiffs(const Sow& sow) {
    TIFFSetWarningHandler(nullptr);
    SowSchemes(sow);
    SowOthers(sow);
    SowKinds(sow);
}

void SowCommandProfiles(const Sow& sow) {
    const auto sowTables = [&](const std::string& name, test::TableDevice device) {
        for (const unsigned points : {2U, 5U, 9U}) {
            device.points = points;
            sow(Name(name, points), test::TableProfile(device));
        }
    };
    sowTables("lab", {});
    sowTables("lab-bytes", {.bytes = true});
    sowTables("xyz", {.xyz = true});
    sowTables("lab-4", {.version = 4.3});
    sowTables("xyz-4", {.version = 4.3, .xyz = true, .bytes = true});
    sowTables("lab-back", {.target = true});
    sowTables("xyz-back", {.version = 4.3, .xyz = true, .target = true});
    sow("stages", test::TableProfile({.version = 4.3, .matrix = true, .target = true}));
    sow("no-grid", test::TableProfile({.version = 4.3, .xyz = true, .noGrid = true}));
    sow("elements", test::FloatProfile(false));
    sow("matrix-2", test::MatrixProfile(test::kGamutSrgb, test::GammaBlock(2.2)));
    sow("matrix-4", test::MatrixProfile(test::kGamutSrgb, test::SrgbFormula(), 4));
    Bytes grey = test::MatrixProfile(test::kGamutSrgb, test::GammaBlock(2.2));
    std::copy_n("GRAY", 4, &grey[16]);
    sow("grey", grey);
}

void SowDeflated(const Sow& sow) {
    constexpr std::size_t kPixels = 3 * 8 * 8;
    for (const std::size_t size :
         {kPixels - 1, kPixels, kPixels + 1, 2 * kPixels, std::size_t{1} << 20, std::size_t{2} << 20}) {
        for (const int level : {0, 1, 9}) {
            if (level == 0 && size > 2 * kPixels) continue;
            const Bytes plain = Pattern(size, 1);
            uLongf length = compressBound(plain.size());
            Bytes strip(3 + length);
            strip[0] = strip[1] = 7;
            if (compress2(&strip[3], &length, plain.data(), plain.size(), level) != Z_OK) {
                throw std::runtime_error("zlib");
            }
            strip.resize(3 + length);
            const std::string name = std::to_string(size) + "-" + std::to_string(level);
            sow(name, strip);
            sow(name + "-cut", Bytes(strip.begin(), strip.end() - 2));
            strip.back() ^= 1;
            sow(name + "-checksum", strip);
        }
    }
}

}  // namespace hueweave::fuzz
