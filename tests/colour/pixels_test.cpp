// SPDX-License-Identifier: MIT
// Pixel layouts: extra samples, in place or not, runs of every length, any alignment.
#include "colour/ExactConverter.h"
#include "colour/Judge.h"
#include "colour/Profiles.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

/// One transform of each type.
const std::vector<Transform>& Transforms() {
    static const auto made = [] {
        std::vector<Transform> all;
        for (const Bytes& source :
             {LcmsSrgb(), MatrixProfile(kGamutP3, GammaBlock(1.8)), TableProfile({}), FloatProfile(false)}) {
            all.emplace_back(source, LcmsSrgb(), TransformOptions{});
        }
        return all;
    }();
    return made;
}

template <typename Sample>
std::vector<Sample> RandomSamples(std::size_t count, std::uint32_t seed) {
    Lcg random(seed);
    std::vector<Sample> samples(count);
    for (Sample& sample : samples) sample = static_cast<Sample>(random.Sample() >> 3);
    return samples;
}

/// Each pixel converted by its own call: the expected result of all other calls.
template <typename Sample>
std::vector<Sample> OneByOne(const Transform& transform, std::vector<Sample> pixels, unsigned samples) {
    for (std::size_t at = 0; at < pixels.size(); at += samples) transform.Convert(&pixels[at], &pixels[at], 1);
    return pixels;
}

template <typename Sample>
void CheckLayout(const Transform& transform, unsigned samples, std::size_t pixels) {
    SCOPED_TRACE(testing::Message() << WayName(transform.way()) << ", " << 8 * sizeof(Sample) << " bits, " << samples
                                    << " samples, " << pixels << " pixels");
    const auto source = RandomSamples<Sample>(pixels * samples, static_cast<std::uint32_t>(pixels + samples));
    const auto wanted = OneByOne(transform, source, samples);
    EXPECT_THAT(Converted(transform, source, samples), EqualTo(wanted));
    auto inPlace = source;
    transform.Convert(inPlace.data(), inPlace.data(), pixels, samples);
    EXPECT_THAT(inPlace, EqualTo(wanted));
    // At every alignment, with bytes on both sides that must stay unchanged.
    const std::size_t size = source.size() * sizeof(Sample);
    for (const std::size_t shift : {1U, 2U, 3U}) {
        Bytes bytes(size + 8, 0xa5), expected = bytes;
        std::copy_n(reinterpret_cast<const unsigned char*>(source.data()), size, bytes.data() + shift);
        std::copy_n(reinterpret_cast<const unsigned char*>(wanted.data()), size, expected.data() + shift);
        transform.Convert(bytes.data() + shift, 8 * sizeof(Sample), pixels, samples);
        EXPECT_THAT(bytes, EqualsBytes(expected)) << "shift " << shift;
    }
}

TEST(PixelsTest, EachPixelIsConvertedByItselfAndOtherSamplesAreKept) {
    ASSERT_EQ(Transforms()[3].way(), Way::PixelByPixel);
    for (const Transform& transform : Transforms()) {
        for (const unsigned samples : {3U, 4U, 5U, 6U}) {
            for (const std::size_t pixels : {0U, 1U, 2U, 7U, 8U, 9U, 33U, 255U, 256U, 257U, 1000U}) {
                if (pixels > 33 && samples > 4) continue;
                CheckLayout<std::uint8_t>(transform, samples, pixels);
                CheckLayout<std::uint16_t>(transform, samples, pixels);
            }
        }
    }
}

TEST(PixelsTest, ATransformOutlivesItsProfilesAndMoves) {
    auto profile = std::make_unique<Bytes>(TableProfile({}));
    Transform first(*profile, LcmsSrgb(), {});
    const Words wanted = Converted(first, SampleColours());
    std::fill(profile->begin(), profile->end(), static_cast<unsigned char>(0));
    profile.reset();
    Transform second = std::move(first);
    EXPECT_THAT(Converted(second, SampleColours()), EqualTo(wanted));
    first = std::move(second);
    EXPECT_THAT(Converted(first, SampleColours()), EqualTo(wanted));
}

TEST(PixelsTest, AConverterOfADepthConvertsLikeItsTransform) {
    const auto shared = std::make_shared<const Transform>(TableProfile({}), LcmsSrgb(), TransformOptions{});
    const colour::ExactConverter bytes(shared, 8), words(shared, 16);
    EXPECT_EQ(bytes.bits(), 8U);
    EXPECT_EQ(words.bits(), 16U);
    EXPECT_EQ(bytes.range().low[1], 0);
    EXPECT_EQ(bytes.range().high[1], 255);
    EXPECT_EQ(words.range().high[2], 65535);
    const auto check = [&](const colour::ExactConverter& converter, auto samples) {
        const auto wanted = Converted(*shared, samples);
        converter.Convert(reinterpret_cast<unsigned char*>(samples.data()), 100);
        EXPECT_THAT(samples, EqualTo(wanted));
    };
    check(bytes, RandomSamples<std::uint8_t>(300, 8));
    check(words, RandomSamples<std::uint16_t>(300, 9));
}

}  // namespace
}  // namespace hueweave::test
