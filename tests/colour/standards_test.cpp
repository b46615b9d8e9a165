// SPDX-License-Identifier: MIT
// Spaces compared with their standards: chromaticities and curves, computed here in doubles.
#include <cmath>

#include "colour/Judge.h"
#include "colour/Profiles.h"

namespace hueweave::test {
namespace {

struct Standard {
    const char* name;
    Gamut gamut;
    double (*light)(double sample);  ///< linear light of a sample, both 0 to 1
    double (*sample)(double light);  ///< the inverse
};

const Standard kStandards[] = {
    {"srgb", kGamutSrgb, SrgbLight, SrgbSample},
    {"display-p3", kGamutP3, SrgbLight, SrgbSample},
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

/// Samples of 0 to 1 in `to`, cut to its gamut.
Vector Expected(const Standard& from, const Standard& to, const Vector& rgb) {
    Vector light;
    for (std::size_t c = 0; c < 3; ++c) light[c] = from.light(rgb[c]);
    Vector result = Times(Inverse(ToXyz(to.gamut)), Times(ToXyz(from.gamut), light));
    for (double& value : result) value = std::clamp(to.sample(std::clamp(value, 0.0, 1.0)), 0.0, 1.0);
    return result;
}

template <typename Sample>
void ExpectTheSamplesOfTheStandards(const Transform& transform, const Standard& from, const Standard& to,
                                    const std::vector<Sample>& colours) {
    constexpr double kTop = static_cast<Sample>(-1);
    const auto pixels = judge::Pixels(colours);
    const auto converted = Converted(transform, colours);
    std::size_t other = 0;
    for (std::size_t n = 0; n < pixels.size(); ++n) {
        const Vector wanted = Expected(from, to, pixels[n]);
        for (std::size_t c = 0; c < 3; ++c) {
            // A matrix in a profile is rounded to multiples of 1/65536, and three channels add their errors; the
            // target's curve, steepest near black, amplifies the sum.
            const double light = to.light(wanted[c]), error = 3.0 / 65536;
            const double allowed = to.sample(std::min(light + error, 1.0)) - to.sample(std::max(light - error, 0.0));
            ASSERT_NEAR(converted[3 * n + c], kTop * wanted[c], 0.5 + kTop * allowed) << "colour " << n;
            other += std::lround(kTop * wanted[c]) != converted[3 * n + c] ? 1U : 0U;
        }
    }
    EXPECT_TRUE(sizeof(Sample) == 2 || 100 * other <= colours.size()) << other;
}

void ExpectThatNeutralColoursStay(const Transform& transform) {
    Words neutral;
    for (unsigned n = 0; n < 65536; n += n < 512 ? 1 : 171)
        neutral.insert(neutral.end(), 3, static_cast<std::uint16_t>(n));
    neutral.insert(neutral.end(), 3, 65535);
    const Words converted = Converted(transform, neutral);
    EXPECT_THAT(std::vector(converted.begin(), converted.begin() + 3), testing::Each(0));
    EXPECT_THAT(std::vector(converted.end() - 3, converted.end()), testing::Each(65535));
    for (std::size_t i = 0; i < converted.size(); i += 3) {
        const auto [low, high] = std::minmax({converted[i], converted[i + 1], converted[i + 2]});
        ASSERT_LE(high - low, 1) << "at " << neutral[i];
        ASSERT_GE(converted[i], converted[i < 3 ? 0 : i - 3]) << "at " << neutral[i];
    }
}

TEST(StandardsTest, EverySpaceIsTheSourceAndTheTargetOfTheRightColours) {
    for (const auto& [first, second] :
         {std::pair{0U, 1U}, {1U, 0U}, {2U, 5U}, {3U, 2U}, {4U, 3U}, {5U, 4U}, {0U, 5U}, {3U, 0U}}) {
        const Standard &from = kStandards[first], &to = kStandards[second];
        SCOPED_TRACE(testing::Message() << from.name << " to " << to.name);
        // Version 2 has tables instead of formulas.
        const Transform transform(SpaceProfile(from.name), SpaceProfile(to.name, 2), {});
        EXPECT_EQ(transform.way(), Way::Matrix);
        ExpectTheSamplesOfTheStandards(transform, from, to, SampleColours());
        ExpectTheSamplesOfTheStandards(transform, from, to, HighBytes(SampleColours()));
        ExpectThatNeutralColoursStay(transform);
    }
}

TEST(StandardsTest, RedsOfSrgbAndDisplayP3) {
    const Transform wider(SpaceProfile("srgb"), SpaceProfile("display-p3"), {});
    // The CSS Color 4 conversion of color(srgb 1 0 0) to display-p3: 0.9175 0.2003 0.1386.
    EXPECT_THAT(Converted(wider, Bytes{255, 0, 0}), testing::ElementsAre(234, 51, 35));
    const auto red = judge::Pixels(Converted(wider, Words{65535, 0, 0}))[0];
    EXPECT_THAT(red, testing::Pointwise(testing::DoubleNear(0.0001), {0.9175, 0.2003, 0.1386}));
    const Transform narrower(SpaceProfile("display-p3"), SpaceProfile("srgb"), {});
    EXPECT_THAT(Converted(narrower, Words{65535, 0, 0}), testing::ElementsAre(65535, 0, 0));
}

TEST(StandardsTest, DarkNeutralColoursOfLinearScansStayNeutral) {
    const Bytes scan = MatrixProfile(kGamutSrgb, GammaBlock(1));
    for (const char* name : {"srgb", "adobe-rgb", "prophoto", "eci-rgb-v2"}) {
        const Words converted = Converted(Transform(scan, SpaceProfile(name), {}), Words{150, 150, 150});
        EXPECT_THAT(converted, testing::Each(converted[0])) << name;
        // The linear part of the curve: 12.92 times the sample.
        EXPECT_TRUE(name != std::string("srgb") || converted[0] == 1938) << converted[0];
    }
}

}  // namespace
}  // namespace hueweave::test
