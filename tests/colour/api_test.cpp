// SPDX-License-Identifier: MIT
// The shared library of transforms: equality with the command and with colour::Transform, and every failure.
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

#include "abi/Library.h"
#include "colour/Api.h"
#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "colour/profile/Target.h"
#include "hueweave/transform.hpp"
#include "support/Matchers.h"
#include "support/MiniTiff.h"
#include "support/ReferenceTiff.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::Each;
using testing::HasSubstr;

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
    for (const Pair& pair : pairs) {
        for (const unsigned bits : {8U, 16U}) {
            SCOPED_TRACE(testing::Message() << pair.words << ", " << bits);
            Bytes pixels = AsBytes(colours.data(), colours.size() * 2);
            pixels.resize(pixels.size() / 6 * bits / 8 * 3);
            const auto count = static_cast<std::uint32_t>(pixels.size() / (bits / 8) / 3);
            WriteFile(dir.File("in.tif"), MiniTiff{count, 1, 3, bits, pixels, {}}.Build());
            OutputOfTool("cd '" + dir.Path() + "' && '" HUEWEAVE_COMMAND "' convert -q --force in.tif -o out.tif " +
                         "--profile scanner.icc " + pair.words);
            ReferenceTiff output;
            ASSERT_EQ(output.Read(ReadFile(dir.File("out.tif"))), 0);
            hw_options options = HW_OPTIONS_INIT;
            options.samples = bits == 8 ? HW_SAMPLES_UINT8 : HW_SAMPLES_UINT16;
            pair.set(options);
            const TransformHandle transform = MakeHandle(PathOf(dir.File("scanner.icc")), SpaceOf(pair.space), options);
            Bytes converted(pixels.size());
            ASSERT_EQ(hw_convert(transform.get(), pixels.data(), converted.data(), count), HW_OK);
            EXPECT_THAT(converted, EqualsBytes(output.Find(273)->data.value()));
            EXPECT_THAT(OutputProfileOf(transform), EqualsBytes(output.Find(34675)->data.value()));
        }
    }
}

/// A profile for each way to sRGB.
const std::map<std::string, Bytes>& ProfilesByWay() {
    static const std::map<std::string, Bytes> all{
        {"copy", *colour::MakeTargetProfile(*colour::FindSpace("srgb"), {}, 4)},
        {"matrix", MatrixProfile(kGamut2020, GammaBlock(1.8))},
        {"direct", TableProfile({})},
        {"pixel by pixel", FloatProfile(false)}};
    return all;
}

TEST(TransformApiTest, EveryWayIsThatOfTheTransformAtAnyAddressWithExtraSamples) {
    const Bytes& target = ProfilesByWay().at("copy");
    const Words words = SampleColours();
    for (const auto& [way, source] : ProfilesByWay()) {
        SCOPED_TRACE(way);
        const Transform expected(source, target, {});
        hw_options options = HW_OPTIONS_INIT;
        options.samples = HW_SAMPLES_UINT16;
        const TransformHandle transform = MakeHandle(DataOf(source), DataOf(target), options);
        const hw_info info = InfoOf(transform);
        EXPECT_EQ(info.way, way);
        EXPECT_EQ(info.reason, expected.reason());
        EXPECT_EQ(info.samples, HW_SAMPLES_UINT16);
        EXPECT_EQ(info.error_colours, expected.error().colours);
        EXPECT_EQ(info.error_mean, expected.error().mean);
        EXPECT_EQ(info.error_p999, expected.error().p999);
        EXPECT_EQ(info.error_largest, expected.error().largest);
        // Read as pixels of five channels, at odd addresses, in place and elsewhere.
        const hw_layout layout{words.size() / 5, 1, 5, 0, 0};
        Words wanted(layout.width * 5);
        expected.Convert(words.data(), wanted.data(), layout.width, 5);
        Bytes from(wanted.size() * 2 + 1), to(from.size());
        std::memcpy(&from[1], words.data(), wanted.size() * 2);
        ASSERT_EQ(hw_convert_image(transform.get(), &from[1], &to[1], &layout), HW_OK);
        EXPECT_THAT(AsBytes(&to[1], to.size() - 1), EqualsBytes(AsBytes(wanted.data(), wanted.size() * 2)));
        ASSERT_EQ(hw_convert_image(transform.get(), &from[1], &from[1], &layout), HW_OK);
        EXPECT_TRUE(from == to);
    }
}

/// By Little CMS in doubles, clipped to 0 to 1.
std::vector<double> TruthFor(const Bytes& source, const Bytes& target, const std::vector<double>& colours) {
    const judge::Truth truth = TruthOf(source, target, {});
    std::vector<double> all;
    for (std::size_t i = 0; i < colours.size(); i += 3) {
        for (const double value : truth.Of({colours[i], colours[i + 1], colours[i + 2]})) all.push_back(value);
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
        const hueweave::Transform transform(hueweave::Profile::FromMemory(source),
                                            hueweave::Profile::FromMemory(target), options);
        const std::vector<double> truth = TruthFor(source, target, colours);
        std::vector<float> samples(colours.begin(), colours.end());
        transform.Convert(samples, samples);
        double sum = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) sum += std::abs(samples[i] - truth[i]);
        EXPECT_LT(sum / static_cast<double>(samples.size()), 1.0 / 65535);
        // Black and white are exactly those of Little CMS.
        std::vector<float> ends{0, 0, 0, 1, 1, 1}, wanted;
        for (const double end : TruthFor(source, target, {0, 0, 0, 1, 1, 1})) wanted.push_back(static_cast<float>(end));
        transform.Convert(ends, ends);
        EXPECT_EQ(ends, wanted);
        // Two values within a step of 16 bits are not the same.
        std::vector<float> pair{0.5F, 0.5F, 0.5F, 0.500003F, 0.500003F, 0.500003F}, outside = beyond, inside = within;
        transform.Convert(pair, pair);
        EXPECT_LT(pair[0], pair[3]);
        EXPECT_LT(pair[3] - pair[0], 1.0F / 65535);
        transform.Convert(outside, outside);
        transform.Convert(inside, inside);
        EXPECT_EQ(outside, inside);
        EXPECT_THAT(outside, Each(testing::AllOf(testing::Ge(0.0F), testing::Le(1.0F))));
    }
}

TEST(TransformApiTest, AnyProfileOfTheTargetSpaceIsCopied) {
    const auto profile = [](std::int32_t precision, std::int32_t version) {
        hw_options options = HW_OPTIONS_INIT;
        options.precision = precision, options.icc_version = version, options.accept_error = precision == 1 ? 100 : 0;
        return OutputProfileOf(MakeHandle(SpaceOf("srgb"), SpaceOf("apple-rgb-g18"), options));
    };
    for (const std::int32_t version : {2, 4}) {
        hw_options options = HW_OPTIONS_INIT;
        options.icc_version = version;
        for (const Bytes& source : {profile(HW_PRECISION_LIBRARY, 0), profile(HW_PRECISION_EXACT, version)}) {
            EXPECT_STREQ(InfoOf(MakeHandle(DataOf(source), SpaceOf("apple-rgb-g18"), options)).way, "copy");
        }
    }
}

/// Images of 2 x 3 pixels of four channels, compared with their single pixels. The bytes beside them stay.
TEST(TransformApiTest, RowsMayHaveStridesAndLieBetweenThoseOfTheDestination) {
    const TransformHandle transform = MakeHandle(SpaceOf("srgb"), SpaceOf("srgb-linear"));
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
    const auto make = [](const char* name) {
        hueweave::Transform(hueweave::Profile::OfSpace(name), hueweave::Profile::OfSpace("srgb"));
    };
    EXPECT_THAT(failure([&] { make("none"); }), testing::StartsWith("space: none: is not a colour space"));
    EXPECT_THAT(
        failure([] { hueweave::Transform(hueweave::Profile::FromMemory({}), hueweave::Profile::OfSpace("srgb")); }),
        testing::StartsWith("profile: source: is not a readable ICC profile"));
    hueweave::Transform first(hueweave::Profile::OfSpace("srgb"), hueweave::Profile::OfSpace("srgb-linear"));
    const hueweave::Transform transform = std::move(first);
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
