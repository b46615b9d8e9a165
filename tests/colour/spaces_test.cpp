// SPDX-License-Identifier: MIT
// Spaces by name, their profiles, and lists of stages.
#include "colour/profile/Spaces.h"

#include <cmath>
#include <numeric>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/exact/Stages.h"
#include "colour/profile/OutputProfile.h"
#include "colour/profile/Target.h"

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
    const Space& srgb = *FindSpace("srgb");
    EXPECT_THAT(TagsOf(*MakeTargetProfile(srgb, {}, 2)),
                testing::UnorderedElementsAre("2mntrRGB XYZ ", "descdesc", "cprttext", "wtptXYZ ", "rXYZXYZ ",
                                              "gXYZXYZ ", "bXYZXYZ ", "rTRCcurv", "gTRCcurv", "bTRCcurv"));
    EXPECT_THAT(TagsOf(*MakeTargetProfile(srgb, {}, 4)),
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

TEST(StagesTest, AffineStagesFollowEachOtherAsOne) {
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
