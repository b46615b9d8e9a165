// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Spaces compared with their standards: chromaticities and curves, computed here in doubles.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/profile/Target.h"

namespace hueweave::test {
namespace {

struct Standard {
    const char* name;
    Gamut gamut;
    double (*light)(double sample);  ///< linear light of a sample, both 0 to 1
    double (*sample)(double light);  ///< the inverse
};

const Standard kStandards[] = {
    {"srgb", kGamutSrgb, SrgbLight,
     [](double x) { return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055; }},
    {"display-p3", kGamutP3, SrgbLight,
     [](double x) { return x <= 0.0031308 ? 12.92 * x : 1.055 * std::pow(x, 1 / 2.4) - 0.055; }},
    // ITU-R BT.2020 with the 12-bit constants: alpha 1.0993, beta 0.0181.
    {"rec2020", kGamut2020,
     [](double x) { return x < 4.5 * 0.0181 ? x / 4.5 : std::pow((x + 0.0993) / 1.0993, 1 / 0.45); },
     [](double x) { return x < 0.0181 ? 4.5 * x : 1.0993 * std::pow(x, 0.45) - 0.0993; }},
    {"prophoto", kGamutProPhoto, [](double x) { return x < 16.0 / 512 ? x / 16 : std::pow(x, 1.8); },
     [](double x) { return x < 1.0 / 512 ? 16 * x : std::pow(x, 1 / 1.8); }},
    // L* of CIELAB, 0 to 1.
    {"eci-rgb-v2", kGamutEci, [](double x) { return x <= 0.08 ? x * 2700 / 24389 : std::pow((x + 0.16) / 1.16, 3); },
     [](double x) { return x <= 216.0 / 24389 ? x * 24389 / 2700 : 1.16 * std::cbrt(x) - 0.16; }},
    {"adobe-rgb", kGamutAdobe, [](double x) { return std::pow(x, 563.0 / 256); },
     [](double x) { return std::pow(x, 256.0 / 563); }},
};

Bytes ProfileOf(const char* name, int version = 4) {
    return *colour::MakeTargetProfile(*colour::FindSpace(name), {}, version);
}

/// Samples of 0 to 1 in `to`, clipped to its gamut.
Vector Expected(const Standard& from, const Standard& to, const Vector& rgb) {
    Vector light;
    for (std::size_t c = 0; c < 3; ++c) light[c] = from.light(rgb[c]);
    Vector result = Times(Inverse(ToXyz(to.gamut)), Times(ToXyz(from.gamut), light));
    for (double& value : result) value = std::clamp(to.sample(std::clamp(value, 0.0, 1.0)), 0.0, 1.0);
    return result;
}

class StandardPairs : public testing::TestWithParam<std::tuple<int, int>> {
protected:
    const Standard& from_ = kStandards[static_cast<std::size_t>(std::get<0>(GetParam()))];
    const Standard& to_ = kStandards[static_cast<std::size_t>(std::get<1>(GetParam()))];
    // Version 2 has tables instead of formulas.
    const Transform transform_{ProfileOf(from_.name), ProfileOf(to_.name, 2), {}};
};

TEST_P(StandardPairs, GiveTheSamplesOfTheStandards) {
    EXPECT_EQ(transform_.way(), Way::Matrix);
    const Words colours = SampleColours();
    const Words words = Converted(transform_, colours);
    Bytes bytes;
    for (const std::uint16_t word : colours) bytes.push_back(static_cast<unsigned char>(word >> 8));
    const Bytes converted = Converted(transform_, bytes);
    std::size_t equal = 0;
    for (std::size_t i = 0; i < colours.size(); i += 3) {
        const Vector wanted16 =
            Expected(from_, to_, {colours[i] / 65535.0, colours[i + 1] / 65535.0, colours[i + 2] / 65535.0});
        const Vector wanted8 = Expected(from_, to_, {bytes[i] / 255.0, bytes[i + 1] / 255.0, bytes[i + 2] / 255.0});
        for (std::size_t c = 0; c < 3; ++c) {
            // A matrix in a profile is rounded to multiples of 1/65536, and three channels add their errors; the
            // target's curve, steepest near black, amplifies the sum.
            const auto allowed = [&](double sample) {
                const double light = to_.light(sample), error = 3.0 / 65536;
                return to_.sample(std::min(light + error, 1.0)) - to_.sample(std::max(light - error, 0.0));
            };
            ASSERT_NEAR(words[i + c], 65535 * wanted16[c], 0.5 + 65535 * allowed(wanted16[c])) << "colour " << i / 3;
            ASSERT_NEAR(converted[i + c], 255 * wanted8[c], 0.5 + 255 * allowed(wanted8[c])) << "colour " << i / 3;
            const bool off = std::lround(255 * wanted8[c]) != converted[i + c];
            equal += off ? 0 : 1;
        }
    }
    EXPECT_GE(static_cast<double>(equal), 0.99 * static_cast<double>(colours.size()));
}

TEST_P(StandardPairs, KeepWhiteAndBlackAndNeutralColours) {
    Words neutral;
    for (unsigned n = 0; n < 65536; n += n < 512 ? 1 : 171)
        neutral.insert(neutral.end(), 3, static_cast<std::uint16_t>(n));
    neutral.insert(neutral.end(), 3, 65535);
    const Words converted = Converted(transform_, neutral);
    EXPECT_THAT(std::vector(converted.begin(), converted.begin() + 3), testing::Each(0));
    EXPECT_THAT(std::vector(converted.end() - 3, converted.end()), testing::Each(65535));
    for (std::size_t i = 0; i < converted.size(); i += 3) {
        const auto [low, high] = std::minmax({converted[i], converted[i + 1], converted[i + 2]});
        ASSERT_LE(high - low, 1) << "at " << neutral[i];
        ASSERT_GE(converted[i], converted[i < 3 ? 0 : i - 3]) << "at " << neutral[i];
    }
}

std::string NameOfPair(const testing::TestParamInfo<std::tuple<int, int>>& info) {
    std::string name = std::string(kStandards[static_cast<std::size_t>(std::get<0>(info.param))].name) + "_to_" +
                       kStandards[static_cast<std::size_t>(std::get<1>(info.param))].name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}
// Every space is a source once and a target once.
INSTANTIATE_TEST_SUITE_P(Spaces, StandardPairs,
                         testing::Values(std::tuple(0, 1), std::tuple(1, 0), std::tuple(2, 5), std::tuple(3, 2),
                                         std::tuple(4, 3), std::tuple(5, 4), std::tuple(0, 5), std::tuple(3, 0)),
                         NameOfPair);

TEST(StandardsTest, RedOfSrgbInDisplayP3) {
    // (234, 51, 35) of 255: the CSS Color 4 conversion of color(srgb 1 0 0) to display-p3, 0.9175 0.2003 0.1386.
    const Transform transform(ProfileOf("srgb"), ProfileOf("display-p3"), {});
    EXPECT_THAT(Converted(transform, Bytes{255, 0, 0}), testing::ElementsAre(234, 51, 35));
    const Words red = Converted(transform, Words{65535, 0, 0});
    EXPECT_NEAR(red[0] / 65535.0, 0.9175, 0.0001);
    EXPECT_NEAR(red[1] / 65535.0, 0.2003, 0.0002);
    EXPECT_NEAR(red[2] / 65535.0, 0.1386, 0.0002);
}

TEST(StandardsTest, RedOfDisplayP3IsCutToThatOfSrgb) {
    const Transform transform(ProfileOf("display-p3"), ProfileOf("srgb"), {});
    EXPECT_THAT(Converted(transform, Words{65535, 0, 0}), testing::ElementsAre(65535, 0, 0));
}

TEST(StandardsTest, DarkNeutralColoursOfLinearScansStayNeutral) {
    const Bytes scan = MatrixProfile(kGamutSrgb, GammaBlock(1));
    for (const char* name : {"srgb", "adobe-rgb", "prophoto", "eci-rgb-v2"}) {
        const Transform transform(scan, ProfileOf(name), {});
        const Words converted = Converted(transform, Words{150, 150, 150});
        EXPECT_THAT(converted, testing::Each(converted[0])) << name;
    }
    // The linear part of the curve: 12.92 times the sample.
    const Transform transform(scan, ProfileOf("srgb"), {});
    EXPECT_THAT(Converted(transform, Words{150, 150, 150}), testing::Each(1938));
}

}  // namespace
}  // namespace hueweave::test
