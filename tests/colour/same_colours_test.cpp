// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Which profiles describe the same colours, so that samples are copied.
#include <gmock/gmock.h>

#include <cmath>
#include <string>

#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/profile/OutputProfile.h"
#include "colour/profile/Target.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using colour::RenderingIntent;

Way WayBetween(const Bytes& source, const Bytes& target, const TransformOptions& options = {}) {
    return Transform(source, target, options).way();
}

Bytes TargetOf(const colour::Space& space, int version = 4) { return *colour::MakeTargetProfile(space, {}, version); }
Bytes SrgbTarget(int version = 4) { return TargetOf(*colour::FindSpace("srgb"), version); }

/// The curve of sRGB as a table.
Bytes SrgbTable(std::size_t entries) {
    std::vector<double> light;
    for (std::size_t i = 0; i < entries; ++i) {
        light.push_back(SrgbLight(static_cast<double>(i) / static_cast<double>(entries - 1)));
    }
    return TableBlock(light);
}

TEST(SameColoursTest, AProfileAndItselfAreCopied) {
    for (const Bytes& profile : {TableProfile({.target = true}), ArgyllProfile("wide.icc"), LcmsSrgb()}) {
        for (const int intent : {0, 1, 2, 3}) {
            const Transform transform(profile, profile, {static_cast<RenderingIntent>(intent)});
            EXPECT_EQ(transform.way(), Way::Copy);
            EXPECT_EQ(transform.reason(), "");
            EXPECT_EQ(transform.error().colours, 0U);
            EXPECT_EQ(transform.error().largest, 0.0);
            EXPECT_THAT(Converted(transform, SampleColours()), EqualTo(SampleColours()));
        }
    }
}

TEST(SameColoursTest, OtherProgramsSrgbIsCopied) {
    const Bytes kSources[] = {LcmsSrgb(),
                              ArgyllProfile("screen.icc"),
                              MatrixProfile(kGamutSrgb, SrgbFormula(), 4),
                              MatrixProfile(kGamutSrgb, SrgbTable(1024)),
                              MatrixProfile(kGamutSrgb, SrgbTable(4096)),
                              colour::MakeOutputProfile(*colour::FindSpace("srgb"), colour::Colorants::Engine, {}, "")};
    for (const Bytes& source : kSources) {
        EXPECT_EQ(WayBetween(source, SrgbTarget()), Way::Copy) << "source " << &source - kSources;
        EXPECT_EQ(WayBetween(source, SrgbTarget(2)), Way::Copy) << "source " << &source - kSources;
        EXPECT_EQ(WayBetween(SrgbTarget(), source, {RenderingIntent::RelativeColorimetric}), Way::Copy);
    }
}

TEST(SameColoursTest, ASecondPassOverAnyOutputChangesNothing) {
    for (const colour::Space& space : colour::Spaces()) {
        for (const auto intent : {RenderingIntent::Perceptual, RenderingIntent::AbsoluteColorimetric}) {
            // Version 2 rounds the exponent 1 / 0.5556 to a multiple of 1 / 256: another curve.
            if (space.tone == colour::Tone::Gamma18) continue;
            EXPECT_EQ(WayBetween(TargetOf(space, 2), TargetOf(space, 4), {intent}), Way::Copy) << space.name;
            EXPECT_EQ(WayBetween(TargetOf(space, 4), TargetOf(space, 2), {intent}), Way::Copy) << space.name;
        }
        if (!space.IsEngines() || space.tone == colour::Tone::Kodak) continue;
        EXPECT_EQ(WayBetween(colour::MakeOutputProfile(space, colour::Colorants::Engine, {}, ""), TargetOf(space)),
                  Way::Copy)
            << space.name;
    }
}

TEST(SameColoursTest, OtherColoursAreConverted) {
    const auto srgb = [](const Bytes& curve) { return MatrixProfile(kGamutSrgb, curve); };
    EXPECT_EQ(WayBetween(MatrixProfile(kGamutP3, SrgbFormula(), 4), SrgbTarget()), Way::Matrix);
    EXPECT_EQ(WayBetween(srgb(GammaBlock(2.2)), SrgbTarget()), Way::Matrix);
    EXPECT_EQ(WayBetween(srgb(GammaBlock(2.19921875)), srgb(GammaBlock(2.203125))), Way::Matrix);
    // Red and green at x of 0.001 beside those of the standard.
    Gamut other = kGamutSrgb;
    other.red[0] += 0.001;
    other.green[0] += 0.001;
    EXPECT_EQ(WayBetween(MatrixProfile(other, SrgbFormula(), 4), SrgbTarget()), Way::Matrix);
    EXPECT_EQ(WayBetween(TargetOf(*colour::FindSpace("srgb-linear")), SrgbTarget()), Way::Matrix);
    // A step of the curve near black, which many tables leave out.
    std::vector<double> step;
    for (int i = 0; i < 1024; ++i) step.push_back(i < 8 ? 0 : SrgbLight(i / 1023.0));
    EXPECT_EQ(WayBetween(srgb(TableBlock(step)), SrgbTarget()), Way::Matrix);
    EXPECT_EQ(WayBetween(TableProfile({}), TableProfile({.target = true})), Way::Direct);
}

TEST(SameColoursTest, OffsetsAreNotCopied) {
    for (const Vector& v : {Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}}) {
        EXPECT_EQ(WayBetween(SrgbTarget(), SrgbTarget(), {RenderingIntent::Perceptual, {}, v[0], v[1], v[2]}),
                  Way::Matrix);
    }
}

TEST(SameColoursTest, AnotherWhiteCountsForTheAbsoluteIntentAlone) {
    // The same scanner with a medium white point of 80 % of D50.
    Bytes dim = MatrixProfile(kGamutSrgb, SrgbFormula(), 4);
    const Bytes bright = dim;
    const Bytes white = ByteWriter().Text("XYZ ").Big32(0).Big32(0xf6d6).Big32(0x10000).Big32(0xd32d).Done();
    const auto at = std::search(dim.begin(), dim.end(), white.begin(), white.end());
    ASSERT_NE(at, dim.end());
    const Bytes less = ByteWriter().Text("XYZ ").Big32(0).Big32(0xc578).Big32(0xcccd).Big32(0xa8f1).Done();
    std::copy(less.begin(), less.end(), at);
    EXPECT_EQ(WayBetween(dim, bright, {RenderingIntent::RelativeColorimetric}), Way::Copy);
    const Transform absolute(dim, bright, {RenderingIntent::AbsoluteColorimetric});
    EXPECT_EQ(absolute.way(), Way::Matrix);
    // 1.055 * 0.8^(1/2.4) - 0.055
    EXPECT_THAT(Converted(absolute, Bytes{255, 255, 255}), testing::Each(231));
}

}  // namespace
}  // namespace hueweave::test
