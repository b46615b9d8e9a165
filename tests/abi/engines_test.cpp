// SPDX-License-Identifier: MIT
#include <thread>

#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ThreeEngines = ExportTest;

/// Each engine runs jobs of its own in turn; after every step all three must still match their own references.
TEST(IndependentEngines, StayAsTheyAreWhileAnotherIsLed) {
    const Library library;
    CheckedEngines first(library, {""});
    CheckedEngines second(library, {"_2nd"});
    CheckedEngines third(library, {"_3rd"});
    const auto expectAll = [&](int a, int b, int c) {
        EXPECT_EQ(first.Reference().outputSpace, a);
        EXPECT_EQ(second.Reference().outputSpace, b);
        EXPECT_EQ(third.Reference().outputSpace, c);
        first.Convert();
        second.Convert();
        third.Convert();
    };
    expectAll(65535, 65535, 65535);
    first.SetProfile("plain.icc", 0, 0, 22);
    expectAll(22, 65535, 65535);
    second.SetIntent(1, 1, 9);
    expectAll(22, 9, 65535);
    third.SetProfile("curved.icc", 0, 1, 11);
    expectAll(22, 9, 11);
    first.Adjust(5, 0, 0, SomeCurves(256), 256);
    expectAll(22, 9, 11);
    second.SetProfile("plain.icc", 3, 1, 29);
    expectAll(22, 29, 11);
    third.Adjust(0, -20, 90, SomeCurves(256, 9), 128);
    expectAll(22, 29, 11);
    first.SetProfile("absent.icc", 0, 0, 22);
    expectAll(65535, 29, 11);
    second.Adjust(-9, 0, 0);
    expectAll(65535, 29, 11);
    third.SetIntent(0, 0, 14);
    expectAll(65535, 29, 65535);
    first.ConvertFile();
    second.ConvertFile();
}

TEST_F(ThreeEngines, RememberTheirPathsApart) {
    const std::string path = engines_.Path("black.icc");
    const auto bind = [&](std::size_t n) { return engines_.Apis()[n].SetProfile(path.c_str(), nullptr, 0, 0, 8); };
    ASSERT_EQ(bind(0), 8);
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(bind(1), 65535);
    EXPECT_EQ(bind(2), 65535);
    EXPECT_EQ(bind(0), 8) << "bound already";
}

TEST_F(ThreeEngines, MayBeDrivenByAThreadEach) {
    const std::string path = engines_.Path("plain.icc");
    const int outputs[3] = {8, 22, 36};
    Bytes alone[3];
    Bytes beside[3];
    const auto run = [&](std::size_t engine, Bytes& result) {
        const EngineApi& api = engines_.Apis()[engine];
        for (int round = 0; round < 3; ++round) {
            api.SetProfile(path.c_str(), nullptr, round % 2, 0, outputs[engine]);
            api.Adjust(2.0 * round, 1.0, static_cast<double>(engine), nullptr, nullptr, nullptr, 0);
            Bytes pixels = SomePixels();
            api.Convert2(pixels.data(), nullptr, 100);
            result.insert(result.end(), pixels.begin(), pixels.end());
        }
    };
    for (std::size_t engine = 0; engine < 3; ++engine) run(engine, alone[engine]);
    std::vector<std::thread> threads;
    for (std::size_t engine = 0; engine < 3; ++engine) {
        // A different job first, so that every thread builds.
        engines_.Apis()[engine].SetIntent(0, 1, 11);
        threads.emplace_back(run, engine, std::ref(beside[engine]));
    }
    for (auto& thread : threads) thread.join();
    for (std::size_t engine = 0; engine < 3; ++engine) EXPECT_THAT(beside[engine], EqualsBytes(alone[engine]));
}

}  // namespace
}  // namespace hueweave::test
