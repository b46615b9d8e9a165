// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <limits>

#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

constexpr int kMinimum = std::numeric_limits<int>::min();
unsigned short* const kNoWords = nullptr;

TEST(ConversionBuffersTest, CountsBelowOneTouchNothing) {
    const auto narrow = MakeHandEngine(false);
    const auto wide = MakeHandEngine(true);
    Bytes source(24, 0x11);
    Bytes dest(24, 0x22);
    Samples words(12, 0x3333);
    Samples target(12, 0x4444);
    for (const int pixels : {0, -1, -1000, kMinimum}) {
        EXPECT_EQ(narrow->Conversion(source.data(), dest.data(), pixels), 0);
        EXPECT_EQ(wide->Conversion(source.data(), dest.data(), pixels), 0);
        EXPECT_EQ(wide->Conversion(words.data(), target.data(), pixels), 0);
    }
    EXPECT_EQ(source, Bytes(24, 0x11));
    EXPECT_EQ(dest, Bytes(24, 0x22));
    EXPECT_EQ(words, Samples(12, 0x3333));
    EXPECT_EQ(target, Samples(12, 0x4444));
}

TEST(ConversionBuffersTest, OnlyTheCountedPixelsAreTouched) {
    const auto narrow = MakeHandEngine(false);
    const Samples samples = SomeSamples(12, 255);
    Bytes bytes(samples.begin(), samples.end());
    const Bytes before = bytes;
    ASSERT_EQ(narrow->Conversion(bytes.data() + 3, kNoBytes, 2), 0);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 3, before.begin()));
    EXPECT_TRUE(std::equal(bytes.begin() + 9, bytes.end(), before.begin() + 9));
    EXPECT_FALSE(std::equal(bytes.begin() + 3, bytes.begin() + 9, before.begin() + 3));

    const auto wide = MakeHandEngine(true);
    Samples source = SomeSamples(12, 65535);
    Samples dest(12, 0x5555);
    ASSERT_EQ(wide->Conversion(source.data(), dest.data() + 3, 2), 0);
    EXPECT_EQ(Samples(dest.begin(), dest.begin() + 3), Samples(3, 0x5555));
    EXPECT_EQ(Samples(dest.begin() + 9, dest.end()), Samples(3, 0x5555));
}

TEST(ConversionBuffersTest, SixteenBitRunsInPlaceGiveTheSame) {
    const auto engine = MakeHandEngine(true);
    Samples words = SomeSamples(3 * 1000, 65535);
    const Samples expected = ReferenceRun(*engine, words, 16);
    Bytes bytes = WordBytes(words);
    EXPECT_EQ(engine->Conversion(words.data(), words.data(), 1000), 0);
    EXPECT_TRUE(words == expected);
    EXPECT_EQ(engine->Conversion(bytes.data(), bytes.data(), 1000), 0);
    EXPECT_TRUE(bytes == WordBytes(expected));
}

TEST(ConversionBuffersTest, ByteBuffersOfSixteenBitPixelsGoFromSourceToDest) {
    const auto engine = MakeHandEngine(true);
    const Samples samples = SomeSamples(3 * 200, 65535);
    Bytes source = WordBytes(samples);
    const Bytes before = source;
    Bytes dest(source.size());
    EXPECT_EQ(engine->Conversion(source.data(), dest.data(), 200), 0);
    EXPECT_TRUE(source == before);
    EXPECT_TRUE(dest == WordBytes(ReferenceRun(*engine, samples, 16)));
}

TEST(ConversionBuffersTest, NoAlignmentIsNeeded) {
    const auto engine = MakeHandEngine(true);
    const Samples samples = SomeSamples(3 * 100, 65535);
    const Bytes expected = WordBytes(ReferenceRun(*engine, samples, 16));
    const Bytes plain = WordBytes(samples);
    for (const std::size_t sourceShift : {0U, 1U}) {
        for (const std::size_t destShift : {0U, 1U}) {
            Bytes source(plain.size() + 2, 0x77);
            std::copy(plain.begin(), plain.end(), source.begin() + static_cast<std::ptrdiff_t>(sourceShift));
            Bytes dest(plain.size() + 2, 0x77);
            EXPECT_EQ(engine->Conversion(source.data() + sourceShift, dest.data() + destShift, 100), 0);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), dest.data() + destShift));
            EXPECT_EQ(dest[destShift == 0 ? plain.size() : 0], 0x77);
            EXPECT_EQ(dest.back(), 0x77);
        }
    }
}

TEST(ConversionBuffersTest, OverlappingBuffersAreWorkedPixelByPixel) {
    const auto engine = MakeHandEngine(true);
    const Bytes plain = WordBytes(SomeSamples(3 * 60, 65535));
    // Distance in bytes of the target behind the source, also negative and odd.
    for (const int distance : {1, 2, 3, 4, 5, 6, 7, 12, 30, 179, -1, -2, -3, -4, -5, -6, -7, -12, -30}) {
        const std::size_t from = 60;
        const auto to = static_cast<std::size_t>(60 + distance);
        Bytes memory = ByteWriter().Fill(from, 0x5a).Append(plain).Fill(240, 0x5a).Done();
        Bytes expected = memory;
        for (std::size_t p = 0; p < 60; ++p) {
            const Samples pixel = ReferenceRun(*engine, WordsAt(expected.data() + from + 6 * p, 3), 16);
            std::memcpy(expected.data() + to + 6 * p, pixel.data(), 6);
        }
        EXPECT_EQ(engine->Conversion(memory.data() + from, memory.data() + to, 60), 0);
        EXPECT_TRUE(memory == expected) << "distance " << distance;
    }
}

TEST(ConversionBuffersTest, OverlappingWordBuffersAreWorkedPixelByPixel) {
    const auto engine = MakeHandEngine(true);
    for (const std::ptrdiff_t distance : {1, 2, 3, 4, -1, -2, -3, -4}) {
        Samples words = SomeSamples(3 * 60, 65535);
        Samples expected = words;
        const auto pixels = static_cast<std::ptrdiff_t>(50);
        for (std::ptrdiff_t p = 0; p < pixels; ++p) {
            const auto at = expected.begin() + 6 + 3 * p;
            const Samples pixel = ReferenceRun(*engine, Samples(at, at + 3), 16);
            std::copy(pixel.begin(), pixel.end(), at + distance);
        }
        EXPECT_EQ(engine->Conversion(words.data() + 6, words.data() + 6 + distance, 50), 0);
        EXPECT_TRUE(words == expected) << "distance " << distance;
    }
}

TEST(ConversionBuffersTest, ByteSourceAndWordTargetIsAnEmptyOperation) {
    for (const bool wide : {false, true}) {
        const auto engine = MakeHandEngine(wide);
        Bytes source(60, 0x11);
        Samples dest(60, 0x2222);
        EXPECT_EQ(engine->Conversion(source.data(), dest.data(), 10), 0);
        EXPECT_EQ(engine->Conversion(source.data(), dest.data(), -1), 0);
        EXPECT_EQ(engine->Conversion(kNoBytes, kNoWords, 10), 0);
        EXPECT_EQ(source, Bytes(60, 0x11));
        EXPECT_EQ(dest, Samples(60, 0x2222));
    }
}

TEST(ConversionBuffersTest, NullBuffersAnswerZero) {
    const auto narrow = MakeHandEngine(false);
    const auto wide = MakeHandEngine(true);
    Bytes bytes(60, 0x11);
    Samples words(60, 0x2222);
    EXPECT_EQ(narrow->Conversion(kNoBytes, bytes.data(), 10), 0);
    EXPECT_EQ(narrow->Conversion(kNoBytes, kNoBytes, 10), 0);
    EXPECT_EQ(wide->Conversion(kNoBytes, bytes.data(), 10), 0);
    EXPECT_EQ(wide->Conversion(bytes.data(), kNoBytes, 10), 0);
    EXPECT_EQ(wide->Conversion(kNoWords, words.data(), 10), 0);
    EXPECT_EQ(wide->Conversion(words.data(), kNoWords, 10), 0);
    EXPECT_EQ(bytes, Bytes(60, 0x11));
    EXPECT_EQ(words, Samples(60, 0x2222));
}

TEST(ConversionBuffersTest, WithoutTablesNothingIsTouched) {
    const auto engine = std::make_unique<CIccEngineS>();
    Bytes source(60, 0x11);
    Bytes dest(60, 0x22);
    Samples words(60, 0x3333);
    for (const int input : {0, 1, 65535}) {
        engine->Unit.InputSpace = Space(input);
        EXPECT_EQ(engine->Conversion(source.data(), dest.data(), 10), 0);
        EXPECT_EQ(engine->Conversion(words.data(), words.data(), 10), 0);
    }
    EXPECT_EQ(source, Bytes(60, 0x11));
    EXPECT_EQ(dest, Bytes(60, 0x22));
    EXPECT_EQ(words, Samples(60, 0x3333));
}

TEST(ConversionBuffersTest, TheWordOverloadLooksAtItsTablesAndNotAtTheJob) {
    const auto engine = MakeHandEngine(true);
    Samples words = SomeSamples(30, 65535);
    const Samples expected = ReferenceRun(*engine, words, 16);
    engine->Unit.InputSpace = Space(65535);
    engine->Unit.OutputSpace = Space(65535);
    EXPECT_EQ(engine->Conversion(words.data(), words.data(), 10), 0);
    EXPECT_TRUE(words == expected);
}

class LeftoverTablesTest : public EngineTest {};

TEST_F(LeftoverTablesTest, TheWayOfSixteenBitsRefusesTablesOfEightBits) {
    ASSERT_EQ(Bind(Put("zero.icc", {{"A2B0", Mft2(SmoothLut())}}), 0, 0, 8), 0);
    ASSERT_EQ(Rebind(1, 1, 9), 65535) << "no table for the new intent, so the tables before stay";
    ASSERT_EQ(engine().InEntries, 256);
    Bytes source = WordBytes(SomeSamples(60, 65535));
    const Bytes before = source;
    Bytes dest(source.size(), 0x22);
    EXPECT_EQ(engine().Conversion(source.data(), dest.data(), 20), 0);
    EXPECT_EQ(engine().Conversion(source.data(), source.data(), 20), 0);
    Samples words(60, 4);
    EXPECT_EQ(engine().Conversion(words.data(), words.data(), 20), 0);
    EXPECT_TRUE(source == before);
    EXPECT_TRUE(dest == Bytes(source.size(), 0x22));
    EXPECT_TRUE(words == Samples(60, 4));
}

TEST_F(LeftoverTablesTest, TheWayOfEightBitsTakesTheFirstEntriesOfWiderTables) {
    ASSERT_EQ(Bind(Put("zero.icc", {{"A2B0", Mft2(SmoothLut())}}), 0, 1, 11), 0);
    ASSERT_EQ(Rebind(1, 0, 10), 65535);
    ASSERT_EQ(engine().InEntries, 65536);
    const Samples samples = SomeSamples(60, 255);
    const Samples expected = ReferenceRun(engine(), samples, 8);
    Bytes bytes(samples.begin(), samples.end());
    EXPECT_EQ(engine().Conversion(bytes.data(), kNoBytes, 20), 0);
    EXPECT_TRUE(bytes == Bytes(expected.begin(), expected.end()));
}

}  // namespace
}  // namespace hueweave::test
