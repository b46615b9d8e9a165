// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The job record: its first state, its resets, its memory of names and its working buffer.
#include "units/Info.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <memory>
#include <string>

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;

/// Every field away from its first state.
void Occupy(Info& info, std::array<unsigned char, 4>& bytes) {
    info.ProfileState = 0;
    info.Spare = 7;
    info.InputSpace = CsRGB_16;
    info.OutputSpace = CssRGB_16;
    info.BuildResult = 9;
    info.Intent = IntentSaturation;
    info.WorkBuf = std::make_unique<unsigned short[]>(12);
    info.Source = bytes.data();
    info.Dest = bytes.data() + 1;
    info.PixelCount = 4;
    info.WorkCount = 12;
    info.Lightness = 1;
    info.Chroma = 2;
    info.Hue = 3;
    info.FormatCode = 257;
    info.CheckCurrentProfile("first.icc", "second.icc");
}

TEST(InfoRecord, StartsUnsetWithoutBuffersOrNames) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->ProfileState, 65535);
    EXPECT_EQ(info->Spare, 65535);
    EXPECT_EQ(info->InputSpace, 65535);
    EXPECT_EQ(info->OutputSpace, 65535);
    EXPECT_EQ(info->BuildResult, 65535);
    EXPECT_EQ(info->Intent, 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
    EXPECT_EQ(info->Source, nullptr);
    EXPECT_EQ(info->Dest, nullptr);
    EXPECT_EQ(info->PixelCount, 0);
    EXPECT_EQ(info->WorkCount, 0);
    EXPECT_EQ(info->Lightness, 0);
    EXPECT_EQ(info->Chroma, 0);
    EXPECT_EQ(info->Hue, 0);
    EXPECT_EQ(info->FormatCode, 65534);
    EXPECT_EQ(info->ProfileName, nullptr);
    EXPECT_EQ(info->SecondName, nullptr);
}

TEST(InfoRecord, ResetClearsTheJobAndReturnsZero) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 4> bytes{};
    Occupy(*info, bytes);
    EXPECT_EQ(info->Reset(), 0);
    EXPECT_EQ(info->ProfileState, 65535);
    EXPECT_EQ(info->Spare, 65535);
    EXPECT_EQ(info->InputSpace, 65535);
    EXPECT_EQ(info->OutputSpace, 65535);
    EXPECT_EQ(info->FormatCode, 65534);
    EXPECT_EQ(info->Source, nullptr);
    EXPECT_EQ(info->Dest, nullptr);
    EXPECT_EQ(info->PixelCount, 0);
    EXPECT_EQ(info->WorkCount, 0);
    EXPECT_EQ(info->Lightness, 0);
    EXPECT_EQ(info->Chroma, 0);
    EXPECT_EQ(info->Hue, 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
}

TEST(InfoRecord, ResetKeepsBuildResultIntentAndNames) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 4> bytes{};
    Occupy(*info, bytes);
    info->Reset();
    EXPECT_EQ(info->BuildResult, 9);
    EXPECT_EQ(info->Intent, IntentSaturation);
    EXPECT_STREQ(info->ProfileName.get(), "first.icc");
    EXPECT_STREQ(info->SecondName.get(), "second.icc");
}

TEST(InfoRecord, AResetOfAFreshRecordReturnsZero) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->Reset(), 0);
    EXPECT_EQ(info->ProfileState, 65535);
    EXPECT_EQ(info->BuildResult, 65535);
}

TEST(InfoAdjustment, TheSameValuesTwiceGiveOneThenZero) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->CheckLch(3, -4, 5), 1);
    EXPECT_EQ(info->CheckLch(3, -4, 5), 0);
    EXPECT_EQ(info->Lightness, 3);
    EXPECT_EQ(info->Chroma, -4);
    EXPECT_EQ(info->Hue, 5);
}

TEST(InfoAdjustment, ZerosOnAFreshRecordAreNoChange) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->CheckLch(0, 0, 0), 0);
}

TEST(InfoAdjustment, EachValueAloneIsAChange) {
    const auto info = std::make_unique<Info>();
    info->CheckLch(3, -4, 5);
    EXPECT_EQ(info->CheckLch(2, -4, 5), 1);
    EXPECT_EQ(info->Lightness, 2);
    EXPECT_EQ(info->CheckLch(2, 4, 5), 1);
    EXPECT_EQ(info->Chroma, 4);
    EXPECT_EQ(info->CheckLch(2, 4, 6), 1);
    EXPECT_EQ(info->Hue, 6);
    EXPECT_EQ(info->CheckLch(2, 4, 6), 0);
}

TEST(InfoAdjustment, AllThreeAreStoredWhenAllThreeDiffer) {
    const auto info = std::make_unique<Info>();
    info->CheckLch(1, 2, 3);
    EXPECT_EQ(info->CheckLch(INT_MAX, INT_MIN, -1), 1);
    EXPECT_EQ(info->Lightness, INT_MAX);
    EXPECT_EQ(info->Chroma, INT_MIN);
    EXPECT_EQ(info->Hue, -1);
}

TEST(InfoNames, TheSamePathTwiceGivesOneThenZero) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->CheckCurrentProfile("a/b.icc", nullptr), 1);
    EXPECT_STREQ(info->ProfileName.get(), "a/b.icc");
    EXPECT_EQ(info->SecondName, nullptr);
    EXPECT_EQ(info->CheckCurrentProfile("a/b.icc", nullptr), 0);
    EXPECT_STREQ(info->ProfileName.get(), "a/b.icc");
}

TEST(InfoNames, ANullAfterAPathGivesOneAndFreesTheName) {
    const auto info = std::make_unique<Info>();
    info->CheckCurrentProfile("a.icc", "b.icc");
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, "b.icc"), 1);
    EXPECT_EQ(info->ProfileName, nullptr);
    EXPECT_STREQ(info->SecondName.get(), "b.icc");
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, nullptr), 1);
    EXPECT_EQ(info->SecondName, nullptr);
}

TEST(InfoNames, TwoNullsGiveZero) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, nullptr), 0);
    EXPECT_EQ(info->ProfileName, nullptr);
    EXPECT_EQ(info->SecondName, nullptr);
}

TEST(InfoNames, TheSamePathAfterAResetGivesZero) {
    const auto info = std::make_unique<Info>();
    info->CheckCurrentProfile("a.icc", nullptr);
    info->Reset();
    EXPECT_EQ(info->CheckCurrentProfile("a.icc", nullptr), 0);
}

TEST(InfoNames, TheSecondNameIsTreatedLikeTheFirst) {
    const auto info = std::make_unique<Info>();
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, "s.icc"), 1);
    EXPECT_EQ(info->ProfileName, nullptr);
    EXPECT_STREQ(info->SecondName.get(), "s.icc");
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, "s.icc"), 0);
    EXPECT_EQ(info->CheckCurrentProfile(nullptr, "t.icc"), 1);
    EXPECT_STREQ(info->SecondName.get(), "t.icc");
}

TEST(InfoNames, BothNamesAreStoredWhenBothChange) {
    const auto info = std::make_unique<Info>();
    info->CheckCurrentProfile("a", "b");
    EXPECT_EQ(info->CheckCurrentProfile("c", "d"), 1);
    EXPECT_STREQ(info->ProfileName.get(), "c");
    EXPECT_STREQ(info->SecondName.get(), "d");
    EXPECT_EQ(info->CheckCurrentProfile("c", "e"), 1);
    EXPECT_EQ(info->CheckCurrentProfile("f", "e"), 1);
    EXPECT_EQ(info->CheckCurrentProfile("f", "e"), 0);
}

TEST(InfoNames, AreComparedByteByByte) {
    const auto info = std::make_unique<Info>();
    info->CheckCurrentProfile("profile.icc", nullptr);
    for (const char* other : {"Profile.icc", "Profile.icc2", "Profile", "", "./Profile"}) {
        EXPECT_EQ(info->CheckCurrentProfile(other, nullptr), 1) << other;
        EXPECT_STREQ(info->ProfileName.get(), other);
        EXPECT_EQ(info->CheckCurrentProfile(other, nullptr), 0) << other;
    }
}

TEST(InfoNames, AreCopied) {
    const auto info = std::make_unique<Info>();
    std::string path = "a.icc";
    info->CheckCurrentProfile(path.c_str(), nullptr);
    path[0] = 'b';
    EXPECT_STREQ(info->ProfileName.get(), "a.icc");
    EXPECT_EQ(info->CheckCurrentProfile(path.c_str(), nullptr), 1);
}

TEST(InfoNames, OfAnyLengthAreKeptWhole) {
    const auto info = std::make_unique<Info>();
    for (std::size_t length : {127U, 1U, 128U, 4000U, 127U, 129U}) {
        const std::string path(length, static_cast<char>('a' + length % 7));
        EXPECT_EQ(info->CheckCurrentProfile(path.c_str(), path.c_str()), 1) << length;
        EXPECT_EQ(info->ProfileName.get(), path);
        EXPECT_EQ(info->SecondName.get(), path);
        EXPECT_EQ(info->CheckCurrentProfile(path.c_str(), path.c_str()), 0) << length;
    }
}

struct CodeRow {
    int code;
    int channels;
};

class InfoKnownCode : public testing::TestWithParam<CodeRow> {};

TEST_P(InfoKnownCode, MakesABufferOfItsChannels) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 2> bytes{};
    info->FormatCode = GetParam().code;
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data(), bytes.data() + 1, 10), 0);
    EXPECT_EQ(info->WorkCount, 10 * GetParam().channels);
    EXPECT_EQ(info->PixelCount, 10);
    EXPECT_EQ(info->Source, bytes.data());
    EXPECT_EQ(info->Dest, bytes.data() + 1);
    ASSERT_NE(info->WorkBuf, nullptr);
    // All samples are there, 16 bits wide also for the 8-bit codes: an address checker sees an array that is not.
    for (int i = 0; i < info->WorkCount; ++i) info->WorkBuf[static_cast<std::size_t>(i)] = 65535;
    EXPECT_EQ(info->WorkBuf[static_cast<std::size_t>(info->WorkCount - 1)], 65535);
}

INSTANTIATE_TEST_SUITE_P(Every, InfoKnownCode,
                         testing::Values(CodeRow{257, 3}, CodeRow{258, 3}, CodeRow{513, 3}, CodeRow{514, 3},
                                         CodeRow{259, 4}, CodeRow{260, 4}, CodeRow{515, 4}, CodeRow{516, 4},
                                         CodeRow{261, 6}, CodeRow{262, 6}, CodeRow{517, 6}, CodeRow{518, 6},
                                         CodeRow{263, 7}, CodeRow{264, 7}, CodeRow{519, 7}, CodeRow{520, 7}),
                         [](const auto& row) { return std::to_string(row.param.code); });

class InfoUnknownCode : public testing::TestWithParam<int> {};

TEST_P(InfoUnknownCode, StoresThePointersAloneAndGives65534) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 2> bytes{};
    info->FormatCode = GetParam();
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data(), bytes.data() + 1, 10), 65534);
    EXPECT_EQ(info->Source, bytes.data());
    EXPECT_EQ(info->Dest, bytes.data() + 1);
    EXPECT_EQ(info->WorkCount, 0);
    EXPECT_EQ(info->PixelCount, 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Every, InfoUnknownCode,
                         testing::Values(INT_MIN, -1, 0, 1, 255, 256, 265, 511, 512, 521, 769, 65534, 65535, INT_MAX));

TEST(InfoWorkingBuffer, OfCode262And100PixelsHas600Samples) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 4> bytes{};
    info->FormatCode = 262;
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data(), bytes.data() + 1, 100), 0);
    EXPECT_EQ(info->WorkCount, 600);
    const unsigned short* buffer = info->WorkBuf.get();

    EXPECT_EQ(info->CheckWorkingBuf(bytes.data() + 2, bytes.data() + 3, 50), 0);
    EXPECT_EQ(info->Source, bytes.data());
    EXPECT_EQ(info->Dest, bytes.data() + 1);
    EXPECT_EQ(info->PixelCount, 100);
    EXPECT_EQ(info->WorkCount, 600);
    EXPECT_EQ(info->WorkBuf.get(), buffer);
}

TEST(InfoWorkingBuffer, OnceMadeIsNotCheckedAgainAgainstTheCode) {
    const auto info = std::make_unique<Info>();
    info->FormatCode = 257;
    info->CheckWorkingBuf(nullptr, nullptr, 1);
    info->FormatCode = 0;
    EXPECT_EQ(info->CheckWorkingBuf(nullptr, nullptr, 1), 0);
}

TEST(InfoWorkingBuffer, IsMadeAnewAfterAReset) {
    const auto info = std::make_unique<Info>();
    info->FormatCode = 257;
    info->CheckWorkingBuf(nullptr, nullptr, 5);
    info->Reset();
    info->FormatCode = 520;
    EXPECT_EQ(info->CheckWorkingBuf(nullptr, nullptr, 2), 0);
    EXPECT_EQ(info->WorkCount, 14);
    EXPECT_EQ(info->PixelCount, 2);
}

TEST(InfoWorkingBuffer, DeletedKeepsItsCountAndIsNotMadeAnew) {
    const auto info = std::make_unique<Info>();
    info->FormatCode = 257;
    info->CheckWorkingBuf(nullptr, nullptr, 5);
    EXPECT_EQ(info->DeleteWorkingBuf(), 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
    EXPECT_EQ(info->WorkCount, 15);
    EXPECT_EQ(info->PixelCount, 5);
    EXPECT_EQ(info->DeleteWorkingBuf(), 0);
    EXPECT_EQ(info->CheckWorkingBuf(nullptr, nullptr, 5), 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
}

TEST_P(InfoKnownCode, MakesABufferForNoPixelsToo) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 2> bytes{};
    info->FormatCode = GetParam().code;
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data(), bytes.data() + 1, 0), 0);
    EXPECT_NE(info->WorkBuf, nullptr);
    EXPECT_EQ(info->WorkCount, 0);
    EXPECT_EQ(info->PixelCount, 0);
    EXPECT_EQ(info->Source, bytes.data());
    EXPECT_EQ(info->Dest, bytes.data() + 1);
    // Its count does not shut out the next run.
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data() + 1, bytes.data(), 10), 0);
    EXPECT_EQ(info->WorkCount, 10 * GetParam().channels);
    EXPECT_EQ(info->Source, bytes.data() + 1);
}

struct EmptyRow {
    int code;
    int pixels;
};

class InfoEmptyJob : public testing::TestWithParam<EmptyRow> {};

TEST_P(InfoEmptyJob, HasNoPixelsAndNoBuffer) {
    const auto info = std::make_unique<Info>();
    std::array<unsigned char, 2> bytes{};
    info->FormatCode = GetParam().code;
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data(), bytes.data() + 1, GetParam().pixels), 0);
    EXPECT_EQ(info->PixelCount, 0);
    EXPECT_EQ(info->WorkCount, 0);
    EXPECT_EQ(info->WorkBuf, nullptr);
    EXPECT_EQ(info->Source, bytes.data());
    // A job without samples does not shut out the next one.
    EXPECT_EQ(info->CheckWorkingBuf(bytes.data() + 1, bytes.data(), 1), 0);
    EXPECT_EQ(info->PixelCount, 1);
    EXPECT_EQ(info->Source, bytes.data() + 1);
}

// 3 x 715827883, 4 x 536870912 and 7 x 306783379 are the first products above what an int holds.
INSTANTIATE_TEST_SUITE_P(Every, InfoEmptyJob,
                         testing::Values(EmptyRow{257, -1}, EmptyRow{520, INT_MIN}, EmptyRow{257, 715827883},
                                         EmptyRow{259, 536870912}, EmptyRow{263, 306783379}, EmptyRow{518, INT_MAX}));

}  // namespace
}  // namespace hueweave::test
