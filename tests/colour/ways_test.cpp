// SPDX-License-Identifier: MIT
// Every kind of profile compared with Little CMS in doubles: the kind of conversion, its error, and what is reported
// about it.
#include <algorithm>
#include <cmath>
#include <map>
#include <ostream>
#include <stdexcept>

#include "colour/ExactConverter.h"
#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/judge/Compare.h"
#include "colour/profile/OutputProfile.h"
#include "support/Matchers.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

using colour::BlackPoint;
using colour::RenderingIntent;

/// Profiles by short names, each built once.
const Bytes& Device(const std::string& name) {
    static const auto made = [] {
        std::map<std::string, Bytes> all;
        all["mft1"] = TableProfile({.bytes = true});
        all["mft2"] = TableProfile({});
        all["mft2-xyz"] = TableProfile({.xyz = true, .points = 17});
        all["mAB"] = TableProfile({.version = 4.3});
        all["mAB-matrix"] = TableProfile({.version = 4.3, .matrix = true});
        all["mAB-no-grid"] = TableProfile({.version = 4.3, .xyz = true, .noGrid = true});
        all["printer-2"] = TableProfile({.target = true});
        all["printer-4"] = TableProfile({.version = 4.3, .matrix = true, .target = true});
        all["screen-2"] = TableProfile({.target = true, .screen = true});
        all["gamma"] = MatrixProfile(kGamut2020, GammaBlock(1.8));
        all["three-curves"] = MatrixProfile(ToXyz(kGamutP3), {GammaBlock(1.8), GammaBlock(2.2), GammaBlock(2.4)});
        all["old-screen"] = MatrixProfile(kGamutAdobe, GammaBlock(2.2), 2, cmsSigDisplayClass);
        all["formula"] = MatrixProfile(kGamutP3, SrgbFormula(), 4);
        for (const char* file : {"scanner.icc", "xyz.icc", "matrix.icc", "wide.icc"}) all[file] = ArgyllProfile(file);
        for (const char* space : {"srgb", "adobe-rgb", "prophoto"}) all[space] = SpaceProfile(space);
        all["srgb-2"] = SpaceProfile("srgb", 2);
        return all;
    }();
    return made.at(name);
}

struct Case {
    const char *source, *target;
    const char* way;
    RenderingIntent intent = RenderingIntent::Perceptual;
    BlackPoint black = BlackPoint::Auto;
};
std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << c.source << " to " << c.target << ", intent " << static_cast<int>(c.intent) << ", black point "
               << static_cast<int>(c.black);
}

constexpr const char *kMatrix = "matrix", *kDirect = "direct";

class ConversionMethodsTest : public testing::TestWithParam<Case> {};

constexpr auto kPerceptual = RenderingIntent::Perceptual, kRelative = RenderingIntent::RelativeColorimetric,
               kSaturation = RenderingIntent::Saturation, kAbsolute = RenderingIntent::AbsoluteColorimetric;
constexpr auto kCompensated = BlackPoint::Compensated;

TEST_P(ConversionMethodsTest, HaveTheReportedError) {
    const Case& c = GetParam();
    const TransformOptions options{c.intent, c.black};
    const Bytes &source = Device(c.source), &target = Device(c.target);
    const Transform transform(source, target, options);
    EXPECT_EQ(WayName(transform.way()), c.way);
    EXPECT_EQ(transform.reason(), "");
    const auto [words, bytes] = Measure(transform, source, target, options);
    EXPECT_EQ(words.undefined, 0U);
    EXPECT_LE(words.mean, 0.02);
    EXPECT_LE(words.p999, 0.3);
    EXPECT_LE(words.largest, 1.0);
    EXPECT_LE(bytes.most, 1);
    EXPECT_GE(bytes.equal, 0.99);
    EXPECT_LE(transform.error().p999, 0.3);
    EXPECT_LE(transform.error().largest, 1.0);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Profiles, ConversionMethodsTest, testing::Values(
    Case{"mft1", "srgb", kDirect}, Case{"mft2", "srgb", kDirect}, Case{"mft2-xyz", "srgb", kDirect},
    Case{"mAB", "srgb", kDirect}, Case{"mAB-matrix", "adobe-rgb", kDirect},
    Case{"mAB-no-grid", "srgb", kMatrix}, Case{"scanner.icc", "prophoto", kDirect},
    Case{"xyz.icc", "srgb", kDirect}, Case{"matrix.icc", "srgb", kMatrix}, Case{"wide.icc", "srgb", kMatrix},
    Case{"gamma", "adobe-rgb", kMatrix}, Case{"formula", "srgb-2", kMatrix},
    Case{"gamma", "three-curves", kMatrix},
    Case{"gamma", "printer-2", kDirect}, Case{"gamma", "printer-4", kDirect},
    Case{"mft2", "printer-2", kDirect}, Case{"mAB-matrix", "printer-4", kDirect},
    Case{"scanner.icc", "printer-4", kDirect}, Case{"mft2-xyz", "printer-2", kDirect},
    Case{"mft2", "srgb", kDirect, kRelative}, Case{"mft2", "srgb", kDirect, kSaturation},
    Case{"mft2", "srgb", kDirect, kAbsolute}, Case{"screen-2", "srgb", kDirect, kAbsolute},
    Case{"old-screen", "gamma", kMatrix, kAbsolute}, Case{"mAB", "srgb-2", kDirect, kPerceptual},
    Case{"mft2", "srgb-2", kDirect, kSaturation}, Case{"mft2", "srgb", kDirect, kRelative, kCompensated},
    Case{"mAB", "srgb-2", kDirect, kPerceptual, kCompensated},
    Case{"scanner.icc", "srgb", kDirect, kAbsolute, kCompensated},
    Case{"gamma", "printer-2", kDirect, kRelative, kCompensated}, Case{"gamma", "printer-2", kDirect, kAbsolute},
    Case{"mft2", "printer-4", kDirect, kSaturation}, Case{"mft2", "printer-4", kDirect, kRelative},
    Case{"mft2", "printer-4", kDirect, kRelative, kCompensated}, Case{"xyz.icc", "srgb", kDirect, kRelative}));
// clang-format on

TEST(ConversionMethodsTest, BlackPointsAreCompensatedByTheRulesOfTheHeader) {
    // The scanner's black is 1 % of the white, in steps of 1/652 of L*; the black of a space is 0.
    const auto expect = [](double light, const char* target, RenderingIntent intent, BlackPoint black) {
        const Transform transform(Device("mft2"), Device(target), {intent, black});
        EXPECT_NEAR(Converted(transform, Words{0, 0, 0})[1], 65535 * SrgbSample(light), 20)
            << Case{"mft2", target, kDirect, intent, black};
    };
    expect(0.01, "srgb-2", kPerceptual, BlackPoint::Auto);
    expect(0.01, "srgb-2", kSaturation, BlackPoint::Auto);
    expect(0.01, "srgb", kRelative, BlackPoint::Auto);
    expect(0, "srgb", kPerceptual, BlackPoint::Auto);
    expect(0, "srgb", kSaturation, BlackPoint::Auto);
    expect(0, "srgb-2", kPerceptual, kCompensated);
    expect(0, "srgb", kRelative, kCompensated);
    // The light of the paper, 90 %, times that of the black, with and without compensation.
    expect(0.009, "srgb", kAbsolute, BlackPoint::Auto);
    expect(0.009, "srgb", kAbsolute, kCompensated);
}

TEST(ConversionMethodsTest, TheReportedErrorIsThatOfTheMeasuredColours) {
    Words colours;
    for (const auto& rgb : colour::CheckColours()) colours.insert(colours.end(), rgb.begin(), rgb.end());
    for (const char* target : {"srgb", "printer-2"}) {
        const TransformOptions options{kRelative};
        const Transform transform(Device("mft2"), Device(target), options);
        const auto words = Measure(transform, Device("mft2"), Device(target), options, colours).words;
        EXPECT_EQ(transform.error().colours, colours.size() / 3);
        EXPECT_NEAR(transform.error().mean, words.mean, 1e-4);
        EXPECT_NEAR(transform.error().p999, words.p999, 1e-3);
        EXPECT_NEAR(transform.error().largest, words.largest, 1e-3);
        EXPECT_GT(transform.error().mean, 0);
    }
}

TEST(ConversionMethodsTest, GridsOfMoreThan129PointsAreLeftToLittleCms) {
    // A table of bytes whose grid is all middle grey: 6.6 MB in the file would be 35 MB in memory.
    const auto make = [](unsigned char points) {
        ByteWriter block;
        block.Text("mft1").Big32(0).Append(Bytes{3, 3, points, 0});
        for (unsigned i = 0; i < 9; ++i) block.Big32(i % 4 == 0 ? 0x10000 : 0);
        for (unsigned i = 0; i < 3 * 256; ++i) block.U8(i);
        block.Fill(std::size_t{3} * points * points * points, 128);
        for (unsigned i = 0; i < 3 * 256; ++i) block.U8(i);
        return ProfileBuilder().Raw("A2B0", block.Done()).Build();
    };
    EXPECT_EQ(Transform(make(129), LcmsSrgb(), {}).way(), Way::Direct);
    EXPECT_EQ(Transform(make(130), LcmsSrgb(), {}).way(), Way::PixelByPixel);
}

TEST(ConversionMethodsTest, ElementsInFloatingPointAreConvertedPixelByPixel) {
    for (const bool rough : {false, true}) {
        const Bytes profile = FloatProfile(rough);
        const Transform transform(profile, Device("srgb"), {});
        EXPECT_EQ(WayName(transform.way()), "pixel by pixel");
        EXPECT_EQ(transform.reason(),
                  "a profile has stages that no faster method supports, or a grid of more than 129 points");
        const auto [words, bytes] = Measure(transform, profile, Device("srgb"), {});
        EXPECT_LE(words.largest, 0.02);
        EXPECT_LE(bytes.most, 1);
        EXPECT_GE(bytes.equal, 0.99);
    }
}

TEST(ConversionMethodsTest, ATransformOutlivesItsProfilesAndMoves) {
    Bytes profile = Device("mft2");
    Transform first(profile, LcmsSrgb(), {});
    const Words wanted = Converted(first, SampleColours());
    std::fill(profile.begin(), profile.end(), static_cast<unsigned char>(0));
    Transform second = std::move(first);
    EXPECT_THAT(Converted(second, SampleColours()), EqualTo(wanted));
    first = std::move(second);
    EXPECT_THAT(Converted(first, SampleColours()), EqualTo(wanted));
}

TEST(ConversionMethodsTest, AnExactConverterMatchesItsTransform) {
    const auto shared = std::make_shared<const Transform>(Device("mft2"), LcmsSrgb(), TransformOptions{});
    const auto check = [&](unsigned bits, auto samples) {
        const colour::ExactConverter converter(shared, bits);
        EXPECT_EQ(converter.bits(), bits);
        EXPECT_EQ(converter.range().low[1], 0);
        EXPECT_EQ(converter.range().high[2], (1 << bits) - 1);
        const auto wanted = Converted(*shared, samples);
        converter.Convert(reinterpret_cast<unsigned char*>(samples.data()), samples.size() / 3);
        EXPECT_THAT(samples, EqualTo(wanted));
    };
    check(8, HighBytes(SampleColours()));
    check(16, SampleColours());
}

TEST(ConversionMethodsTest, PollIsCalledWhileATransformIsMadeAndMayThrow) {
    int calls = 0;
    const Transform transform(Device("mft2"), Device("srgb"), {}, [&] { ++calls; });
    EXPECT_GT(calls, 0);
    EXPECT_THROW(Transform(Device("mft2"), Device("srgb"), {}, [] { throw std::domain_error("enough"); }),
                 std::domain_error);
}

TEST(ConversionMethodsTest, TinyOffsetsChangeNothing) {
    // Colours with a chroma below 100, the limit that C* would be clipped to.
    Words muted = SampleColours();
    for (std::size_t i = 0; i < muted.size(); i += 3) {
        for (std::size_t c = 1; c < 3; ++c)
            muted[i + c] = static_cast<std::uint16_t>((muted[i] * 2 + muted[i + c]) / 3);
    }
    const Bytes& source = Device("mft2");
    for (const char* target : {"srgb", "printer-2", "printer-4"}) {
        for (const auto intent : {kPerceptual, kRelative, kAbsolute}) {
            SCOPED_TRACE(testing::Message() << target << ", intent " << static_cast<int>(intent));
            const Transform transform(source, Device(target), {intent, BlackPoint::Auto, 1e-9, 0, 0});
            EXPECT_EQ(transform.reason(), "");
            EXPECT_LE(Measure(transform, source, Device(target), {intent}, muted).words.p999, 0.3);
        }
    }
}

/// L*, C* and hue in degrees of an sRGB colour, 0 to 1, under D50.
Vector LchOf(const Words& rgb) {
    Vector light;
    for (std::size_t c = 0; c < 3; ++c) light[c] = SrgbLight(rgb[c] / 65535.0);
    const cmsCIELab lab = LabOf(ToXyz(kGamutSrgb), light);
    cmsCIELCh lch;
    cmsLab2LCh(&lch, &lab);
    return {lch.L, lch.C, lch.h};
}

TEST(ConversionMethodsTest, OffsetsChangeLightnessChromaAndHueAndNothingElse) {
    // The second is nearly neutral: the offset of C* applies to it with a weight of a twentieth of its chroma.
    const Words colours[] = {
        {40000, 30000, 20000}, {31000, 30000, 29500}, {20000, 30000, 34000}, {30000, 30000, 30000}};
    const Bytes source = MatrixProfile(kGamutSrgb, SrgbFormula());
    EXPECT_EQ(Transform(source, Device("srgb"), {kRelative}).way(), Way::Copy);
    for (const Vector& offset : {Vector{5, 0, 0}, Vector{-7, 0, 0}, Vector{0, 6, 0}, Vector{0, -4, 0}, Vector{0, 0, 30},
                                 Vector{0, 0, -340}, Vector{3, 4, 20}}) {
        const Transform transform(source, Device("srgb"),
                                  {kRelative, BlackPoint::Auto, offset[0], offset[1], offset[2]});
        EXPECT_EQ(transform.way(), Way::Matrix);
        for (const Words& colour : colours) {
            const Vector before = LchOf(colour), after = LchOf(Converted(transform, colour));
            const double chroma = before[1] + offset[1] * std::min(before[1] / 20, 1.0);
            EXPECT_NEAR(after[0], before[0] + offset[0], 0.02);
            EXPECT_NEAR(after[1], chroma, 0.02);
            const double turned = std::remainder(after[2] - before[2] - offset[2], 360);
            EXPECT_TRUE(chroma < 1 || std::abs(turned) < 0.2) << turned;
        }
    }
    const auto only = [&](double lightness, double chroma) {
        return Transform(source, Device("srgb"), {kRelative, BlackPoint::Auto, lightness, chroma, 0});
    };
    EXPECT_THAT(Converted(only(100, 0), Words{20000, 20000, 20000}), testing::Each(65535));
    EXPECT_THAT(Converted(only(-100, 0), Words{60000, 60000, 60000}), testing::Each(0));
    const Words grey = Converted(only(0, -100), Words{40000, 30000, 20000});
    EXPECT_NEAR(grey[0], grey[1], 1);
    EXPECT_NEAR(grey[1], grey[2], 1);
}

Way WayBetween(const Bytes& source, const Bytes& target, const TransformOptions& options = {}) {
    return Transform(source, target, options).way();
}

/// The sRGB curve as a table, of which some entries near black are 0.
Bytes SrgbTable(int entries, int zeros = 0) {
    std::vector<double> light;
    for (int i = 0; i < entries; ++i) light.push_back(i < zeros ? 0 : SrgbLight(i / (entries - 1.0)));
    return TableBlock(light);
}

TEST(ConversionMethodsTest, BlackAndWhiteAreExactToTheLastBit) {
    for (const char* file : {"scanner.icc", "xyz.icc", "matrix.icc"}) {
        for (const Bytes& target : {Device("srgb"), Device("adobe-rgb"), Device("printer-2")}) {
            const TransformOptions options{kAbsolute};
            const Bytes& source = Device(file);
            const Transform transform(source, target, options);
            const judge::Truth truth = TruthOf(source, target, options);
            const auto check = [&](const auto& ends, double top) {
                const auto reached = Converted(transform, ends);
                for (std::size_t i = 0; i < 6; ++i) {
                    EXPECT_EQ(reached[i], std::lround(truth.Of(judge::Pixels(ends)[i / 3])[i % 3] * top)) << file;
                }
            };
            check(Words{0, 0, 0, 65535, 65535, 65535}, 65535);
            check(Bytes{0, 0, 0, 255, 255, 255}, 255);
        }
    }
}

TEST(SameColoursTest, IdenticalProfilesAreCopied) {
    for (const Bytes& profile : {Device("printer-2"), Device("wide.icc"), LcmsSrgb()}) {
        for (const int intent : {0, 1, 2, 3}) {
            const Transform transform(profile, profile, {static_cast<RenderingIntent>(intent)});
            EXPECT_EQ(WayName(transform.way()), "copy");
            EXPECT_EQ(transform.reason(), "");
            EXPECT_EQ(transform.error().colours, 0U);
            EXPECT_EQ(transform.error().largest, 0.0);
            EXPECT_THAT(Converted(transform, SampleColours()), EqualTo(SampleColours()));
        }
    }
}

TEST(SameColoursTest, SrgbProfilesOfOtherProgramsAreCopied) {
    const Bytes kSources[] = {LcmsSrgb(), ArgyllProfile("screen.icc"), MatrixProfile(kGamutSrgb, SrgbFormula(), 4),
                              MatrixProfile(kGamutSrgb, SrgbTable(1024)), MatrixProfile(kGamutSrgb, SrgbTable(4096))};
    for (const Bytes& source : kSources) {
        EXPECT_EQ(WayBetween(source, Device("srgb")), Way::Copy) << "source " << &source - kSources;
        EXPECT_EQ(WayBetween(source, Device("srgb-2")), Way::Copy) << "source " << &source - kSources;
        EXPECT_EQ(WayBetween(Device("srgb"), source, {kRelative}), Way::Copy);
    }
}

TEST(SameColoursTest, ASecondPassOverAnyOutputChangesNothing) {
    for (const colour::Space& space : colour::Spaces()) {
        // Version 2 rounds the exponent 1 / 0.5556 to a multiple of 1 / 256, which is a different curve.
        if (space.tone == colour::Tone::Gamma18) continue;
        const Bytes second = SpaceProfile(space.name, 2), fourth = SpaceProfile(space.name, 4);
        for (const auto intent : {kPerceptual, kAbsolute}) {
            EXPECT_EQ(WayBetween(second, fourth, {intent}), Way::Copy) << space.name;
            EXPECT_EQ(WayBetween(fourth, second, {intent}), Way::Copy) << space.name;
        }
    }
}

TEST(SameColoursTest, OtherColoursAreConverted) {
    const auto srgb = [](const Bytes& curve) { return MatrixProfile(kGamutSrgb, curve); };
    EXPECT_EQ(WayBetween(srgb(GammaBlock(2.19921875)), srgb(GammaBlock(2.203125))), Way::Matrix);
    // Red and green whose x differs by 0.001 from the standard.
    Gamut other = kGamutSrgb;
    other.red[0] += 0.001;
    other.green[0] += 0.001;
    const Bytes sources[] = {MatrixProfile(kGamutP3, SrgbFormula(), 4), srgb(GammaBlock(2.2)),
                             MatrixProfile(other, SrgbFormula(), 4),
                             // Colorants rounded to four decimals.
                             colour::MakeOutputProfile(*colour::FindSpace("srgb"), colour::Colorants::Engine, {}, ""),
                             SpaceProfile("srgb-linear"),
                             // A step of the curve near black, which many tables omit.
                             srgb(SrgbTable(1024, 8))};
    for (const Bytes& source : sources) {
        EXPECT_EQ(WayBetween(source, Device("srgb")), Way::Matrix) << "source " << &source - sources;
    }
    EXPECT_EQ(WayBetween(Device("mft2"), Device("printer-2")), Way::Direct);
}

TEST(SameColoursTest, AnotherWhitePointMattersOnlyForTheAbsoluteIntent) {
    // The same scanner with a medium white point of 80 % of D50.
    const Bytes bright = MatrixProfile(kGamutSrgb, SrgbFormula(), 4);
    const Bytes white = XyzBlock(0xf6d6, 0x10000, 0xd32d), less = XyzBlock(0xc578, 0xcccd, 0xa8f1);
    Bytes dim = bright;
    const auto at = std::search(dim.begin(), dim.end(), white.begin(), white.end());
    ASSERT_NE(at, dim.end());
    std::copy(less.begin(), less.end(), at);
    EXPECT_EQ(WayBetween(dim, bright, {kRelative}), Way::Copy);
    const Transform absolute(dim, bright, {kAbsolute});
    EXPECT_EQ(absolute.way(), Way::Matrix);
    // 1.055 * 0.8^(1/2.4) - 0.055
    EXPECT_THAT(Converted(absolute, Bytes{255, 255, 255}), testing::Each(231));
}

}  // namespace
}  // namespace hueweave::test
