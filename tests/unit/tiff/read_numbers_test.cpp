// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Which numbers a read takes, which tags play a part in it, and all that it leaves as it was.
#include <filesystem>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

enum class Way { Chunky, Strips, Bitmap, Planes };

/// A file that goes one of the four ways to its image, with 4 x 2 pixels of 3 samples, or 16 x 2 of bits.
TiffBuilder FileOf(Way way, unsigned photometric = 2) {
    const bool bits = way == Way::Bitmap;
    TiffBuilder tiff;
    tiff.Long(256, bits ? 16 : 4).Long(257, 2).Shorts(258, std::vector<std::uint32_t>(3, bits ? 1 : 8));
    tiff.Short(262, photometric).Short(277, 3).Long(278, way == Way::Strips ? 1 : 2);
    tiff.StripOffsets(3).StripByteCounts().Short(284, way == Way::Chunky ? 1 : 2);
    if (way == Way::Chunky) return tiff.Strip(CountingBytes(24));
    if (bits) return tiff.Strip(CountingBytes(4)).Strip(CountingBytes(4, 5)).Strip(CountingBytes(4, 9));
    if (way == Way::Planes) return tiff.Strip(CountingBytes(8)).Strip(CountingBytes(8, 9)).Strip(CountingBytes(8, 17));
    for (unsigned i = 0; i < 6; ++i) tiff.Strip(CountingBytes(4, 4 * i + 1));
    return tiff;
}

class WayTest : public testing::TestWithParam<Way> {
protected:
    /// The image that each way makes of bytes 1, 2, 3...
    static Bytes Expected() {
        if (GetParam() == Way::Bitmap) return CountingBytes(12);
        if (GetParam() != Way::Planes) return CountingBytes(24);
        ByteWriter pixels;
        for (unsigned i = 1; i <= 8; ++i) pixels.U8(i).U8(i + 8).U8(i + 16);
        return pixels.Done();
    }
};

TEST_P(WayTest, ChangesTheTagsOfTheStripsAlone) {
    const Bytes file = FileOf(GetParam()).Build();
    std::vector<Fields> expected = EntriesOf(file);
    const bool joined = GetParam() == Way::Strips || GetParam() == Way::Planes;
    for (Fields& entry : expected) {
        if (!joined) continue;
        if (entry.tag == 273) entry = {273, 4, 1, entry.value};
        if (entry.tag == 279) entry = {279, 3, 1, 24};
        if (entry.tag == 278) entry.value = 2;
        if (entry.tag == 284 && GetParam() == Way::Planes) entry.value = 1;
    }
    Tiff tiff;
    ReadFrom(tiff, file);
    std::vector<Fields> actual;
    for (const auto& tag : tiff.tags) actual.push_back(FieldsOf(*tag));
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(Image(tiff), Expected());
    EXPECT_EQ(DataOf(tiff, 258).size(), 6U);
    EXPECT_EQ(DataOf(tiff, 279).size(), GetParam() == Way::Bitmap ? 12U : 0U) << "the counts go when strips are joined";
}

TEST_P(WayTest, ReturnsZero) {
    const Bytes file = FileOf(GetParam()).Build();
    const FileHandle stream = StreamOf(file);
    Tiff tiff;
    for (const Fields& entry : EntriesOf(file)) {
        EXPECT_EQ(
            tiff.AddTags(Word(static_cast<unsigned>(entry.type), entry.tag), entry.count, entry.value, stream.get()),
            0);
    }
    EXPECT_EQ(tiff.ReadImage(stream.get()), 0);
    EXPECT_EQ(Image(tiff), Expected());
}

TEST_P(WayTest, TakesNoPartOfTheFormatFromOtherTags) {
    for (const unsigned photometric : {0U, 1U, 3U, 4U, 5U, 6U, 8U, 65535U}) {
        TiffBuilder tiff = FileOf(GetParam(), photometric);
        tiff.Short(259, 5).Short(266, 2).Short(274, 8).Short(296, 3).Short(317, 2).Long(322, 16).Long(323, 16);
        tiff.Longs(324, {8, 8}).Longs(325, {1, 1}).Short(338, 2).Shorts(339, {3, 3, 3}).Short(254, 1);
        Tiff read;
        EXPECT_EQ(ReadFrom(read, tiff.Build()), 0);
        EXPECT_EQ(Image(read), Expected()) << photometric;
        EXPECT_EQ(read.tags.size(), 9U + 12U);
        EXPECT_EQ(read.GetTagValue(Sig(262)), static_cast<int>(photometric));
        EXPECT_EQ(read.GetTagValue(Sig(284)), GetParam() == Way::Strips || GetParam() == Way::Bitmap ? 2 : 1);
    }
}

std::string NameOfWay(const testing::TestParamInfo<Way>& row) {
    constexpr const char* kNames[] = {"Chunky", "Strips", "Bitmap", "Planes"};
    return kNames[static_cast<int>(row.param)];
}
INSTANTIATE_TEST_SUITE_P(Every, WayTest, testing::Values(Way::Chunky, Way::Strips, Way::Bitmap, Way::Planes),
                         NameOfWay);

TEST(StripsCalledAlone, ReturnZero) {
    const Bytes file = FileOf(Way::Strips).Build();
    const FileHandle stream = StreamOf(file);
    Tiff tiff;
    for (const Fields& entry : EntriesOf(file)) {
        tiff.AddTags(Word(static_cast<unsigned>(entry.type), entry.tag), entry.count, entry.value, stream.get());
    }
    EXPECT_EQ(tiff.ReadMultiStripOffset(stream.get()), 0);
    EXPECT_EQ(Image(tiff), CountingBytes(24));
}

TEST(Numbers, OfArraysAreTheLowHalvesOfTheirFirstItems) {
    TiffBuilder tiff;
    tiff.Longs(256, {0x00070002, 9}).Longs(257, {0x00050001, 9}).Shorts(258, {8, 16, 16}).Shorts(277, {3, 4, 4});
    tiff.Longs(278, {0x00010001, 9}).StripOffsets().StripByteCounts().Shorts(284, {2, 1, 1});
    const TempDir dir;
    WriteFile(dir.File("a.tif"), tiff.Strip({1, 2}).Strip({3, 4}).Strip({5, 6}).Build());
    CTiff read;
    read.ReadFile(dir.File("a.tif").c_str());
    EXPECT_EQ(Image(read), (Bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(read.width, 2);
    EXPECT_EQ(read.height, 1);
    EXPECT_EQ(read.samples, 3);
    EXPECT_EQ(read.bits, 8);
    EXPECT_EQ(read.rowBytes, 6);
    // What is stored goes into the entries; the arrays behind them stay and answer as before.
    EXPECT_EQ(FieldsOf(read, 278), (Fields{278, 4, 2, 1}));
    EXPECT_EQ(FieldsOf(read, 284), (Fields{284, 3, 3, 1}));
    EXPECT_EQ(DataOf(read, 284), (Bytes{2, 0, 1, 0, 1, 0}));
    EXPECT_EQ(read.GetTagValue(Sig(284)), 2);
}

TEST(Numbers, AreWhatTheTagItselfAnswers) {
    class Odd : public TiffTag {
    public:
        explicit Odd(unsigned signature) : TiffTag(Sig(signature), Type(4), 1, 7, nullptr) {}
        unsigned GetValue() const override { return 4242; }
    };
    Tiff tiff;
    tiff.SetTag(new Odd(256));
    EXPECT_EQ(tiff.GetTagValue(Sig(256)), 4242);
}

TEST(Numbers, AreSetInTheFirstOfRepeatedTags) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    tiff.AddTags(Word(3, 262), 1, 5, nullptr);
    EXPECT_EQ(tiff.SetTagValue(Sig(262), 7), 0);
    EXPECT_EQ(tiff.tags.at(0)->value, 7U);
    EXPECT_EQ(tiff.tags.at(1)->value, 5U);
}

TEST(PackingAlone, ChangesNoTagButTheImage) {
    Tiff tiff;
    auto* strip = new TiffTag(Sig(273), Type(3), 1, 5, nullptr);
    const Bytes planes = CountingBytes(12);
    std::copy(planes.begin(), planes.end(), strip->Allocate(12));
    tiff.SetTag(strip);
    for (const auto& [tag, value] :
         {std::pair{256U, 9U}, {257U, 9U}, {258U, 1U}, {277U, 3U}, {278U, 8U}, {279U, 99U}, {284U, 2U}}) {
        tiff.AddTags(Word(3, tag), 1, value, nullptr);
    }
    std::vector<Fields> before, after;
    for (const auto& tag : tiff.tags) before.push_back(FieldsOf(*tag));
    tiff.Pack<unsigned char>(2, 2);
    for (const auto& tag : tiff.tags) after.push_back(FieldsOf(*tag));
    EXPECT_EQ(after, before);
    EXPECT_EQ(Image(tiff), (Bytes{1, 5, 9, 2, 6, 10, 3, 7, 11, 4, 8, 12}));
}

class ReadingAFile : public testing::Test {
protected:
    static Bytes Sound() { return ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).GapBeforeDirectory(1001).Build(); }
    static Bytes TooMany() {
        TiffBuilder tiff;
        for (unsigned i = 0; i < 30; ++i) tiff.Long(1000 + i, i);
        return tiff.GapBeforeDirectory(500).Build();
    }
    TempDir dir_;
    std::string path_ = dir_.File("a.tif");
};

TEST_F(ReadingAFile, TakesTheOffsetFromASoundHeadOnly) {
    Tiff tiff;
    ReadFrom(tiff, Sound());
    tiff.Reset();
    EXPECT_EQ(tiff.ifdOffset, 1009U) << "the list alone is emptied";
    EXPECT_EQ(ReadFrom(tiff, Bytes{0x4d, 0x4d, 0, 42, 77, 0, 0, 0}), -2);
    EXPECT_EQ(tiff.ifdOffset, 1009U);
    EXPECT_EQ(ReadFrom(tiff, TooMany()), -3);
    EXPECT_EQ(tiff.ifdOffset, 508U);
}

TEST_F(ReadingAFile, LeavesTheOffsetOfWritingAlone) {
    Tiff tiff;
    tiff.writeIfdOffset = 5;
    ReadFrom(tiff, Sound());
    Saved(tiff);
    tiff.Reset();
    EXPECT_EQ(tiff.writeIfdOffset, 5);
    Printed([&] { EXPECT_EQ(CTiff(path_.c_str()).writeIfdOffset, 8) << "also where there is no file"; });
}

TEST_F(ReadingAFile, LeavesNoOffsetThatASaveWouldUse) {
    WriteFile(path_, Sound());
    Tiff constructed(path_.c_str());
    ASSERT_EQ(constructed.writeIfdOffset, 0);
    EXPECT_EQ(Saved(constructed), ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    constructed.writeIfdOffset = 1000;
    constructed.ifdOffset = 2000;
    EXPECT_EQ(Saved(constructed), ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
}

TEST_F(ReadingAFile, OfTooManyEntriesIsASilentSuccess) {
    WriteFile(path_, TooMany());
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0); }), "");
    EXPECT_TRUE(tiff.tags.empty());
}

TEST_F(ReadingAFile, WithoutANameThrowsOutOfTheConstructorToo) {
    const char* none = nullptr;
    std::string thrown;
    try {
        const Tiff tiff(none);
    } catch (const char* text) {
        thrown = text;
    }
    EXPECT_EQ(thrown, " *** Tiff::ReadFile() --> FileName is NULL. *** ");
}

TEST_F(ReadingAFile, ThatIsMissingMakesNone) {
    Tiff tiff;
    EXPECT_THROW(tiff.ReadFile(path_.c_str()), const char*);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ReadingAFile, GivesItsEntriesToTheFactoryInTheirOrder) {
    class Noting : public Tiff {
    public:
        std::vector<Fields> made;
        std::size_t streams = 0;
        std::unique_ptr<TiffTag> CreateTag(unsigned word, unsigned count, unsigned value, std::FILE* f) override {
            made.push_back({word & 0xffffU, static_cast<int>(word >> 16), count, value});
            streams += f != nullptr;
            return Tiff::CreateTag(word, count, value, f);
        }
    };
    const Bytes file = FileOf(Way::Planes)
                           .Text(305, "words")
                           .Exif(CountingBytes(60))
                           .Entry(65535, 65535, 0xffffffffU, 0xfffffffeU)
                           .Build();
    Noting tiff;
    ReadFrom(tiff, file);
    EXPECT_EQ(tiff.made, EntriesOf(file));
    EXPECT_EQ(tiff.streams, tiff.made.size());
}

}  // namespace
}  // namespace hueweave::test
