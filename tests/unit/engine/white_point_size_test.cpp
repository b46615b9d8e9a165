// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// How long the block of a white point has to be. Its declared size is rounded up to a multiple of 4 first.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

class WhitePointSizeTest : public EngineTest {
protected:
    /// The stages by the white of the profile, in linear 16-bit sRGB.
    Stages Bound(const Bytes& bytes, const std::string& name) {
        WriteFile(dir_.File(name), bytes);
        EXPECT_EQ(Bind(dir_.File(name), 3, 1, 11), 0);
        EXPECT_EQ(Status(), "11/11");
        return StagesOf(engine());
    }
};

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
