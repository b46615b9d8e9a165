// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedConvert2 = ExportTest;

TEST_F(ExportedConvert2, GivesTheReferencePixelsForEverySpaceAndIntent) {
    constexpr int kSpaces[] = {8,  9,  10, 11, 12, 13, 20, 21, 22, 23, 24, 25,
                               26, 27, 28, 29, 30, 31, 34, 35, 36, 37, 38, 39};
    constexpr int kIntents[] = {0, 1, 2, 3, 77, kLeast};
    for (const int input : {0, 1}) {
        // Every space with one intent and, after it, with another table.
        for (std::size_t at = 0; at < std::size(kSpaces); ++at) {
            const int intent = kIntents[at % std::size(kIntents)], space = kSpaces[at];
            SCOPED_TRACE(testing::Message() << "intent " << intent << " from " << input << " to " << space);
            engines_.SetProfile("plain.icc", intent, input, space);
            const Bytes bound = engines_.Convert();
            engines_.SetIntent(intent == 1 ? 0 : 1, input, space);
            EXPECT_NE(engines_.Convert(), bound);
        }
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
        EXPECT_EQ(api.Convert2(source.data(), nullptr, 60), 0);
        EXPECT_THAT(source, EqualsBytes(expected));
        EXPECT_THAT(dest, EqualsBytes(Bytes(source.size(), 0x5a)));
    }
}

TEST_F(ExportedConvert2, WithoutPixelsOrBuffersDoesNothing) {
    for (const int input : {0, 1}) {
        engines_.SetProfile("black.icc", 0, input, 10);
        Bytes source = SomePixels();
        for (const EngineApi& api : engines_.Apis()) {
            for (const int pixels : {0, -1, kLeast}) EXPECT_EQ(api.Convert2(source.data(), source.data(), pixels), 0);
            for (const int pixels : {1, kMost}) EXPECT_EQ(api.Convert2(nullptr, source.data(), pixels), 0);
            EXPECT_EQ(api.Convert2(source.data(), nullptr, input == 1 ? kMost : 0), 0) << "no destination";
        }
        EXPECT_THAT(source, EqualsBytes(SomePixels()));
    }
}

}  // namespace
}  // namespace hueweave::test
