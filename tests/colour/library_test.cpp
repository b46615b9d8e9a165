// SPDX-License-Identifier: MIT
// Pixels of the library's precision are those of an engine, however they are computed.
#include "colour/library/LibraryConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "colour/Profiles.h"
#include "colour/library/EngineBinding.h"
#include "engine/CIccEngineS.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

using namespace colour;
using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

constexpr std::size_t kAllColours = std::size_t{1} << 24;

/// Every 8-bit colour with a number from `first` on, red varying fastest.
Bytes ColoursFrom(std::size_t first, std::size_t count) {
    Bytes rgb(3 * count);
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<unsigned char>((first + i / 3) >> 8 * (i % 3));
    return rgb;
}

std::unique_ptr<Engine> EngineFor(const Bytes& profile, const Rendering& rendering) {
    return BindEngine(profile, rendering, false, rendering.space->code8);
}

/// The pixels that an engine converts one by one, which its loop that defines the results does.
Bytes ByEngine(const Engine& engine, Bytes rgb) {
    for (std::size_t at = 0; at < rgb.size(); at += 3) engine.Conversion(&rgb[at], &rgb[at], 1);
    return rgb;
}

Bytes ByConverter(const LibraryConverter& converter, Bytes rgb) {
    converter.Convert(rgb.data(), rgb.size() / 3);
    return rgb;
}

TEST(LibraryConverterTest, ConvertsEveryColourLikeTheEngine) {
    const Bytes profile = ArgyllProfile("scanner.icc");
    Rendering rendering;
    rendering.space = FindSpace("srgb");
    const LibraryConverter converter(profile, rendering, 8);
    const auto engine = EngineFor(profile, rendering);
    constexpr std::size_t kTogether = std::size_t{1} << 16;
    for (std::size_t first = 0; first < kAllColours; first += kTogether) {
        const Bytes rgb = ColoursFrom(first, kTogether);
        ASSERT_TRUE(ByConverter(converter, rgb) == ByEngine(*engine, rgb)) << "from colour " << first;
    }
}

TEST(LibraryConverterTest, ConvertsLikeTheEngineToEverySpaceWithCurvesAndOffsets) {
    const Bytes profile = ArgyllProfile("scanner.icc");
    Bytes rgb;
    Lcg random(8);
    for (int n = 0; n < 30000; ++n) rgb.push_back(static_cast<unsigned char>(random.Sample() >> 8));
    ToneCurves curves{};
    for (std::size_t i = 0; i < 256; ++i) {
        curves[0][i] = static_cast<unsigned char>(i);
        curves[1][i] = static_cast<unsigned char>(255 - i);
        curves[2][i] = static_cast<unsigned char>(i / 2);
    }
    for (const Space& space : Spaces()) {
        if (!space.IsEngines() || space.ByTable()) continue;
        for (const auto& own : {std::optional<ToneCurves>(), std::optional(curves)}) {
            const Rendering rendering{ICC40::ICCFILE::IntentPerceptual, &space, 5, -12.5, 30, own};
            const Bytes wanted = ByEngine(*EngineFor(profile, rendering), rgb);
            EXPECT_EQ(ByConverter(LibraryConverter(profile, rendering, 8), rgb), wanted) << space.name;
        }
    }
}

TEST(LibraryConverterTest, ConvertsRunsOfEveryLengthAtEveryAddress) {
    const Bytes profile = ArgyllProfile("scanner.icc");
    Rendering rendering;
    rendering.space = FindSpace("srgb");
    const LibraryConverter converter(profile, rendering, 8);
    const Bytes rgb = ColoursFrom(0x123456, 150);
    const Bytes wanted = ByEngine(*EngineFor(profile, rendering), rgb);
    for (std::size_t pixels = 0; pixels <= 150; ++pixels) {
        Bytes run = rgb;
        const std::size_t first = pixels % 7, count = std::min(pixels, 150 - first);
        converter.Convert(&run[3 * first], count);
        Bytes expected = rgb;
        std::copy_n(&wanted[3 * first], 3 * count, &expected[3 * first]);
        EXPECT_EQ(run, expected) << pixels;
    }
}

}  // namespace
}  // namespace hueweave::test
