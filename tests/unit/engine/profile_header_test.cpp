// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// An engine works by its caller's settings and by the tags: of the 128 bytes in front of them none counts.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class ProfileHeaderTest : public EngineTest {
protected:
    /// The stages of a fresh binding of these bytes to 16-bit linear sRGB by the white of the profile.
    Stages Bound(const Bytes& bytes, const std::string& name) {
        WriteFile(dir_.File(name), bytes);
        EXPECT_EQ(Bind(dir_.File(name), 3, 1, 11), 0);
        EXPECT_EQ(Status(), "11/11");
        return StagesOf(engine());
    }
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

}  // namespace
}  // namespace hueweave::test
