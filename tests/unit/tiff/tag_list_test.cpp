// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

TEST(TagListTest, StartsEmpty) {
    const Tiff tiff;
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(tiff.writeIfdOffset, 8);
    EXPECT_EQ(tiff.GetTag(Sig(256)), nullptr);
    EXPECT_EQ(tiff.GetTagValue(Sig(256)), 0);
}

TEST(TagListTest, CheckFileTellsAStreamFromNone) {
    Tiff tiff;
    const FileHandle stream = StreamOf({});
    EXPECT_EQ(tiff.CheckFile(stream.get()), 0);
    EXPECT_EQ(tiff.CheckFile(nullptr), -1);
}

TEST(TagListTest, AddTagsKeepsRepeatedSignatures) {
    Tiff tiff;
    EXPECT_EQ(tiff.AddTags(Word(3, 262), 1, 2, nullptr), 0);
    EXPECT_EQ(tiff.AddTags(Word(3, 262), 1, 5, nullptr), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{262, 262}));
    EXPECT_EQ(tiff.GetTagValue(Sig(262)), 2) << "the first";
    EXPECT_EQ(tiff.GetTag(Sig(262)), tiff.tags[0].get());
}

TEST(TagListTest, AddTagsGoesThroughTheVirtualFactory) {
    class NoTags : public Tiff {
    public:
        std::unique_ptr<TiffTag> CreateTag(unsigned, unsigned, unsigned, std::FILE*) override { return nullptr; }
    };
    NoTags tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    EXPECT_TRUE(tiff.tags.empty()) << "null is not appended";
}

TEST(TagListTest, SetTagAppendsANewSignature) {
    int deaths = 0;
    Tiff tiff;
    tiff.AddTags(Word(3, 900), 1, 1, nullptr);
    EXPECT_EQ(tiff.SetTag(new MortalTag(100, deaths)), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{900, 100})) << "unsorted";
    EXPECT_EQ(deaths, 0);
}

TEST(TagListTest, SetTagReplacesInPlaceAndDestroysTheOld) {
    int deaths = 0;
    Tiff tiff;
    for (const unsigned tag : {300U, 200U, 100U}) tiff.SetTag(new MortalTag(tag, deaths));
    auto* fresh = new MortalTag(200, deaths);
    EXPECT_EQ(tiff.SetTag(fresh), 0);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{300, 200, 100}));
    EXPECT_EQ(tiff.tags[1].get(), fresh);
    EXPECT_EQ(deaths, 1);
}

TEST(TagListTest, SetTagOfATagInTheListChangesNothing) {
    int deaths = 0;
    Tiff tiff;
    auto* tag = new MortalTag(200, deaths);
    tiff.SetTag(tag);
    EXPECT_EQ(tiff.SetTag(tag), 0);
    EXPECT_EQ(deaths, 0);
    ASSERT_EQ(tiff.tags.size(), 1U);
    EXPECT_EQ(tiff.tags[0].get(), tag);
}

TEST(TagListTest, SetTagReplacesOnlyTheFirstOfRepeatedTags) {
    Tiff tiff;
    tiff.AddTags(Word(3, 262), 1, 2, nullptr);
    tiff.AddTags(Word(3, 262), 1, 5, nullptr);
    tiff.SetTag(new TiffTag(Sig(262), Type(3), 1, 7, nullptr));
    ASSERT_EQ(tiff.tags.size(), 2U);
    EXPECT_EQ(tiff.tags[0]->value, 7U);
    EXPECT_EQ(tiff.tags[1]->value, 5U);
}

TEST(TagListTest, SetTagOfNullDoesNothing) {
    Tiff tiff;
    EXPECT_EQ(tiff.SetTag(nullptr), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(TagListTest, SetTagValueChangesTheEntryAlone) {
    Tiff tiff;
    tiff.AddTags(Word(3, 258), 3, 8, nullptr);
    EXPECT_EQ(tiff.SetTagValue(Sig(258), 16), 0);
    EXPECT_EQ(FieldsOf(tiff, 258), (Fields{258, 3, 3, 16}));
    EXPECT_EQ(DataOf(tiff, 258), (Bytes{8, 0, 8, 0, 8, 0}));
    EXPECT_EQ(tiff.GetTagValue(Sig(258)), 8) << "the data answer";
}

TEST(TagListTest, SetTagValueOfAnAbsentTagAddsNone) {
    Tiff tiff;
    EXPECT_EQ(tiff.SetTagValue(Sig(258), 16), 0);
    EXPECT_TRUE(tiff.tags.empty());
}

TEST(TagListTest, GetTagValueAsksTheTagItself) {
    Tiff tiff;
    tiff.AddTags(Word(5, 282), 1, 300, nullptr);
    tiff.GetTag(Sig(282))->value = 9;
    EXPECT_EQ(tiff.GetTagValue(Sig(282)), 300);
    tiff.AddTags(Word(4, 256), 1, 0xffffffffU, nullptr);
    EXPECT_EQ(tiff.GetTagValue(Sig(256)), -1);
}

TEST(TagListTest, ResetDestroysEveryTag) {
    int deaths = 0;
    Tiff tiff;
    for (const unsigned tag : {1U, 2U, 3U}) tiff.SetTag(new MortalTag(tag, deaths));
    const std::size_t capacity = tiff.tags.capacity();
    tiff.Reset();
    EXPECT_EQ(deaths, 3);
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(tiff.tags.capacity(), capacity);
}

TEST(TagListTest, ListDestroysItsTagsAtItsEnd) {
    int deaths = 0;
    {
        Tiff tiff;
        tiff.SetTag(new MortalTag(1, deaths));
        tiff.SetTag(new MortalTag(2, deaths));
    }
    EXPECT_EQ(deaths, 2);
}

/// Notes which of its operations are called, in order.
class Spy : public Tiff {
public:
    std::vector<std::string> calls;
    void Reset() override {
        calls.push_back("Reset");
        Tiff::Reset();
    }
    int CheckFile(std::FILE* f) override {
        calls.push_back("CheckFile");
        return Tiff::CheckFile(f);
    }
    int ReadTiff(std::FILE* f) override {
        calls.push_back("ReadTiff");
        return Tiff::ReadTiff(f);
    }
    int SaveTiff(std::FILE* f) override {
        calls.push_back("SaveTiff");
        return Tiff::SaveTiff(f);
    }
    std::unique_ptr<TiffTag> CreateTag(unsigned word, unsigned count, unsigned value, std::FILE* f) override {
        calls.push_back("CreateTag");
        return Tiff::CreateTag(word, count, value, f);
    }
    int WriteHeader(std::FILE* f) override {
        calls.push_back("WriteHeader");
        return Tiff::WriteHeader(f);
    }
};

TEST(VirtualCallTest, ReadingAndSavingCallWhatADerivedClassOverrides) {
    const TempDir dir;
    WriteFile(dir.File("in.tif"), TiffBuilder().Long(256, 1).Long(257, 1).Build());
    Spy tiff;
    EXPECT_EQ(tiff.ReadFile(dir.File("in.tif").c_str()), 0);
    EXPECT_EQ(tiff.calls, (std::vector<std::string>{"Reset", "CheckFile", "ReadTiff", "CreateTag", "CreateTag"}));
    tiff.calls.clear();
    EXPECT_EQ(tiff.SaveFile(dir.File("out.tif").c_str()), 0);
    EXPECT_EQ(tiff.calls, (std::vector<std::string>{"SaveTiff", "WriteHeader"}));
}

}  // namespace
}  // namespace hueweave::test
