// SPDX-License-Identifier: MIT
// The job record: its initial state, its stored names and its working buffer.
#include "units/Info.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <string>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

/// Checks all fields except build result, intent and names.
void ExpectUnset(const Info& info) {
    EXPECT_EQ((std::array<int, 10>{info.ProfileState, info.Spare, info.InputSpace, info.OutputSpace, info.FormatCode,
                                   info.PixelCount, info.WorkCount, info.Lightness, info.Chroma, info.Hue}),
              (std::array{65535, 65535, 65535, 65535, 65534, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(info.WorkBuf == nullptr && info.Source == nullptr && info.Dest == nullptr);
}

TEST(Info, StartsUnsetAndResetsAllButBuildResultIntentAndNames) {
    unsigned char bytes[2];
    Info info;
    for (int pass = 0; pass < 2; ++pass) {
        ExpectUnset(info);
        EXPECT_EQ(info.BuildResult, 65535);
        EXPECT_EQ(info.Intent, 0);
        EXPECT_EQ(info.ProfileName, nullptr);
        EXPECT_EQ(info.SecondName, nullptr);
        EXPECT_EQ(info.Reset(), 0) << "of a fresh record";
    }
    info.ProfileState = info.Spare = 0;
    info.InputSpace = info.OutputSpace = Space(9);
    info.BuildResult = 9;
    info.Intent = IntentSaturation;
    info.FormatCode = 257;
    info.CheckWorkingBuf(bytes, bytes + 1, 4);
    info.CheckLch(1, 2, 3);
    info.CheckCurrentProfile("first.icc", "second.icc");

    EXPECT_EQ(info.Reset(), 0);
    ExpectUnset(info);
    EXPECT_EQ(info.BuildResult, 9);
    EXPECT_EQ(info.Intent, IntentSaturation);
    EXPECT_EQ(info.CheckCurrentProfile("first.icc", "second.icc"), 0) << "no change";
}

TEST(Info, DetectsAChangedAdjustment) {
    Info info;
    const struct {
        int lightness, chroma, hue, result;
    } steps[] = {{0, 0, 0, 0},  {3, -4, 5, 1}, {3, -4, 5, 0},
                 {2, -4, 5, 1}, {2, 4, 5, 1},  {2, 4, 6, 1},
                 {2, 4, 6, 0},  {0, 4, 6, 1},  {INT_MAX, INT_MIN, -1, 1}};
    for (const auto& [lightness, chroma, hue, result] : steps) {
        SCOPED_TRACE(testing::Message() << lightness << " " << chroma << " " << hue);
        EXPECT_EQ(info.CheckLch(lightness, chroma, hue), result);
        EXPECT_EQ((std::array{info.Lightness, info.Chroma, info.Hue}), (std::array{lightness, chroma, hue}));
    }
}

/// From every pair of names to every other. The comparison is byte by byte.
TEST(Info, DetectsAChangedName) {
    const char* const names[] = {nullptr, "", "b.icc", "profile.icc", "Profile.icc2", "Profile", "./Profile"};
    for (int from = 0; from < 49; ++from) {
        for (int to = 0; to < 49; ++to) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            Info info;
            info.CheckCurrentProfile(names[from / 7], names[from % 7]);
            EXPECT_EQ(info.CheckCurrentProfile(names[to / 7], names[to % 7]), from == to ? 0 : 1);
            EXPECT_STREQ(info.ProfileName.get(), names[to / 7]);
            EXPECT_STREQ(info.SecondName.get(), names[to % 7]);
        }
    }
}

TEST(Info, HasRoomForNamesOfAnyLength) {
    // Sixteen consecutive lengths: a heap block has spare room for fifteen of them.
    std::vector<std::size_t> lengths = {1, 4000, 4096};
    for (std::size_t length = 120; length < 152; ++length) lengths.push_back(length);
    for (const std::size_t length : lengths) {
        SCOPED_TRACE(length);
        Info info;
        const std::string name(length, 'n'), longer(length + 1, 'n');
        std::string given = name;
        EXPECT_EQ(info.CheckCurrentProfile(given.c_str(), given.c_str()), 1);
        given[0] = 'b';  // the record keeps a copy
        EXPECT_GE(malloc_usable_size(info.ProfileName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_GE(malloc_usable_size(info.SecondName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_EQ(info.ProfileName.get(), name);
        EXPECT_EQ(info.SecondName.get(), name);
        EXPECT_EQ(info.CheckCurrentProfile(name.c_str(), name.c_str()), 0);
        EXPECT_EQ(info.CheckCurrentProfile(longer.c_str(), name.c_str()), 1);
    }
}

TEST(CheckWorkingBuf, AllocatesTheChannelsOfTheCode) {
    unsigned char bytes[4];
    for (const int code : FormatCodes()) {
        SCOPED_TRACE(code);
        const auto& [channels, sourceBytes, destBytes] = LayoutOf(code);
        const PixelFormat format = FindFormat(code);
        EXPECT_EQ(format.channels, channels);
        EXPECT_EQ(format.source16, sourceBytes == 2);
        EXPECT_EQ(format.dest16, destBytes == 2);
        Info info;
        info.FormatCode = code;
        // A buffer of no samples does not prevent the next run.
        for (const int pixels : {0, 10}) {
            EXPECT_EQ(info.CheckWorkingBuf(bytes + 2, bytes + 3, pixels), channels == 0 ? 65534 : 0);
            const int counted = channels == 0 ? 0 : pixels;
            EXPECT_EQ(RunOf(info), std::tuple(bytes + 2, bytes + 3, counted, pixels * channels));
            EXPECT_EQ(info.WorkBuf != nullptr, channels != 0);
        }
        // 16 bits per sample for the 8-bit codes too: an address checker detects a smaller array.
        for (int i = 0; i < info.WorkCount; ++i) info.WorkBuf[AsIndex(i)] = 65535;
    }
}

TEST(CheckWorkingBuf, AllocatesOnceUntilAReset) {
    unsigned char bytes[4];
    Info info;
    info.FormatCode = 262;
    EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes + 1, 100), 0);
    const unsigned short* const buffer = info.WorkBuf.get();
    for (const int code : {262, 514, 0}) {
        info.FormatCode = code;
        EXPECT_EQ(info.CheckWorkingBuf(bytes + 2, bytes + 3, 50), 0) << code;
        EXPECT_EQ(RunOf(info), std::tuple(bytes, bytes + 1, 100, 600));
        EXPECT_EQ(info.WorkBuf.get(), buffer);
    }
    info.Reset();
    info.FormatCode = 520;
    EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes, 2), 0);
    EXPECT_EQ(RunOf(info), std::tuple(bytes, bytes, 2, 14));
}

TEST(CheckWorkingBuf, KeepsTheCountsOfADeletedBufferAndDoesNotReallocate) {
    Info info;
    info.FormatCode = 262;
    info.CheckWorkingBuf(nullptr, nullptr, 10);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(info.DeleteWorkingBuf(), 0);
        EXPECT_EQ(info.WorkBuf, nullptr);
        EXPECT_EQ(info.WorkCount, 60);
        EXPECT_EQ(info.PixelCount, 10);
        EXPECT_EQ(info.CheckWorkingBuf(nullptr, nullptr, 10), 0);
        EXPECT_EQ(info.WorkBuf, nullptr);
    }
}

/// Below zero, the first products above the range of an int, and products of 2 and of 0 in 32 bits.
TEST(CheckWorkingBuf, AllocatesNothingForAnInvalidCount) {
    unsigned char bytes[2];
    const struct {
        int code, pixels;
    } rows[] = {{257, -1},        {520, INT_MIN}, {257, 715827883},  {259, 536870912},
                {263, 306783379}, {518, INT_MAX}, {257, 1431655766}, {259, 1073741824}};
    for (const auto& [code, pixels] : rows) {
        SCOPED_TRACE(testing::Message() << code << ", " << pixels << " pixels");
        Info info;
        info.FormatCode = code;
        EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes + 1, pixels), 0);
        EXPECT_EQ(RunOf(info), std::tuple(bytes, bytes + 1, 0, 0));
        EXPECT_EQ(info.WorkBuf, nullptr);
        EXPECT_EQ(info.CheckWorkingBuf(bytes + 1, bytes, 1), 0) << "the next run is not shut out";
        EXPECT_EQ(RunOf(info), std::tuple(bytes + 1, bytes, 1, LayoutOf(code).channels));
    }
}

}  // namespace
}  // namespace hueweave::test
