// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

const std::string kNoRawFile = "*** CTiff::CreateNew() --> Create File Fail *** \n";

struct NewRow {
    int width;
    int height;
    int resolution;
    int samples;
    int bits;
    unsigned photometric;
    std::uint32_t imageBytes;  ///< height x ceil(width x bits / 8) x samples
    int rowBytes;              ///< ceil(samples x width x bits / 8)
};
std::string NameOfRow(const testing::TestParamInfo<NewRow>& row) {
    const NewRow& r = row.param;
    return std::to_string(r.width) + "x" + std::to_string(r.height) + "x" + std::to_string(r.samples) + "x" +
           std::to_string(r.bits);
}

/// The file of a new image, written out by hand.
Bytes NewFile(const NewRow& row, const Bytes& image) {
    const auto u = [](int n) { return static_cast<std::uint32_t>(n); };
    const std::uint32_t depths = row.samples > 2 ? 2 * u(row.samples) : 0;  // bytes of tag 258 behind the directory
    constexpr std::uint32_t kData = 194;
    ByteWriter out;
    const auto entry = [&](unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
        out.Little16(tag).Little16(type).Little32(count).Little32(value);
    };
    out.Text("II").Little16(42).Little32(8).Little16(15);
    entry(254, 1, 4, 0);
    entry(256, 4, 1, u(row.width));
    entry(257, 4, 1, u(row.height));
    entry(258, 3, u(row.samples), depths > 0 ? kData : u(row.bits));
    entry(259, 3, 1, 1);
    entry(262, 3, 1, row.photometric);
    entry(277, 3, 1, u(row.samples));
    entry(278, 4, 1, u(row.height));
    entry(279, 4, 1, row.imageBytes);
    entry(273, 4, 1, kData + depths + 16);
    entry(282, 5, 1, kData + depths);
    entry(283, 5, 1, kData + depths + 8);
    entry(296, 3, 1, 2);
    entry(284, 3, 1, 1);
    entry(34675, 7, 0, kData + depths + 16);
    out.Little32(0);
    for (std::uint32_t i = 0; i < depths; i += 2) out.Little16(u(row.bits));
    for (int i = 0; i < 2; ++i) out.Little32(u(row.resolution) * 100).Little32(100);
    return out.Append(image).Done();
}

class CreateNewTest : public testing::TestWithParam<NewRow> {};

TEST_P(CreateNewTest, MakesFieldsAndAZeroedImage) {
    const NewRow& row = GetParam();
    CTiff tiff;
    EXPECT_EQ(tiff.CreateNew(row.width, row.height, row.resolution, row.samples, row.bits, 1), 0);
    EXPECT_EQ(tiff.width, row.width);
    EXPECT_EQ(tiff.height, row.height);
    EXPECT_EQ(tiff.resolution, row.resolution);
    EXPECT_EQ(tiff.samples, row.samples);
    EXPECT_EQ(tiff.bits, row.bits);
    EXPECT_EQ(tiff.rowBytes, row.rowBytes);
    EXPECT_EQ(Image(tiff), Bytes(row.imageBytes, 0));
    EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
}

TEST_P(CreateNewTest, IsSavedByteForByte) {
    const NewRow& row = GetParam();
    CTiff tiff;
    tiff.CreateNew(row.width, row.height, row.resolution, row.samples, row.bits, 1);
    const Bytes image = CountingBytes(row.imageBytes);
    std::copy(image.begin(), image.end(), tiff.GetImageBuf());
    EXPECT_EQ(Saved(tiff), NewFile(row, image));
}

TEST_P(CreateNewTest, IsReadBack) {
    const NewRow& row = GetParam();
    CTiff tiff;
    tiff.CreateNew(row.width, row.height, row.resolution, row.samples, row.bits, 1);
    CTiff again;
    EXPECT_EQ(ReadFrom(again, Saved(tiff)), 0);
    EXPECT_EQ(again.GetTagValue(Sig(256)), row.width);
    EXPECT_EQ(again.GetTagValue(Sig(282)), row.resolution);
    EXPECT_EQ(again.GetTagValue(Sig(258)), row.samples == 0 || row.samples == 2 ? 0 : row.bits);
    EXPECT_EQ(Image(again), Bytes(row.imageBytes, 0));
}

INSTANTIATE_TEST_SUITE_P(Some, CreateNewTest,
                         testing::Values(NewRow{100, 50, 300, 3, 16, 2, 30000, 600}, NewRow{5, 4, 72, 1, 8, 1, 20, 5},
                                         NewRow{5, 4, 72, 1, 16, 1, 40, 10}, NewRow{9, 3, 600, 1, 1, 1, 6, 2},
                                         NewRow{9, 3, 600, 3, 1, 2, 18, 4}, NewRow{5, 4, 72, 2, 8, 1, 40, 10},
                                         NewRow{5, 4, 0, 3, 8, 2, 60, 15}, NewRow{5, 4, 72, 4, 8, 5, 80, 20},
                                         NewRow{5, 4, 72, 4, 16, 5, 160, 40}, NewRow{3, 2, 72, 5, 8, 1, 30, 15},
                                         NewRow{3, 2, 72, 6, 8, 0, 36, 18}, NewRow{3, 2, 72, 7, 16, 0, 84, 42},
                                         NewRow{3, 2, 72, 8, 8, 1, 48, 24}, NewRow{3, 2, 72, 9, 8, 1, 54, 27},
                                         NewRow{3, 2, 72, 0, 8, 1, 0, 0}, NewRow{3, 2, 72, 3, 4, 2, 12, 5},
                                         NewRow{0, 4, 72, 3, 8, 2, 0, 0}, NewRow{4, 0, 72, 3, 8, 2, 0, 12}),
                         NameOfRow);

TEST(NewImageTest, HasFifteenTagsInAFixedOrder) {
    CTiff tiff;
    tiff.CreateNew(100, 50, 300, 3, 16, 1);
    const std::vector<Fields> expected{{254, 1, 4, 0},     {256, 4, 1, 100}, {257, 4, 1, 50},  {258, 3, 3, 16},
                                       {259, 3, 1, 1},     {262, 3, 1, 2},   {277, 3, 1, 3},   {278, 4, 1, 50},
                                       {279, 4, 1, 30000}, {273, 4, 1, 0},   {282, 5, 1, 300}, {283, 5, 1, 300},
                                       {296, 3, 1, 2},     {284, 3, 1, 1},   {34675, 7, 0, 0}};
    std::vector<Fields> actual;
    for (const auto& tag : tiff.tags) actual.push_back(FieldsOf(*tag));
    EXPECT_EQ(actual, expected);
    const Bytes file = Saved(tiff);
    EXPECT_EQ(EntryOf(file, 258).value, 194U);
    EXPECT_EQ(EntryOf(file, 273).value, 216U);
    EXPECT_EQ(EntryOf(file, 279).value, 30000U);
    EXPECT_EQ(file.size(), 30216U);
}

class PhotometricTest : public testing::TestWithParam<std::pair<int, int>> {};

TEST_P(PhotometricTest, FollowsTheNumberOfSamples) {
    CTiff tiff;
    tiff.CreateNew(2, 2, 72, GetParam().first, 8, 0);
    EXPECT_EQ(tiff.GetTagValue(Sig(262)), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Every, PhotometricTest,
                         testing::Values(std::pair{0, 1}, std::pair{1, 1}, std::pair{2, 1}, std::pair{3, 2},
                                         std::pair{4, 5}, std::pair{5, 1}, std::pair{6, 0}, std::pair{7, 0},
                                         std::pair{8, 1}, std::pair{9, 1}, std::pair{10, 1}, std::pair{100, 1}));

class NoAllocationTest : public testing::TestWithParam<int> {};

TEST_P(NoAllocationTest, LeavesTheImageToSetImageBuf) {
    const NewRow row{5, 4, 72, 3, 8, 2, 60, 15};
    CTiff tiff;
    EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, GetParam()), 0);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), nullptr);
    EXPECT_EQ(tiff.rowBytes, 15);
    EXPECT_EQ(Saved(tiff), NewFile(row, {})) << "no image to write";
    auto* buf = new unsigned char[60];
    const Bytes pixels = CountingBytes(60);
    std::copy(pixels.begin(), pixels.end(), buf);
    tiff.SetImageBuf(buf);
    EXPECT_EQ(tiff.GetImageBuf(), buf);
    EXPECT_EQ(Image(tiff), pixels);
    EXPECT_EQ(Saved(tiff), NewFile(row, pixels));
}

INSTANTIATE_TEST_SUITE_P(Some, NoAllocationTest, testing::Values(0, 2, -1));

TEST(NewImageTest, SetImageBufReplacesTheOldOne) {
    CTiff tiff;
    tiff.CreateNew(2, 1, 72, 3, 8, 1);
    tiff.SetImageBuf(new unsigned char[6]{1, 2, 3, 4, 5, 6});
    EXPECT_EQ(Image(tiff), CountingBytes(6));
    tiff.SetImageBuf(nullptr);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), 0U);
    EXPECT_EQ(tiff.GetXY(0, 0), nullptr);
}

TEST(NewImageTest, ReplacesWhateverWasThere) {
    CTiff tiff;
    tiff.AddTags(Word(4, 40000), 1, 1, nullptr);
    tiff.CreateNew(2, 1, 72, 3, 8, 1);
    tiff.CreateNew(1, 1, 72, 1, 8, 1);
    EXPECT_EQ(tiff.tags.size(), 15U);
    EXPECT_EQ(tiff.ImageBytes(), 1U);
}

TEST(NewImageTest, SizesBelowZeroHaveNoImage) {
    for (const auto& [width, height, samples, bits] : {std::tuple{-1, 4, 3, 8}, {4, -1, 3, 8}, {4, 4, -3, 8}}) {
        CTiff tiff;
        EXPECT_EQ(tiff.CreateNew(width, height, 72, samples, bits, 1), 0);
        EXPECT_EQ(tiff.GetImageBuf(), nullptr) << width << " x " << height;
        EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), nullptr);
        EXPECT_EQ(tiff.tags.size(), 15U);
        EXPECT_EQ(tiff.width, width);
    }
}

/// Rows of 2^28 bytes and 2^30 of them for each of 32 and 64 samples: 2^63 and 2^64 bytes, which no array has.
TEST(NewImageTest, SizesBeyondAnyMemoryThrowAndLeaveNothing) {
    for (const int samples : {32, 64}) {
        CTiff tiff;
        tiff.CreateNew(2, 1, 72, 3, 8, 1);
        EXPECT_THROW(tiff.CreateNew(2147483647, 1 << 30, 72, samples, 1, 1), std::bad_alloc);
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.GetImageBuf(), nullptr);
        EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, 1), 0) << "and the next one is made";
        EXPECT_EQ(Image(tiff), Bytes(60, 0));
    }
}

TEST(NewImageTest, SizeIsStoredInThirtyTwoBits) {
    CTiff tiff;
    tiff.CreateNew(65536, 65537, 72, 1, 8, 0);  // 2^32 + 65,536
    EXPECT_EQ(tiff.GetTagValue(Sig(279)), 65536);
}

TEST(NewImageTest, SizeBeyondSixtyFourBitsIsStoredAsTheLargest) {
    CTiff tiff;
    tiff.CreateNew(2147483647, 1 << 30, 72, 32, 1, 0);  // rows of 2^28 bytes: 2^63 in all
    EXPECT_EQ(static_cast<std::uint32_t>(tiff.GetTagValue(Sig(279))), 4294967295U);
}

class RawFileTest : public testing::Test {
protected:
    TempDir dir_;
    std::string raw_ = dir_.File("pixels.raw");
    std::string out_ = dir_.File("out.tif");
};

TEST_F(RawFileTest, FillsTheImage) {
    WriteFile(raw_, CountingBytes(60));
    CTiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str()), 0); }), "");
    EXPECT_EQ(Image(tiff), CountingBytes(60));
    EXPECT_EQ(tiff.GetImageBuf(), tiff.GetTag(Sig(273))->GetData());
}

TEST_F(RawFileTest, MayBeShorterOrLonger) {
    CTiff tiff;
    WriteFile(raw_, CountingBytes(25));
    tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str());
    Bytes expected = CountingBytes(25);
    expected.resize(60, 0);
    EXPECT_EQ(Image(tiff), expected);
    WriteFile(raw_, CountingBytes(100));
    tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str());
    EXPECT_EQ(Image(tiff), CountingBytes(60));
    WriteFile(raw_, {});
    tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str());
    EXPECT_EQ(Image(tiff), Bytes(60, 0));
}

TEST_F(RawFileTest, GivesHeightTimesRowBytes) {
    // Three bitmaps of 9 pixels: a row is 4 bytes, though the image has room for 2 bytes a sample.
    WriteFile(raw_, CountingBytes(100));
    CTiff tiff;
    tiff.CreateNew(9, 3, 72, 3, 1, raw_.c_str());
    Bytes expected = CountingBytes(12);
    expected.resize(18, 0);
    EXPECT_EQ(Image(tiff), expected);
}

TEST_F(RawFileTest, IsNotReadIntoAnImageThatCannotBe) {
    // 8 x 357913942 wraps to a negative number, three times as much to 16: rows of two bytes, and no image.
    WriteFile(raw_, CountingBytes(100));
    CTiff tiff;
    EXPECT_EQ(tiff.CreateNew(357913942, 4, 72, 3, 8, raw_.c_str()), 0);
    EXPECT_EQ(tiff.rowBytes, 2);
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), 0U);
}

TEST_F(RawFileTest, OfASizeBeyondAnyMemoryThrows) {
    WriteFile(raw_, CountingBytes(100));
    CTiff tiff;
    EXPECT_EQ(
        Printed([&] { EXPECT_THROW(tiff.CreateNew(2147483647, 1 << 30, 72, 32, 1, raw_.c_str()), std::bad_alloc); }),
        "");
    EXPECT_TRUE(tiff.tags.empty());
}

TEST_F(RawFileTest, MissingPrintsALineAndChangesNothing) {
    CTiff tiff;
    tiff.CreateNew(2, 1, 72, 3, 8, 1);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 300, 1, 16, raw_.c_str()), 0); }), kNoRawFile);
    EXPECT_EQ(tiff.tags.size(), 15U) << "not even reset";
    EXPECT_EQ(tiff.width, 2);
    EXPECT_EQ(tiff.ImageBytes(), 6U);
}

TEST_F(RawFileTest, MayBeSavedAtOnce) {
    WriteFile(raw_, CountingBytes(60));
    CTiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str(), out_.c_str()), 0); }), "");
    EXPECT_EQ(ReadFile(out_), NewFile({5, 4, 72, 3, 8, 2, 60, 15}, CountingBytes(60)));
}

TEST_F(RawFileTest, MissingIsSavedAllTheSame) {
    CTiff empty;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(empty.CreateNew(5, 4, 72, 3, 8, raw_.c_str(), out_.c_str()), 0); }),
              kNoRawFile + kEmptyList);
    EXPECT_EQ(ReadFile(out_), Bytes());
    CTiff older;
    older.CreateNew(2, 1, 72, 3, 8, 1);
    EXPECT_EQ(Printed([&] { older.CreateNew(5, 4, 72, 3, 8, raw_.c_str(), out_.c_str()); }), kNoRawFile);
    EXPECT_EQ(ReadFile(out_), NewFile({2, 1, 72, 3, 8, 2, 6, 6}, Bytes(6, 0))) << "what the list holds";
}

TEST_F(RawFileTest, SavesThroughTheVirtualTable) {
    class Deaf : public CTiff {
    public:
        int saves = 0;
        int SaveFile(const char*) override {
            ++saves;
            return 0;
        }
    };
    WriteFile(raw_, CountingBytes(60));
    Deaf tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, raw_.c_str(), out_.c_str());
    EXPECT_EQ(tiff.saves, 1);
}

TEST(NewTagTest, IsMadeByTheFactoryWithoutItsBytes) {
    CTiff tiff;
    unsigned char bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(tiff.SetTag(Sig(258), 3, 3, 8, bytes), 0);
    EXPECT_EQ(DataOf(tiff, 258), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(tiff.SetTag(Sig(305), 2, 8, 77, bytes), 0);
    EXPECT_EQ(FieldsOf(tiff, 305), (Fields{305, 2, 8, 77}));
    EXPECT_EQ(tiff.GetTag(Sig(305))->GetData(), nullptr);
    EXPECT_EQ(tiff.SetTag(Sig(258), 3, 1, 16, nullptr), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{258, 305})) << "in place of the first";
    EXPECT_EQ(tiff.GetTagValue(Sig(258)), 16);
}

TEST(NewTagTest, SetTagValueLastsForTagsInTheEntryOnly) {
    CTiff tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, 1);
    EXPECT_EQ(tiff.SetTagValue(Sig(262), 6), 0);
    EXPECT_EQ(tiff.SetTagValue(Sig(282), 999), 0);
    EXPECT_EQ(tiff.SetTagValue(Sig(40000), 1), 0) << "absent";
    EXPECT_EQ(Saved(tiff), NewFile({5, 4, 72, 3, 8, 6, 60, 15}, Bytes(60, 0)));
}

}  // namespace
}  // namespace hueweave::test
