// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The job record.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <string>

#include "units/Info.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;

TEST(JobRecord, StartsUnset) {
    const Info info;
    EXPECT_EQ(info.ProfileState, 65535);
    EXPECT_EQ(info.Spare, 65535);
    EXPECT_EQ(static_cast<int>(info.InputSpace), 65535);
    EXPECT_EQ(static_cast<int>(info.OutputSpace), 65535);
    EXPECT_EQ(info.BuildResult, 65535);
    EXPECT_EQ(info.WorkBuf, nullptr);
    EXPECT_EQ(info.Source, nullptr);
    EXPECT_EQ(info.Dest, nullptr);
    EXPECT_EQ(info.PixelCount, 0);
    EXPECT_EQ(info.WorkCount, 0);
    EXPECT_EQ(info.Lightness, 0);
    EXPECT_EQ(info.Chroma, 0);
    EXPECT_EQ(info.Hue, 0);
    EXPECT_EQ(info.FormatCode, 65534);
    EXPECT_EQ(info.ProfileName, nullptr);
    EXPECT_EQ(info.SecondName, nullptr);
}

TEST(JobRecord, ChecksTheThreeAdjustments) {
    Info info;
    EXPECT_EQ(info.CheckLch(1, 2, 3), 1);
    EXPECT_EQ(info.CheckLch(1, 2, 3), 0);
    EXPECT_EQ(info.CheckLch(1, 2, 4), 1);
    EXPECT_EQ(info.Hue, 4);
    EXPECT_EQ(info.CheckLch(1, -2, 4), 1);
    EXPECT_EQ(info.CheckLch(0, -2, 4), 1);
    EXPECT_EQ(info.Lightness, 0);
    EXPECT_EQ(info.Chroma, -2);
}

TEST(JobRecord, RemembersTwoNames) {
    Info info;
    EXPECT_EQ(info.CheckCurrentProfile(nullptr, nullptr), 0);
    EXPECT_EQ(info.CheckCurrentProfile("a.icc", nullptr), 1);
    EXPECT_EQ(info.CheckCurrentProfile("a.icc", nullptr), 0);
    EXPECT_EQ(info.CheckCurrentProfile("b.icc", nullptr), 1);
    EXPECT_STREQ(info.ProfileName.get(), "b.icc");
    EXPECT_EQ(info.CheckCurrentProfile("b.icc", "x"), 1);
    EXPECT_EQ(info.CheckCurrentProfile("b.icc", "x"), 0);
    EXPECT_EQ(info.CheckCurrentProfile("b.icc", nullptr), 1);
    EXPECT_EQ(info.SecondName, nullptr);
    EXPECT_EQ(info.CheckCurrentProfile(nullptr, nullptr), 1);
    EXPECT_EQ(info.ProfileName, nullptr);
}

TEST(JobRecord, KeepsTheNameThroughAReset) {
    Info info;
    info.CheckCurrentProfile("a.icc", nullptr);
    info.BuildResult = 8;
    info.Intent = ICC40::ICCFILE::IntentSaturation;
    info.FormatCode = 257;
    info.CheckWorkingBuf(nullptr, nullptr, 5);
    info.CheckLch(1, 2, 3);
    info.ProfileState = info.Spare = 0;
    EXPECT_EQ(info.Reset(), 0);
    EXPECT_EQ(info.CheckCurrentProfile("a.icc", nullptr), 0);
    EXPECT_EQ(info.BuildResult, 8);
    EXPECT_EQ(info.Intent, ICC40::ICCFILE::IntentSaturation);
    EXPECT_EQ(info.FormatCode, 65534);
    EXPECT_EQ(info.WorkBuf, nullptr);
    EXPECT_EQ(info.WorkCount + info.PixelCount + info.Lightness + info.Chroma + info.Hue, 0);
    EXPECT_EQ(info.ProfileState, 65535);
    EXPECT_EQ(info.Spare, 65535);
}

TEST(JobRecord, TakesNamesOfAnyLength) {
    for (std::size_t length : {126U, 127U, 128U, 129U, 4096U}) {
        Info info;
        const std::string name(length, 'n'), other(length + 1, 'n');
        EXPECT_EQ(info.CheckCurrentProfile(name.c_str(), nullptr), 1);
        EXPECT_EQ(info.CheckCurrentProfile(name.c_str(), nullptr), 0);
        EXPECT_EQ(info.CheckCurrentProfile(other.c_str(), nullptr), 1);
        EXPECT_STREQ(info.ProfileName.get(), other.c_str());
    }
}

TEST(JobRecord, HasRoomForTheWholeNameAndItsTerminator) {
    // Sixteen lengths in a row: a heap block has room to spare for fifteen of them.
    for (std::size_t length = 120; length < 152; ++length) {
        Info info;
        const std::string name(length, 'n');
        info.CheckCurrentProfile(name.c_str(), name.c_str());
        EXPECT_GE(malloc_usable_size(info.ProfileName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_GE(malloc_usable_size(info.SecondName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_EQ(info.ProfileName.get(), name);
    }
}

TEST(JobRecord, AllocatesSamplesByTheFormat) {
    struct Row {
        int code, channels;
    };
    for (const Row& row :
         {Row{257, 3}, Row{258, 3}, Row{259, 4}, Row{260, 4}, Row{261, 6}, Row{262, 6}, Row{263, 7}, Row{264, 7},
          Row{513, 3}, Row{514, 3}, Row{515, 4}, Row{516, 4}, Row{517, 6}, Row{518, 6}, Row{519, 7}, Row{520, 7}}) {
        Info info;
        unsigned char source[1], dest[1], other[1];
        info.FormatCode = row.code;
        EXPECT_EQ(info.CheckWorkingBuf(source, dest, 100), 0);
        EXPECT_EQ(info.WorkCount, 100 * row.channels);
        EXPECT_EQ(info.PixelCount, 100);
        ASSERT_NE(info.WorkBuf, nullptr);
        info.WorkBuf[static_cast<std::size_t>(info.WorkCount - 1)] = 7;
        // Only the first call after a reset takes effect.
        EXPECT_EQ(info.CheckWorkingBuf(other, other, 7), 0);
        EXPECT_EQ(info.Source, source);
        EXPECT_EQ(info.Dest, dest);
        EXPECT_EQ(info.PixelCount, 100);
    }
}

TEST(JobRecord, RefusesUnknownFormats) {
    for (int code : {256, 265, 512, 521, 0, -1, 65534}) {
        Info info;
        unsigned char source[1], dest[1];
        info.FormatCode = code;
        EXPECT_EQ(info.CheckWorkingBuf(source, dest, 100), 65534) << code;
        EXPECT_EQ(info.Source, source);
        EXPECT_EQ(info.Dest, dest);
        EXPECT_EQ(info.WorkBuf, nullptr);
        EXPECT_EQ(info.WorkCount, 0);
    }
}

TEST(JobRecord, MakesAnEmptyJobOfACountThatCannotBe) {
    for (int pixels : {-1, 715827883, 2147483647}) {
        Info info;
        info.FormatCode = 257;
        EXPECT_EQ(info.CheckWorkingBuf(nullptr, nullptr, pixels), 0);
        EXPECT_EQ(info.PixelCount, 0) << pixels;
        EXPECT_EQ(info.WorkCount, 0);
    }
}

TEST(JobRecord, DroppingTheBufferKeepsItsCount) {
    Info info;
    info.FormatCode = 262;
    info.CheckWorkingBuf(nullptr, nullptr, 10);
    EXPECT_EQ(info.DeleteWorkingBuf(), 0);
    EXPECT_EQ(info.WorkBuf, nullptr);
    EXPECT_EQ(info.WorkCount, 60);
    EXPECT_EQ(info.DeleteWorkingBuf(), 0);
}

}  // namespace
}  // namespace hueweave::test
