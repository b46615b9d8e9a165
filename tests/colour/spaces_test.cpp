// SPDX-License-Identifier: MIT
// Spaces by name, their profiles, and their colours compared with their standards: chromaticities and curves, computed
// here in doubles. And lists of stages.
#include "colour/profile/Spaces.h"

#include <cmath>
#include <numeric>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/exact/Stages.h"
#include "colour/profile/OutputProfile.h"

namespace hueweave::test {
namespace {

using namespace colour;

using Names = std::pair<std::string, const char*>;

TEST(SpacesTest, AreFoundByNamesInAnyCase) {
    for (const Space& space : Spaces()) {
        EXPECT_EQ(FindSpace(space.name), &space) << space.name;
        EXPECT_EQ(NearestSpace(std::string(space.name) + "x"), space.name);
    }
    for (const auto& [word, name] :
         {Names{"sRGB", "srgb"}, Names{"sRGB IEC61966-2.1", "srgb"}, Names{"AdobeRGB1998", "adobe-rgb"},
          Names{"Adobe RGB (1998)", "adobe-rgb"}, Names{"P3", "display-p3"}, Names{"DISPLAY P3", "display-p3"},
          Names{"Display-P3", "display-p3"}, Names{"BT.2020", "rec2020"}, Names{"Rec. 2020", "rec2020"},
          Names{"ProPhotoRGB", "prophoto"}, Names{"ROMM RGB", "prophoto"}, Names{"eciRGB", "eci-rgb-v2"}}) {
        ASSERT_NE(FindSpace(word), nullptr) << word;
        EXPECT_EQ(FindSpace(word)->name, name) << word;
    }
    for (const char* word : {"", "rgb", "srgb2", "p4", "-"}) EXPECT_EQ(FindSpace(word), nullptr) << word;
}

TEST(SpacesTest, NearestSpaceIsThreeLettersAwayAtMost) {
    for (const auto& [word, name] :
         {Names{"srbg", "srgb"}, Names{"adobergb-g81", "adobe-rgb-g18"}, Names{"prophot0", "prophoto"},
          Names{"prophxxx", "prophoto"}, Names{"propxxxx", ""}, Names{"xy", ""}, Names{"", ""},
          Names{std::string(5000, 's'), ""}}) {
        EXPECT_EQ(NearestSpace(word), name) << word.substr(0, 20);
    }
}

/// The header's version, class and spaces, and the tags with the types of their data, such as "rTRCpara", in any order.
std::vector<std::string> TagsOf(const colour::Bytes& profile) {
    const std::string text(profile.begin(), profile.end());
    const auto word = [&](std::size_t at) { return std::size_t{profile.at(at + 2)} << 8 | profile.at(at + 3); };
    std::vector<std::string> tags{std::to_string(profile.at(8)) + text.substr(12, 12)};
    for (std::size_t at = 132; at < 132 + 12 * word(128); at += 12) {
        tags.push_back(text.substr(at, 4) + text.substr(word(at + 4), 4));
    }
    return tags;
}

TEST(TargetTest, ProfilesHaveTheTagsOfTheirVersion) {
    EXPECT_THAT(TagsOf(SpaceProfile("srgb", 2)),
                testing::UnorderedElementsAre("2mntrRGB XYZ ", "descdesc", "cprttext", "wtptXYZ ", "rXYZXYZ ",
                                              "gXYZXYZ ", "bXYZXYZ ", "rTRCcurv", "gTRCcurv", "bTRCcurv"));
    EXPECT_THAT(TagsOf(SpaceProfile("srgb")),
                testing::UnorderedElementsAre("4mntrRGB XYZ ", "descmluc", "cprtmluc", "wtptXYZ ", "chadsf32",
                                              "rXYZXYZ ", "gXYZXYZ ", "bXYZXYZ ", "rTRCpara", "gTRCpara", "bTRCpara"));
    // They have no date.
    for (const Space& space : Spaces()) {
        ASSERT_TRUE(MakeTargetProfile(space, {}, 2)) << space.name;
        EXPECT_EQ(MakeTargetProfile(space, {}, 4), MakeTargetProfile(space, {}, 4)) << space.name;
    }
}

TEST(TargetTest, OwnCurvesReplaceThatOfTheSpace) {
    // Samples are the square roots of light, so the light of a sample is its square.
    ToneCurves roots;
    for (auto& curve : roots) {
        double light = 0;
        for (unsigned char& sample : curve) sample = static_cast<unsigned char>(std::lround(std::sqrt(255 * light++)));
    }
    const Bytes linear = MatrixProfile(kGamutSrgb, GammaBlock(1));
    for (const int version : {2, 4}) {
        const auto profile = MakeTargetProfile(*FindSpace("srgb"), roots, version);
        ASSERT_TRUE(profile);
        const Transform transform(linear, *profile, {});
        for (const int light : {0, 1, 4, 64, 128, 255}) {
            const auto byte = static_cast<unsigned char>(light);
            EXPECT_THAT(Converted(transform, Bytes{byte, byte, byte}), testing::Each(roots[0][byte])) << light;
        }
    }
}

TEST(TargetTest, BlackAndWhiteOfCurvesThatClipAreExact) {
    ToneCurves clips;
    for (auto& curve : clips) {
        for (int i = 0; i < 256; ++i)
            curve[static_cast<std::size_t>(i)] = static_cast<unsigned char>(std::clamp(2 * i - 100, 0, 255));
    }
    const Transform transform(*MakeTargetProfile(*FindSpace("srgb"), clips, 4),
                              MatrixProfile(kGamutSrgb, GammaBlock(1)), {});
    EXPECT_THAT(Converted(transform, Words{0, 0, 0, 65535, 65535, 65535}),
                testing::ElementsAre(0, 0, 0, 65535, 65535, 65535));
}

TEST(TargetTest, CurvesThatFallHaveNoProfile) {
    ToneCurves curves;
    for (auto& curve : curves) std::iota(curve.begin(), curve.end(), static_cast<unsigned char>(0));
    EXPECT_TRUE(MakeTargetProfile(*FindSpace("srgb"), curves, 4));
    for (const std::size_t channel : {0U, 1U, 2U}) {
        ToneCurves falls = curves, flat = curves;
        falls[channel][100] = 102;
        flat[channel].fill(77);
        EXPECT_FALSE(MakeTargetProfile(*FindSpace("srgb"), falls, 4)) << channel;
        EXPECT_FALSE(MakeTargetProfile(*FindSpace("srgb"), flat, 2)) << channel;
    }
}

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

TEST(StandardSpacesTest, EverySpaceIsTheSourceAndTheTargetOfTheRightColours) {
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

TEST(StandardSpacesTest, RedsOfSrgbAndDisplayP3) {
    const Transform wider(SpaceProfile("srgb"), SpaceProfile("display-p3"), {});
    // The CSS Color 4 conversion of color(srgb 1 0 0) to display-p3: 0.9175 0.2003 0.1386.
    EXPECT_THAT(Converted(wider, Bytes{255, 0, 0}), testing::ElementsAre(234, 51, 35));
    const auto red = judge::Pixels(Converted(wider, Words{65535, 0, 0}))[0];
    EXPECT_THAT(red, testing::Pointwise(testing::DoubleNear(0.0001), {0.9175, 0.2003, 0.1386}));
    const Transform narrower(SpaceProfile("display-p3"), SpaceProfile("srgb"), {});
    EXPECT_THAT(Converted(narrower, Words{65535, 0, 0}), testing::ElementsAre(65535, 0, 0));
}

TEST(StandardSpacesTest, DarkNeutralColoursOfLinearScansStayNeutral) {
    const Bytes scan = MatrixProfile(kGamutSrgb, GammaBlock(1));
    for (const char* name : {"srgb", "adobe-rgb", "prophoto", "eci-rgb-v2"}) {
        const Words converted = Converted(Transform(scan, SpaceProfile(name), {}), Words{150, 150, 150});
        EXPECT_THAT(converted, testing::Each(converted[0])) << name;
        // The linear part of the curve: 12.92 times the sample.
        EXPECT_TRUE(name != std::string("srgb") || converted[0] == 1938) << converted[0];
    }
}

TEST(StagesTest, ConsecutiveAffineStagesAreMerged) {
    const AffineStage first{{{{1, 2, 0}, {0, 1, 0}, {0, 0, 3}}}, {0.5, 0, -1}};
    const AffineStage second = AffineStage::Diagonal({2, 3, 4}, {1, 0, 0});
    EXPECT_THAT(first.Apply({1, 1, 1}), testing::ElementsAre(3.5, 1, 2));
    EXPECT_THAT(second.After(first).Apply({1, 1, 1}), testing::ElementsAre(8, 3, 8));
    EXPECT_TRUE(AffineStage{}.IsIdentity());
    EXPECT_FALSE(second.IsIdentity());
    EXPECT_FALSE(AffineStage::Diagonal({1, 1, 1}, {0, 0, 0.1}).IsIdentity());
    StageList list;
    list.Add(AffineStage{});
    EXPECT_EQ(list.stages().size(), 0U);
    list.Add(first);
    list.Add(second);
    ASSERT_EQ(list.stages().size(), 1U);
    EXPECT_THAT(std::get<AffineStage>(list.stages()[0]).Apply({1, 1, 1}), testing::ElementsAre(8, 3, 8));
    EXPECT_FALSE(list.HasGrid());
}

TEST(StagesTest, AffineStagesAreMergedIntoAGridBeforeThem) {
    GridStage grid{{2, 2, 2}, std::vector<float>(32), false};
    for (std::size_t i = 0; i < 32; ++i) grid.nodes[i] = static_cast<float>(i);
    StageList front, list;
    front.Add(grid);
    front.Add(AffineStage{{{{0, 1, 0}, {1, 0, 0}, {1, 1, 1}}}, {0, 0.5, 0}});
    list.Add(AffineStage::Diagonal({2, 2, 2}));
    list.Add(front);
    list.Add(RootStage{});
    list.Add(AffineStage::Diagonal({3, 3, 3}));
    ASSERT_EQ(list.stages().size(), 4U);
    EXPECT_TRUE(list.HasGrid());
    const auto& nodes = std::get<GridStage>(list.stages()[1]).nodes;
    for (std::size_t n = 0; n < 32; n += 4) {
        const auto x = static_cast<float>(n);
        EXPECT_THAT(std::vector({nodes[n], nodes[n + 1], nodes[n + 2]}),
                    testing::ElementsAre(x + 1, x + 0.5F, 3 * x + 3));
    }
    EXPECT_TRUE(std::holds_alternative<RootStage>(list.stages()[2]));
    EXPECT_TRUE(std::holds_alternative<AffineStage>(list.stages()[3]));
}

}  // namespace
}  // namespace hueweave::test
