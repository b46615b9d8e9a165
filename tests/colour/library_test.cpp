// SPDX-License-Identifier: MIT
// Pixels of the library's precision are those of an engine, however they are computed.
#include "colour/library/LibraryConverter.h"

#include <algorithm>
#include <memory>

#include "colour/Profiles.h"
#include "colour/library/EngineBinding.h"
#include "engine/CIccEngineS.h"
#include "support/Matchers.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

using namespace colour;

/// Every 8-bit colour with a number from `first` on, red varying fastest.
Bytes ColoursFrom(std::size_t first, std::size_t count) {
    Bytes rgb(3 * count);
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<unsigned char>((first + i / 3) >> 8 * (i % 3));
    return rgb;
}

/// A converter by the profile of a scanner, and the engine that it has to equal.
struct Both {
    explicit Both(const Rendering& rendering = {ICC40::ICCFILE::IntentPerceptual, FindSpace("srgb"), 0, 0, 0, {}})
        : converter(ArgyllProfile("scanner.icc"), rendering, 8),
          engine(BindEngine(ArgyllProfile("scanner.icc"), rendering, false, rendering.space->code8)) {}
    Bytes ByConverter(Bytes rgb) const {
        converter.Convert(rgb.data(), rgb.size() / 3);
        return rgb;
    }
    /// One by one, which the engine's loop that defines the results does.
    Bytes ByEngine(Bytes rgb) const {
        for (std::size_t at = 0; at < rgb.size(); at += 3) engine->Conversion(&rgb[at], &rgb[at], 1);
        return rgb;
    }
    LibraryConverter converter;
    std::unique_ptr<ICC40::ICC_ENG_S4::CIccEngineS> engine;
};

TEST(LibraryConverterTest, ConvertsEveryColourLikeTheEngine) {
    const Both both;
    constexpr std::size_t kAll = std::size_t{1} << 24, kTogether = std::size_t{1} << 16;
    for (std::size_t first = 0; first < kAll; first += kTogether) {
        const Bytes rgb = ColoursFrom(first, kTogether), found = both.ByConverter(rgb), expected = both.ByEngine(rgb);
        if (found == expected) continue;  // far quicker than the matcher
        ASSERT_THAT(found, EqualTo(expected)) << "from colour " << first;
    }
}

TEST(LibraryConverterTest, ConvertsLikeTheEngineToEverySpaceWithCurvesAndOffsets) {
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
            const Both both({ICC40::ICCFILE::IntentPerceptual, &space, 5, -12.5, 30, own});
            EXPECT_EQ(both.ByConverter(rgb), both.ByEngine(rgb)) << space.name;
        }
    }
}

TEST(LibraryConverterTest, ConvertsRunsOfEveryLengthAtEveryAddress) {
    const Both both;
    const Bytes rgb = ColoursFrom(0x123456, 150), wanted = both.ByEngine(rgb);
    for (std::size_t pixels = 0; pixels <= 150; ++pixels) {
        Bytes run = rgb;
        const std::size_t first = pixels % 7, count = std::min(pixels, 150 - first);
        both.converter.Convert(&run[3 * first], count);
        Bytes expected = rgb;
        std::copy_n(&wanted[3 * first], 3 * count, &expected[3 * first]);
        EXPECT_EQ(run, expected) << pixels;
    }
}

}  // namespace
}  // namespace hueweave::test
