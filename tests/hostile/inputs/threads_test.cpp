// SPDX-License-Identifier: MIT
// Three engines at once, and two threads that convert with one engine. A build with ThreadSanitizer detects shared
// data; every build checks the results.
#include <thread>

#include "engine/CIccEngineS.h"
#include "hostile/EveryCall.h"

namespace hueweave::test {
namespace {

using ThreadsTest = EveryCallTest;

TEST_F(ThreadsTest, ThreeEnginesAtOnceGiveWhatEachGivesAlone) {
    testing::internal::CaptureStdout();
    const Bytes alone = Everything("", dir_.File("alone.tif"));
    constexpr int kRounds = 4;
    std::vector<Bytes> results(3 * kRounds);
    std::vector<std::thread> threads;
    for (std::size_t e = 0; e < 3; ++e) {
        threads.emplace_back([&, e] {
            const std::string own = dir_.File("dest" + std::to_string(e) + ".tif");
            for (std::size_t round = 0; round < kRounds; ++round) {
                results[e * kRounds + round] = Everything(kSuffixes[e], own);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string log = testing::internal::GetCapturedStdout();
    for (const Bytes& result : results) EXPECT_EQ(result, alone);
    // Lines of the three may be in any order, but none is lost: three lines of progress and one of func1 in each round.
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 4 * (1 + 3 * kRounds));
}

TEST_F(ThreadsTest, TwoThreadsConvertWithOneEngine) {
    for (const std::int32_t wide : {0, 1}) {
        ASSERT_EQ(Bind(path_, 0, wide, 8 + wide), 8 + wide);
        const Bytes pixels = SamplePixels(60000);
        const auto count = static_cast<std::int32_t>(pixels.size() / (wide == 1 ? 6 : 3));
        const auto convert = [&] {
            Bytes copy = pixels;
            for (int round = 0; round < 20; ++round) {
                copy = pixels;
                EXPECT_EQ(Orvix_Icc_Convert2(copy.data(), copy.data(), count), 0);
            }
            return copy;
        };
        const Bytes alone = convert();
        Bytes results[2];
        std::thread other([&] { results[0] = convert(); });
        results[1] = convert();
        other.join();
        EXPECT_EQ(results[0], alone);
        EXPECT_EQ(results[1], alone);
    }
}

/// Files too: converting only reads the engine.
TEST_F(ThreadsTest, TwoThreadsConvertFilesWithOneEngine) {
    using namespace ICC40;
    const auto engine = std::make_unique<ICC_ENG_S4::CIccEngineS>();
    ASSERT_EQ(
        engine->SetProfile(path_.c_str(), ICCFILE::IntentPerceptual, ICCFILE::CsRGB_8, ICCFILE::CssRGB_8, 0, 0, 0), 0);
    const ICC_ENG_S4::CIccEngineS& shared = *engine;
    testing::internal::CaptureStdout();
    const auto convert = [&](const std::string& dest) {
        for (int round = 0; round < 10; ++round) EXPECT_EQ(shared.Conversion(source_.c_str(), dest.c_str()), 0);
    };
    std::thread other([&] { convert(dir_.File("one.tif")); });
    convert(dir_.File("two.tif"));
    other.join();
    testing::internal::GetCapturedStdout();
    MiniTiff expected{10, 10, 3, 8, SamplePixels(), {}};
    ASSERT_EQ(shared.Conversion(expected.pixels.data(), static_cast<unsigned char*>(nullptr), 100), 0);
    EXPECT_EQ(ReadFile(dir_.File("one.tif")), expected.Build());
    EXPECT_EQ(ReadFile(dir_.File("two.tif")), expected.Build());
}

}  // namespace
}  // namespace hueweave::test
