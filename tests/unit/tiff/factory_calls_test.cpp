// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Which calls go through the virtual table, in which order and with which arguments, and what overrides can change.
#include <filesystem>
#include <typeinfo>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// Notes every tag that it is asked to make.
class NotingImage : public CTiff {
public:
    std::vector<Fields> made;
    std::vector<bool> streams;
    int resets = 0;
    std::size_t tagsAtReset = 99;
    std::unique_ptr<TiffTag> CreateTag(unsigned word, unsigned count, unsigned value, std::FILE* f) override {
        made.push_back({word & 0xffffU, static_cast<int>(word >> 16), count, value});
        streams.push_back(f != nullptr);
        return CTiff::CreateTag(word, count, value, f);
    }
    void Reset() override {
        ++resets;
        tagsAtReset = made.size();
        CTiff::Reset();
    }
};

TEST(FactoryCalls, OfANewImageAreAllTagsButTheImagesOwn) {
    NotingImage tiff;
    tiff.CreateNew(10, 6, 150, 4, 16, 1);
    const std::vector<Fields> expected{{254, 1, 4, 0},   {256, 4, 1, 10},  {257, 4, 1, 6},   {258, 3, 4, 16},
                                       {259, 3, 1, 1},   {262, 3, 1, 5},   {277, 3, 1, 4},   {278, 4, 1, 6},
                                       {279, 4, 1, 480}, {282, 5, 1, 150}, {283, 5, 1, 150}, {296, 3, 1, 2},
                                       {284, 3, 1, 1},   {34675, 7, 0, 0}};
    EXPECT_EQ(tiff.made, expected);
    EXPECT_EQ(tiff.streams, std::vector<bool>(14, false));
    EXPECT_EQ(tiff.resets, 1);
    EXPECT_EQ(tiff.tagsAtReset, 0U) << "emptied before anything is made";
}

TEST(FactoryCalls, OfANewImageGiveTheKindsOfTheFactory) {
    CTiff tiff;
    tiff.CreateNew(10, 6, 150, 3, 8, 1);
    for (const auto& owned : tiff.tags) {
        const TiffTag& tag = *owned;
        const std::type_info& kind = tag.tag == 258                     ? typeid(BitsPerSampleTag)
                                     : tag.tag == 282 || tag.tag == 283 ? typeid(ResolutionTag)
                                                                        : typeid(TiffTag);
        EXPECT_TRUE(typeid(tag) == kind) << tag.tag;
    }
    EXPECT_EQ(DataOf(tiff, 282), ByteWriter().Little32(15000).Little32(100).Done());
    EXPECT_EQ(DataOf(tiff, 283), ByteWriter().Little32(15000).Little32(100).Done());
    for (const unsigned tag : {254U, 256U, 279U, 284U, 34675U}) EXPECT_EQ(tiff.GetTag(Sig(tag))->GetData(), nullptr);
}

TEST(FactoryCalls, OfOneTagHaveTypeAboveSignatureAndNoStream) {
    NotingImage tiff;
    unsigned char bytes[4] = {1, 2, 3, 4};
    EXPECT_EQ(tiff.SetTag(Sig(40000), 65535, 7, 0xfedcba98U, bytes), 0);
    EXPECT_EQ(tiff.made, (std::vector<Fields>{{40000, 65535, 7, 0xfedcba98U}}));
    EXPECT_EQ(tiff.streams, std::vector<bool>{false});
    EXPECT_EQ(FieldsOf(tiff, 40000), (Fields{40000, 65535, 7, 0xfedcba98U}));
}

TEST(FactoryCalls, ThatMakeNothingSetNothing) {
    class NoTags : public CTiff {
    public:
        std::unique_ptr<TiffTag> CreateTag(unsigned, unsigned, unsigned, std::FILE*) override { return nullptr; }
    };
    NoTags tiff;
    EXPECT_EQ(tiff.SetTag(Sig(262), 3, 1, 2, nullptr), 0);
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 1).Long(257, 2).Build()), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

class FileOverrides : public testing::Test {
protected:
    void SetUp() override { WriteFile(path_, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build()); }
    static std::ptrdiff_t OpenFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    }
    TempDir dir_;
    std::string path_ = dir_.File("in.tif");
};

class Distrustful : public CTiff {
public:
    std::vector<bool> checked;
    int CheckFile(std::FILE* f) override {
        checked.push_back(f != nullptr);
        return 5;
    }
};

TEST_F(FileOverrides, ACheckThatFailsThrowsThePath) {
    Distrustful tiff;
    const std::ptrdiff_t before = OpenFiles();
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0); }), "*** " + path_ + " Open Error. ***\n");
    const std::string missing = dir_.File("none");
    Printed([&] { tiff.ReadFile(missing.c_str()); });
    EXPECT_EQ(tiff.checked, (std::vector<bool>{true, false}));
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(FileOverrides, AReadsStatusIsIgnored) {
    class Complaining : public CTiff {
    public:
        int ReadTiff(std::FILE* f) override { return CTiff::ReadTiff(f), -7; }
    };
    Complaining tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(path_.c_str()), 0); }), "");
    EXPECT_EQ(tiff.width, 2);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(static_cast<Tiff&>(tiff).Tiff::ReadFile(path_.c_str()), 0);
}

TEST_F(FileOverrides, ADiskThatTakesNothingGoesUnnoticed) {
    Tiff tiff;
    tiff.AddTags(Word(4, 256), 1, 3, nullptr);
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.SaveFile("/dev/full"), 0); }), "");
}

template <typename Error>
class Throwing : public Tiff {
public:
    explicit Throwing(Error error) : error_(error) {}
    std::unique_ptr<TiffTag> CreateTag(unsigned, unsigned, unsigned, std::FILE*) override { throw error_; }
    int WriteHeader(std::FILE*) override { throw error_; }

private:
    Error error_;
};

TEST_F(FileOverrides, NoExceptionLeavesAFileOpen) {
    const std::string out = dir_.File("out.tif");
    const std::ptrdiff_t before = OpenFiles();
    Throwing<int> number(7);
    EXPECT_THROW(number.ReadFile(path_.c_str()), int);
    number.SetTag(new TiffTag(Sig(256), Type(4), 1, 3, nullptr));
    EXPECT_THROW(number.SaveFile(out.c_str()), int);
    Throwing<const char*> text("words");
    EXPECT_THROW(text.ReadFile(path_.c_str()), const char*);
    text.SetTag(new TiffTag(Sig(256), Type(4), 1, 3, nullptr));
    EXPECT_EQ(Printed([&] { EXPECT_EQ(text.SaveFile(out.c_str()), 0); }), "words\n");
    EXPECT_EQ(OpenFiles(), before);
}

TEST(NullSlots, AreSkippedByReset) {
    int deaths = 0;
    Tiff tiff;
    tiff.tags.push_back(nullptr);
    tiff.tags.push_back(std::make_unique<MortalTag>(1, deaths));
    tiff.tags.push_back(nullptr);
    tiff.Reset();
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(deaths, 1);
}

}  // namespace
}  // namespace hueweave::test
