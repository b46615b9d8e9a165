// SPDX-License-Identifier: MIT
// The shared library of transforms: equality with the command and with colour::Transform, and every failure.
#include <cmath>
#include <limits>
#include <map>

#include "abi/Library.h"
#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "hueweave/transform.hpp"
#include "support/Matchers.h"
#include "support/MiniTiff.h"
#include "support/ReferenceTiff.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::Each;
using testing::HasSubstr;
using ApiProfile = hueweave::Profile;
using ApiTransform = hueweave::Transform;

/// Options of the command and of the library that mean the same.
struct Pair {
    const char *words, *space;
    void (*set)(hw_options&);
};

TEST(TransformApiTest, GivesTheSamplesAndTheProfileOfTheCommand) {
    static Bytes curves(768);
    const TempDir dir;
    std::string rows;
    for (unsigned i = 0; i < 256; ++i) {
        const unsigned values[3] = {i, i * i / 255, 255 - (255 - i) * (255 - i) / 255};
        for (unsigned c = 0; c < 3; ++c) {
            curves[256 * c + i] = static_cast<unsigned char>(values[c]);
            rows += std::to_string(values[c]) + (c < 2 ? "," : "\n");
        }
    }
    WriteFile(dir.File("curves.csv"), Bytes(rows.begin(), rows.end()));
    WriteFile(dir.File("scanner.icc"), ArgyllProfile("scanner.icc"));
    const Pair pairs[] = {
        {"--to srgb", "srgb", [](hw_options&) {}},
        {"--to eci-rgb-v2 --intent absolute --icc-version 2 --lightness 4.5 --chroma -9 --hue 20", "eci-rgb-v2",
         [](hw_options& o) {
             o.intent = HW_INTENT_ABSOLUTE, o.icc_version = 2, o.lightness = 4.5, o.chroma = -9, o.hue = 20;
         }},
        {"--to prophoto --intent relative --bpc --curve curves.csv", "prophoto",
         [](hw_options& o) {
             o.intent = HW_INTENT_RELATIVE, o.black_point = HW_BLACK_POINT_COMPENSATED, o.curves = curves.data();
         }},
        {"--to adobe-rgb --precision library --intent saturation", "adobe-rgb",
         [](hw_options& o) { o.precision = HW_PRECISION_LIBRARY, o.intent = HW_INTENT_SATURATION; }},
        {"--to kodak-mix --precision library --lightness 2.5 --accept-error 7 --curve curves.csv", "kodak-mix",
         [](hw_options& o) {
             o.precision = HW_PRECISION_LIBRARY, o.lightness = 2.5, o.accept_error = 7, o.curves = curves.data();
         }}};
    const Words colours = SampleColours();
    const auto* const samples = reinterpret_cast<const unsigned char*>(colours.data());
    const auto count = static_cast<std::uint32_t>(colours.size() / 3);
    for (const Pair& pair : pairs) {
        for (const unsigned bits : {8U, 16U}) {
            SCOPED_TRACE(testing::Message() << pair.words << ", " << bits);
            const Bytes pixels(samples, samples + colours.size() * bits / 8);
            WriteFile(dir.File("in.tif"), MiniTiff{count, 1, 3, bits, pixels, {}}.Build());
            OutputOfTool("cd '" + dir.Path() + "' && '" HUEWEAVE_COMMAND "' convert -q --force in.tif -o out.tif " +
                         "--profile scanner.icc " + pair.words);
            ReferenceTiff output;
            ASSERT_EQ(output.Read(ReadFile(dir.File("out.tif"))), 0);
            hw_options options = HW_OPTIONS_INIT;
            options.samples = bits == 8 ? HW_SAMPLES_UINT8 : HW_SAMPLES_UINT16;
            pair.set(options);
            const ApiTransform transform(ApiProfile::FromFile(dir.File("scanner.icc")), ApiProfile::OfSpace(pair.space),
                                         options);
            Bytes converted(pixels.size());
            ASSERT_EQ(hw_convert(transform.get(), pixels.data(), converted.data(), count), HW_OK);
            EXPECT_THAT(converted, EqualsBytes(output.Find(273)->data.value()));
            EXPECT_THAT(transform.OutputProfile(), EqualsBytes(output.Find(34675)->data.value()));
        }
    }
}

/// A profile for each way to sRGB.
const std::map<std::string, Bytes>& ProfilesByWay() {
    static const std::map<std::string, Bytes> all{{"copy", SpaceProfile("srgb")},
                                                  {"matrix", MatrixProfile(kGamut2020, GammaBlock(1.8))},
                                                  {"direct", TableProfile({})},
                                                  {"pixel by pixel", FloatProfile(false)}};
    return all;
}

/// Compared with the transform that converts pixel by pixel. The bytes beside the image stay.
TEST(TransformApiTest, EveryMethodConvertsRunsOfAnyLengthAtAnyAddressWithExtraSamples) {
    const Bytes& target = ProfilesByWay().at("copy");
    Lcg random(5);
    Bytes bytes(4 * 6 * 1000);
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random.Next());
    for (const auto& [way, source] : ProfilesByWay()) {
        const Transform expected(source, target, {});
        for (const std::int32_t type : {HW_SAMPLES_UINT8, HW_SAMPLES_UINT16, HW_SAMPLES_FLOAT}) {
            hw_options options = HW_OPTIONS_INIT;
            options.samples = type;
            const ApiTransform transform(ApiProfile::FromMemory(source), ApiProfile::FromMemory(target), options);
            const hw_info info = transform.Info();
            EXPECT_EQ(info.way, way);
            EXPECT_EQ(info.reason, expected.reason());
            EXPECT_EQ(info.samples, type);
            EXPECT_EQ(info.error_colours, expected.error().colours);
            EXPECT_EQ(info.error_mean, expected.error().mean);
            EXPECT_EQ(info.error_p999, expected.error().p999);
            EXPECT_EQ(info.error_largest, expected.error().largest);
            const unsigned bits = 8U << type;
            for (const std::size_t samples : {3U, 4U, 5U, 6U}) {
                const std::size_t pixel = samples * bits / 8;
                Bytes single = bytes;
                for (std::size_t at = 0; at < 1000 * pixel; at += pixel) expected.Convert(&single[at], bits, 1);
                for (const std::size_t pixels : {1U, 2U, 7U, 8U, 9U, 33U, 255U, 256U, 257U, 1000U}) {
                    if (pixels > 33 && samples > 4) continue;
                    for (const std::size_t shift : {0U, 1U, 2U, 3U}) {
                        SCOPED_TRACE(testing::Message() << way << ", " << bits << " bits, " << samples << " samples, "
                                                        << pixels << " pixels, shift " << shift);
                        Bytes from(pixels * pixel + 8, 0xa5), wanted = from, to = from;
                        std::copy_n(bytes.begin(), pixels * pixel, &from[shift]);
                        std::copy_n(single.begin(), pixels * pixel, &wanted[shift]);
                        const hw_layout layout{pixels, 1, samples, 0, 0};
                        ASSERT_EQ(hw_convert_image(transform.get(), &from[shift], &to[shift], &layout), HW_OK);
                        EXPECT_THAT(to, EqualsBytes(wanted));
                        ASSERT_EQ(hw_convert_image(transform.get(), &from[shift], &from[shift], &layout), HW_OK);
                        EXPECT_THAT(from, EqualsBytes(wanted));
                    }
                }
            }
        }
    }
}

/// By Little CMS in doubles, clipped to 0 to 1.
std::vector<double> TruthFor(const Bytes& source, const Bytes& target, const std::vector<double>& colours) {
    const judge::Truth truth = TruthOf(source, target, {});
    std::vector<double> all;
    for (std::size_t i = 0; i < colours.size(); i += 3) {
        const judge::Rgb rgb = truth.Of({colours[i], colours[i + 1], colours[i + 2]});
        all.insert(all.end(), rgb.begin(), rgb.end());
    }
    return all;
}

TEST(TransformApiTest, FloatsAreConvertedWithoutRoundingAndClamped) {
    const Bytes& target = ProfilesByWay().at("copy");
    std::vector<double> colours;
    for (const std::uint16_t word : SampleColours()) colours.push_back(std::min(1.0, word / 65535.0 + 0.3 / 65535));
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN(), kMost = std::numeric_limits<float>::infinity();
    const std::vector<float> beyond{kNan, -kNan, kNan, -1, -kMost, -0.0F, 2, kMost, 1.0001F, kNan, 1.5F, -3};
    const std::vector<float> within{0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 1, 0};
    for (const auto& [way, source] : ProfilesByWay()) {
        SCOPED_TRACE(way);
        hw_options options = HW_OPTIONS_INIT;
        options.samples = HW_SAMPLES_FLOAT;
        const ApiTransform transform(ApiProfile::FromMemory(source), ApiProfile::FromMemory(target), options);
        const std::vector<double> truth = TruthFor(source, target, colours);
        std::vector<float> samples(colours.begin(), colours.end());
        transform.Convert(samples, samples);
        double sum = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) sum += std::abs(samples[i] - truth[i]);
        EXPECT_LT(sum / static_cast<double>(samples.size()), 1.0 / 65535);
        // Black and white are exactly those of Little CMS.
        std::vector<float> ends{0, 0, 0, 1, 1, 1};
        const std::vector<double> wanted = TruthFor(source, target, {ends.begin(), ends.end()});
        transform.Convert(ends, ends);
        EXPECT_EQ(ends, std::vector<float>(wanted.begin(), wanted.end()));
        // Two values within a step of 16 bits are not the same.
        std::vector<float> pair{0.5F, 0.5F, 0.5F, 0.500003F, 0.500003F, 0.500003F}, outside(12), inside(12);
        transform.Convert(pair, pair);
        EXPECT_LT(pair[0], pair[3]);
        EXPECT_LT(pair[3] - pair[0], 1.0F / 65535);
        transform.Convert(beyond, outside);
        transform.Convert(within, inside);
        EXPECT_EQ(outside, inside);
        EXPECT_THAT(outside, Each(testing::AllOf(testing::Ge(0.0F), testing::Le(1.0F))));
    }
}

TEST(TransformApiTest, AnyProfileOfTheTargetSpaceIsCopied) {
    const ApiProfile srgb = ApiProfile::OfSpace("srgb"), target = ApiProfile::OfSpace("apple-rgb-g18");
    hw_options byLibrary = HW_OPTIONS_INIT;
    byLibrary.precision = HW_PRECISION_LIBRARY, byLibrary.accept_error = 100;
    for (const std::int32_t version : {2, 4}) {
        hw_options options = HW_OPTIONS_INIT;
        options.icc_version = version;
        for (const hw_options& first : {byLibrary, options}) {
            const ApiTransform made(srgb, target, first);
            const ApiTransform second(ApiProfile::FromMemory(made.OutputProfile()), target, options);
            EXPECT_STREQ(second.Info().way, "copy");
        }
    }
}

/// Images of 2 x 3 pixels of four channels, compared with their single pixels. The bytes beside them stay.
TEST(TransformApiTest, RowsMayHaveStridesAndInterleaveWithTheDestination) {
    const ApiTransform transform(ApiProfile::OfSpace("srgb"), ApiProfile::OfSpace("srgb-linear"));
    Bytes memory(96);
    for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<unsigned char>(i * 37);
    const struct {
        std::size_t source, dest;
        std::ptrdiff_t sourceStride, destStride;
    } cases[] = {{0, 0, 16, 16},   {0, 8, 16, 16}, {8, 0, 16, 16}, {1, 49, 15, 15}, {0, 40, 16, -16},
                 {32, 8, -16, 16}, {0, 48, 0, 0},  {0, 48, 0, 16}, {0, 48, 13, 0},  {40, 32, -16, -16}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.source << " " << c.dest);
        Bytes wanted = memory, now = memory;
        for (std::ptrdiff_t y = 0; y < 3; ++y) {
            const unsigned char* from = &memory[c.source] + y * (c.sourceStride == 0 ? 8 : c.sourceStride);
            unsigned char* to = &wanted[c.dest] + y * (c.destStride == 0 ? 8 : c.destStride);
            for (const std::ptrdiff_t pixel : {0, 4}) {
                EXPECT_EQ(hw_convert(transform.get(), from + pixel, to + pixel, 1), HW_OK);
                to[pixel + 3] = from[pixel + 3];
            }
        }
        const hw_layout layout{2, 3, 4, c.sourceStride, c.destStride};
        EXPECT_EQ(hw_convert_image(transform.get(), &now[c.source], &now[c.dest], &layout), HW_OK);
        EXPECT_THAT(now, EqualsBytes(wanted));
    }
}

TEST(TransformApiTest, WrapperThrowsWhatTheLibraryReturns) {
    const auto failure = [](const auto& call) {
        try {
            call();
        } catch (const Error& error) {
            return std::string(error.name()) + ": " + error.what();
        }
        return std::string();
    };
    const ApiProfile srgb = ApiProfile::OfSpace("srgb");
    EXPECT_THAT(failure([&] { ApiTransform(ApiProfile::OfSpace("none"), srgb); }),
                testing::StartsWith("space: none: is not a colour space"));
    EXPECT_THAT(failure([&] { ApiTransform(ApiProfile::FromMemory({}), srgb); }),
                testing::StartsWith("profile: source: is not a readable ICC profile"));
    ApiTransform first(srgb, ApiProfile::OfSpace("srgb-linear"));
    const ApiTransform transform = std::move(first);
    Bytes bytes{0, 128, 255}, pixel(3), half(2);
    Words words(3);
    EXPECT_THAT(failure([&] { transform.Convert(words, words); }), HasSubstr("another type of samples"));
    EXPECT_THAT(failure([&] { transform.Convert(half, half); }), HasSubstr("no whole pixels"));
    EXPECT_THAT(failure([&] { transform.Convert(bytes, half); }), HasSubstr("not of the same size"));
    EXPECT_THAT(failure([&] { transform.ConvertImage(&bytes[0], &bytes[0], {1, 1, 2, 0, 0}); }), HasSubstr("layout: "));
    transform.Convert(bytes, pixel);
    EXPECT_THAT(pixel, testing::ElementsAre(0, 55, 255));  // ((128 / 255 + 0.055) / 1.055) ^ 2.4 = 0.2159
    EXPECT_FALSE(transform.OutputProfile().empty());
    EXPECT_THAT(SpaceNames(), testing::IsSupersetOf({"srgb", "display-p3", "kodak-text"}));
    EXPECT_EQ(hw_space_name(SpaceNames().size()), nullptr);
    EXPECT_EQ(hw_space_title(SpaceNames().size()), nullptr);
    EXPECT_STREQ(hw_space_title(0), "sRGB");
}

TEST(TransformApiTest, NamesStatusesAndItsVersion) {
    const char* const names[] = {"ok",        "argument", "options", "file",    "profile", "space",
                                 "precision", "curves",   "layout",  "overlap", "memory",  "internal"};
    for (std::int32_t i = 0; i < 12; ++i) {
        EXPECT_STREQ(hw_status_name(i), names[i]);
        EXPECT_THAT(hw_status_message(i), testing::EndsWith("."));
    }
    for (const std::int32_t i : {-1, 12}) EXPECT_STREQ(hw_status_name(i), "unknown");
    EXPECT_STREQ(hw_status_message(12), "There is no such status.");
    EXPECT_STREQ(hw_version(), HUEWEAVE_VERSION);
    EXPECT_EQ(hw_version_number(),
              10000 * HUEWEAVE_VERSION_MAJOR + 100 * HUEWEAVE_VERSION_MINOR + HUEWEAVE_VERSION_PATCH);
}

}  // namespace
}  // namespace hueweave::test
