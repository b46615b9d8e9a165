// SPDX-License-Identifier: MIT
// YCbCr pixels that are not JPEG become RGB: the pixels are those of the formula of TIFF, worked out here, from which
// libtiff differs by two steps at the most.
#include <cmath>

#include "command/tiff/kinds/KindTest.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::test {
namespace {

/// A page of YCbCr, whose data units hold `across` x `down` pixels.
struct YCbCrPage {
    const char* name;
    std::uint64_t across, down;
    unsigned compression = 1;      ///< or 8 for Deflate, 32773 for PackBits
    std::uint64_t rows = kHeight;  ///< of a strip; or 0 for tiles of 16 x 16 pixels
    std::vector<double> weights{0.299, 0.587, 0.114};
    std::vector<double> range{0, 255, 128, 255, 128, 255};
    bool statesAll = false;  ///< also what is the default
};

const YCbCrPage kYCbCrPages[] = {
    {"Whole", 1, 1},
    {"HalvedAcross", 2, 1, 8},
    {"HalvedDownInStrips", 1, 2, 1, 2},
    {"Quartered", 2, 2, 32773, 4, {0.2126, 0.7152, 0.0722}},
    {"StripsThatDivideUnits", 2, 2, 8, 3, {0.299, 0.587, 0.114}, {15, 235, 128, 240, 128, 240}},
    {"UnitsOf16Pixels", 4, 4, 8, 4},
    {"Tiles", 4, 2, 1, 0, {0.299, 0.587, 0.114}, {0, 255, 128, 255, 128, 255}, true},
    {"EncodedTiles", 2, 2, 8, 0},
};

/// Rows of at most 128 bytes, each packed by itself.
std::string PackedBits(const std::string& bytes, std::size_t rowBytes) {
    std::string packed;
    for (std::size_t at = 0; at < bytes.size(); at += rowBytes) {
        const std::string part = bytes.substr(at, rowBytes);
        packed += static_cast<char>(part.size() - 1) + part;
    }
    return packed;
}

/// A tag of rational numbers with four decimals.
TiffMaker::Entry Rationals(unsigned tag, const std::vector<double>& values) {
    std::vector<std::uint64_t> parts;
    for (const double value : values) {
        parts.push_back(static_cast<std::uint64_t>(std::lround(value * 10000)));
        parts.push_back(10000);
    }
    return {tag, 5, values.size(), 0, Little(parts, 4)};
}

class YCbCrTest : public KindTest {
protected:
    /// The formula of YCbCr in TIFF for one pixel.
    static std::vector<std::uint64_t> RgbOf(const YCbCrPage& page, double luma, double blue, double red) {
        const auto scaled = [&](double value, std::size_t c, double size) {
            return (value - page.range[2 * c]) * size / (page.range[2 * c + 1] - page.range[2 * c]);
        };
        const auto byte = [](double value) {
            return static_cast<unsigned>(std::lround(std::clamp(value, 0.0, 255.0)));
        };
        const double y = scaled(luma, 0, 255), cb = scaled(blue, 1, 127), cr = scaled(red, 2, 127);
        const double r = cr * (2 - 2 * page.weights[0]) + y, b = cb * (2 - 2 * page.weights[2]) + y;
        const double g = (y - page.weights[2] * b - page.weights[0] * r) / page.weights[1];
        return {byte(r), byte(g), byte(b)};
    }
    /// Samples of a pixel, and of a data unit that begins there.
    static unsigned char Luma(std::uint64_t x, std::uint64_t y) { return static_cast<unsigned char>(x * 37 + y * 59); }
    static unsigned char Blue(std::uint64_t x, std::uint64_t y) { return static_cast<unsigned char>(x * 83 + y * 101); }
    static unsigned char Red(std::uint64_t x, std::uint64_t y) {
        return static_cast<unsigned char>(x * 151 + y * 29 + 40);
    }
    /// Writes a page, with further entries in place of its own, and returns it as RGB.
    Samples Write(const YCbCrPage& page, const Entries& changed = {}) const {
        const std::uint64_t side = page.rows == 0 ? 16 : 0;  // of a tile
        const std::uint64_t rows = page.rows + side, width = side > 0 ? side : kWidth;
        TiffMaker tiff;
        TiffMaker::Shape shape{kWidth, kHeight, {}, {}, page.compression, 3, 1, page.rows, side, side};
        for (std::uint64_t top = 0; top < kHeight; top += rows) {
            std::string strip;
            const std::uint64_t bottom = side > 0 ? side : std::min<std::uint64_t>(top + rows, kHeight);
            for (std::uint64_t y = top; y < bottom; y += page.down) {
                for (std::uint64_t x = 0; x < width; x += page.across) {
                    for (std::uint64_t i = 0; i < page.across * page.down; ++i) {
                        strip += static_cast<char>(Luma(x + i % page.across, y + i / page.across));
                    }
                    strip += {static_cast<char>(Blue(x, y)), static_cast<char>(Red(x, y))};
                }
            }
            if (page.compression == 8) strip = Deflated(strip);
            if (page.compression == 32773)
                strip = PackedBits(strip, (width + page.across - 1) / page.across * (page.across * page.down + 2));
            shape.offsets.push_back(tiff.Put(strip));
            shape.counts.push_back(strip.size());
        }
        Entries entries = With(Without(TiffMaker::Rgb(shape), 284), TiffMaker::Short(262, 6));
        const YCbCrPage usual{"", 2, 2};
        if (page.statesAll || page.weights != usual.weights) entries.push_back(Rationals(529, page.weights));
        if (page.statesAll || page.range != usual.range) entries.push_back(Rationals(532, page.range));
        if (page.statesAll || page.across != 2 || page.down != 2) {
            entries.push_back({530, 3, 2, 0, Little({page.across, page.down}, 2)});
        }
        tiff.Page(WithAll(entries, changed));
        tiff.Save(in_);
        Samples rgb;
        for (std::uint64_t i = 0; i < kPixels; ++i) {
            const std::uint64_t x = i % kWidth, y = i / kWidth;
            const std::uint64_t left = x / page.across * page.across, top = y - y % rows % page.down;
            const auto pixel = RgbOf(page, Luma(x, y), Blue(left, top), Red(left, top));
            rgb.values.insert(rgb.values.end(), pixel.begin(), pixel.end());
        }
        return rgb;
    }

    static std::string Layout(const std::string& path) {
        return Shell("tiffinfo " + Quoted(path) + " | grep -E 'Compression|Width|Rows|Planar'");
    }
    /// Writes the page as RGB with this many bytes of memory, and returns its samples.
    std::vector<std::uint16_t> WriteAsRgb(std::uint64_t memory) const {
        std::uint64_t pixels = 0;
        const auto rewrite = [&](const auto& structure, auto* converter, const auto& target, const auto& settings,
                                 tool::Measured& measured) {
            RewriteTiff(structure, ReadPages(structure), {{false, converter, nullptr}}, target, settings, measured);
            pixels = measured.pixels;
        };
        WriteBytes(out_, Rewritten<tool::TiffStructure>(in_, memory, 8, rewrite));
        const Picture picture = ReadPictures(out_)[0];
        EXPECT_EQ(pixels, picture.values.size() / 3);
        return picture.values;
    }
    /// Expects these samples to be those that libtiff finds in the source.
    void ExpectNearPeer(const std::vector<std::uint16_t>& samples) const {
        const std::string peer = folder_ / "peer.tif";
        Shell("tiff2rgba -n " + Quoted(in_) + " " + Quoted(peer) + " 2>/dev/null");
        EXPECT_THAT(ReadPictures(peer)[0].values, testing::Pointwise(testing::FloatNear(2), samples));
    }
};

TEST_F(YCbCrTest, PixelsAreThoseOfTheFormula) {
    for (const YCbCrPage& page : kYCbCrPages) {
        SCOPED_TRACE(page.name);
        const Samples rgb = Write(page);
        ExpectLikeRgb(rgb);
        EXPECT_EQ(Layout(out_), Layout(in_));
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)),
                    AllOf(Not(HasSubstr("YCbCr")), Not(HasSubstr("Reference Black/White"))));
        ExpectNearPeer({rgb.values.begin(), rgb.values.end()});
    }
    EXPECT_THAT(ConvertKind(), Says(0, "its YCbCr pixels are written as RGB of 8 bits\n"));
    ExpectDone();
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "holds YCbCr pixels, not RGB; leave --precision library out"));
}

TEST_F(YCbCrTest, LargeStripsAreDecodedByRows) {
    for (const unsigned compression : {8U, 32773U}) {
        YCbCrPage page = kYCbCrPages[3];
        page.compression = compression;
        const Samples rgb = Write(page);
        // Rows fit into 512 bytes, strips with their buffers do not.
        EXPECT_EQ(WriteAsRgb(512), std::vector<std::uint16_t>(rgb.values.begin(), rgb.values.end()));
    }
}

TEST_F(YCbCrTest, OldStyleJpegIsDecodedAsByLibtiff) {
    const Picture photo = ReadPictures(Input("photo-8.tif"))[0];
    for (const std::uint64_t factor : {1U, 2U}) {
        SCOPED_TRACE(factor);
        const std::string jpeg = JpegOf(photo, [&](jpeg_compress_struct* info) {
            info->comp_info[0].h_samp_factor = info->comp_info[0].v_samp_factor = static_cast<int>(factor);
        });
        const auto write = [&](const std::string& data, std::uint64_t sampling) {
            TiffMaker tiff;
            const std::uint64_t at = tiff.Put(data), height = photo.height;
            const Entries form = TiffMaker::Rgb({photo.width, height, {at}, {data.size()}, 6, 3, 1, height});
            tiff.Page(WithAll(form, {TiffMaker::Short(262, 6),
                                     TiffMaker::Short(512, 1),
                                     TiffMaker::Long(513, at),
                                     TiffMaker::Long(514, data.size()),
                                     {530, 3, 2, 0, Little({sampling, sampling}, 2)}}));
            tiff.Save(in_);
        };
        write(jpeg, factor);
        ExpectNearPeer(WriteAsRgb(std::uint64_t{40} << 20));
        EXPECT_EQ(Layout(out_).find("Old-style"), std::string::npos);
        EXPECT_THAT(ConvertKind(),
                    Says(0, "in.tif: old-style JPEG image data are written as Deflate, without further loss\n"));
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), Not(HasSubstr("JpegInter")));
        write(jpeg, 3 - factor);
        EXPECT_THAT(ConvertKind(), Refuses(4, "its old-style JPEG data have another size or subsampling"));
        write(jpeg.substr(0, jpeg.size() / 2), factor);
        EXPECT_THAT(ConvertKind(), Refuses(4, "contains damaged image data"));
    }
}

TEST_F(YCbCrTest, WhatCannotBeConvertedIsRefused) {
    const std::pair<Entries, const char*> rows[] = {
        {{{530, 3, 2, 0, Little({3, 1}, 2)}}, "has an unknown chroma subsampling"},
        {{{530, 3, 1, 2}}, "has an unknown chroma subsampling"},
        {{Rationals(529, {0.5, 0, 0.5})}, "has unusable coefficients of YCbCr"},
        {{{529, 5, 3, 0, std::string(24, '\0')}}, "has unusable coefficients of YCbCr"},
        {{{529, 2, 3, 0, "abc"}}, "has unusable coefficients of YCbCr"},
        {{Rationals(532, {0, 255, 128, 255})}, "has unusable samples of black and white"},
        {{Rationals(532, {0, 255, 128, 128, 128, 255})}, "has the same samples for black and white"},
        {{TiffMaker::Short(284, 2)}, "has planes of YCbCr of different sizes"},
        {{TiffMaker::Short(317, 2)}, "has a predictor, which data units of YCbCr do not have"},
        {{TiffMaker::Short(277, 4), {258, 3, 4, 0, Little({8, 8, 8, 8}, 2)}}, "has 4 samples per pixel, not 3"},
        {{{258, 3, 3, 0, Little({16, 16, 16}, 2)}}, "has 16 bits per sample"},
        {{TiffMaker::Short(259, 50001)}, "is compressed with WebP, which is not supported"},
        {{TiffMaker::Long(256, 9)}, "contains damaged image data"},
    };
    for (const auto& [changed, reason] : rows) {
        Write(kYCbCrPages[1], changed);
        EXPECT_THAT(ConvertKind(), Refuses(4, reason));
    }
    Write(kYCbCrPages[0], {TiffMaker::Long(257, 6), TiffMaker::Long(278, 6)});
    EXPECT_THAT(ConvertKind(), Refuses(4, "lie past the end of the file"));
}

}  // namespace
}  // namespace hueweave::test
