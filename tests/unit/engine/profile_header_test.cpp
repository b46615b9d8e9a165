// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// An engine works by its caller's settings and by the tags: of the 128 bytes in front of them none counts.
// And of the tags the white point, if its block is long enough.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// The stages by a profile's white, in linear 16-bit sRGB.
class BoundStagesTest : public EngineTest {
protected:
    Stages Bound(const Bytes& bytes, const std::string& name) {
        WriteFile(dir_.File(name), bytes);
        EXPECT_EQ(Bind(dir_.File(name), 3, 1, 11), 0);
        EXPECT_EQ(Status(), "11/11");
        return StagesOf(engine());
    }
};

class ProfileHeaderTest : public BoundStagesTest {
protected:
    const Bytes plain_ = MiniProfile({{"A2B1", Mft2(SmoothLut(3))}, {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)}});
};

TEST_F(ProfileHeaderTest, AnyWordOfItLeavesTheTablesAsTheyAre) {
    const Stages expected = Bound(plain_, "plain.icc");
    for (std::size_t at = 0; at < 128; at += 4) {
        ByteWriter bytes;
        bytes.Append(plain_).PatchBig32(at, 0xffffffffU);
        EXPECT_TRUE(Bound(bytes.Done(), "word" + std::to_string(at)) == expected) << at;
    }
}

TEST_F(ProfileHeaderTest, AnotherClassSpaceConnectionVersionIntentOrLightLeavesThemToo) {
    const Stages expected = Bound(plain_, "plain.icc");
    for (const char* space : {"RGB ", "CMYK", "GRAY", "Lab ", "7CLR"}) {
        for (const char* connection : {"Lab ", "XYZ "}) {
            ByteWriter header;
            header.Big32(1).Text("abcd").Big32(0x04300000).Text("link").Text(space).Text(connection);
            header.Fill(12, 7).Text("none").Fill(24, 9).Big32(2).Big32(0x10000).Big32(0x8000).Big32(0xffff0000U);
            header.Fill(48, 0xee);
            ASSERT_EQ(header.Size(), 128U);
            header.Append(Bytes(plain_.begin() + 128, plain_.end()));
            EXPECT_TRUE(Bound(header.Done(), space + std::string(connection)) == expected) << space << connection;
        }
    }
}

class WhitePointSizeTest : public BoundStagesTest {};

// The declared size is rounded up to a multiple of 4 first.
TEST_F(WhitePointSizeTest, CountsFromTwentyBytesOn) {
    const Bytes table = Mft2(SmoothLut(3));
    const Stages without = Bound(MiniProfile({{"A2B1", table}}), "none.icc");
    const Bytes sound = MiniProfile({{"A2B1", table}, {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)}});
    const Stages with = Bound(sound, "white.icc");
    ASSERT_FALSE(with == without);
    for (std::uint32_t declared = 0; declared <= 24; ++declared) {
        ByteWriter bytes;
        bytes.Append(sound).Fill(4, 0xff).PatchBig32(132 + 12 + 8, declared);
        const Stages stages = Bound(bytes.Done(), "declared" + std::to_string(declared));
        EXPECT_TRUE(stages == (declared > 16 ? with : without)) << declared;
    }
}

}  // namespace
}  // namespace hueweave::test
