// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What a caller hands over has as many bytes as the caller says when it is used; what was read, as many as were read.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// A block as a caller makes it.
unsigned char* Given(const Bytes& bytes) {
    auto* made = new unsigned char[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), made);
    return made;
}
std::unique_ptr<TiffTag> Adopting(unsigned tag, int type, std::uint32_t count, const Bytes& bytes) {
    return std::make_unique<TiffTag>(Sig(tag), Type(type), count, 7, Given(bytes));
}

/// The end of a file from the image on.
Bytes FromImage(const Bytes& file) { return Part(file, EntryOf(file, 273).value, file.size()); }

TEST(AdoptedImageTest, IsAsLongAsTag279SaysWhenItIsSaved) {
    for (const std::uint32_t bytes : {30U, 12U, 4U, 0U}) {
        Tiff tiff;
        tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(30)));
        tiff.AddTags(Word(4, 279), 1, 3, nullptr);
        tiff.SetTagValue(Sig(279), bytes);
        EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(bytes));
        tiff.SetTagValue(Sig(279), 30);
        EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(30)) << "saved once more";
    }
}

TEST(AdoptedImageTest, IsSavedInPiecesAlike) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(30)));
    tiff.AddTags(Word(4, 279), 1, 30, nullptr);
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { tiff.WriteImageData(f); }), CountingBytes(30));
}

TEST(AdoptedImageTest, MayBeSetBeforeTag279) {
    CTiff tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, 0);
    tiff.SetTagValue(Sig(279), 0);
    tiff.SetImageBuf(Given(CountingBytes(60)));
    EXPECT_EQ(FromImage(Saved(tiff)), Bytes());
    tiff.SetTagValue(Sig(279), 60);
    EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(60));
}

TEST(AdoptedImageTest, HasTheRowsOfItsGeometryWhateverTag279Says) {
    CTiff tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, 0);
    tiff.SetTagValue(Sig(279), 0);
    tiff.SetImageBuf(Given(CountingBytes(60)));
    EXPECT_EQ(tiff.ImageBytes(), 60U);
    EXPECT_EQ(tiff.GetXY(4, 3), tiff.GetImageBuf() + 57);
    EXPECT_EQ(tiff.GetXY_M(0, 0), tiff.GetImageBuf() + 45);
    tiff.SetXY(0, 3, 200);
    EXPECT_EQ(tiff.GetImageBuf()[45], 200);
    unsigned char row[15] = {};
    EXPECT_EQ(tiff.GetRow(row, 2, 0), 0);
    EXPECT_EQ(Bytes(row, row + 15), CountingBytes(15, 31));
    tiff.SetTagValue(Sig(279), 70);
    EXPECT_EQ(tiff.ImageBytes(), 70U) << "with bytes behind the last row";
}

TEST(AdoptedImageTest, HasPlanesOfAsManyPixelsAsThePackingSays) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 4, 1, {1, 2, 3, 4, 5, 6}));
    tiff.AddTags(Word(3, 277), 1, 3, nullptr);
    EXPECT_EQ(tiff.Pack<unsigned char>(2, 1), 0);
    EXPECT_EQ(Image(tiff), (Bytes{1, 3, 5, 2, 4, 6}));
}

TEST(AdoptedItemsTest, ThatACallerTakesBackAreGone) {
    const auto tag = Adopting(1000, 1, 5, CountingBytes(5));
    EXPECT_EQ(tag->GetValue(), 0x0201U);
    const std::unique_ptr<unsigned char[]> back(tag->data.release());
    EXPECT_EQ(tag->GetValue(), 0U);
    EXPECT_EQ(SavedTag(*tag), Bytes());
}

TEST(AdoptedItemsTest, AreAsManyAsTheTagCountsWhenItIsSaved) {
    const auto tag = Adopting(1000, 1, 5, CountingBytes(20));
    tag->count = 20;
    EXPECT_EQ(SavedTag(*tag), CountingBytes(20));
    tag->type = Type(3);
    tag->count = 9;
    EXPECT_EQ(SavedTag(*tag), CountingBytes(18));
    const auto small = Adopting(1000, 3, 1, CountingBytes(6));
    EXPECT_EQ(small->GetValue(), 7U) << "the entry's";
    small->count = 3;
    EXPECT_EQ(small->GetValue(), 0x0201U);
    EXPECT_EQ(SavedTag(*small), CountingBytes(6));
}

TEST(AdoptedItemsTest, OfAStripArrayAreAsManyAsItCounts) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(273, 3, 3, {2, 0, 0, 0, 4, 0}));
    tiff.tags.push_back(Adopting(279, 1, 1, {1, 2, 3, 4, 5}));
    tiff.GetTag(Sig(279))->count = 5;
    const FileHandle stream = StreamOf(CountingBytes(20));
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0);
    EXPECT_EQ(Image(tiff), (Bytes{3, 1, 2, 5, 6, 7}));
}

TEST(AdoptedItemsTest, OfAProfileAreSavedAsManyAsItCounts) {
    const TempDir dir;
    CTiff tiff;
    tiff.tags.push_back(Adopting(34675, 7, 5, CountingBytes(40)));
    tiff.GetTag(Sig(34675))->count = 40;
    EXPECT_EQ(tiff.SaveIccProfile(dir.File("out.icc").c_str()), 0);
    EXPECT_EQ(ReadFile(dir.File("out.icc")), CountingBytes(40));
}

TEST(AdoptedExifTest, HasFortyFourBytes) {
    Tiff tiff;
    tiff.tags.push_back(Adopting(34665, 4, 1, CountingBytes(44)));
    EXPECT_EQ(WrittenBy([&](std::FILE* f) { tiff.WriteData_Exif_IFD_Tag(f); }), CountingBytes(44));
    tiff.tags.push_back(Adopting(273, 4, 1, CountingBytes(5, 90)));
    tiff.AddTags(Word(4, 279), 1, 5, nullptr);
    EXPECT_EQ(FromImage(Saved(tiff)), Joined({CountingBytes(5, 90), CountingBytes(44)}));
}

/// What was read does not grow by what is said of it afterwards, also where the caller gives it back.
TEST(ReadDataTest, AreFilledUpWithZeros) {
    for (const bool givenBack : {false, true}) {
        CTiff tiff;
        TiffBuilder file;
        file.Shape(2, 2, 3, 8).Long(278, 2).StripOffsets().StripByteCounts().Text(305, "12345");
        ReadFrom(tiff, file.Strip(CountingBytes(12)).Build());
        tiff.imageBuf = tiff.GetTag(Sig(273))->GetData();
        if (givenBack) tiff.SetImageBuf(tiff.GetImageBuf());
        EXPECT_EQ(tiff.ImageBytes(), 12U);
        tiff.SetTagValue(Sig(279), 3000);
        EXPECT_EQ(tiff.ImageBytes(), 12U);
        EXPECT_EQ(FromImage(Saved(tiff)), Joined({CountingBytes(12), Bytes(2988)}));
        tiff.GetTag(Sig(305))->count = 2000;
        EXPECT_EQ(SavedTag(*tiff.GetTag(Sig(305))), Joined({{'1', '2', '3', '4', '5'}, Bytes(1995)}));
    }
}

TEST(ReadDataTest, AreNoLongerThanTheyAreInPlaceOfACallers) {
    const auto tag = Adopting(1000, 1, 5, CountingBytes(5));
    std::fill_n(tag->Allocate(5), 5, static_cast<unsigned char>(9));
    tag->count = 2000;
    EXPECT_EQ(SavedTag(*tag), Joined({Bytes(5, 9), Bytes(1995)}));
}

TEST(ReadDataTest, TheCountOfAFileSaysNothingOfACallersImage) {
    // Planes of bits stay, and so do the three offsets of tag 273: 12 bytes, more than the new image has.
    TiffBuilder file;
    file.Shape(8, 2, 3, 1).Long(278, 2).StripOffsets().StripByteCounts().Short(284, 2);
    CTiff tiff;
    ReadFrom(tiff, file.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}).Build());
    ASSERT_EQ(FieldsOf(tiff, 273).count, 3U);
    tiff.SetTag(new TiffTag(Sig(279), Type(4), 1, 5, nullptr));
    tiff.SetImageBuf(Given(CountingBytes(5, 60)));
    EXPECT_EQ(SavedTag(*tiff.GetTag(Sig(273))), Joined({CountingBytes(5, 60), Bytes(7)}));
    EXPECT_EQ(FromImage(Saved(tiff)), CountingBytes(5, 60));
}

}  // namespace
}  // namespace hueweave::test
