// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A settings file that opens and cannot be read, and the stream that stands over the same file.
#include "support/ByteStreams.h"
#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

/// A regular file whose first bytes no one can read: the memory of this process, of which address 0 is no part.
constexpr const char* kUnreadable = "/proc/self/mem";

using ConfigUnreadableTest = ConfigTest;

TEST_F(ConfigUnreadableTest, GivesNoSectionsAndIsNoFailure) {
    Read("S\na=1\nSend\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(config_.Initial(kUnreadable), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(config_.fileName, kUnreadable);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
}

TEST(IoFileUnreadableTest, MovesNoItems) {
    IO_File file(kUnreadable, "rb");
    ASSERT_NE(file.stream, nullptr);
    unsigned char bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(file.Read(bytes, 1, 4), 0U);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[3], 4);
}

}  // namespace
}  // namespace hueweave::test
