// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Files that other programs made, converted through the shared library: TIFF files by ImageMagick and libtiff, and a
// profile by ArgyllCMS. ImageMagick and tiffinfo read the results, Little CMS judges the colours.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "SharedLibrary.h"
#include "support/ByteWriter.h"
#include "support/Ciede2000.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

const std::string kInputs = HUEWEAVE_REAL_INPUTS;

std::string Input(const std::string& name) { return kInputs + "/" + name; }

/// Runs a shell command that must succeed, and returns what it printed.
std::string Shell(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return "cannot run " + command;
    std::string printed;
    std::array<char, 4096> part{};
    for (std::size_t got; (got = std::fread(part.data(), 1, part.size(), pipe)) > 0;) printed.append(part.data(), got);
    EXPECT_EQ(pclose(pipe), 0) << command << "\n" << printed;
    return printed;
}

/// The pixels of a TIFF as ImageMagick reads them: interleaved, 16-bit samples little-endian.
Bytes PixelsByImageMagick(const std::string& path, int bits) {
    const TempDir dir;
    const std::string raw = dir.File("pixels.rgb");
    Shell("convert-im6 '" + path + "' -depth " + std::to_string(bits) + " -endian LSB rgb:'" + raw + "'");
    return ReadFile(raw);
}

struct Width {
    int bits;
    HueweaveColorSpace input, output;
};
constexpr Width k8{8, CsRGB_8, CssRGB_8};
constexpr Width k16{16, CsRGB_16, CssRGB_16};

/// The pixels through the library's buffer conversion.
Bytes ConvertedInMemory(const SharedLibrary& library, const Width& width, Bytes pixels) {
    const auto count = static_cast<std::int32_t>(pixels.size() / (width.bits == 8 ? 3 : 6));
    EXPECT_EQ(library.Convert2(pixels.data(), pixels.data(), count), 0);
    return pixels;
}

class RealTiffTest : public testing::TestWithParam<const char*> {
protected:
    void Check(const Width& width) {
        const std::string source = Input(std::string(GetParam()) + "-" + std::to_string(width.bits) + ".tif");
        const SharedLibrary library;
        ASSERT_EQ(
            library.SetProfile(Input("scanner.icc").c_str(), nullptr, IntentPerceptual, width.input, width.output),
            width.output);
        const TempDir dir;
        const std::string dest = dir.File("converted.tif");
        EXPECT_EQ(library.ConvertFile(source.c_str(), dest.c_str()), width.output);

        const std::string info = Shell("tiffinfo '" + dest + "'");
        EXPECT_NE(info.find("Image Width: 210 Image Length: 238"), std::string::npos) << info;
        EXPECT_NE(info.find("Bits/Sample: " + std::to_string(width.bits)), std::string::npos) << info;
        EXPECT_NE(info.find("Planar Configuration: single image plane"), std::string::npos) << info;
        const Bytes before = PixelsByImageMagick(source, width.bits);
        ASSERT_EQ(before.size(), static_cast<std::size_t>(210 * 238 * 3 * width.bits / 8));
        EXPECT_TRUE(PixelsByImageMagick(dest, width.bits) == ConvertedInMemory(library, width, before));
        EXPECT_FALSE(before == ConvertedInMemory(library, width, before)) << "the conversion changed nothing";
    }
};

TEST_P(RealTiffTest, EightBitsComeOutAsConvertedInMemory) { Check(k8); }
TEST_P(RealTiffTest, SixteenBitsComeOutAsConvertedInMemory) { Check(k16); }
INSTANTIATE_TEST_SUITE_P(MadeByOthers, RealTiffTest, testing::Values("one", "exact", "strips", "endless", "planar"),
                         [](const auto& row) { return std::string(row.param); });

/// The colours of Little CMS for the same profile, relative colorimetric to sRGB, 16 bits a sample.
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

/// A dense grid of device colours that both widths can hold: every 8th value of 8 bits, as 16-bit samples.
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

/// The grid through the library, as fractions of full scale.
std::vector<double> ByHueweave(const Width& width, const std::vector<std::uint16_t>& device) {
    const SharedLibrary library;
    EXPECT_EQ(library.SetProfile(Input("scanner.icc").c_str(), nullptr, IntentPerceptual, width.input, width.output),
              width.output);
    Bytes pixels;
    for (std::uint16_t v : device) {
        unsigned char sample[2];
        std::memcpy(sample, &v, 2);
        pixels.insert(pixels.end(), sample, sample + width.bits / 8);
    }
    pixels = ConvertedInMemory(library, width, pixels);
    std::vector<double> out;
    for (std::size_t i = 0; i < device.size(); ++i) {
        std::uint16_t v = pixels[width.bits == 8 ? i : 0];
        if (width.bits == 16) std::memcpy(&v, &pixels[2 * i], 2);
        out.push_back(v / (width.bits == 8 ? 255.0 : 65535.0));
    }
    return out;
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
        const Lab a = LabOfSRGB({judge[i] / 65535.0, judge[i + 1] / 65535.0, judge[i + 2] / 65535.0});
        const double difference = Ciede2000(a, LabOfSRGB({ours[i], ours[i + 1], ours[i + 2]}));
        sum += difference;
        if (difference > maximum) worst = i;
        maximum = std::max(maximum, difference);
        if (a[0] < 20) continue;
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

TEST(Ciede2000Test, GivesThePublishedDifferences) {
    struct Pair {
        Lab one, other;
        double difference;
    };
    // From the table of test data that Sharma, Wu and Dalal published with the formula, to its four decimals.
    const Pair pairs[] = {
        {{50, 2.6772, -79.7751}, {50, 0, -82.7485}, 2.0425},
        {{50, -1.3802, -84.2814}, {50, 0, -82.7485}, 1.0000},
        {{50, 2.49, -0.001}, {50, -2.49, 0.0011}, 7.2195},
        {{50, 2.5, 0}, {73, 25, -18}, 27.1492},
        {{60.2574, -34.0099, 36.2677}, {60.4626, -34.1751, 39.4387}, 1.2644},
        {{22.7233, 20.0904, -46.694}, {23.0331, 14.973, -42.5619}, 2.0373},
        {{6.7747, -0.2908, -2.4247}, {5.8714, -0.0985, -2.2286}, 0.6377},
        {{2.0776, 0.0795, -1.135}, {0.9033, -0.0636, -0.5514}, 0.9082},
    };
    for (const Pair& pair : pairs) EXPECT_NEAR(Ciede2000(pair.one, pair.other), pair.difference, 0.00005);
}

}  // namespace
}  // namespace hueweave::test
