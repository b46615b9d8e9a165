// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedSetProfile = ExportTest;

TEST_F(ExportedSetProfile, AnswersTheOutputSpaceOrThatThereIsNone) {
    for (const int output : {8, 9, 10, 11, 12, 13, 20, 31, 34, 39}) {
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, output % 2, output), output);
    }
    for (const int output : {0, 7, 14, 15, 16, 19, 32, 33, 40, 65534, 65535, 65536, -1, kLeast, kMost}) {
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, output), 65535) << output;
    }
}

TEST_F(ExportedSetProfile, OnceRefusedEndsConversionsUntilTheNextGoodCall) {
    struct Refusal {
        std::string name;
        int input, output;
    };
    std::vector<Refusal> refusals = {{"absent.icc", 0, 22},
                                     {"plain.icc", 0, 14},
                                     {"plain.icc", 0, 65535},
                                     {"curved.icc", 0, 40},
                                     {"bytes.icc", 0, 22}};
    for (const int input : {2, 5, 8, 65534, 65536, -1, kLeast, kMost}) refusals.push_back({"plain.icc", input, 22});
    for (const auto& [name, input, output] : refusals) {
        SCOPED_TRACE(testing::Message() << name << " from " << input << " to " << output);
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22), 22);
        EXPECT_EQ(engines_.SetProfile(name, 0, input, output), 65535);
        engines_.Convert();
        engines_.ConvertFile();
    }
    EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22), 22);
    engines_.Convert();
}

TEST_F(ExportedSetProfile, TakesAnUnsetInputEncodingForBytesOnTheFirstEngineAlone) {
    const std::string path = engines_.Path("plain.icc");
    EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22), 22);
    engines_.Adjust(0, 0, 0, SomeCurves(256));
    const EngineApi& first = engines_.Apis()[0];
    // The same job in either spelling: nothing is rebuilt.
    for (const int input : {65535, 0, 65535}) {
        EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, input, 22), 22);
        engines_.Convert();
    }
    EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, 65535, 23), 23) << "built as bytes";
    EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, 65535, 22), 22);
    Bytes pixel = {1, 2, 3};
    EXPECT_EQ(first.Convert2(pixel.data(), nullptr, 1), 0);
    for (const std::size_t other : {1U, 2U}) {
        // The engine that was ready is unusable afterwards, also when nothing but the encoding differs.
        const EngineApi& api = engines_.Apis()[other];
        for (const int output : {22, 23}) {
            EXPECT_EQ(api.SetProfile(path.c_str(), nullptr, 0, 65535, output), 65535);
            EXPECT_EQ(api.Convert2(pixel.data(), nullptr, 1), -1);
        }
    }
    EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22), 22);
}

TEST_F(ExportedSetProfile, RefusesAPathThatCannotBeRead) {
    Bytes pixel = {1, 2, 3};
    const std::string absent = engines_.Path("absent.icc");
    for (const char* path : {absent.c_str(), "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(engines_.SetProfile("black.icc", 0, 0, 8), 8);
        for (const EngineApi& api : engines_.Apis()) {
            EXPECT_EQ(api.SetProfile(path, nullptr, 0, 0, 8), 65535);
            EXPECT_EQ(api.Convert2(pixel.data(), nullptr, 1), -1);
        }
    }
}

TEST_F(ExportedSetProfile, IgnoresTheSecondPath) {
    const std::string same = engines_.Path("plain.icc");
    engines_.SetProfile("plain.icc", 0, 0, 22);
    engines_.Adjust(0, 0, 0, SomeCurves(256));
    for (const char* second : {"", "/absent", same.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22, second), 22) << "the same call builds nothing";
        engines_.Convert();
    }
    EXPECT_EQ(engines_.SetProfile("plain.icc", 1, 0, 22, "/absent"), 22);
    engines_.Convert();
}

TEST_F(ExportedSetProfile, OfAProfileWithoutATableLooksBoundAndConvertsNothing) {
    for (const int input : {0, 1}) {
        EXPECT_EQ(engines_.SetProfile("none.icc", 0, input, 8 + input), 8 + input);
        engines_.Convert();
        engines_.ConvertFile();
        EXPECT_EQ(engines_.SetIntent(2, input, 20), 20);
        engines_.Convert();
        engines_.ConvertFile();
        EXPECT_EQ(engines_.SetProfile("none.icc", 0, input, 14), 14) << "nothing looks at the output space";
    }
}

}  // namespace
}  // namespace hueweave::test
