// SPDX-License-Identifier: MIT
// TIFF files written by libtiff, in every layout that the command accepts, and profiles written by Little CMS.
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

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
    const unsigned colours = jpeg && !layout.planar ? unsigned{PHOTOMETRIC_YCBCR} : layout.photometric;
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, colours);
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
    const std::vector<std::uint16_t> extra(layout.samples - 3, static_cast<std::uint16_t>(layout.extra));
    TIFFSetField(file, TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data());
}

void SetMetadata(TIFF* file) {
    const Bytes icc = Pattern(50, 3);
    // Photoshop resources with a profile and a thumbnail.
    const std::string resources =
        std::string("8BIM\4\17\0\0\0\0\0\5abcde\0", 18) + std::string("8BIM\4\14\0\0\0\0\0\4WXYZ", 16);
    const std::string xmp = "<x photoshop:ICCProfile=\"sRGB\"/>";
    TIFFSetField(file, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(icc.size()), icc.data());
    TIFFSetField(file, TIFFTAG_PHOTOSHOP, static_cast<std::uint32_t>(resources.size()), resources.data());
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
    struct Scheme {
        const char* name;
        unsigned compression, predictor;
    };
    constexpr Scheme kSchemes[] = {{"none", COMPRESSION_NONE, 0},
                                   {"lzw", COMPRESSION_LZW, 0},
                                   {"lzw2", COMPRESSION_LZW, 2},
                                   {"packbits", COMPRESSION_PACKBITS, 0},
                                   {"deflate", COMPRESSION_ADOBE_DEFLATE, 0},
                                   {"deflate2", COMPRESSION_ADOBE_DEFLATE, 2},
                                   {"old-deflate", COMPRESSION_DEFLATE, 0},
                                   {"zstd2", COMPRESSION_ZSTD, 2},
                                   {"lzma", COMPRESSION_LZMA, 0},
                                   {"jpeg", COMPRESSION_JPEG, 0},
                                   {"webp", COMPRESSION_WEBP, 0}};
    for (const Scheme& scheme : kSchemes) {
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(scheme.compression)) == 0) continue;
        const bool picture = scheme.compression == COMPRESSION_JPEG || scheme.compression == COMPRESSION_WEBP;
        for (unsigned n = 0; n < 8; ++n) {
            Layout layout{.bits = n % 2 == 0 ? 8U : 16U,
                          .compression = scheme.compression,
                          .planar = (n & 4U) != 0,
                          .tiled = (n & 2U) != 0,
                          .predictor = scheme.predictor};
            if (picture && (layout.bits == 16 || layout.planar)) continue;
            if (picture) layout.width = 16, layout.height = 32, layout.rows = 16;
            layout.name = std::string(scheme.name) + (layout.tiled ? "-tiles" : "-strips") +
                          (layout.planar ? "-planes-" : "-") + std::to_string(layout.bits);
            sow(layout.name, Written(layout));
            layout.mode = n % 3 == 0 ? "wb" : n % 3 == 1 ? "wb8" : "wl8";
            sow(layout.name + "-" + layout.mode, Written(layout));
        }
    }
}

void SowOthers(const Sow& sow) {
    for (const char* mode : {"wl", "wb", "wl8", "wb8"}) {
        const auto with = [&](const char* name, auto change) {
            Layout layout;
            layout.name = std::string(name) + "-" + mode;
            layout.mode = mode;
            change(layout);
            sow(layout.name, Written(layout));
        };
        with("one-row-a-strip", [](Layout& l) { l.rows = 1, l.height = 9; });
        with("one-strip", [](Layout& l) { l.rows = 5, l.bits = 16; });
        with("three-pages", [](Layout& l) { l.pages = 3, l.compression = COMPRESSION_ADOBE_DEFLATE; });
        with("below", [](Layout& l) { l.below = 2, l.metadata = true; });
        with("mask", [](Layout& l) { l.mask = true, l.pages = 2; });
        with("metadata", [](Layout& l) { l.metadata = true; });
        with("metadata-pages", [](Layout& l) { l.metadata = true, l.pages = 3, l.compression = COMPRESSION_LZW; });
        with("rotated", [](Layout& l) { l.orientation = 6; });
        with("turned-bits", [](Layout& l) { l.fillOrder = FILLORDER_LSB2MSB; });
        with("turned-bits-deflate",
             [](Layout& l) { l.fillOrder = FILLORDER_LSB2MSB, l.compression = COMPRESSION_ADOBE_DEFLATE; });
        with("alpha", [](Layout& l) { l.samples = 4; });
        with("alpha-planes", [](Layout& l) { l.samples = 4, l.planar = true, l.compression = COMPRESSION_LZW; });
        with("premultiplied", [](Layout& l) { l.samples = 4, l.extra = EXTRASAMPLE_ASSOCALPHA; });
        with("premultiplied-16", [](Layout& l) { l.samples = 4, l.extra = EXTRASAMPLE_ASSOCALPHA, l.bits = 16; });
        with("six-samples", [](Layout& l) { l.samples = 6, l.extra = 0, l.compression = COMPRESSION_ADOBE_DEFLATE; });
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
    for (const Layout& kind : kinds) {
        for (const unsigned compression :
             std::initializer_list<unsigned>{COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
            Layout layout = kind;
            layout.name = "kind-" + kind.name + "-" + std::to_string(compression);
            layout.compression = compression;
            layout.tiled = compression == COMPRESSION_LZW;
            layout.mode = compression == COMPRESSION_NONE ? "wb" : "wl";
            layout.pages = 2;
            sow(layout.name, Written(layout));
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
