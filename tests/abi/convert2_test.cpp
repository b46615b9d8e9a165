// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <tuple>

#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

constexpr int kSpaces[] = {8,  9,  10, 11, 12, 13, 20, 21, 22, 23, 24, 25,
                           26, 27, 28, 29, 30, 31, 34, 35, 36, 37, 38, 39};
constexpr int kIntents[] = {0, 1, 2, 3, 77, kLeast};

/// The place of an intent, and the input encoding.
class ExportedPixels : public ExportTest, public testing::WithParamInterface<std::tuple<std::size_t, int>> {};

TEST_P(ExportedPixels, AreThoseOfTheReference) {
    const auto [place, input] = GetParam();
    const int intent = kIntents[place];
    Bytes before;
    // Every sixth space, so that the intents together meet all of them in both widths.
    for (std::size_t at = place; at < std::size(kSpaces); at += std::size(kIntents)) {
        SCOPED_TRACE("output space " + std::to_string(kSpaces[at]));
        engines_.SetProfile("plain.icc", intent, input, kSpaces[at]);
        const Bytes bound = engines_.Convert();
        EXPECT_NE(bound, before);
        before = bound;
        engines_.SetIntent(intent == 1 ? 0 : 1, input, kSpaces[at]);
        EXPECT_NE(engines_.Convert(), bound) << "the other table";
    }
}

std::string NameOfIntent(const testing::TestParamInfo<std::tuple<std::size_t, int>>& row) {
    const char* const names[] = {"Perceptual", "Relative", "Saturation", "Absolute", "Unknown", "Negative"};
    return names[std::get<0>(row.param)] + std::string(std::get<1>(row.param) == 1 ? "Words" : "Bytes");
}

INSTANTIATE_TEST_SUITE_P(Every, ExportedPixels,
                         testing::Combine(testing::Range<std::size_t>(0, std::size(kIntents)), testing::Values(0, 1)),
                         NameOfIntent);

using ExportedConvert2 = ExportTest;

TEST_F(ExportedConvert2, GivesAnAliasThePixelsOfItsOriginal) {
    for (const int space : {8, 9}) {
        engines_.SetProfile("plain.icc", 0, space % 2, space);
        const Bytes original = engines_.Convert();
        engines_.SetProfile("plain.icc", 0, space % 2, space + 4);
        EXPECT_THAT(engines_.Convert(), EqualsBytes(original));
        engines_.SetProfile("plain.icc", 1, space % 2, space);
        engines_.SetIntent(0, space % 2, space + 4);
        EXPECT_THAT(engines_.Convert(), EqualsBytes(original));
    }
}

TEST_F(ExportedConvert2, WithoutAProfileRefusesAndTouchesNothing) {
    Bytes source = SomePixels();
    Bytes dest(source.size(), 0x5a);
    for (const EngineApi& api : engines_.Apis()) {
        for (const int pixels : {100, 1, 0, -1}) EXPECT_EQ(api.Convert2(source.data(), dest.data(), pixels), -1);
        EXPECT_EQ(api.Convert2(nullptr, nullptr, 5), -1);
    }
    EXPECT_THAT(source, EqualsBytes(SomePixels()));
    EXPECT_THAT(dest, EqualsBytes(Bytes(source.size(), 0x5a)));
}

TEST_F(ExportedConvert2, ConvertsEightBitPixelsInPlace) {
    engines_.SetProfile("black.icc", 0, 0, 10);
    Bytes expected = SomePixels();
    std::fill_n(expected.begin(), 180, std::uint8_t{0});
    for (const EngineApi& api : engines_.Apis()) {
        Bytes source = SomePixels();
        Bytes dest(source.size(), 0x5a);
        EXPECT_EQ(api.Convert2(source.data(), dest.data(), 60), 0);
        EXPECT_THAT(source, EqualsBytes(expected));
        EXPECT_THAT(dest, EqualsBytes(Bytes(source.size(), 0x5a)));
    }
}

TEST_F(ExportedConvert2, TakesSixteenBitPixelsFromSourceToDestAtAnyAddress) {
    engines_.SetProfile("black.icc", 0, 1, 11);
    Bytes expected(300, 0x5a);
    std::fill_n(expected.begin() + 3, 180, std::uint8_t{0});
    for (const EngineApi& api : engines_.Apis()) {
        Bytes source = SomePixels();
        Bytes dest(source.size(), 0x5a);
        EXPECT_EQ(api.Convert2(source.data() + 1, dest.data() + 3, 30), 0);
        EXPECT_THAT(source, EqualsBytes(SomePixels()));
        EXPECT_THAT(dest, EqualsBytes(expected));
        EXPECT_EQ(api.Convert2(source.data(), source.data(), 50), 0);
        EXPECT_THAT(source, EqualsBytes(Bytes(300, 0))) << "in place";
    }
}

TEST_F(ExportedConvert2, WithoutPixelsOrBuffersDoesNothing) {
    for (const int input : {0, 1}) {
        engines_.SetProfile("black.icc", 0, input, 10);
        Bytes source = SomePixels();
        for (const EngineApi& api : engines_.Apis()) {
            for (const int pixels : {0, -1, kLeast}) {
                EXPECT_EQ(api.Convert2(source.data(), source.data(), pixels), 0);
                EXPECT_EQ(api.Convert2(nullptr, nullptr, pixels), 0);
            }
            for (const int pixels : {1, 1000, kMost}) {
                EXPECT_EQ(api.Convert2(nullptr, source.data(), pixels), 0);
                EXPECT_EQ(api.Convert2(nullptr, nullptr, pixels), 0);
            }
            EXPECT_EQ(api.Convert2(source.data(), nullptr, input == 1 ? kMost : 0), 0) << "no destination";
        }
        EXPECT_THAT(source, EqualsBytes(SomePixels()));
    }
}

}  // namespace
}  // namespace hueweave::test
