// SPDX-License-Identifier: MIT
// Data that a caller gives an image: its buffer, which is the data of tag 273, and its profile, the data of tag 34675.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

// The image buffer. The size of a caller's buffer is what the caller states when it is used; the size of a file's is
// the number of bytes read.

TEST(SetImageBuf, ReplacesTheImageAndNothingElse) {
    CTiff tiff;
    tiff.CreateNew(2, 1, 72, 3, 8, 1);
    const std::vector<Fields> before = AllFields(tiff);
    unsigned char* buf = Given({42, 2, 3, 4, 5, 6});
    tiff.SetImageBuf(buf);
    EXPECT_EQ(tiff.GetImageBuf(), buf);
    EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), buf);
    EXPECT_EQ(*tiff.GetXY(0, 0), 42);
    EXPECT_EQ(AllFields(tiff), before);
    EXPECT_EQ(tiff.width, 2);
    tiff.SetImageBuf(nullptr);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), 0U);
    EXPECT_EQ(tiff.GetXY(0, 0), nullptr);
}

TEST(SetImageBuf, UsesTheLargerOfTheGeometryAndTag279) {
    CTiff tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, 0);
    tiff.SetTagValue(Sig(279), 0);
    tiff.SetImageBuf(Given(CountingBytes(60)));
    EXPECT_EQ(FromImage(tiff), Bytes());
    EXPECT_EQ(tiff.ImageBytes(), 60U);
    EXPECT_EQ(tiff.GetXY(4, 3), tiff.GetImageBuf() + 57);
    EXPECT_EQ(tiff.GetXY_M(0, 0), tiff.GetImageBuf() + 45);
    Bytes row(15);
    EXPECT_EQ(tiff.GetRow(row.data(), 2, 0), 0);
    EXPECT_EQ(row, CountingBytes(15, 31));
    for (const std::uint32_t bytes : {60U, 12U}) {
        tiff.SetTagValue(Sig(279), bytes);
        EXPECT_EQ(FromImage(tiff), CountingBytes(bytes)) << "the tag may be set later";
    }
    tiff.SetTagValue(Sig(279), 70);
    EXPECT_EQ(tiff.ImageBytes(), 70U) << "with bytes behind the last row";
    tiff.SetTagValue(Sig(279), 0);
    for (const int rows : {0, -1}) {
        tiff.height = rows;
        EXPECT_EQ(tiff.ImageBytes(), 0U);
    }
}

TEST(SetImageBuf, KeepsTheLengthOfAnImageThatWasRead) {
    for (const bool givenBack : {false, true}) {
        TiffOf tiff(ChunkyTiff(4, 4, 3, 8, CountingBytes(20)));
        tiff.imageBuf = tiff.GetTag(Sig(273))->GetData();
        if (givenBack) tiff.SetImageBuf(tiff.GetImageBuf());
        EXPECT_EQ(tiff.ImageBytes(), 20U);
        tiff.SetTagValue(Sig(279), 3000);
        EXPECT_EQ(tiff.ImageBytes(), 20U);
        EXPECT_EQ(FromImage(tiff), Padded(CountingBytes(20), 3000));
    }
}

TEST(SetImageBuf, IgnoresTheCountOfAFile) {
    // Bit planes are not packed, and tag 273 keeps its three offsets: 12 bytes, more than the new image has.
    TiffOf tiff(PlanarTiff(8, 2, 3, 1, 2, {{1, 2}, {3, 4}, {5, 6}}));
    ASSERT_EQ(FieldsOf(tiff, 273).count, 3U);
    tiff.SetTag(new TiffTag(Sig(279), Type(4), 1, 5, nullptr));
    tiff.SetImageBuf(Given(CountingBytes(5, 60)));
    EXPECT_EQ(SavedTag(*tiff.GetTag(Sig(273))), Padded(CountingBytes(5, 60), 12));
    EXPECT_EQ(FromImage(tiff), CountingBytes(5, 60));
}

/// A file that declares its length in its first word, big-endian.
Bytes ProfileOf(std::uint32_t announced, std::size_t size) {
    return Part(ByteWriter().Big32(announced).Append(CountingBytes(size)).Done(), 0, size);
}

/// A new image, and the files for its profile.
class IccImage : public CTiff {
public:
    IccImage() { CreateNew(2, 2, 72, 3, 8, 1); }
    int Set(const test::Bytes& profile) {
        WriteFile(in, profile);
        return SetIccProfile(in.c_str());
    }
    int Save() { return SaveIccProfile(out.c_str()); }

    TempDir dir;
    std::string in = dir.File("in.icc");
    std::string out = dir.File("out.icc");
};

TEST(SetIccProfile, TakesTheSizeFromTheHeaderWithinTheFile) {
    using Row = std::pair<std::uint32_t, std::uint32_t>;
    IccImage tiff;
    // Header bytes past the end of the file count as zero.
    for (const auto& [announced, size] :
         {Row{0, 0}, Row{0, 1}, Row{0x01000000, 1}, Row{0, 2}, Row{0, 3}, Row{0x100, 3}, Row{0, 4}, Row{1, 4},
          Row{4, 5}, Row{5, 6}, Row{6, 6}, Row{7, 6}, Row{0x05000000, 6}, Row{50, 80}, Row{81, 80}, Row{0x7fffffff, 80},
          Row{0xffffffff, 80}}) {
        SCOPED_TRACE(testing::Message() << announced << " in " << size);
        tiff.Set(ProfileOf(60, 60));
        EXPECT_EQ(tiff.Set(ProfileOf(announced, size)), 0);
        const std::uint32_t taken = std::min(announced, size);
        EXPECT_EQ(FieldsOf(tiff, 34675), (Fields{34675, 7, taken, 0}));
        EXPECT_EQ(DataOf(tiff, 34675), ProfileOf(announced, taken)) << "in place of the one before";
        EXPECT_EQ(tiff.tags.size(), 15U);
    }
}

TEST(SetIccProfile, ReplacesTheBytesOfTheFirstTagAlone) {
    CTiff tiff;
    tiff.AddTags(Word(1, 34675), 9, 88, nullptr);
    tiff.tags.push_back(Made(34675, 7, 7, 1, CountingBytes(7)));
    IccImage image;
    const unsigned char* pixels = image.GetImageBuf();
    image.Set(ProfileOf(60, 60));
    EXPECT_EQ(tiff.SetIccProfile(image.in.c_str()), 0);
    EXPECT_EQ(FieldsOf(*tiff.tags[0]), (Fields{34675, 1, 60, 0})) << "the type stays";
    EXPECT_EQ(DataOf(*tiff.tags[0]), ProfileOf(60, 60));
    EXPECT_EQ(DataOf(*tiff.tags[1]), CountingBytes(7));
    EXPECT_EQ(tiff.SaveIccProfile(image.out.c_str()), 0);
    EXPECT_EQ(ReadFile(image.out), ProfileOf(60, 60));
    image.RemoveIcc();
    EXPECT_EQ(image.GetImageBuf(), pixels) << "the image is not touched";
    EXPECT_EQ(image.GetTag(Sig(273))->GetData(), pixels);
}

TEST(SetIccProfile, NeverAddsAProfile) {
    IccImage tiff;
    tiff.RemoveIcc();
    EXPECT_EQ(tiff.Set(ProfileOf(60, 60)), 0);
    EXPECT_EQ(tiff.GetTag(Sig(34675)), nullptr);
    EXPECT_EQ(tiff.tags.size(), 14U);
}

TEST(SetIccProfile, ThrowsForAFileThatCannotBeOpened) {
    IccImage tiff;
    const auto set = [&] { tiff.SetIccProfile(tiff.in.c_str()); };
    EXPECT_STREQ(Thrown(set), " *** CTiff::SetIccProfile() --> Icc Profile open Fail. *** ");
    EXPECT_EQ(FieldsOf(tiff, 34675), (Fields{34675, 7, 0, 0})) << "untouched";
    tiff.RemoveIcc();
    EXPECT_NE(Thrown(set), nullptr) << "also without a tag";
}

TEST(SaveIccProfile, WritesTheCountedBytesThatTheTagHolds) {
    IccImage tiff;
    tiff.Set(ProfileOf(60, 60));
    for (const std::uint32_t count : {1000U, 60U, 20U, 0U}) {
        tiff.GetTag(Sig(34675))->count = count;
        EXPECT_EQ(tiff.Save(), 0);
        EXPECT_EQ(ReadFile(tiff.out), ProfileOf(60, std::min(count, 60U))) << count;
    }
    tiff.Tiff::SetTag(Adopting(34675, 7, 5, CountingBytes(40)).release());
    tiff.GetTag(Sig(34675))->count = 40;
    EXPECT_EQ(tiff.Save(), 0);
    EXPECT_EQ(ReadFile(tiff.out), CountingBytes(40)) << "of a caller's as many as it says by then";
}

TEST(SaveIccProfile, TruncatesTheFileForATagWithoutDataAndKeepsItWithoutATag) {
    IccImage tiff;
    WriteFile(tiff.out, CountingBytes(9));
    EXPECT_EQ(tiff.Save(), 0);
    EXPECT_EQ(ReadFile(tiff.out), Bytes());
    tiff.RemoveIcc();
    WriteFile(tiff.out, CountingBytes(9));
    EXPECT_EQ(tiff.Save(), 0);
    EXPECT_EQ(ReadFile(tiff.out), CountingBytes(9));
    EXPECT_EQ(tiff.SaveIccProfile(tiff.in.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(tiff.in)) << "no file is made";
}

TEST(SaveIccProfile, ReturnsZeroWithoutAFileElseTheResultOfClosing) {
    IccImage tiff;
    tiff.Set(CountingBytes(21));
    EXPECT_EQ(tiff.SaveIccProfile(tiff.dir.File("no folder/out.icc").c_str()), 0);
    EXPECT_EQ(tiff.SaveIccProfile(tiff.dir.Path().c_str()), 0);
    EXPECT_EQ(tiff.SaveIccProfile(nullptr), 0);
    EXPECT_EQ(tiff.SaveIccProfile("/dev/full"), EOF);
}

TEST(RemoveIcc, RemovesOnlyTheFirstAndClosesTheGapInTheFile) {
    TiffBuilder with, without;
    TiffOf tiff(with.Long(256, 1).Undefined(34675, CountingBytes(20)).Long(300, 3).Long(200, 2));
    tiff.tags.push_back(std::make_unique<TiffTag>(Sig(34675)));
    tiff.RemoveIcc();
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{256, 300, 200, 34675}));
    for (int i = 0; i < 2; ++i) tiff.RemoveIcc();  // also if there is no other
    EXPECT_EQ(Saved(tiff), without.Long(256, 1).Long(300, 3).Long(200, 2).Build());
}

}  // namespace
}  // namespace hueweave::test
