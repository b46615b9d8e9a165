// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What each exported function hands on to its engine: pixels and files of every set against the plain reference.
#include <tuple>

#include "abi/Twin.h"

namespace hueweave::test {
namespace {

constexpr int kSpaces[] = {8,  9,  10, 11, 12, 13, 20, 21, 22, 23, 24, 25,
                           26, 27, 28, 29, 30, 31, 34, 35, 36, 37, 38, 39};
constexpr int kIntents[] = {0, 1, 2, 3, 77, kLeast};

/// The number of an intent, and the input encoding.
class ExportedPixelsTest : public testing::TestWithParam<std::tuple<std::size_t, int>> {
protected:
    Library library_;
    Twin twin_{library_, kAllThree, TwinProfiles()};
};

TEST_P(ExportedPixelsTest, AreThoseOfTheReference) {
    const auto [number, input] = GetParam();
    const int intent = kIntents[number];
    Bytes before;
    // Every sixth space, so that the intents together meet all of them in both widths.
    for (std::size_t at = number; at < std::size(kSpaces); at += std::size(kIntents)) {
        SCOPED_TRACE("output space " + std::to_string(kSpaces[at]));
        twin_.SetProfile("plain.icc", intent, input, kSpaces[at]);
        const Bytes bound = twin_.Convert();
        EXPECT_NE(bound, before);
        before = bound;
        twin_.SetIntent(intent == 1 ? 0 : 1, input, kSpaces[at]);
        EXPECT_NE(twin_.Convert(), bound) << "the other table";
    }
}

TEST_P(ExportedPixelsTest, FilesHoldThem) {
    const auto [number, input] = GetParam();
    twin_.SetProfile("plain.icc", kIntents[number], input, 22 + input);
    twin_.ConvertFile();
}

TEST_P(ExportedPixelsTest, ShiftsAreLightnessChromaAndHueInThisOrder) {
    const auto [number, input] = GetParam();
    twin_.SetProfile("plain.icc", kIntents[number], input, 20 + input);
    const double shifts[][3] = {{20, 0, 0}, {0, 20, 0}, {0, 0, 20}};
    std::vector<Bytes> results;
    for (const auto& shift : shifts) {
        twin_.Adjust(shift[0], shift[1], shift[2]);
        results.push_back(twin_.Convert());
    }
    EXPECT_NE(results[0], results[1]);
    EXPECT_NE(results[0], results[2]);
    EXPECT_NE(results[1], results[2]);
}

std::string NameOfIntent(const testing::TestParamInfo<std::tuple<std::size_t, int>>& info) {
    const char* const names[] = {"Perceptual", "Relative", "Saturation", "Absolute", "Unknown", "Negative"};
    return names[std::get<0>(info.param)] + std::string(std::get<1>(info.param) == 1 ? "Words" : "Bytes");
}

INSTANTIATE_TEST_SUITE_P(Every, ExportedPixelsTest,
                         testing::Combine(testing::Range<std::size_t>(0, std::size(kIntents)), testing::Values(0, 1)),
                         NameOfIntent);

class ExportedStatesTest : public testing::Test {
protected:
    Library library_;
    Twin twin_{library_, kAllThree, TwinProfiles()};
};

TEST_F(ExportedStatesTest, AliasesGivePixelsOfTheirOriginals) {
    for (const int space : {8, 9}) {
        twin_.SetProfile("plain.icc", 0, space % 2, space);
        const Bytes original = twin_.Convert();
        twin_.SetProfile("plain.icc", 0, space % 2, space + 4);
        EXPECT_EQ(twin_.Convert(), original);
        twin_.SetProfile("plain.icc", 1, space % 2, space);
        twin_.SetIntent(0, space % 2, space + 4);
        EXPECT_EQ(twin_.Convert(), original);
    }
}

TEST_F(ExportedStatesTest, AnyIntentButTheFourIsPerceptual) {
    twin_.SetProfile("plain.icc", 0, 0, 22);
    const Bytes perceptual = twin_.Convert();
    for (const int intent : {4, 5, -1, 65535, kMost, kLeast}) {
        twin_.SetProfile("plain.icc", 1, 0, 22);
        EXPECT_NE(twin_.Convert(), perceptual);
        twin_.SetIntent(intent, 0, 22);
        EXPECT_EQ(twin_.Convert(), perceptual) << intent;
        twin_.SetProfile("plain.icc", 1, 0, 22);
        twin_.SetProfile("plain.icc", intent, 0, 22);
        EXPECT_EQ(twin_.Convert(), perceptual) << intent;
    }
}

TEST_F(ExportedStatesTest, ASetIntentOnAnEmptyEngineStoresAnySpace) {
    for (const int space : {0, 1, 7, 8, 14, 33, 40, 65534, 65536, -1, -5, kLeast, kMost}) {
        twin_.SetIntent(0, 0, space);
        EXPECT_EQ(twin_.Reference().outputSpace, space);
        twin_.Convert();
        twin_.ConvertFile();
        twin_.SetIntent(0, 0, 65535);
        twin_.Convert();
        twin_.ConvertFile();
    }
}

TEST_F(ExportedStatesTest, AStoredWidthIsThatOfTheNextFileAndRun) {
    // Without tables nothing is touched in either width.
    twin_.SetIntent(0, 1, 9);
    twin_.Convert();
    twin_.ConvertFile();
    twin_.SetIntent(0, 65535, 9);
    EXPECT_EQ(twin_.Reference().inputSpace, 0);
    twin_.Convert();
    twin_.ConvertFile();
}

TEST_F(ExportedStatesTest, AnEngineBoundWithoutTablesCopiesFiles) {
    for (const int input : {0, 1}) {
        twin_.SetProfile("none.icc", 0, input, 8 + input);
        EXPECT_EQ(twin_.Reference().outputSpace, 8 + input);
        twin_.ConvertFile();
        twin_.SetIntent(2, input, 20);
        EXPECT_EQ(twin_.Reference().outputSpace, 20);
        twin_.ConvertFile();
    }
}

TEST_F(ExportedStatesTest, AnyInputEncodingOfSetIntentButOneIsOfBytes) {
    twin_.SetProfile("plain.icc", 0, 0, 22);
    const Bytes bytes = twin_.Convert();
    twin_.SetIntent(0, 1, 22);
    EXPECT_NE(twin_.Convert(), bytes);
    for (const int input : {4, 5, 8, 9, 65534, -1, kLeast, kMost}) {
        twin_.SetIntent(0, input, 22);
        EXPECT_EQ(twin_.Reference().inputSpace, input);
        EXPECT_EQ(twin_.Convert(), bytes) << input;
    }
}

TEST_F(ExportedStatesTest, TheSameSetProfileKeepsAShiftAndAnyOtherDropsIt) {
    for (const int input : {0, 1}) {
        twin_.SetProfile("plain.icc", 0, input, 22 + input);
        const Bytes plain = twin_.Convert();
        twin_.Adjust(-20.75, 10, 15);
        const Bytes shifted = twin_.Convert();
        ASSERT_NE(shifted, plain);
        twin_.SetProfile("plain.icc", 0, input, 22 + input);
        EXPECT_EQ(twin_.Convert(), shifted);
        twin_.Adjust(-20.5, 10, 15);
        EXPECT_EQ(twin_.Convert(), shifted) << "the same whole units";
        // SetIntent builds with them: the fraction is gone.
        twin_.SetIntent(1, input, 22 + input);
        twin_.SetIntent(0, input, 22 + input);
        const Bytes whole = twin_.Convert();
        EXPECT_NE(whole, plain);
        EXPECT_NE(whole, shifted);
        twin_.SetProfile("plain.icc", 1, input, 22 + input);
        twin_.SetProfile("plain.icc", 0, input, 22 + input);
        EXPECT_EQ(twin_.Convert(), plain);
    }
}

TEST_F(ExportedStatesTest, AStoredEncodingThatSetProfileWouldRefuseCountsAsUnchanged) {
    twin_.SetProfile("plain.icc", 0, 0, 22);
    twin_.SetIntent(0, 5, 22);
    twin_.SetProfile("plain.icc", 0, 5, 22);
    EXPECT_EQ(twin_.Reference().outputSpace, 22);
    twin_.Convert();
    twin_.SetProfile("plain.icc", 1, 5, 22);
    EXPECT_EQ(twin_.Reference().outputSpace, 65535);
    twin_.Convert();
}

TEST_F(ExportedStatesTest, CurvesUnderAnEncodingOfNeitherWidthKeepTheirLowByte) {
    twin_.SetProfile("plain.icc", 0, 0, 22);
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes bytes = twin_.Convert();
    twin_.SetIntent(0, 5, 22);
    // Tables of 16 bits under pixels of 8.
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    EXPECT_NE(twin_.Convert(), bytes);
    twin_.SetIntent(0, 0, 22);
    twin_.Adjust(0, 0, 0, SomeCurves(256), 256);
    EXPECT_EQ(twin_.Convert(), bytes);
}

TEST_F(ExportedStatesTest, AnyRefusalEndsTheConversionsUntilTheNextGoodCall) {
    const auto refuse = [&](const std::string& name, int input, int output) {
        twin_.SetProfile("plain.icc", 0, 0, 22);
        twin_.SetProfile(name, 0, input, output);
        EXPECT_EQ(twin_.Reference().outputSpace, 65535);
        twin_.Convert();
        twin_.ConvertFile();
    };
    refuse("absent.icc", 0, 22);
    refuse("plain.icc", 2, 22);
    refuse("plain.icc", -1, 22);
    refuse("plain.icc", kLeast, 22);
    refuse("plain.icc", 0, 14);
    refuse("plain.icc", 0, 65535);
    refuse("curved.icc", 0, 40);
    twin_.SetProfile("plain.icc", 0, 0, 22);
    EXPECT_EQ(twin_.Reference().outputSpace, 22);
    twin_.Convert();
}

TEST(FirstEngineTest, StoresAnUnsetEncodingOfSetProfileAsBytes) {
    const Library library;
    Twin twin(library, {""}, TwinProfiles());
    const EngineApi api(library, "");
    const auto bind = [&](int input) { return api.SetProfile(twin.Path("plain.icc").c_str(), nullptr, 0, input, 22); };
    ASSERT_EQ(bind(65535), 22);
    twin.SetProfile("plain.icc", 0, 0, 22);
    twin.Convert();
    twin.Adjust(0, 0, 0, SomeCurves(256), 256);
    const Bytes curved = twin.Convert();
    // The same job in either spelling: nothing is rebuilt.
    EXPECT_EQ(bind(65535), 22);
    EXPECT_EQ(twin.Convert(), curved);
    EXPECT_EQ(bind(0), 22);
    EXPECT_EQ(twin.Convert(), curved);
    EXPECT_EQ(api.SetIntent(0, 65535, 22), 22);
    EXPECT_EQ(twin.Convert(), curved);
}

/// Three engines led through jobs of their own, turn by turn; after each step all three must still be what their own
/// references are.
TEST(IndependentEnginesTest, StayAsTheyAreWhileAnotherIsLed) {
    const Library library;
    Twin first(library, {""}, TwinProfiles());
    Twin second(library, {"_2nd"}, TwinProfiles());
    Twin third(library, {"_3rd"}, TwinProfiles());
    const auto convertAll = [&] {
        first.Convert();
        second.Convert();
        third.Convert();
    };
    convertAll();
    first.SetProfile("plain.icc", 0, 0, 22);
    convertAll();
    second.SetIntent(1, 1, 9);
    convertAll();
    third.SetProfile("curved.icc", 0, 1, 11);
    convertAll();
    first.Adjust(5, 0, 0, SomeCurves(256), 256);
    convertAll();
    second.SetProfile("plain.icc", 3, 1, 29);
    convertAll();
    third.Adjust(0, -20, 90, SomeCurves(256, 9), 128);
    convertAll();
    first.SetProfile("absent.icc", 0, 0, 22);
    convertAll();
    second.Adjust(-9, 0, 0);
    convertAll();
    third.SetIntent(0, 0, 14);
    convertAll();
    first.SetProfile("plain.icc", 2, 1, 39);
    convertAll();
    second.SetIntent(2, 0, 36);
    convertAll();
    first.ConvertFile();
    second.ConvertFile();
}

}  // namespace
}  // namespace hueweave::test
