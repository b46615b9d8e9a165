// SPDX-License-Identifier: MIT
// The 128 bytes at the start of a profile, read and written.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

/// Checks every field against its place in 128 bytes of a file.
void ExpectHeader(const ProfileHeader& header, const Bytes& bytes) {
    EXPECT_EQ(header.profileSize, Big32(bytes, 0));
    EXPECT_EQ(header.cmmType, Big32(bytes, 4));
    EXPECT_EQ(header.profileVersion, Big32(bytes, 8));
    EXPECT_EQ(header.deviceClass, Big32(bytes, 12));
    EXPECT_EQ(header.colorSpace, Big32(bytes, 16));
    EXPECT_EQ(header.pcs, Big32(bytes, 20));
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(header.dateTime[i], Big16(bytes, 24 + 2 * i));
    EXPECT_EQ(header.magic, Big32(bytes, 36));
    EXPECT_EQ(header.platform, Big32(bytes, 40));
    EXPECT_EQ(header.profileFlags, Big32(bytes, 44));
    EXPECT_EQ(header.manufacturer, Big32(bytes, 48));
    EXPECT_EQ(header.model, Big32(bytes, 52));
    EXPECT_THAT(header.attributes, EqualTo(Part(bytes, 56, 8)));
    EXPECT_EQ(header.renderingIntent, Big32(bytes, 64));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(header.illuminant[i], Big32(bytes, 68 + 4 * i));
    EXPECT_EQ(header.creator, Big32(bytes, 80));
    EXPECT_THAT(header.profileId, EqualTo(Part(bytes, 84, 16)));
    EXPECT_THAT(header.headerReserved, EqualTo(Part(bytes, 100, 28)));
}

class ProfileHeaderOnDisk : public ProfileOnDisk {};

TEST_F(ProfileHeaderOnDisk, IsReadIntoHostOrder) {
    EXPECT_EQ(Read(ProfileOf({})), 0);
    EXPECT_EQ(file.header.profileSize, 0x80818283U);
    EXPECT_EQ(file.header.dateTime[0], 0x9899U);
    ExpectHeader(file.header, NumberedHeader());
}

TEST_F(ProfileHeaderOnDisk, TakesBytesThatTheFileDoesNotHoldForZero) {
    for (std::size_t size = 0; size <= 128; ++size) {
        ReadFromMemory(ProfileOf({}));  // so that a stale header would show
        EXPECT_EQ(Read(Cut(NumberedHeader(), size)), 0);
        SCOPED_TRACE(size);
        ExpectHeader(file.header, Cut(Cut(NumberedHeader(), size), 128));
    }
}

TEST_F(ProfileHeaderOnDisk, IsReadAloneFromWhereTheStreamStands) {
    WriteFile(path, ByteWriter().Fill(5, 0xff).Append(ProfileOf({{"abcd", Block("data", 8)}})).Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 5, SEEK_SET), 0);
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    ExpectHeader(file.header, NumberedHeader());
    EXPECT_EQ(std::ftell(stream.get()), 133);
    EXPECT_TRUE(file.tagList.empty());
    ASSERT_EQ(std::fseek(stream.get(), 0, SEEK_END), 0);
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    ExpectHeader(file.header, Bytes(128));
}

TEST_F(ProfileHeaderOnDisk, LosesAttributesAndReservedBytesOnWriting) {
    Read(ProfileOf({}));
    for (const auto& [size, word] : {std::pair{132, 132U}, {0, 0U}, {-1, 0xffffffffU}, {0x7f010203, 0x7f010203U}}) {
        {
            const FileHandle stream = Open("wb+");
            std::fputs("abc", stream.get());
            EXPECT_EQ(file.WriteHeader(stream.get(), size), 0);
        }
        EXPECT_THAT(hueweave::test::ReadFile(path), EqualTo(ByteWriter().Text("abc").Append(SavedHeader(word)).Done()));
    }
    ExpectHeader(file.header, NumberedHeader());  // the header in memory stays unchanged
}

}  // namespace
}  // namespace hueweave::test::icc
