// SPDX-License-Identifier: MIT
// Transforms of the shared library with several threads; ThreadSanitizer runs it, too.
#include <thread>

#include "colour/Api.h"
#include "colour/Profiles.h"

namespace hueweave::test {
namespace {

TEST(TransformApiThreads, ShareTransformsAndMakeTheirOwn) {
    const Bytes devices[] = {TableProfile({}), FloatProfile(false), MatrixProfile(kGamut2020, GammaBlock(1.8))};
    Bytes pixels(3000);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * i / 7);
    hw_options library = HW_OPTIONS_INIT;
    library.precision = HW_PRECISION_LIBRARY;
    library.accept_error = 100;
    const auto make = [&](std::size_t n) {
        return n < 3 ? MakeHandle(DataOf(devices[n]), SpaceOf("srgb"))
                     : MakeHandle(DataOf(devices[0]), SpaceOf("adobe-rgb"), library);
    };
    const auto convert = [&](const TransformHandle& transform) {
        Bytes converted(pixels.size());
        EXPECT_EQ(hw_convert(transform.get(), pixels.data(), converted.data(), pixels.size() / 3), HW_OK);
        return converted;
    };
    std::vector<TransformHandle> shared;
    std::vector<Bytes> alone;
    for (std::size_t n = 0; n < 4; ++n) {
        shared.push_back(make(n));
        alone.push_back(convert(shared.back()));
    }
    std::vector<std::thread> threads;
    std::vector<int> equal(4);
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (std::size_t n = 0; n < 4; ++n) equal[t] += convert(shared[(t + n) % 4]) == alone[(t + n) % 4];
            equal[t] += convert(make(t)) == alone[t];
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(equal, std::vector<int>(4, 5));
}

}  // namespace
}  // namespace hueweave::test
