// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// An image's fields after reading and making it, once, again and without success.
#include <filesystem>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

using Numbers = std::vector<int>;
/// Width, height, samples, bits, bytes a row, resolution.
Numbers NumbersOf(const CTiff& tiff) {
    return {tiff.width, tiff.height, tiff.samples, tiff.bits, tiff.rowBytes, tiff.resolution};
}

class ImageFields : public testing::Test {
protected:
    std::string Read(CTiff& tiff, const Bytes& file) {
        WriteFile(path_, file);
        return Printed([&] { EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0); });
    }
    static std::ptrdiff_t OpenFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    }
    TempDir dir_;
    std::string path_ = dir_.File("a.tif");
};

/// Tags with different numbers, of which one may be left out.
Bytes Without(unsigned absent) {
    TiffBuilder tiff;
    const auto put = [&](unsigned tag, unsigned value) {
        if (tag != absent) tiff.Long(tag, value);
    };
    put(256, 7);
    put(257, 5);
    put(258, 16);
    put(277, 3);
    if (absent != 282) tiff.Rational(282, 600, 2);
    if (absent != 283) tiff.Rational(283, 144, 2);
    put(296, 4);
    tiff.Long(278, 5).StripOffsets().StripByteCounts();
    return tiff.Strip(CountingBytes(210)).Build();
}

TEST_F(ImageFields, AreEachTheirTags) {
    const std::vector<std::pair<unsigned, Numbers>> rows{{0, {7, 5, 3, 16, 42, 300}},   {256, {0, 5, 3, 16, 0, 300}},
                                                         {257, {7, 0, 3, 16, 42, 300}}, {258, {7, 5, 3, 0, 0, 300}},
                                                         {277, {7, 5, 0, 16, 0, 300}},  {282, {7, 5, 3, 16, 42, 0}},
                                                         {283, {7, 5, 3, 16, 42, 300}}, {296, {7, 5, 3, 16, 42, 300}}};
    for (const auto& [absent, expected] : rows) {
        CTiff tiff;
        EXPECT_EQ(Read(tiff, Without(absent)), "");
        EXPECT_EQ(NumbersOf(tiff), expected) << "without " << absent;
        EXPECT_EQ(Image(tiff), CountingBytes(210));
        EXPECT_EQ(tiff.imageBuf, tiff.GetTag(Sig(273))->GetData());
    }
}

TEST_F(ImageFields, TakeTheFirstOfMixedDepths) {
    for (const auto& depths : {std::vector<std::uint32_t>{16, 8, 1}, {1, 8, 16}}) {
        CTiff tiff;
        Read(tiff, TiffBuilder().Long(256, 10).Long(257, 1).Shorts(258, depths).Short(277, 3).Build());
        EXPECT_EQ(NumbersOf(tiff), (Numbers{10, 1, 3, static_cast<int>(depths[0]), depths[0] == 16 ? 60 : 4, 0}));
    }
}

TEST_F(ImageFields, HaveARowOfThirtyTwoBits) {
    for (const auto& [width, samples, rowBytes] : {std::tuple{0x10000000U, 1U, -0x10000000},
                                                   {0x10000000U, 3U, -0x10000000},
                                                   {0x20000001U, 3U, 3},
                                                   {0x0fffffffU, 1U, 0x0fffffff}}) {
        CTiff tiff;
        Read(tiff, TiffBuilder().Long(256, width).Short(258, 8).Short(277, samples).Build());
        EXPECT_EQ(tiff.rowBytes, rowBytes) << width;
    }
}

TEST_F(ImageFields, AreAllNewAfterASecondRead) {
    CTiff tiff;
    tiff.CreateNew(9, 9, 72, 4, 8, 1);
    Read(tiff, Without(0));
    EXPECT_EQ(NumbersOf(tiff), (Numbers{7, 5, 3, 16, 42, 300}));
    EXPECT_EQ(tiff.tags.size(), 10U);
    EXPECT_EQ(tiff.ImageBytes(), 210U);
    Read(tiff, TiffBuilder().Long(257, 9).Build());
    EXPECT_EQ(NumbersOf(tiff), (Numbers{0, 9, 0, 0, 0, 0}));
    EXPECT_EQ(tiff.imageBuf, nullptr);
    tiff.CreateNew(2, 3, 72, 1, 8, 1);
    EXPECT_EQ(NumbersOf(tiff), (Numbers{2, 3, 1, 8, 2, 72}));
    EXPECT_EQ(tiff.tags.size(), 15U);
    EXPECT_EQ(Image(tiff), Bytes(6, 0));
}

/// A reader whose tags can be made to fail.
class Fragile : public CTiff {
public:
    enum { Sound, ThrowsText, ThrowsNumber } state = Sound;
    std::unique_ptr<TiffTag> CreateTag(unsigned word, unsigned count, unsigned value, std::FILE* f) override {
        if (state == ThrowsText) throw "words";
        if (state == ThrowsNumber) throw 7;
        return CTiff::CreateTag(word, count, value, f);
    }
};

TEST_F(ImageFields, StayAfterEveryKindOfFailure) {
    const Numbers sound{7, 5, 3, 16, 42, 300};
    Fragile tiff;
    const auto expectOld = [&](const std::string& line, const std::string& expected) {
        EXPECT_EQ(line, expected);
        EXPECT_EQ(NumbersOf(tiff), sound);
        EXPECT_TRUE(tiff.tags.empty());
        EXPECT_EQ(tiff.imageBuf, nullptr) << "the image went with its tag";
        tiff.state = Fragile::Sound;
        EXPECT_EQ(Read(tiff, Without(0)), "");
        ASSERT_NE(tiff.imageBuf, nullptr);
    };
    Read(tiff, Without(0));
    expectOld(Printed([&] { EXPECT_EQ(tiff.ReadFile(nullptr), 0); }),
              "***  *** Tiff::ReadFile() --> FileName is NULL. ***  Open Error. ***\n");
    tiff.state = Fragile::ThrowsText;
    expectOld(Read(tiff, Without(0)), "*** words Open Error. ***\n");
    tiff.state = Fragile::ThrowsNumber;
    expectOld(Read(tiff, Without(0)), "*** CTiff::ReadFile() --> unknown Error. ***\n");
}

TEST_F(ImageFields, AreReadByTheListAndNotByAnOverride) {
    class Deeper : public CTiff {
    public:
        int calls = 0;
        int ReadFile(const char* name) override {
            if (++calls > 1) return 99;
            return CTiff::ReadFile(name);
        }
    };
    WriteFile(path_, Without(0));
    Deeper tiff;
    EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0);
    EXPECT_EQ(tiff.calls, 1);
    EXPECT_EQ(tiff.width, 7);
}

TEST_F(ImageFields, OfANewImageAreSetWithoutPixelsToo) {
    for (const int allocate : {0, 2, -1}) {
        CTiff tiff;
        tiff.CreateNew(9, 4, 150, 3, 1, allocate);
        EXPECT_EQ(NumbersOf(tiff), (Numbers{9, 4, 3, 1, 4, 150}));
    }
}

class RawFiles : public ImageFields {
protected:
    std::string raw_ = dir_.File("pixels.raw");
};

TEST_F(RawFiles, WithoutANameCannotBeOpened) {
    const char* none = nullptr;
    CTiff tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(2, 2, 72, 3, 8, none), 0); }),
              "*** CTiff::CreateNew() --> Create File Fail *** \n");
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(NumbersOf(tiff), Numbers(6, 0));
}

TEST_F(RawFiles, LeaveAllFieldsAloneWhenTheyAreMissing) {
    CTiff tiff;
    Read(tiff, Without(0));
    const unsigned char* image = tiff.imageBuf;
    Printed([&] { tiff.CreateNew(2, 2, 72, 1, 8, raw_.c_str()); });
    EXPECT_EQ(NumbersOf(tiff), (Numbers{7, 5, 3, 16, 42, 300}));
    EXPECT_EQ(tiff.imageBuf, image);
    EXPECT_EQ(Image(tiff), CountingBytes(210));
    EXPECT_FALSE(std::filesystem::exists(raw_));
}

TEST_F(RawFiles, PrintEveryStringThatIsThrownAndAreClosed) {
    WriteFile(raw_, CountingBytes(12));
    const std::ptrdiff_t before = OpenFiles();
    Fragile tiff;
    tiff.state = Fragile::ThrowsText;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.CreateNew(2, 2, 72, 3, 8, raw_.c_str()), 0); }), "words\n");
    tiff.state = Fragile::Sound;
    tiff.CreateNew(2, 2, 72, 3, 8, raw_.c_str());
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(RawFiles, GiveZeroWhateverSavingGave) {
    class Status : public CTiff {
    public:
        std::string saved;
        int SaveFile(const char* name) override {
            saved = name;
            return 17;
        }
    };
    WriteFile(raw_, CountingBytes(12));
    Status tiff;
    EXPECT_EQ(tiff.CreateNew(2, 2, 72, 3, 8, raw_.c_str(), "somewhere"), 0);
    EXPECT_EQ(tiff.saved, "somewhere");
    Status missing;
    Printed([&] { EXPECT_EQ(missing.CreateNew(2, 2, 72, 3, 8, path_.c_str(), "elsewhere"), 0); });
    EXPECT_EQ(missing.saved, "elsewhere") << "saved all the same";
}

TEST_F(ImageFields, OfAnEntryStayWhenTheBufferIsReplaced) {
    CTiff tiff;
    Read(tiff, Without(0));
    const Fields before = FieldsOf(tiff, 273);
    const Numbers numbers = NumbersOf(tiff);
    auto* buf = new unsigned char[210]{42};
    tiff.SetImageBuf(buf);
    EXPECT_EQ(FieldsOf(tiff, 273), before);
    EXPECT_EQ(NumbersOf(tiff), numbers);
    EXPECT_EQ(tiff.GetImageBuf(), buf);
    EXPECT_EQ(tiff.GetTag(Sig(273))->GetData(), buf);
    EXPECT_EQ(*tiff.GetXY(0, 0), 42);
}

TEST_F(ImageFields, AreNotWhatSetTagValueSets) {
    CTiff tiff;
    tiff.CreateNew(5, 4, 72, 3, 8, 1);
    CTiff same;
    same.CreateNew(5, 4, 72, 3, 8, 1);
    for (const unsigned tag : {258U, 273U, 282U, 283U}) {
        EXPECT_EQ(tiff.SetTagValue(Sig(tag), 999), 0);
        EXPECT_EQ(tiff.GetTag(Sig(tag))->value, 999U) << tag;
    }
    EXPECT_EQ(Saved(tiff), Saved(same)) << "nothing of it is written";
    EXPECT_EQ(tiff.SetTagValue(Sig(256), 6), 0);
    EXPECT_EQ(tiff.SetTagValue(Sig(40000), 6), 0);
    EXPECT_EQ(tiff.width, 5);
    EXPECT_EQ(tiff.tags.size(), 15U) << "none is added";
    EXPECT_EQ(EntryOf(Saved(tiff), 256), (Fields{256, 4, 1, 6}));
    tiff.AddTags(Word(4, 256), 1, 70, nullptr);
    tiff.SetTagValue(Sig(256), 8);
    EXPECT_EQ(tiff.tags.at(1)->value, 8U);
    EXPECT_EQ(tiff.tags.at(15)->value, 70U) << "the first alone";
}

TEST_F(ImageFields, WithoutAProfileEmptyNoFileForOne) {
    WriteFile(path_, CountingBytes(9));
    CTiff tiff;
    EXPECT_EQ(tiff.SaveIccProfile(path_.c_str()), 0);
    EXPECT_EQ(ReadFile(path_), CountingBytes(9));
}

}  // namespace
}  // namespace hueweave::test
