// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The 128 bytes at the start of a profile, field by field, read and written.
#include <cstring>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

struct Field {
    const char* name;
    std::size_t offset;
    std::size_t bytes;
    void (*set)(ProfileHeader&, std::uint32_t);
};

template <auto Member>
constexpr Field WordAt(const char* name, std::size_t offset) {
    return {name, offset, 4, [](ProfileHeader& header, std::uint32_t value) { header.*Member = value; }};
}
template <std::size_t I>
constexpr Field DateWordAt(const char* name, std::size_t offset) {
    return {name, offset, 2,
            [](ProfileHeader& header, std::uint32_t value) { header.dateTime[I] = static_cast<std::uint16_t>(value); }};
}
template <std::size_t I>
constexpr Field IlluminantAt(const char* name, std::size_t offset) {
    return {name, offset, 4, [](ProfileHeader& header, std::uint32_t value) { header.illuminant[I] = value; }};
}

const Field kFields[] = {
    WordAt<&ProfileHeader::profileSize>("ProfileSize", 0),
    WordAt<&ProfileHeader::cmmType>("CmmType", 4),
    WordAt<&ProfileHeader::profileVersion>("ProfileVersion", 8),
    WordAt<&ProfileHeader::deviceClass>("DeviceClass", 12),
    WordAt<&ProfileHeader::colorSpace>("ColorSpace", 16),
    WordAt<&ProfileHeader::pcs>("Pcs", 20),
    DateWordAt<0>("Year", 24),
    DateWordAt<1>("Month", 26),
    DateWordAt<2>("Day", 28),
    DateWordAt<3>("Hours", 30),
    DateWordAt<4>("Minutes", 32),
    DateWordAt<5>("Seconds", 34),
    WordAt<&ProfileHeader::magic>("Magic", 36),
    WordAt<&ProfileHeader::platform>("Platform", 40),
    WordAt<&ProfileHeader::profileFlags>("ProfileFlags", 44),
    WordAt<&ProfileHeader::manufacturer>("Manufacturer", 48),
    WordAt<&ProfileHeader::model>("Model", 52),
    WordAt<&ProfileHeader::renderingIntent>("RenderingIntent", 64),
    IlluminantAt<0>("IlluminantX", 68),
    IlluminantAt<1>("IlluminantY", 72),
    IlluminantAt<2>("IlluminantZ", 76),
    WordAt<&ProfileHeader::creator>("Creator", 80),
};

Bytes RawBytes(const ProfileHeader& header) {
    Bytes bytes(sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

class ProfileHeaderField : public ProfileOnDisk, public testing::WithParamInterface<Field> {
protected:
    static constexpr std::uint32_t kValue = 0x8142c3e5U;
    const Field field = GetParam();
    const std::uint32_t value = field.bytes == 4 ? kValue : kValue >> 16;
};

TEST_P(ProfileHeaderField, IsReadIntoHostOrderAndIntoNoOtherField) {
    Bytes bytes(132);
    const Bytes inFile = ByteWriter().Big32(kValue).Done();
    std::memcpy(bytes.data() + field.offset, inFile.data(), field.bytes);
    EXPECT_EQ(Read(bytes), 0);
    ProfileHeader expected;
    field.set(expected, value);
    EXPECT_EQ(RawBytes(file.header), RawBytes(expected));
}

TEST_P(ProfileHeaderField, IsWrittenBigEndianAndTheSizeIsComputed) {
    field.set(file.header, value);
    {
        const FileHandle stream = Open("wb+");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(file.WriteHeader(stream.get(), 0x01020304), 0);
    }
    Bytes expected(128);
    const Bytes inFile = ByteWriter().Big32(kValue).Done(), size = ByteWriter().Big32(0x01020304).Done();
    std::memcpy(expected.data() + field.offset, inFile.data(), field.bytes);
    std::memcpy(expected.data(), size.data(), 4);
    EXPECT_EQ(hueweave::test::ReadFile(path), expected);
}

INSTANTIATE_TEST_SUITE_P(Every, ProfileHeaderField, testing::ValuesIn(kFields),
                         [](const auto& row) { return std::string(row.param.name); });

class ProfileHeaderRecord : public ProfileOnDisk {};

TEST_F(ProfileHeaderRecord, KeepsThreeFieldsAsTheBytesOfTheFile) {
    Read(ProfileOf({}));
    EXPECT_EQ(Bytes(file.header.attributes.begin(), file.header.attributes.end()), Part(NumberedHeader(), 56, 8));
    EXPECT_EQ(Bytes(file.header.profileId.begin(), file.header.profileId.end()), Part(NumberedHeader(), 84, 16));
    EXPECT_EQ(Bytes(file.header.headerReserved.begin(), file.header.headerReserved.end()),
              Part(NumberedHeader(), 100, 28));
}

TEST_F(ProfileHeaderRecord, LosesAttributesAndReservedBytesOnWriting) {
    Read(ProfileOf({}));
    {
        const FileHandle stream = Open("wb+");
        EXPECT_EQ(file.WriteHeader(stream.get(), 132), 0);
    }
    const Bytes expected = ByteWriter()
                               .Big32(132)
                               .Append(Part(NumberedHeader(), 4, 52))
                               .Fill(8)
                               .Append(Part(NumberedHeader(), 64, 36))
                               .Fill(28)
                               .Done();
    EXPECT_EQ(hueweave::test::ReadFile(path), expected);
}

TEST_F(ProfileHeaderRecord, IsLeftAsItIsByWriting) {
    Read(ProfileOf({}));
    const Bytes before = RawBytes(file.header);
    Saved();
    EXPECT_EQ(RawBytes(file.header), before);
}

TEST_F(ProfileHeaderRecord, IsReadAloneFromWhereTheStreamStands) {
    WriteFile(path, ByteWriter().Fill(5, 0xff).Append(ProfileOf({{"abcd", Block("data", 8)}})).Done());
    const FileHandle stream = Open("rb");
    ASSERT_EQ(std::fseek(stream.get(), 5, SEEK_SET), 0);
    EXPECT_EQ(file.ReadHeader(stream.get()), 0);
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
    EXPECT_EQ(file.header.headerReserved[27], 128);
    EXPECT_EQ(std::ftell(stream.get()), 133);
    EXPECT_TRUE(file.tagList.empty());
}

TEST_F(ProfileHeaderRecord, IsWrittenWhereTheStreamStands) {
    {
        const FileHandle stream = Open("wb+");
        ASSERT_EQ(std::fputs("abc", stream.get()) < 0, false);
        EXPECT_EQ(file.WriteHeader(stream.get(), 7), 0);
    }
    EXPECT_EQ(hueweave::test::ReadFile(path), ByteWriter().Text("abc").Big32(7).Fill(124).Done());
}

TEST_F(ProfileHeaderRecord, TakesBytesThatTheFileDoesNotHoldForZero) {
    for (std::size_t size = 0; size < 128; ++size) {
        Read(ProfileOf({}));  // so that an earlier header would show through
        EXPECT_EQ(Read(Cut(NumberedHeader(), size)), 0);
        ICC40::ICCFILE::IccFile4 padded;
        WriteFile(path, Cut(Cut(NumberedHeader(), size), 128));
        padded.ReadFile(path.c_str());
        ASSERT_EQ(RawBytes(file.header), RawBytes(padded.header)) << size;
        ASSERT_EQ(file.header.profileSize >> 24, size == 0 ? 0U : 1U) << size;
        ASSERT_EQ(file.header.headerReserved[27], 0) << size;
    }
}

TEST_F(ProfileHeaderRecord, TakesAWordOfWhichHalfIsThere) {
    Read(Cut(NumberedHeader(), 6));
    EXPECT_EQ(file.header.profileSize, 0x01020304U);
    EXPECT_EQ(file.header.cmmType, 0x05060000U);
    EXPECT_EQ(file.header.profileVersion, 0U);
}

}  // namespace
}  // namespace hueweave::test::icc
