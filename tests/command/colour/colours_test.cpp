// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Colours against numbers that are worked out from the device's formula: the table of a baked profile, the differences
// that verify tells, and the adaptation to D50 in the profile of an output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>

#include "colour/profile/OutputProfile.h"
#include "command/support/Command.h"
#include "command/support/DeviceProfiles.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using Triple = std::array<double, 3>;
using Columns = std::array<Triple, 3>;  ///< XYZ of each channel's full light

/// What WriteDeviceProfile writes as a matrix, whose curves are a gamma of 1.8; and sRGB.
constexpr Columns kDevice{{{0.1431, 0.0606, 0.7141}, {0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}}};
constexpr Columns kSrgb{{{0.4361, 0.2225, 0.0139}, {0.3851, 0.7169, 0.0971}, {0.1431, 0.0606, 0.7141}}};

cmsCIELab LabOf(const Columns& columns, const Triple& light) {
    constexpr Triple kD50{0.9642, 1.0, 0.8249};
    const auto f = [&](std::size_t i) {
        const double t = (columns[0][i] * light[0] + columns[1][i] * light[1] + columns[2][i] * light[2]) / kD50[i];
        return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
    };
    return {116.0 * f(1) - 16.0, 500.0 * (f(0) - f(1)), 200.0 * (f(1) - f(2))};
}

class ColoursTest : public testing::Test {
protected:
    ColoursTest() { WriteDeviceProfile(profile_, Form::Matrix4); }
    Folder folder_;
    std::string profile_ = folder_ / "device.icc", baked_ = folder_ / "baked.icc", in_ = folder_ / "in.tif";
};

TEST_F(ColoursTest, NodesOfABakedTableStandAtStepsOfLight) {
    // A profile of AdobeRGB's primaries, each channel with a gamma of its own, and steps of light to the power 2/3.
    constexpr Triple kGamma{2.203125, 2.1875, 2.25};
    const cmsHPROFILE device = cmsOpenProfileFromFile(Input("wide.icc").c_str(), "r");
    constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    constexpr cmsTagSignature kTones[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    Columns columns;
    for (std::size_t c = 0; c < 3; ++c) {
        const auto* xyz = static_cast<const cmsCIEXYZ*>(cmsReadTag(device, kColorants[c]));
        columns[c] = {xyz->X, xyz->Y, xyz->Z};
        cmsToneCurve* tone = cmsBuildGamma(nullptr, kGamma[c]);
        cmsWriteTag(device, kTones[c], tone);
        cmsFreeToneCurve(tone);
    }
    ASSERT_TRUE(cmsSaveProfileToFile(device, profile_.c_str()));
    cmsCloseProfile(device);
    const Outcome run = Hueweave({"bake", profile_, "-o", baked_});
    ASSERT_EQ(run.status, 0);
    ASSERT_NE(run.err.find("in steps of light to the power 2/3;"), std::string::npos) << run.err;
    const cmsHPROFILE profile = cmsOpenProfileFromFile(baked_.c_str(), "r");
    std::vector<unsigned char> table(cmsReadRawTag(profile, cmsSigAToB0Tag, nullptr, 0));
    cmsReadRawTag(profile, cmsSigAToB0Tag, table.data(), static_cast<cmsUInt32Number>(table.size()));
    cmsCloseProfile(profile);
    // Head, numbers of entries, three curves of 4096 entries, the grid, three curves of two.
    constexpr std::size_t kCurves = 52, kGrid = kCurves + 2 * 3 * 4096, kEnd = kGrid + 2 * 3 * 33 * 33 * 33;
    ASSERT_EQ(table.size(), kEnd + 2 * 3 * 2);
    std::size_t at = kCurves;
    const auto differs = [&](double wanted) {
        const double value = table[at] * 256 + table[at + 1];
        at += 2;
        return std::abs(value - std::clamp(wanted, 0.0, 65535.0)) > 0.51;  // rounded
    };
    int wrong = 0;
    for (std::size_t i = 0; i < std::size_t{3} * 4096; ++i) {
        wrong += differs(65535.0 * std::pow(static_cast<double>(i % 4096) / 4095.0, kGamma[i / 4096] * 2.0 / 3.0));
    }
    EXPECT_EQ(wrong, 0) << "entries of the curves";
    const auto light = [](int n) { return std::pow(n / 32.0, 1.5); };
    for (int i = 0; i < 33; ++i) {
        for (int j = 0; j < 33; ++j) {
            for (int k = 0; k < 33; ++k) {
                const cmsCIELab lab = LabOf(columns, {light(i), light(j), light(k)});
                wrong += differs(lab.L * 652.8);
                wrong += differs(lab.a * 256.0 + 32768.0);
                wrong += differs(lab.b * 256.0 + 32768.0);
            }
        }
    }
    EXPECT_EQ(wrong, 0) << "nodes of the grid";
    for (int c = 0; c < 3; ++c) EXPECT_FALSE(differs(0.0) || differs(65535.0));
}

TEST_F(ColoursTest, VerifyTellsTheColourOfEachSampleAndTheDifference) {
    ASSERT_EQ(Hueweave({"bake", profile_, "-o", baked_}).status, 0);
    // Five colours, since five are told.
    const std::vector<std::uint16_t> bytes{255, 255, 255, 0, 0, 0, 51, 102, 153, 204, 153, 20, 180, 240, 200};
    TiffMaker tiff;
    TiffMaker::Shape shape{5, 1, {tiff.Put(std::string(bytes.begin(), bytes.end()))}, {bytes.size()}};
    tiff.Page(TiffMaker::Rgb(shape));
    tiff.Save(in_);
    for (const unsigned bits : {8U, 16U}) {
        Picture picture{5, 1, 3, bits, bytes, ""};
        const double top = bits == 8 ? 255.0 : 65535.0;
        for (auto& value : picture.values) value = static_cast<std::uint16_t>(value * (bits == 8 ? 1 : 257));
        const Picture converted = ByEngine(picture, baked_, 0, bits == 8 ? 8 : 9);  // sRGB
        const json told =
            json::parse(Hueweave({"verify", "--json", "--bits", std::to_string(bits), "--image", in_, profile_}).out);
        ASSERT_EQ(told["worst"].size(), 5U);
        std::vector<double> differences;
        for (std::size_t p = 0; p < 5; ++p) {
            Triple device, output;
            for (std::size_t c = 0; c < 3; ++c) {
                device[c] = std::pow(bytes[3 * p + c] / 255.0, 1.8);
                const double v = converted.values[3 * p + c] / top;
                output[c] = v > 0.04045 ? std::pow((v + 0.055) / 1.055, 2.4) : v / 12.92;
            }
            const cmsCIELab wanted = LabOf(kDevice, device), reached = LabOf(kSrgb, output);
            differences.push_back(cmsCIE2000DeltaE(&wanted, &reached, 1, 1, 1));
            bool found = false;
            for (const json& worst : told["worst"]) {
                const std::array<unsigned, 3> colour = worst["device"];
                if (colour != std::array{bytes[3 * p] * 257U, bytes[3 * p + 1] * 257U, bytes[3 * p + 2] * 257U})
                    continue;
                found = true;
                EXPECT_NEAR(worst["lab"][0], wanted.L, 0.01) << p << " of " << bits;
                EXPECT_NEAR(worst["lab"][1], wanted.a, 0.01) << p << " of " << bits;
                EXPECT_NEAR(worst["lab"][2], wanted.b, 0.01) << p << " of " << bits;
                EXPECT_NEAR(worst["difference"], differences.back(), 0.01) << p << " of " << bits;
            }
            EXPECT_TRUE(found);
        }
        std::sort(differences.begin(), differences.end());
        EXPECT_NEAR(told["mean"], std::accumulate(differences.begin(), differences.end(), 0.0) / 5, 0.01);
        EXPECT_NEAR(told["median"], differences[2], 0.01);
        EXPECT_NEAR(told["p95"], differences[4], 0.01);
        EXPECT_NEAR(told["p99"], differences[4], 0.01);
        EXPECT_NEAR(told["maximum"], differences[4], 0.01);
        EXPECT_EQ(told["clipped"], 0);
    }
}

TEST_F(ColoursTest, VerifyCountsWhatLiesOutsideTheSpace) {
    // Of AdobeRGB's corners, sRGB holds black and white alone.
    const Outcome run = Hueweave({"verify", Input("wide.icc"), "--points", "2"});
    EXPECT_THAT(run.out, testing::HasSubstr("Outside the space and cut to it: 6 of 8 (75.0 %)"));
}

TEST_F(ColoursTest, TheCurvesOfALookHaveAnEntryASampleOrEnough) {
    // Of the encoding's samples: of 8 bits, or of 16; the mix has 256 steps at both depths.
    struct Row {
        const char *space, *in;
        cmsUInt32Number entries;
    };
    for (const Row& row : {Row{"kodak-photo", "photo-8.tif", 256}, Row{"kodak-photo", "photo-16.tif", 4096},
                           Row{"kodak-mix", "photo-8.tif", 256}, Row{"kodak-mix", "photo-16.tif", 256}}) {
        const std::string out = folder_ / "out.tif";
        ASSERT_EQ(Hueweave({"convert", "--profile", Input("scanner.icc"), "--to", row.space, Input(row.in), "-o", out,
                            "--force"})
                      .status,
                  0);
        const std::string icc = ReadPictures(out)[0].icc;
        const cmsHPROFILE profile = cmsOpenProfileFromMem(icc.data(), static_cast<cmsUInt32Number>(icc.size()));
        const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile, cmsSigGreenTRCTag));
        EXPECT_EQ(cmsGetToneCurveEstimatedTableEntries(curve), row.entries) << row.space << " " << row.in;
        cmsCloseProfile(profile);
    }
}

/// The inverse of a matrix by its cofactors.
Columns Inverse(const Columns& m) {
    Columns inverse;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t a = (c + 1) % 3, b = (c + 2) % 3, d = (r + 1) % 3, e = (r + 2) % 3;
            inverse[r][c] = m[a][d] * m[b][e] - m[a][e] * m[b][d];
        }
    }
    const double determinant = m[0][0] * inverse[0][0] + m[0][1] * inverse[1][0] + m[0][2] * inverse[2][0];
    for (Triple& row : inverse) {
        for (double& value : row) value /= determinant;
    }
    return inverse;
}

TEST(OutputProfileTest, TellsBradfordsAdaptationFromTheWhiteOfItsSpace) {
    const Columns bradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
    const Columns back = Inverse(bradford);
    constexpr Triple kD50{0.9642, 1.0, 0.8249}, kD65{0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290};
    for (const auto& [name, white] : {std::pair{"srgb", kD65}, std::pair{"colormatch-g18", kD50}}) {
        const colour::Bytes data = colour::MakeOutputProfile(*colour::FindSpace(name), {}, "title");
        const cmsHPROFILE profile = cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size()));
        const auto* told = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, cmsSigChromaticAdaptationTag));
        ASSERT_NE(told, nullptr);
        for (std::size_t r = 0; r < 3; ++r) {
            const double row[] = {told[r].X, told[r].Y, told[r].Z};
            for (std::size_t c = 0; c < 3; ++c) {
                double wanted = 0;
                for (std::size_t k = 0; k < 3; ++k) {
                    const auto cone = [&](const Triple& w) {
                        return bradford[k][0] * w[0] + bradford[k][1] * w[1] + bradford[k][2] * w[2];
                    };
                    wanted += back[r][k] * cone(kD50) / cone(white) * bradford[k][c];
                }
                // The tag has 16 bits behind the point.
                EXPECT_EQ(std::lround(65536.0 * row[c]), std::lround(65536.0 * wanted)) << name << r << c;
            }
        }
        cmsCloseProfile(profile);
    }
}

}  // namespace
}  // namespace hueweave::test
