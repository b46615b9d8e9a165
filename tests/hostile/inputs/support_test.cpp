// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Streams and settings at their limits.
#include "support/ByteStreams.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "support/ByteWriter.h"
#include "support/ConfigTXT.h"
#include "support/ProfileBuilder.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

constexpr unsigned long kMost = std::numeric_limits<unsigned long>::max();

TEST(BlockStreamLimits, BehindTheEndNothingIsMoved) {
    Bytes block = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    IO_Buf stream(block.data(), block.size());
    Bytes ten(10, 0xee);
    EXPECT_EQ(stream.Write(ten.data(), 4, 1), stream.begin + 4);
    EXPECT_EQ(stream.Write(ten.data(), 7, 1), stream.begin + 11) << "one beyond the end";
    EXPECT_EQ(block, Bytes(10, 0xee));
    Bytes out(10, 0x11);
    EXPECT_EQ(stream.Read(out.data(), 5, 1), stream.begin + 11);
    EXPECT_EQ(out, Bytes(10, 0x11));
    Bytes other(10, 0x22);
    EXPECT_EQ(stream.Write(other.data(), 1, 1), stream.begin + 12);
    EXPECT_EQ(block, Bytes(10, 0xee));
}

TEST(BlockStreamLimits, BeforeTheStartNothingIsMoved) {
    Bytes memory = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    IO_Buf stream(&memory[5], 5);
    Bytes out(3, 0x11);
    stream.position = stream.begin - 3;
    EXPECT_EQ(stream.Read(out.data(), 3, 1), stream.begin - 3);
    EXPECT_EQ(out, Bytes(3, 0x11));
    EXPECT_EQ(stream.Write(out.data(), 2, 1), stream.begin - 1) << "moves on, and changes nothing";
    EXPECT_EQ(memory, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    // The largest position and five more: the sum starts again from zero.
    stream.position = kMost;
    EXPECT_EQ(stream.Seek(5, 1), 5);
    EXPECT_EQ(stream.position, 4U);
    EXPECT_EQ(stream.Read(out.data(), 3, 1), 4U);
    EXPECT_EQ(out, Bytes(3, 0x11));
}

TEST(BlockStreamLimits, LengthsDoNotStartAgainFromZero) {
    Bytes block = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const unsigned long half = kMost / 2 + 1;
    for (const auto& [size, count] : {std::pair{half, 2UL}, {2UL, half}, {kMost, kMost}, {kMost, 1UL}}) {
        IO_Buf stream(block.data(), block.size());
        Bytes out(10, 0);
        EXPECT_EQ(stream.Read(out.data(), size, count), stream.end);
        EXPECT_EQ(out, block);
        EXPECT_EQ(stream.Read(out.data(), size, count), stream.end);
    }
    IO_Buf stream(block.data(), block.size());
    EXPECT_EQ(stream.Write(block.data(), half, 2), kMost) << "the position stops at the largest number";
}

TEST(BlockStreamLimits, AnEmptyOrClosedBlockMovesNothing) {
    Bytes out(10, 0x11);
    IO_Buf none(nullptr, 0);
    EXPECT_EQ(none.Read(out.data(), 10, 1), 0U);
    Bytes block(10, 1);
    IO_Buf closed(block.data(), block.size());
    closed.Close();
    EXPECT_EQ(closed.Read(out.data(), 10, 1), 0U);
    EXPECT_EQ(closed.GetHandle(), nullptr);
    EXPECT_EQ(out, Bytes(10, 0x11));
}

/// Any sequence against a plain statement of the same rules, over offsets from the block's start.
TEST(BlockStreamLimits, FollowsAPlainModel) {
    constexpr std::int64_t kSize = 40;
    Lcg random(7);
    Bytes block(kSize, 0);
    Bytes model(kSize, 0);
    IO_Buf stream(block.data(), block.size());
    std::int64_t at = 0;
    for (int step = 0; step < 20000; ++step) {
        const std::uint32_t what = random.Below(3);
        const auto bytes = static_cast<std::int64_t>(random.Below(60));
        const std::int64_t room = std::clamp<std::int64_t>(kSize - at, 0, bytes);
        Bytes data(60, static_cast<unsigned char>(step));
        if (what == 0) {
            stream.Write(data.data(), static_cast<unsigned long>(bytes), 1);
            std::copy_n(data.begin(), room, model.begin() + std::min(at, kSize));
            at += bytes;
        } else if (what == 1) {
            Bytes expected = data;
            std::copy_n(model.begin() + std::min(at, kSize), room, expected.begin());
            stream.Read(data.data(), 1, static_cast<unsigned long>(bytes));
            at += room;
            ASSERT_EQ(data, expected) << step;
        } else {
            const int offset = static_cast<int>(random.Below(121)) - 60;
            const int origin = static_cast<int>(random.Below(3));
            const std::int64_t aim = (origin == 0 ? 0 : origin == 1 ? at : kSize) + offset;
            // Forward the end is the limit, else the start.
            const bool outside = offset > 0 ? aim > kSize : aim < 0;
            const std::int64_t limit = offset > 0 ? kSize : 0;
            ASSERT_EQ(stream.Seek(offset, origin), outside ? aim - limit : offset) << step;
            at = outside ? limit : aim;
        }
        ASSERT_EQ(static_cast<std::int64_t>(stream.position - stream.begin), at) << step;
        ASSERT_EQ(block, model) << step;
    }
}

TEST(FileStreamLimits, WithoutAStreamMovesNothing) {
    const TempDir dir;
    Bytes out(4, 0x11);
    IO_File absent(dir.File("absent").c_str(), "rb");
    EXPECT_EQ(absent.GetHandle(), nullptr);
    EXPECT_EQ(absent.Read(out.data(), 1, 4), 0U);
    EXPECT_EQ(absent.Write(out.data(), 1, 4), 0U);
    absent.Close();
    IO_File closed(dir.File("file").c_str(), "wb+");
    EXPECT_EQ(closed.Write(out.data(), 1, 4), 4U);
    closed.Close();
    EXPECT_EQ(closed.Write(out.data(), 1, 4), 0U);
    closed.Close();
    EXPECT_EQ(ReadFile(dir.File("file")), Bytes(4, 0x11));
    EXPECT_EQ(out, Bytes(4, 0x11));
}

class SettingsLimits : public testing::Test {
protected:
    int Read(std::string_view text) {
        WriteFile(dir_.File("settings"), Bytes(text.begin(), text.end()));
        return settings_.Initial(dir_.File("settings").c_str());
    }

    TempDir dir_;
    CONFIG::ConfigTXT settings_;
};

TEST_F(SettingsLimits, ASectionWithoutAnEndPrintsTwoLinesForEachOfItsThousandRows) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(Read("a\n"), 0);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2000);
    EXPECT_EQ(settings_.sections.size(), 1U);
}

TEST_F(SettingsLimits, AFileWithoutBytesIsEmpty) {
    EXPECT_EQ(Read(""), 0);
    EXPECT_TRUE(settings_.sections.empty());
}

TEST_F(SettingsLimits, WhatIsNoRegularFileIsNotRead) {
    const std::string pipe = dir_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, dir_.Path(), std::string("/dev/zero")}) {
        EXPECT_EQ(settings_.Initial(path.c_str()), 0) << path;
        EXPECT_TRUE(settings_.sections.empty()) << path;
    }
    for (const std::string& path : {dir_.File("absent"), std::string()}) {
        EXPECT_EQ(settings_.Initial(path.c_str()), -1) << path;
    }
    EXPECT_EQ(settings_.Initial(nullptr), -1);
}

TEST_F(SettingsLimits, TextIsCutAtItsRoomAndReadNoFurtherThanItsEnd) {
    ASSERT_EQ(Read("s\nshort=abc\nfull=" + std::string(128, 'x') + "\nfits=" + std::string(127, 'y') +
                   "\nlong=" + std::string(500, 'z') + "\nsend\n"),
              0);
    const auto text = [&](const char* key, const char* otherwise) {
        std::string out(140, '#');
        EXPECT_EQ(settings_.GetString("s", key, otherwise, out.data()), 0);
        return out;
    };
    const std::string rest(12, '#');
    EXPECT_EQ(text("full", ""), std::string(128, 'x') + rest);
    EXPECT_EQ(text("long", ""), std::string(128, 'z') + rest);
    EXPECT_EQ(text("fits", ""), std::string(127, 'y') + '\0' + rest);
    EXPECT_STREQ(text("short", "").c_str(), "abc");
    // A default that ends where the memory ends.
    auto* const pages = static_cast<char*>(mmap(nullptr, 131072, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(mprotect(pages, 65536, PROT_READ | PROT_WRITE), 0);
    std::memcpy(pages + 65532, "end", 4);
    EXPECT_STREQ(text("absent", pages + 65532).c_str(), "end");
    EXPECT_EQ(text("absent", nullptr), std::string(140, '#'));
    EXPECT_EQ(settings_.GetString("s", "short", "", nullptr), 0);
    munmap(pages, 131072);
}

TEST_F(SettingsLimits, NullNamesGiveTheDefault) {
    ASSERT_EQ(Read("s\nk=1\nsend\n"), 0);
    EXPECT_EQ(settings_.GetInt(nullptr, "k", 7), 7);
    EXPECT_EQ(settings_.GetInt("s", nullptr, 7), 7);
    char out[128] = "#";
    EXPECT_EQ(settings_.GetString(nullptr, nullptr, "d", out), 0);
    EXPECT_STREQ(out, "d");
}

TEST_F(SettingsLimits, NumbersBeyondAnIntKeepTheirLowBitsAfterStoppingAt64) {
    ASSERT_EQ(Read("s\na=4294967297\nb=-4294967297\nc=99999999999999999999\nd=-99999999999999999999\ne=2147483648\n"
                   "f=abc\ng=12x\nsend\n"),
              0);
    EXPECT_EQ(settings_.GetInt("s", "a", 7), 1);
    EXPECT_EQ(settings_.GetInt("s", "b", 7), -1);
    EXPECT_EQ(settings_.GetInt("s", "c", 7), -1);
    EXPECT_EQ(settings_.GetInt("s", "d", 7), 0);
    EXPECT_EQ(settings_.GetInt("s", "e", 7), std::numeric_limits<int>::min());
    EXPECT_EQ(settings_.GetInt("s", "f", 7), 0);
    EXPECT_EQ(settings_.GetInt("s", "g", 7), 12);
}

TEST_F(SettingsLimits, AnyBytesAreRead) {
    Lcg random(3);
    for (int round = 0; round < 200; ++round) {
        std::string text;
        const std::uint32_t length = random.Below(300);
        for (std::uint32_t i = 0; i < length; ++i) text.push_back("ab=/ \n\r\t\0e"[random.Below(10)]);
        testing::internal::CaptureStdout();
        EXPECT_EQ(Read(text), 0);
        testing::internal::GetCapturedStdout();
        for (const auto& [section, rows] : settings_.sections) {
            EXPECT_EQ(section.find_first_of(" \n\r\t"), std::string::npos);
            EXPECT_EQ(section.find("//"), std::string::npos);
            for (const auto& [key, value] : rows) {
                EXPECT_EQ(key.find_first_of("= \n"), std::string::npos);
                EXPECT_EQ(value.find_first_of("= \n"), std::string::npos);
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test
