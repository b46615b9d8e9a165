// SPDX-License-Identifier: MIT
// Files made by other programs, converted through the shared library: TIFF files by ImageMagick and libtiff, and a
// profile by ArgyllCMS. ImageMagick and tiffinfo read the results, Little CMS provides the reference colours.
#include "abi/Library.h"
#include "judges/colours/Truth.h"
#include "support/Matchers.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

std::string Input(const std::string& name) { return std::string(HUEWEAVE_REAL_INPUTS) + "/" + name; }

/// The pixels of a TIFF file read by ImageMagick: interleaved, 16-bit samples little-endian.
Bytes PixelsByImageMagick(const std::string& path, int bits) {
    const TempDir dir;
    const std::string raw = dir.File("pixels.rgb");
    OutputOfTool("convert-im6 '" + path + "' -depth " + std::to_string(bits) + " -endian LSB rgb:'" + raw + "' 2>&1");
    return ReadFile(raw);
}

struct Width {
    int bits;
    HueweaveColorSpace input, output;
};
constexpr Width k8{8, CsRGB_8, CssRGB_8};
constexpr Width k16{16, CsRGB_16, CssRGB_16};

struct Layout {
    const char* name;
    const char* mark;  // text in the output of tiffinfo that proves the layout of the source
    int width, height;
};
constexpr Layout kLayouts[] = {
    {"one", "Rows/Strip: 1000", 210, 238},
    {"exact", "Rows/Strip: 238", 210, 238},
    {"strips", "Rows/Strip: 16", 210, 238},
    {"planar", "Planar Configuration: separate image planes", 210, 238},
    {"tagged", "ICC Profile: <present>", 210, 238},
    {"endless", "Rows/Strip: (infinite)", 36, 32},
    {"pair", "Rows/Strip: 16", 36, 32},
};

void Check(const Layout& layout, const Width& width) {
    const std::string bits = std::to_string(width.bits);
    const std::string source = Input(std::string(layout.name) + "-" + bits + ".tif");
    ASSERT_THAT(OutputOfTool("tiffinfo '" + source + "' 2>&1"), HasSubstr(layout.mark));
    const Library library;
    const EngineApi engine(library, "");
    ASSERT_EQ(engine.SetProfile(Input("scanner.icc").c_str(), nullptr, IntentPerceptual, width.input, width.output),
              width.output);
    const TempDir dir;
    const std::string dest = dir.File("converted.tif");
    EXPECT_EQ(engine.ConvertFile(source.c_str(), dest.c_str()), width.output);

    const std::string info = OutputOfTool("tiffinfo '" + dest + "' 2>&1");
    EXPECT_THAT(info, HasSubstr("Image Width: " + std::to_string(layout.width) +
                                " Image Length: " + std::to_string(layout.height)));
    EXPECT_THAT(info, HasSubstr("Bits/Sample: " + bits));
    EXPECT_THAT(info, HasSubstr("Rows/Strip: " + std::to_string(layout.height)));
    EXPECT_THAT(info, HasSubstr("Planar Configuration: single image plane"));
    EXPECT_EQ(OutputOfTool("exiftool -s3 -ProfileDescription -ICC_Profile:all '" + dest + "' 2>&1"), "");
    const Bytes before = PixelsByImageMagick(source, width.bits);
    ASSERT_EQ(before.size(), static_cast<std::size_t>(layout.width * layout.height * 3 * width.bits / 8));
    Bytes converted = before;  // by the buffer functions
    EXPECT_EQ(engine.Convert2(converted.data(), converted.data(), layout.width * layout.height), 0);
    EXPECT_THAT(PixelsByImageMagick(dest, width.bits), EqualsBytes(converted));
    EXPECT_NE(before, converted);
}

TEST(TiffsByOthers, ComeOutAsConvertedInMemory) {
    for (const Layout& layout : kLayouts) {
        for (const Width& width : {k8, k16}) {
            SCOPED_TRACE(testing::Message() << layout.name << ", " << width.bits << " bits");
            Check(layout, width);
        }
    }
}

/// A dense grid of device colours that exist at both widths: every 8th value of 8 bits.
template <typename Sample>
void ExpectClose(const Width& width) {
    std::vector<Sample> device;
    for (unsigned n = 0; n < 33 * 33 * 33; ++n) {
        for (const unsigned step : {n / (33 * 33), n / 33 % 33, n % 33}) {
            device.push_back(static_cast<Sample>(std::min(step * 8, 255U) * (width.bits == 8 ? 1 : 257)));
        }
    }
    const Library library;
    const EngineApi engine(library, "");
    ASSERT_EQ(engine.SetProfile(Input("scanner.icc").c_str(), nullptr, IntentPerceptual, width.input, width.output),
              width.output);
    std::vector<Sample> converted = device;
    auto* const pixels = reinterpret_cast<unsigned char*>(converted.data());
    EXPECT_EQ(engine.Convert2(pixels, pixels, 33 * 33 * 33), 0);

    const TempDir dir;
    const judge::Profile srgb(cmsCreate_sRGBProfile());
    ASSERT_TRUE(cmsSaveProfileToFile(srgb.get(), dir.File("srgb.icc").c_str()));
    const judge::Truth truth(ReadFile(Input("scanner.icc")), ReadFile(dir.File("srgb.icc")),
                             INTENT_RELATIVE_COLORIMETRIC, false);
    const auto differences = truth.Compare(judge::Pixels(device), judge::Pixels(converted));
    EXPECT_EQ(differences.undefined, 0U);
    EXPECT_LE(differences.mean, 0.35);
    EXPECT_LE(differences.largest, 4.8);
    EXPECT_GT(differences.mean, 0.0) << "two different programs never agree wholly";
}

TEST(AccuracyTest, EightBitsStayCloseToLittleCms) { ExpectClose<std::uint8_t>(k8); }
TEST(AccuracyTest, SixteenBitsStayCloseToLittleCms) { ExpectClose<std::uint16_t>(k16); }

}  // namespace
}  // namespace hueweave::test
