// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Files made by other programs, converted through the shared library: TIFF files by ImageMagick and libtiff, and a
// profile by ArgyllCMS. ImageMagick and tiffinfo read the results, Little CMS provides the reference colours.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

const std::string kInputs = HUEWEAVE_REAL_INPUTS;

std::string Input(const std::string& name) { return kInputs + "/" + name; }

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

/// The pixels converted by the library's buffer functions.
Bytes ConvertedInMemory(const EngineApi& engine, const Width& width, Bytes pixels) {
    const auto count = static_cast<std::int32_t>(pixels.size() / (width.bits == 8 ? 3 : 6));
    EXPECT_EQ(engine.Convert2(pixels.data(), pixels.data(), count), 0);
    return pixels;
}

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

class RealTiffTest : public testing::TestWithParam<Layout> {
protected:
    void Check(const Width& width) {
        const Layout layout = GetParam();
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
        const Bytes converted = ConvertedInMemory(engine, width, before);
        EXPECT_TRUE(PixelsByImageMagick(dest, width.bits) == converted);
        EXPECT_FALSE(before == converted) << "the conversion changed nothing";
    }
};

TEST_P(RealTiffTest, EightBitsComeOutAsConvertedInMemory) { Check(k8); }
TEST_P(RealTiffTest, SixteenBitsComeOutAsConvertedInMemory) { Check(k16); }
INSTANTIATE_TEST_SUITE_P(MadeByOthers, RealTiffTest, testing::ValuesIn(kLayouts),
                         [](const auto& row) { return std::string(row.param.name); });

/// Little CMS's colours for the same profile, relative colorimetric to sRGB, 16 bits a sample.
std::vector<std::uint16_t> ByLittleCms(const std::vector<std::uint16_t>& device) {
    const auto closeProfile = [](void* profile) { cmsCloseProfile(profile); };
    const auto deleteTransform = [](void* transform) { cmsDeleteTransform(transform); };
    using Handle = std::unique_ptr<void, decltype(closeProfile)>;
    const Handle scanner(cmsOpenProfileFromFile(Input("scanner.icc").c_str(), "r"), closeProfile);
    const Handle sRGB(cmsCreate_sRGBProfile(), closeProfile);
    const std::unique_ptr<void, decltype(deleteTransform)> transform(
        cmsCreateTransform(scanner.get(), TYPE_RGB_16, sRGB.get(), TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC,
                           cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE | cmsFLAGS_HIGHRESPRECALC),
        deleteTransform);
    std::vector<std::uint16_t> out(device.size());
    if (transform == nullptr) return {};
    cmsDoTransform(transform.get(), device.data(), out.data(), static_cast<cmsUInt32Number>(device.size() / 3));
    return out;
}

/// A dense grid of device colours that exist at both widths: every 8th value of 8 bits, as 16-bit samples.
std::vector<std::uint16_t> DeviceGrid() {
    std::vector<std::uint16_t> grid;
    const auto level = [](int step) { return static_cast<std::uint16_t>(std::min(step * 8, 255) * 257); };
    for (int r = 0; r <= 32; ++r) {
        for (int g = 0; g <= 32; ++g) {
            for (int b = 0; b <= 32; ++b) grid.insert(grid.end(), {level(r), level(g), level(b)});
        }
    }
    return grid;
}

/// The grid converted by the library, as fractions of full scale.
std::vector<double> ByHueweave(const Width& width, const std::vector<std::uint16_t>& device) {
    const Library library;
    const EngineApi engine(library, "");
    EXPECT_EQ(engine.SetProfile(Input("scanner.icc").c_str(), nullptr, IntentPerceptual, width.input, width.output),
              width.output);
    Bytes pixels;
    for (std::uint16_t v : device) {
        unsigned char sample[2];
        std::memcpy(sample, &v, 2);
        pixels.insert(pixels.end(), sample, sample + width.bits / 8);
    }
    pixels = ConvertedInMemory(engine, width, pixels);
    std::vector<double> out;
    for (std::size_t i = 0; i < device.size(); ++i) {
        std::uint16_t v = pixels[width.bits == 8 ? i : 0];
        if (width.bits == 16) std::memcpy(&v, &pixels[2 * i], 2);
        out.push_back(v / (width.bits == 8 ? 255.0 : 65535.0));
    }
    return out;
}

/// CIE Lab under D65 of an sRGB colour of 0 to 1 (IEC 61966-2-1).
cmsCIELab LabOfSRGB(const double* rgb) {
    double v[3];
    for (int i = 0; i < 3; ++i) v[i] = rgb[i] <= 0.04045 ? rgb[i] / 12.92 : std::pow((rgb[i] + 0.055) / 1.055, 2.4);
    const cmsCIEXYZ white{0.95047, 1.0, 1.08883};
    const cmsCIEXYZ xyz{0.4124564 * v[0] + 0.3575761 * v[1] + 0.1804375 * v[2],
                        0.2126729 * v[0] + 0.7151522 * v[1] + 0.0721750 * v[2],
                        0.0193339 * v[0] + 0.1191920 * v[1] + 0.9503041 * v[2]};
    cmsCIELab lab{};
    cmsXYZ2Lab(&white, &lab, &xyz);
    return lab;
}

struct Bound {
    Width width;
    double mean, maximum;
};

class AccuracyTest : public testing::TestWithParam<Bound> {};

TEST_P(AccuracyTest, StaysCloseToLittleCms) {
    const std::vector<std::uint16_t> device = DeviceGrid();
    const std::vector<std::uint16_t> judge = ByLittleCms(device);
    ASSERT_EQ(judge.size(), device.size());
    const std::vector<double> ours = ByHueweave(GetParam().width, device);
    double sum = 0, maximum = 0, sumBright = 0;
    std::size_t worst = 0, bright = 0;
    for (std::size_t i = 0; i < device.size(); i += 3) {
        const double theirs[] = {judge[i] / 65535.0, judge[i + 1] / 65535.0, judge[i + 2] / 65535.0};
        const cmsCIELab a = LabOfSRGB(theirs), b = LabOfSRGB(&ours[i]);
        const double difference = cmsCIE2000DeltaE(&a, &b, 1, 1, 1);
        sum += difference;
        if (difference > maximum) worst = i;
        maximum = std::max(maximum, difference);
        if (a.L < 20) continue;
        sumBright += difference;
        ++bright;
    }
    const double mean = sum / static_cast<double>(device.size() / 3);
    std::printf(
        "CIEDE2000 against Little CMS, %d bits, %zu colours: mean %.3f, maximum %.3f at device %d %d %d; "
        "mean where L* is 20 or more: %.3f\n",
        GetParam().width.bits, device.size() / 3, mean, maximum, device[worst] / 257, device[worst + 1] / 257,
        device[worst + 2] / 257, sumBright / static_cast<double>(bright));
    RecordProperty("mean", std::to_string(mean));
    RecordProperty("maximum", std::to_string(maximum));
    EXPECT_LE(mean, GetParam().mean);
    EXPECT_LE(maximum, GetParam().maximum);
    EXPECT_GT(mean, 0.0) << "two different programs never agree wholly";
}
INSTANTIATE_TEST_SUITE_P(Widths, AccuracyTest, testing::Values(Bound{k8, 0.35, 4.8}, Bound{k16, 0.35, 4.8}),
                         [](const auto& row) { return "Bits" + std::to_string(row.param.width.bits); });

}  // namespace
}  // namespace hueweave::test
