// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A block's stream that stands before its block, and numbers of a settings file that no int holds. What else streams
// and settings do at their limits stands in the suite unit_support.
#include <gtest/gtest.h>

#include <limits>

#include "support/ByteStreams.h"
#include "support/ByteWriter.h"
#include "support/ConfigTXT.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

TEST(StreamBeforeItsBlock, MovesNothing) {
    Bytes memory = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const Bytes before = memory;
    IO_Buf stream(&memory[5], 5);
    Bytes out(3, 0x11);
    stream.position = stream.begin - 3;
    EXPECT_EQ(stream.Read(out.data(), 3, 1), stream.begin - 3);
    EXPECT_EQ(stream.Write(out.data(), 2, 1), stream.begin - 1) << "moves on, and changes nothing";
    // The largest position and five more: the sum starts again from zero.
    stream.position = std::numeric_limits<unsigned long>::max();
    EXPECT_EQ(stream.Seek(5, 1), 5);
    EXPECT_EQ(stream.position, 4U);
    EXPECT_EQ(stream.Read(out.data(), 3, 1), 4U);
    EXPECT_EQ(out, Bytes(3, 0x11));
    EXPECT_EQ(memory, before);
}

TEST(NumbersBeyondAnInt, KeepTheirLowBitsAfterStoppingAt64) {
    constexpr std::pair<const char*, int> kRows[] = {{"4294967297", 1},
                                                     {"-4294967297", -1},
                                                     {"99999999999999999999", -1},
                                                     {"-99999999999999999999", 0},
                                                     {"2147483648", std::numeric_limits<int>::min()}};
    const TempDir dir;
    for (const auto& [text, number] : kRows) {
        WriteFile(dir.File("settings"), ByteWriter().Text("s\nk=").Text(text).Text("\nsend\n").Done());
        CONFIG::ConfigTXT settings;
        ASSERT_EQ(settings.Initial(dir.File("settings").c_str()), 0);
        EXPECT_EQ(settings.GetInt("s", "k", 7), number) << text;
    }
}

}  // namespace
}  // namespace hueweave::test
