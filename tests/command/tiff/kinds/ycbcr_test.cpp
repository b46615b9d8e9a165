// SPDX-License-Identifier: MIT
// YCbCr pixels that are not JPEG become RGB: the pixels are those of the formula of TIFF, worked out here, from which
// libtiff differs by two steps at the most.
#include <cmath>
#include <cstdio>

#include <jpeglib.h>

#include "colour/PixelConverter.h"
#include "command/support/JpegMaker.h"
#include "command/tiff/kinds/KindTest.h"
#include "system/Refusal.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// A page of YCbCr, whose data units hold `across` x `down` pixels.
struct YCbCrPage {
    const char* name;
    std::uint64_t across, down;
    unsigned compression = 1;  ///< or 8 for Deflate, 32773 for PackBits
    std::uint64_t rows = kHeight;
    bool tiled = false;  ///< of 16 x 16 pixels
    std::vector<double> weights{0.299, 0.587, 0.114};
    std::vector<double> range{0, 255, 128, 255, 128, 255};
    bool statesAll = false;  ///< also what is the default
};

const YCbCrPage kYCbCrPages[] = {
    {"Whole", 1, 1},
    {"HalvedAcross", 2, 1, 8},
    {"HalvedDownInStrips", 1, 2, 1, 2},
    {"Quartered", 2, 2, 32773, 4, false, {0.2126, 0.7152, 0.0722}},
    {"StripsThatDivideUnits", 2, 2, 8, 3, false, {0.299, 0.587, 0.114}, {15, 235, 128, 240, 128, 240}},
    {"UnitsOf16Pixels", 4, 4, 8, 4},
    {"Tiles", 4, 2, 1, 0, true, {0.299, 0.587, 0.114}, {0, 255, 128, 255, 128, 255}, true},
    {"EncodedTiles", 2, 2, 8, 0, true},
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
    static unsigned Byte(double value) { return static_cast<unsigned>(std::lround(std::clamp(value, 0.0, 255.0))); }
    /// The formula of YCbCr in TIFF for one pixel.
    static std::vector<std::uint64_t> RgbOf(const YCbCrPage& page, double luma, double blue, double red) {
        const auto scaled = [&](double value, std::size_t c, double size) {
            return (value - page.range[2 * c]) * size / (page.range[2 * c + 1] - page.range[2 * c]);
        };
        const double y = scaled(luma, 0, 255), cb = scaled(blue, 1, 127), cr = scaled(red, 2, 127);
        const double r = cr * (2 - 2 * page.weights[0]) + y, b = cb * (2 - 2 * page.weights[2]) + y;
        const double g = (y - page.weights[2] * b - page.weights[0] * r) / page.weights[1];
        return {Byte(r), Byte(g), Byte(b)};
    }
    /// Writes a page, with further entries in place of its own, and returns it as RGB.
    Samples Write(const YCbCrPage& page, const Entries& changed = {}) const {
        TiffMaker tiff;
        std::vector<std::uint64_t> offsets, counts;
        Samples rgb{2, 3, 8, std::vector<std::uint64_t>(3 * kPixels)};
        const std::uint64_t width = page.tiled ? 16 : kWidth, rows = page.tiled ? 16 : page.rows;
        std::uint64_t unit = 0;
        for (std::uint64_t top = 0; top < kHeight; top += rows) {
            std::string strip;
            const std::uint64_t height = page.tiled ? 16 : std::min(rows, kHeight - top);
            for (std::uint64_t y = 0; y < height; y += page.down) {
                for (std::uint64_t x = 0; x < width; x += page.across) {
                    AddUnit(page, {unit++, x, top + y, top + height}, strip, rgb);
                }
            }
            if (page.compression == 8) strip = Deflated(strip);
            if (page.compression == 32773)
                strip = PackedBits(strip, (width + page.across - 1) / page.across * (page.across * page.down + 2));
            offsets.push_back(tiff.Put(strip));
            counts.push_back(strip.size());
        }
        Entries entries{TiffMaker::Long(256, kWidth),
                        TiffMaker::Long(257, kHeight),
                        {258, 3, 3, 0, Little({8, 8, 8}, 2)},
                        TiffMaker::Short(259, page.compression),
                        TiffMaker::Short(262, 6),
                        TiffMaker::Longs(page.tiled ? 324 : 273, offsets),
                        TiffMaker::Short(277, 3),
                        TiffMaker::Longs(page.tiled ? 325 : 279, counts)};
        if (page.tiled) {
            entries.push_back(TiffMaker::Long(322, 16));
            entries.push_back(TiffMaker::Long(323, 16));
        } else {
            entries.push_back(TiffMaker::Long(278, page.rows));
        }
        const YCbCrPage usual{"", 2, 2};
        if (page.statesAll || page.weights != usual.weights) entries.push_back(Rationals(529, page.weights));
        if (page.statesAll || page.range != usual.range) entries.push_back(Rationals(532, page.range));
        if (page.statesAll || page.across != 2 || page.down != 2) {
            entries.push_back({530, 3, 2, 0, Little({page.across, page.down}, 2)});
        }
        for (const TiffMaker::Entry& entry : changed) entries = And(Without(entries, entry.tag), entry);
        tiff.Page(entries);
        tiff.Save(in_);
        return rgb;
    }

    static std::string Layout(const std::string& path) {
        return Shell("tiffinfo " + Quoted(path) + " | grep -E 'Compression|Width|Rows|Planar'");
    }

private:
    struct Unit {
        std::uint64_t number, x, y, bottom;
    };
    /// Appends the samples of a data unit, and sets the pixels of the image that it covers.
    static void AddUnit(const YCbCrPage& page, const Unit& unit, std::string& strip, Samples& rgb) {
        const std::uint64_t cb = unit.number * 83 % 256, cr = (unit.number * 151 + 40) % 256;
        for (std::uint64_t dy = 0; dy < page.down; ++dy) {
            for (std::uint64_t dx = 0; dx < page.across; ++dx) {
                const std::uint64_t x = unit.x + dx, y = unit.y + dy, luma = (x * 37 + y * 59) % 256;
                strip += static_cast<char>(luma);
                if (x >= kWidth || y >= std::min<std::uint64_t>(unit.bottom, kHeight)) continue;
                const auto pixel =
                    RgbOf(page, static_cast<double>(luma), static_cast<double>(cb), static_cast<double>(cr));
                std::copy(pixel.begin(), pixel.end(),
                          rgb.values.begin() + static_cast<std::ptrdiff_t>(3 * (y * kWidth + x)));
            }
        }
        strip += static_cast<char>(cb);
        strip += static_cast<char>(cr);
    }
};

TEST_F(YCbCrTest, PixelsAreThoseOfTheFormula) {
    for (const YCbCrPage& page : kYCbCrPages) {
        SCOPED_TRACE(page.name);
        const Samples rgb = Write(page);
        WriteSamples(folder_ / "rgb.tif", rgb);
        ASSERT_THAT(ConvertFileOf(folder_ / "rgb.tif", folder_ / "wanted.tif"), Succeeds());
        ASSERT_THAT(ConvertKind(), Succeeds());
        EXPECT_EQ(ReadPictures(out_), ReadPictures(folder_ / "wanted.tif"));
        EXPECT_EQ(Layout(out_), Layout(in_));
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)),
                    AllOf(HasSubstr("Photometric Interpretation: RGB color"), Not(HasSubstr("YCbCr")),
                          Not(HasSubstr("Reference Black/White"))));
        Shell("tiff2rgba -n " + Quoted(in_) + " " + Quoted(folder_ / "peer.tif"));
        const Picture peer = ReadPictures(folder_ / "peer.tif")[0];
        ASSERT_EQ(peer.values.size(), rgb.values.size());
        for (std::size_t i = 0; i < peer.values.size(); ++i) {
            ASSERT_NEAR(static_cast<double>(peer.values[i]), static_cast<double>(rgb.values[i]), 2) << i;
        }
    }
}

/// Leaves samples as they are.
struct SameYCbCrColours : colour::RgbConverter {
    void Convert(unsigned char*, std::size_t) const override {}
    unsigned bits() const override { return 8; }
    Range range() const override { return {}; }
};

TEST_F(YCbCrTest, LargeStripsAreDecodedByRows) {
    for (const unsigned compression : {8U, 32773U}) {
        YCbCrPage page = kYCbCrPages[3];
        page.compression = compression;
        const Samples rgb = Write(page);
        const tool::FileAccess file = tool::FileAccess::OpenInput(in_);
        const tool::TiffStructure structure(file);
        const std::vector<tool::TiffPage> pages = ReadPages(structure);
        const colour::PixelConverter converter(std::make_unique<SameYCbCrColours>());
        tool::WriteSettings settings;
        settings.memory = 512;  // bytes: rows fit, strips with their buffers do not
        tool::Measured measured;
        {
            const tool::FileAccess target = tool::FileAccess::Scratch(folder_.path(), "out");
            RewriteTiff(structure, pages, {{false, &converter, nullptr}}, target, settings, measured);
            const tool::Bytes bytes = target.Read({0, target.Size()});
            WriteBytes(out_, std::string(bytes.begin(), bytes.end()));
        }
        EXPECT_EQ(measured.pixels, kPixels);
        const Picture picture = ReadPictures(out_)[0];
        EXPECT_EQ(std::vector<std::uint64_t>(picture.values.begin(), picture.values.end()), rgb.values);
    }
}

/// Writes the pixels of a page as RGB of the same samples.
void WriteAsRgb(const std::string& path, const std::string& folder, const std::string& out) {
    const tool::FileAccess file = tool::FileAccess::OpenInput(path);
    const tool::TiffStructure structure(file);
    const std::vector<tool::TiffPage> pages = ReadPages(structure);
    const colour::PixelConverter converter(std::make_unique<SameYCbCrColours>());
    tool::Measured measured;
    const tool::FileAccess target = tool::FileAccess::Scratch(folder, "out");
    RewriteTiff(structure, pages, {{false, &converter, nullptr}}, target, {}, measured);
    const tool::Bytes bytes = target.Read({0, target.Size()});
    WriteBytes(out, std::string(bytes.begin(), bytes.end()));
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
            const std::uint64_t at = tiff.Put(data);
            tiff.Page({TiffMaker::Long(256, photo.width),
                       TiffMaker::Long(257, photo.height),
                       {258, 3, 3, 0, Little({8, 8, 8}, 2)},
                       TiffMaker::Short(259, 6),
                       TiffMaker::Short(262, 6),
                       TiffMaker::Long(273, at),
                       TiffMaker::Short(277, 3),
                       TiffMaker::Long(278, photo.height),
                       TiffMaker::Long(279, data.size()),
                       TiffMaker::Short(512, 1),
                       TiffMaker::Long(513, at),
                       TiffMaker::Long(514, data.size()),
                       {530, 3, 2, 0, Little({sampling, sampling}, 2)}});
            tiff.Save(in_);
        };
        write(jpeg, factor);
        WriteAsRgb(in_, folder_.path(), out_);
        const Picture got = ReadPictures(out_)[0];
        EXPECT_EQ(Layout(out_).find("Old-style"), std::string::npos);
        Shell("tiff2rgba -n " + Quoted(in_) + " " + Quoted(folder_ / "peer.tif") + " 2>/dev/null");
        const Picture peer = ReadPictures(folder_ / "peer.tif")[0];
        ASSERT_EQ(peer.values.size(), got.values.size());
        for (std::size_t i = 0; i < peer.values.size(); ++i) ASSERT_NEAR(peer.values[i], got.values[i], 2) << i;
        const Outcome run = ConvertKind();
        EXPECT_THAT(run, Says(0, "in.tif: old-style JPEG image data are written as Deflate, without further loss\n"));
        EXPECT_THAT(Shell("tiffinfo " + Quoted(out_)), Not(HasSubstr("JpegInter")));
        write(jpeg, 3 - factor);
        EXPECT_THAT(ConvertKind(), Refuses(4, "its old-style JPEG data have another size or subsampling"));
        write(jpeg.substr(0, jpeg.size() / 2), factor);
        EXPECT_THAT(ConvertKind(), Refuses(4, "contains damaged image data"));
    }
}

TEST_F(YCbCrTest, TheChangeIsNamedAndOnceConvertedNothingChanges) {
    Write(kYCbCrPages[1]);
    EXPECT_THAT(ConvertKind(), Says(0, "its YCbCr pixels are written as RGB of 8 bits\n"));
    const std::string before = FileBytes(out_);
    EXPECT_THAT(Hueweave({"convert", "--in-place", out_}), Says(0, "is in srgb already"));
    EXPECT_EQ(FileBytes(out_), before);
    EXPECT_THAT(ConvertKind({"--precision", "library"}),
                Refuses(4, "holds YCbCr pixels, not RGB; leave --precision library out"));
}

TEST_F(YCbCrTest, WhatCannotBeConvertedIsRefused) {
    struct Row {
        Entries changed;
        const char* reason;
    };
    const YCbCrPage page = kYCbCrPages[1];
    const Row rows[] = {
        {{{530, 3, 2, 0, Little({3, 1}, 2)}}, "has an unknown chroma subsampling"},
        {{{530, 3, 1, 2}}, "has an unknown chroma subsampling"},
        {{Rationals(529, {0.5, 0, 0.5})}, "has unusable coefficients of YCbCr"},
        {{{529, 5, 3, 0, std::string(24, '\0')}}, "has unusable coefficients of YCbCr"},
        {{{529, 2, 3, 0, "abc"}}, "has unusable coefficients of YCbCr"},
        {{Rationals(532, {0, 255, 128, 255})}, "has unusable samples of black and white"},
        {{Rationals(532, {0, 255, 128, 128, 128, 255})}, "has the same samples for black and white"},
        {{TiffMaker::Short(284, 2)}, "has planes of YCbCr of different sizes"},
        {{TiffMaker::Short(317, 2)}, "has a predictor, which data units of YCbCr do not have"},
        {{TiffMaker::Short(277, 4), {258, 3, 4, 0, Little({8, 8, 8, 8}, 2)}}, "has 4 samples a pixel, not 3"},
        {{{258, 3, 3, 0, Little({16, 16, 16}, 2)}}, "has 16 bits a sample"},
        {{TiffMaker::Short(259, 50001)}, "is compressed with WebP, which is not supported"},
        {{TiffMaker::Long(256, 9)}, "contains damaged image data"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        Write(page, row.changed);
        EXPECT_THAT(ConvertKind(), Refuses(4, row.reason));
    }
    Write(kYCbCrPages[0], {TiffMaker::Long(257, 6), TiffMaker::Long(278, 6)});
    EXPECT_THAT(ConvertKind(), Refuses(4, "lie past the end of the file"));
}

}  // namespace
}  // namespace hueweave::test
