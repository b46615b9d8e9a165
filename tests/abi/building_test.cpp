// SPDX-License-Identifier: MIT
// The calls that build tables: each returns the output space of its engine, not the result of the build, and changes no
// other engine.
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedSetProfile = ExportTest;

TEST_F(ExportedSetProfile, ReturnsTheOutputSpaceOrNone) {
    for (const int output : {8, 9, 10, 11, 12, 13, 20, 31, 34, 39}) {
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, output % 2, output), output);
    }
    for (const int output : {0, 7, 14, 15, 16, 19, 32, 33, 40, 65534, 65535, 65536, -1, kLeast, kMost}) {
        EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, output), 65535) << output;
    }
}

TEST_F(ExportedSetProfile, DisablesConversionAfterAFailureUntilTheNextSuccess) {
    std::vector<std::tuple<std::string, int, int>> refusals = {{"absent.icc", 0, 22},
                                                               {"plain.icc", 0, 14},
                                                               {"plain.icc", 0, 65535},
                                                               {"curved.icc", 0, 40},
                                                               {"bytes.icc", 0, 22}};
    for (const int input : {2, 5, 8, 65534, 65536, -1, kLeast, kMost}) refusals.emplace_back("plain.icc", input, 22);
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

TEST_F(ExportedSetProfile, TreatsAnUnsetInputEncodingAs8BitOnTheFirstEngineOnly) {
    const std::string path = engines_.Path("plain.icc");
    EXPECT_EQ(engines_.SetProfile("plain.icc", 0, 0, 22), 22);
    engines_.Adjust(0, 0, 0, SomeCurves(256));
    const EngineApi& first = engines_.Apis()[0];
    // 65535 and 0 mean the same job here: nothing is rebuilt.
    for (const int input : {65535, 0, 65535}) {
        EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, input, 22), 22);
        engines_.Convert();
    }
    EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, 65535, 23), 23) << "built as bytes";
    EXPECT_EQ(first.SetProfile(path.c_str(), nullptr, 0, 65535, 22), 22);
    Bytes pixel = {1, 2, 3};
    EXPECT_EQ(first.Convert2(pixel.data(), nullptr, 1), 0);
    for (const std::size_t other : {1U, 2U}) {
        // An engine that was ready is unusable afterwards, even if only the encoding differs.
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

TEST_F(ExportedSetProfile, BindsAProfileWithoutATableAndConvertsNothing) {
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

using ExportedSetIntent = ExportTest;

TEST_F(ExportedSetIntent, StoresAnySpaceOnAnEmptyEngine) {
    for (const int space : {0, 8, 14, 65534, 65536, -1, kLeast, kMost}) {
        // The width of the next run and file is stored too; without tables both stay unchanged.
        const int input = space % 2 == 0 ? 1 : 65535;
        EXPECT_EQ(engines_.SetIntent(0, input, space), space) << "nothing looks at it";
        engines_.Convert();
        engines_.ConvertFile();
        EXPECT_EQ(engines_.SetIntent(0, 0, 65535), 65535);
        engines_.Convert();
        engines_.ConvertFile();
    }
}

TEST_F(ExportedSetIntent, TreatsAnUnsetInputEncodingAs8Bit) {
    engines_.SetProfile("plain.icc", 1, 0, 22);
    const Bytes expected = engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 1, 22);
    EXPECT_EQ(engines_.SetIntent(1, 65535, 22), 22);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(expected));
    // Stored as 0: the same job with 0 counts as unchanged, so the curves applied to it remain.
    engines_.Adjust(0, 0, 0, SomeCurves(256));
    const Bytes curved = engines_.Convert();
    EXPECT_EQ(engines_.SetIntent(1, 0, 22), 22);
    EXPECT_EQ(engines_.SetIntent(1, 65535, 22), 22);
    EXPECT_EQ(engines_.SetProfile("plain.icc", 1, 0, 22), 22);
    EXPECT_THAT(engines_.Convert(), EqualsBytes(curved));
}

using ExportedAdjust = ExportTest;

TEST_F(ExportedAdjust, AppliesShiftsAndCurvesInOneCall) {
    const ToneCurves curves = SomeCurves(4096), other = SomeCurves(4096, 9);
    for (const int input : {0, 1}) {
        engines_.SetProfile("plain.icc", 3, input, 22 + input);
        const Bytes plain = engines_.Convert();
        // Three unrelated offsets and three unrelated curves, so that a swap would show.
        for (const int count : {256, 255, 1, 4096, -1, kLeast}) {
            SCOPED_TRACE(count);
            EXPECT_EQ(engines_.Adjust(-12.5, 8.25, 30.0, curves, count), 22 + input);
            EXPECT_NE(engines_.Convert(), plain);
        }
        engines_.Adjust(-12.5, 8.25, 30.0, curves);
        const Bytes both = engines_.Convert();
        for (const ToneCurves& row : {ToneCurves{{}, other.green, other.blue}, ToneCurves{other.red, {}, other.blue},
                                      ToneCurves{other.red, other.green, {}}, ToneCurves{}}) {
            for (const int count : {256, -1, kMost}) engines_.Adjust(-12.5, 8.25, 30.0, row, count);
            EXPECT_THAT(engines_.Convert(), EqualsBytes(both)) << "a null array changes nothing";
        }
        engines_.Adjust(0, 0, 0, other, 0);
        EXPECT_NE(engines_.Convert(), both) << "without points the shift alone is made";
    }
}

TEST_F(ExportedAdjust, ReturnsTheOutputSpaceAndNotTheResult) {
    const ToneCurves curves = SomeCurves(256);
    EXPECT_EQ(engines_.Adjust(1, 2, 3, curves), 65535) << "no profile";
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    for (const EngineApi& api : engines_.Apis()) {
        EXPECT_EQ(api.Adjust(nan, inf, -1e300, nullptr, nullptr, nullptr, -1), 65535);
    }
    engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 0, 22);
    engines_.Convert();  // discards the earlier offsets
    engines_.SetProfile("absent.icc", 0, 0, 22);
    EXPECT_EQ(engines_.Adjust(1, 2, 3, curves), 65535);
    EXPECT_EQ(engines_.SetIntent(0, 0, 22), 22);
    EXPECT_EQ(engines_.Adjust(4, 2, 3, curves), 22) << "the engine itself fails";
    engines_.Convert();
    engines_.SetProfile("plain.icc", 0, 0, 14);
    EXPECT_EQ(engines_.Adjust(4, 0, 0, curves), 65535);
    EXPECT_EQ(engines_.SetIntent(0, 0, 22), 22);
    engines_.Convert();
    engines_.SetProfile("bytes.icc", 0, 0, 8);
    EXPECT_EQ(engines_.Adjust(5, 0, 0), 65535);
}

/// Each engine runs jobs of its own in turn; after every step all three must still match their own references.
TEST(ExportedEngines, DoNotAffectOneAnother) {
    const Library library;
    CheckedEngines first(library, {""}), second(library, {"_2nd"}), third(library, {"_3rd"});
    const std::function<void()> steps[] = {
        [] {},
        [&] { first.SetProfile("plain.icc", 0, 0, 22); },
        [&] { second.SetIntent(1, 1, 9); },
        [&] { third.SetProfile("curved.icc", 0, 1, 11); },
        [&] { first.Adjust(5, 0, 0, SomeCurves(256)); },
        [&] { second.SetProfile("plain.icc", 3, 1, 29); },
        [&] { third.Adjust(0, -20, 90, SomeCurves(256, 9), 128); },
        [&] { first.SetProfile("absent.icc", 0, 0, 22); },
        [&] { second.Adjust(-9, 0, 0); },
        [&] { third.SetIntent(0, 0, 14); },
    };
    for (const auto& step : steps) {
        step();
        for (const CheckedEngines* engine : {&first, &second, &third}) engine->Convert();
    }
    first.ConvertFile();
    second.ConvertFile();
}

TEST_F(ExportedSetProfile, KeepsOnePathPerEngine) {
    const std::string path = engines_.Path("black.icc");
    const auto bind = [&](std::size_t n) { return engines_.Apis()[n].SetProfile(path.c_str(), nullptr, 0, 0, 8); };
    ASSERT_EQ(bind(0), 8);
    ASSERT_EQ(std::remove(path.c_str()), 0);
    EXPECT_EQ(bind(1), 65535);
    EXPECT_EQ(bind(2), 65535);
    EXPECT_EQ(bind(0), 8) << "bound already";
}

}  // namespace
}  // namespace hueweave::test
