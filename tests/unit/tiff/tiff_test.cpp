// SPDX-License-Identifier: MIT
// The list of tags, the factory that creates them, and the calls that a derived class can override.
#include <stdexcept>
#include <typeinfo>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(Tiff, ChecksForANullStream) {
    Tiff tiff;
    const FileHandle stream = StreamOf({});
    EXPECT_EQ(tiff.CheckFile(stream.get()), 0);
    EXPECT_EQ(tiff.CheckFile(nullptr), -1);
}

/// A tag that counts the destroyed tags of its class.
class MortalTag : public TiffTag {
public:
    MortalTag(unsigned signature, int& deaths) : TiffTag(Sig(signature)), deaths_(deaths) {}
    ~MortalTag() override { ++deaths_; }

private:
    int& deaths_;
};

TEST(Tiff, SetTagAppendsOrReplacesAndDestroysTheOldOne) {
    int deaths = 0;
    Tiff tiff;
    for (const unsigned tag : {300U, 200U, 100U}) EXPECT_EQ(tiff.SetTag(new MortalTag(tag, deaths)), 0);
    auto* fresh = new MortalTag(200, deaths);
    EXPECT_EQ(tiff.SetTag(fresh), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{300, 200, 100}));
    EXPECT_EQ(tiff.tags[1].get(), fresh);
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(tiff.SetTag(fresh), 0) << "it is there already";
    EXPECT_EQ(tiff.tags[1].get(), fresh);
    EXPECT_EQ(tiff.tags.size(), 3U);
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(tiff.SetTag(nullptr), 0);
    EXPECT_EQ(tiff.tags.size(), 3U);
}

TEST(Tiff, AddsRepeatedTagsAndGetsAndSetsTheFirst) {
    Tiff tiff;
    EXPECT_EQ(tiff.AddTags(Word(3, 262), 1, 2, nullptr), 0);
    EXPECT_EQ(tiff.AddTags(Word(3, 262), 1, 5, nullptr), 0);
    EXPECT_EQ(tiff.GetTag(Sig(262)), tiff.tags[0].get());
    EXPECT_EQ(tiff.GetTagValue(Sig(262)), 2);
    EXPECT_EQ(tiff.SetTagValue(Sig(262), 7), 0);
    EXPECT_EQ(AllFields(tiff), (std::vector<Fields>{{262, 3, 1, 7}, {262, 3, 1, 5}}));
    tiff.SetTag(new TiffTag(Sig(262), Type(3), 1, 9, nullptr));
    EXPECT_EQ(AllFields(tiff), (std::vector<Fields>{{262, 3, 1, 9}, {262, 3, 1, 5}}));
}

TEST(Tiff, SetsTheValueOfTheEntryAlone) {
    Tiff tiff;
    EXPECT_EQ(tiff.SetTagValue(Sig(258), 16), 0);
    EXPECT_TRUE(tiff.tags.empty()) << "none is added";
    tiff.AddTags(Word(3, 258), 3, 8, nullptr);
    EXPECT_EQ(tiff.SetTagValue(Sig(258), 16), 0);
    EXPECT_EQ(FieldsOf(tiff, 258), (Fields{258, 3, 3, 16}));
    EXPECT_EQ(DataOf(tiff, 258), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(tiff.GetTagValue(Sig(258)), 8) << "the data answer";
}

TEST(CreateTag, MakesAPlainTagForEverySignatureButFour) {
    Tiff tiff;
    for (unsigned tag = 0; tag <= 0xffff; ++tag) {
        const unsigned type = tag % 17;  // is ignored
        const std::unique_ptr<TiffTag> made = tiff.CreateTag(Word(type, tag), 2, 77, nullptr);
        ASSERT_NE(made, nullptr) << tag;
        const TiffTag& object = *made;
        const std::type_info& kind = tag == 258                 ? typeid(BitsPerSampleTag)
                                     : tag == 282 || tag == 283 ? typeid(ResolutionTag)
                                     : tag == 34665             ? typeid(Exif_IFD_Tag)
                                                                : typeid(TiffTag);
        ASSERT_TRUE(typeid(object) == kind) << tag;
        ASSERT_EQ(FieldsOf(object), (Fields{tag, static_cast<int>(type), 2, 77}));
    }
    EXPECT_TRUE(tiff.tags.empty()) << "made, not added";
}

TEST(CreateTag, MayReturnNull) {
    TiffWithFactory tiff;
    tiff.make = [](auto...) { return nullptr; };
    EXPECT_EQ(tiff.AddTags(Word(3, 262), 1, 2, nullptr), 0);
    EXPECT_EQ(tiff.SetTag(Sig(262), 3, 1, 2, nullptr), 0);
    EXPECT_EQ(ReadFrom(tiff, TiffBuilder().Long(256, 1).Long(257, 2).Build()), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(TiffOverrides, CheckFileRejectsAFileByItsPath) {
    class Distrustful : public CTiff {
    public:
        std::vector<bool> checked;
        int CheckFile(std::FILE* f) override {
            checked.push_back(f != nullptr);
            return 5;
        }
    };
    const TempDir dir;
    const std::string path = dir.File("in.tif");
    WriteFile(path, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    Distrustful tiff;
    const std::ptrdiff_t before = OpenFiles();
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(path.c_str()), 0); }), "*** " + path + " Open Error. ***\n");
    Printed([&] { tiff.ReadFile(dir.File("none").c_str()); });
    EXPECT_EQ(tiff.checked, (std::vector<bool>{true, false}));
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(OpenFiles(), before);
}

TEST(TiffOverrides, ResultOfReadTiffIsIgnoredAndOfSaveTiffReturned) {
    class Complaining : public CTiff {
    public:
        int ReadTiff(std::FILE* f) override { return CTiff::ReadTiff(f), -7; }
        int SaveTiff(std::FILE*) override { return 17; }
    };
    const TempDir dir;
    const std::string path = dir.File("in.tif");
    WriteFile(path, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    Complaining tiff;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(tiff.ReadFile(path.c_str()), 0); }), "");
    EXPECT_EQ(tiff.width, 2);
    EXPECT_EQ(Image(tiff), CountingBytes(12));
    EXPECT_EQ(static_cast<Tiff&>(tiff).Tiff::ReadFile(path.c_str()), 0);
    EXPECT_EQ(tiff.SaveFile(dir.File("out.tif").c_str()), 17);
}

template <typename Error>
class Throwing : public Tiff {
public:
    explicit Throwing(Error error) : error_(error) { SetTag(new TiffTag(Sig(256), Type(4), 1, 3, nullptr)); }
    std::unique_ptr<TiffTag> CreateTag(unsigned, unsigned, unsigned, std::FILE*) override { throw error_; }
    int WriteHeader(std::FILE*) override { throw error_; }

private:
    Error error_;
};

TEST(TiffOverrides, LeaveNoFileOpenWhenTheyThrow) {
    const TempDir dir;
    const std::string in = dir.File("in.tif");
    const std::string out = dir.File("out.tif");
    WriteFile(in, ChunkyTiff(2, 2, 3, 8, CountingBytes(12)).Build());
    const std::ptrdiff_t before = OpenFiles();
    const std::runtime_error error("other");
    EXPECT_THROW(Throwing(error).SaveFile(out.c_str()), std::runtime_error);
    EXPECT_THROW(Throwing(error).ReadFile(in.c_str()), std::runtime_error);
    EXPECT_THROW(Throwing(7).SaveFile(out.c_str()), int);
    Throwing text("some words");
    EXPECT_EQ(Printed([&] { EXPECT_EQ(text.SaveFile(out.c_str()), 0); }), "some words\n") << "a string is printed";
    EXPECT_EQ(ReadFile(out), Bytes());
    EXPECT_THROW(text.ReadFile(in.c_str()), const char*);
    EXPECT_EQ(OpenFiles(), before);
}

}  // namespace
}  // namespace hueweave::test
