// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <thread>

#include "abi/ExportsFixture.h"

namespace hueweave::test {
namespace {

/// The three engines beside each other.
class EnginesTest : public ExportsFixture {
protected:
    std::int32_t Probe(std::size_t engine) {
        unsigned char pixel[3] = {1, 2, 3};
        return apis_[engine].Convert2(pixel, nullptr, 1);
    }
    std::array<EngineApi, 3> apis_ = {EngineApi(library_, kSuffixes[0]), EngineApi(library_, kSuffixes[1]),
                                      EngineApi(library_, kSuffixes[2])};
};

TEST_F(EnginesTest, BindingOneLeavesTheOthersEmpty) {
    for (std::size_t bound = 0; bound < 3; ++bound) {
        ASSERT_EQ(apis_[bound].SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
        for (std::size_t engine = 0; engine < 3; ++engine) EXPECT_EQ(Probe(engine), engine <= bound ? 0 : -1);
    }
    for (std::size_t dropped = 0; dropped < 3; ++dropped) {
        ASSERT_EQ(apis_[dropped].SetProfile(dir_.File("absent").c_str(), nullptr, 0, 0, 8), 65535);
        for (std::size_t engine = 0; engine < 3; ++engine) EXPECT_EQ(Probe(engine), engine <= dropped ? -1 : 0);
    }
}

TEST_F(EnginesTest, EachHasItsOwnJobAndCurves) {
    const std::string path = Good();
    ASSERT_EQ(apis_[0].SetProfile(path.c_str(), nullptr, 0, 0, 8), 8);
    ASSERT_EQ(apis_[1].SetProfile(path.c_str(), nullptr, 1, 0, 20), 20);
    ASSERT_EQ(apis_[2].SetProfile(Black().c_str(), nullptr, 0, 0, 10), 10);
    const Bytes first = Converted(apis_[0], SomePixels());
    const Bytes second = Converted(apis_[1], SomePixels());
    EXPECT_NE(first, second);
    EXPECT_EQ(Converted(apis_[2], SomePixels()), Bytes(300, 0));

    ASSERT_EQ(AdjustFlat(apis_[2], 9, 8, 7), 10);
    ASSERT_EQ(apis_[1].SetIntent(0, 0, 26), 26);
    EXPECT_EQ(Converted(apis_[0], SomePixels()), first);
    EXPECT_EQ(Converted(apis_[2], SomePixels()), Repeated(100, 9, 8, 7));
    ASSERT_EQ(apis_[1].SetIntent(1, 0, 20), 20);
    ASSERT_EQ(apis_[0].Adjust(-30.0, 20.0, 10.0, nullptr, nullptr, nullptr, 0), 8);
    EXPECT_NE(Converted(apis_[0], SomePixels()), first);
    EXPECT_EQ(Converted(apis_[1], SomePixels()), second);
}

TEST_F(EnginesTest, AllThreeComputeTheSame) {
    const std::string path = Good();
    for (const int output : {8, 22, 28, 34}) {
        Bytes results[3];
        for (std::size_t engine = 0; engine < 3; ++engine) {
            ASSERT_EQ(apis_[engine].SetProfile(path.c_str(), nullptr, 0, 0, output), output);
            ASSERT_EQ(apis_[engine].Adjust(3.5, -2.5, 12.0, nullptr, nullptr, nullptr, 0), output);
            results[engine] = Converted(apis_[engine], SomePixels());
        }
        EXPECT_EQ(results[0], results[1]);
        EXPECT_EQ(results[0], results[2]);
    }
}

TEST_F(EnginesTest, TheyRememberTheirPathsApart) {
    const std::string path = Put("one.icc", {{"A2B0", Mft2(SmoothLut())}});
    ASSERT_EQ(apis_[0].SetProfile(path.c_str(), nullptr, 0, 0, 8), 8);
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(apis_[1].SetProfile(path.c_str(), nullptr, 0, 0, 8), 65535);
    EXPECT_EQ(apis_[0].SetProfile(path.c_str(), nullptr, 0, 0, 8), 8) << "bound already";
}

TEST_F(EnginesTest, ThreeThreadsMayDriveOneEach) {
    const std::string path = Good();
    const int outputs[3] = {8, 22, 36};
    Bytes alone[3];
    Bytes beside[3];
    const auto run = [&](std::size_t engine, Bytes& result) {
        const EngineApi& api = apis_[engine];
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
        // Another job first, so that every thread builds.
        apis_[engine].SetIntent(0, 1, 11);
        threads.emplace_back(run, engine, std::ref(beside[engine]));
    }
    for (auto& thread : threads) thread.join();
    for (std::size_t engine = 0; engine < 3; ++engine) EXPECT_EQ(alone[engine], beside[engine]) << engine;
}

}  // namespace
}  // namespace hueweave::test
