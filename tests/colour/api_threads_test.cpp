// SPDX-License-Identifier: MIT
// Transforms of the shared library with several threads; ThreadSanitizer runs it, too.
#include <thread>

#include "colour/Profiles.h"
#include "hueweave/transform.hpp"

namespace hueweave::test {
namespace {

TEST(TransformApiTest, ThreadsShareTransformsAndCreateTheirOwn) {
    const Bytes devices[] = {TableProfile({}), FloatProfile(false), MatrixProfile(kGamut2020, GammaBlock(1.8)),
                             LcmsSrgb()};
    Bytes pixels(6000);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * i / 7);
    constexpr std::size_t kAll = 9;  // for each device one of bytes and one of words, and one by the library
    const auto make = [&](std::size_t n) {
        hw_options options = HW_OPTIONS_INIT;
        options.samples = n % 2 == 0 ? HW_SAMPLES_UINT8 : HW_SAMPLES_UINT16;
        options.precision = n == 8 ? HW_PRECISION_LIBRARY : HW_PRECISION_EXACT;
        options.accept_error = n == 8 ? 100 : 0;
        return hueweave::Transform(hueweave::Profile::FromMemory(devices[n / 2 % 4]),
                                   hueweave::Profile::OfSpace(n == 8 ? "adobe-rgb" : "srgb"), options);
    };
    const auto convert = [&](const hueweave::Transform& transform) {
        Bytes converted = pixels;
        EXPECT_EQ(hw_convert(transform.get(), pixels.data(), converted.data(), pixels.size() / 6), HW_OK);
        return converted;
    };
    std::vector<hueweave::Transform> shared;
    std::vector<Bytes> alone;
    for (std::size_t n = 0; n < kAll; ++n) {
        shared.push_back(make(n));
        alone.push_back(convert(shared.back()));
    }
    std::vector<std::thread> threads;
    std::vector<int> equal(4);
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (std::size_t n = 0; n < kAll; ++n) equal[t] += convert(shared[(t + n) % kAll]) == alone[(t + n) % kAll];
            for (std::size_t n = t; n < kAll; n += 4) equal[t] += convert(make(n)) == alone[n];
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(equal, (std::vector{12, 11, 11, 11}));
}

}  // namespace
}  // namespace hueweave::test
