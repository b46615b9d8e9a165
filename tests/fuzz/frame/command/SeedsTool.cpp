// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// TIFF files written by libtiff, in every layout that the command accepts, and profiles written by Little CMS.
#include <lcms2.h>
#include <tiffio.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "Seeds.h"
#include "support/TempDir.h"

namespace hueweave::fuzz {
namespace {

struct Layout {
    std::string name;
    std::string mode = "wl";  ///< for TIFFFdOpen: byte order, "8" for BigTIFF
    unsigned bits = 8, samples = 3, compression = COMPRESSION_NONE, predictor = 1;
    bool planar = false, tiled = false;
    unsigned fillOrder = FILLORDER_MSB2LSB, extra = EXTRASAMPLE_UNASSALPHA, orientation = 1;
    unsigned pages = 1, below = 0;  ///< further images: in the chain, in SubIFDs of the first
    bool mask = false;              ///< as the last page
    bool metadata = false;
    std::uint32_t width = 7, height = 5, rows = 2;
};

Bytes Pattern(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 37 + i / 7 * 5 + seed * 41);
    return bytes;
}

void SetColours(TIFF* file, const Layout& layout) {
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, layout.bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, layout.samples);
    TIFFSetField(file, TIFFTAG_COMPRESSION, layout.compression);
    const bool jpeg = layout.compression == COMPRESSION_JPEG;
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, jpeg && !layout.planar ? PHOTOMETRIC_YCBCR : PHOTOMETRIC_RGB);
    if (jpeg) TIFFSetField(file, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    if (layout.predictor != 1) TIFFSetField(file, TIFFTAG_PREDICTOR, layout.predictor);
    if (layout.fillOrder != FILLORDER_MSB2LSB) TIFFSetField(file, TIFFTAG_FILLORDER, layout.fillOrder);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, layout.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (layout.samples > 3) {
        const std::vector<std::uint16_t> extra(layout.samples - 3, static_cast<std::uint16_t>(layout.extra));
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data());
    }
    if (layout.orientation != 1) TIFFSetField(file, TIFFTAG_ORIENTATION, layout.orientation);
}

void SetMetadata(TIFF* file) {
    const Bytes icc = Pattern(50, 3);
    TIFFSetField(file, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(icc.size()), icc.data());
    // Photoshop resources with a profile and a thumbnail.
    const std::string resources =
        std::string("8BIM\4\17\0\0\0\0\0\5abcde\0", 18) + std::string("8BIM\4\14\0\0\0\0\0\4WXYZ", 16);
    TIFFSetField(file, TIFFTAG_PHOTOSHOP, static_cast<std::uint32_t>(resources.size()), resources.data());
    const std::string xmp = "<x photoshop:ICCProfile=\"sRGB\"/>";
    TIFFSetField(file, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(xmp.size()), xmp.data());
    TIFFSetField(file, TIFFTAG_SOFTWARE, "a seed");
    TIFFSetField(file, TIFFTAG_XRESOLUTION, 300.0);
    const float white[] = {0.3127F, 0.329F};
    TIFFSetField(file, TIFFTAG_WHITEPOINT, white);
}

void WriteImage(TIFF* file, const Layout& layout, unsigned seed) {
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, layout.width);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, layout.height);
    SetColours(file, layout);
    if (layout.tiled) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, 16);
        TIFFSetField(file, TIFFTAG_TILELENGTH, 16);
    } else {
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, layout.rows);
    }
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

void WriteMask(TIFF* file) {
    constexpr std::pair<int, int> kFields[] = {{TIFFTAG_SUBFILETYPE, FILETYPE_MASK},
                                               {TIFFTAG_IMAGEWIDTH, 8},
                                               {TIFFTAG_IMAGELENGTH, 4},
                                               {TIFFTAG_BITSPERSAMPLE, 1},
                                               {TIFFTAG_SAMPLESPERPIXEL, 1},
                                               {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MASK},
                                               {TIFFTAG_ROWSPERSTRIP, 4}};
    for (const auto& [tag, value] : kFields) TIFFSetField(file, static_cast<std::uint32_t>(tag), value);
    Bytes bits = Pattern(4, 1);
    TIFFWriteEncodedStrip(file, 0, bits.data(), 4);
}

Bytes Written(const Layout& layout) {
    static const test::TempDir folder;
    const std::string path = folder.File("seed.tif");
    {
        const std::unique_ptr<TIFF, decltype(&TIFFClose)> file(TIFFOpen(path.c_str(), layout.mode.c_str()), TIFFClose);
        if (file == nullptr) throw std::runtime_error("libtiff cannot open a file");
        if (layout.below != 0) {
            const std::vector<std::uint64_t> none(layout.below, 0);
            TIFFSetField(file.get(), TIFFTAG_SUBIFD, static_cast<int>(layout.below), none.data());
        }
        const unsigned images = layout.pages + layout.below;
        for (unsigned n = 0; n < images; ++n) {
            WriteImage(file.get(), layout, n);
            if (TIFFWriteDirectory(file.get()) == 0) throw std::runtime_error("libtiff cannot end a page");
        }
        if (layout.mask) {
            WriteMask(file.get());
            TIFFWriteDirectory(file.get());
        }
    }
    return test::ReadFile(path);
}

/// Every compression scheme at both depths, in strips and tiles, with and without planes and predictor.
void SowSchemes(const Sow& sow) {
    struct Scheme {
        const char* name;
        unsigned compression, predictor;
    };
    constexpr Scheme kSchemes[] = {{"none", COMPRESSION_NONE, 1},
                                   {"lzw", COMPRESSION_LZW, 1},
                                   {"lzw2", COMPRESSION_LZW, 2},
                                   {"packbits", COMPRESSION_PACKBITS, 1},
                                   {"deflate", COMPRESSION_ADOBE_DEFLATE, 1},
                                   {"deflate2", COMPRESSION_ADOBE_DEFLATE, 2},
                                   {"old-deflate", COMPRESSION_DEFLATE, 1},
                                   {"zstd2", COMPRESSION_ZSTD, 2},
                                   {"lzma", COMPRESSION_LZMA, 1},
                                   {"jpeg", COMPRESSION_JPEG, 1},
                                   {"webp", COMPRESSION_WEBP, 1}};
    for (const Scheme& scheme : kSchemes) {
        if (TIFFIsCODECConfigured(static_cast<std::uint16_t>(scheme.compression)) == 0) continue;
        const bool picture = scheme.compression == COMPRESSION_JPEG || scheme.compression == COMPRESSION_WEBP;
        for (unsigned n = 0; n < 8; ++n) {
            Layout layout{scheme.name, "wl", n % 2 == 0 ? 8U : 16U, 3, scheme.compression, scheme.predictor};
            layout.tiled = (n & 2U) != 0;
            layout.planar = (n & 4U) != 0;
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

using Profile = std::unique_ptr<void, decltype([](void* profile) { cmsCloseProfile(profile); })>;

Bytes Saved(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes bytes(size);
    if (size == 0 || !cmsSaveProfileToMem(profile, bytes.data(), &size)) throw std::runtime_error("no profile");
    return bytes;
}

/// Light that rises with each sample, in any connection space.
int Sample(const cmsUInt16Number* in, cmsUInt16Number* out, void*) {
    for (int c = 0; c < 3; ++c) out[c] = static_cast<cmsUInt16Number>(in[c] / 2 + 8192);
    return 1;
}

Bytes TableProfile(double version, cmsColorSpaceSignature connection, unsigned points, bool bytes, bool back = false) {
    const Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), version);
    cmsSetColorSpace(profile.get(), cmsSigRgbData);
    cmsSetPCS(profile.get(), connection);
    cmsSetDeviceClass(profile.get(), cmsSigInputClass);
    cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsPipeline* lut = cmsPipelineAlloc(nullptr, 3, 3);
    cmsUInt16Number table[256];  // the size of an 8-bit table
    for (unsigned i = 0; i < 256; ++i) table[i] = static_cast<cmsUInt16Number>(i * i * 65535 / (255 * 255));
    cmsToneCurve* gamma = cmsBuildTabulatedToneCurve16(nullptr, 256, table);
    cmsToneCurve* curves[] = {gamma, gamma, gamma};
    cmsStage* grid = cmsStageAllocCLut16bit(nullptr, points, 3, 3, nullptr);
    cmsStageSampleCLut16bit(grid, Sample, nullptr, 0);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, curves));
    cmsPipelineInsertStage(lut, cmsAT_END, grid);
    cmsPipelineInsertStage(lut, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, curves));
    cmsFreeToneCurve(gamma);
    cmsPipelineSetSaveAs8bitsFlag(lut, bytes);
    cmsWriteTag(profile.get(), cmsSigAToB0Tag, lut);
    if (back) cmsWriteTag(profile.get(), cmsSigBToA0Tag, lut);
    cmsPipelineFree(lut);
    return Saved(profile.get());
}

Bytes MatrixProfile(double version, bool parametric) {
    const double power[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve* curve = parametric ? cmsBuildParametricToneCurve(nullptr, 4, power) : cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* curves[] = {curve, curve, curve};
    const cmsCIExyY white{0.3127, 0.329, 1};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.3, 0.6, 1}, {0.15, 0.06, 1}};
    const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsSetProfileVersion(profile.get(), version);
    cmsFreeToneCurve(curve);
    return Saved(profile.get());
}

}  // namespace

void SowCommandTiffs(const Sow& sow) {
    TIFFSetWarningHandler(nullptr);
    SowSchemes(sow);
    SowOthers(sow);
}

void SowCommandProfiles(const Sow& sow) {
    for (const unsigned points : {2U, 5U, 9U}) {
        const std::string name = std::to_string(points);
        sow("lab-" + name, TableProfile(2.4, cmsSigLabData, points, false));
        sow("lab-bytes-" + name, TableProfile(2.4, cmsSigLabData, points, true));
        sow("xyz-" + name, TableProfile(2.4, cmsSigXYZData, points, false));
        sow("lab-4-" + name, TableProfile(4.3, cmsSigLabData, points, false));
        sow("xyz-4-" + name, TableProfile(4.3, cmsSigXYZData, points, true));
        sow("lab-back-" + name, TableProfile(2.4, cmsSigLabData, points, false, true));
        sow("xyz-back-" + name, TableProfile(4.3, cmsSigXYZData, points, false, true));
    }
    sow("matrix-2", MatrixProfile(2.4, false));
    sow("matrix-4", MatrixProfile(4.3, true));
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.2);
    const Profile grey(cmsCreateGrayProfile(cmsD50_xyY(), gamma));
    cmsFreeToneCurve(gamma);
    sow("grey", Saved(grey.get()));
    const Profile lab(cmsCreateLab4Profile(nullptr));
    sow("connection", Saved(lab.get()));
}

void SowDeflated(const Sow& sow) {
    constexpr std::size_t kPixels = 3 * 8 * 8;
    for (const std::size_t size :
         {kPixels - 1, kPixels, kPixels + 1, 2 * kPixels, std::size_t{1} << 20, std::size_t{2} << 20}) {
        for (const int level : {0, 1, 9}) {
            if (level == 0 && size > 2 * kPixels) continue;
            const Bytes plain = Pattern(size, 1);
            uLongf length = compressBound(plain.size());
            Bytes packed(length);
            if (compress2(packed.data(), &length, plain.data(), plain.size(), level) != Z_OK) {
                throw std::runtime_error("zlib");
            }
            packed.resize(length);
            const std::string name = std::to_string(size) + "-" + std::to_string(level);
            const auto strip = [](Bytes data) {
                data.insert(data.begin(), {7, 7, 0});
                return data;
            };
            sow(name, strip(packed));
            sow(name + "-cut", strip(Bytes(packed.begin(), packed.end() - 2)));
            packed.back() ^= 1;
            sow(name + "-checksum", strip(packed));
        }
    }
}

}  // namespace hueweave::fuzz
