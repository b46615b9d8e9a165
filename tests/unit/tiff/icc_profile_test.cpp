// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>

#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

/// A file that says in its first word, big-endian, how long it is.
Bytes ProfileOf(std::uint32_t announced, std::size_t size) {
    return Part(ByteWriter().Big32(announced).Append(CountingBytes(size)).Done(), 0, size);
}

class IccProfileTest : public testing::Test {
protected:
    void SetUp() override { tiff_.CreateNew(2, 2, 72, 3, 8, 1); }
    int Set(const Bytes& profile) {
        WriteFile(path_, profile);
        return tiff_.SetIccProfile(path_.c_str());
    }
    TempDir dir_;
    std::string path_ = dir_.File("a.icc");
    std::string out_ = dir_.File("out.icc");
    CTiff tiff_;
};

TEST_F(IccProfileTest, IsTakenWholeAndComesBack) {
    const Bytes profile = ProfileOf(3144, 3144);
    EXPECT_EQ(Set(profile), 0);
    EXPECT_EQ(FieldsOf(tiff_, 34675), (Fields{34675, 7, 3144, 0}));
    EXPECT_EQ(DataOf(tiff_, 34675), profile);
    EXPECT_EQ(tiff_.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), profile);
    const Bytes file = Saved(tiff_);
    EXPECT_EQ(Part(file, EntryOf(file, 34675).value, 3144), profile);
    CTiff again;
    ReadFrom(again, file);
    EXPECT_EQ(DataOf(again, 34675), profile);
    EXPECT_EQ(Image(again), Bytes(12, 0));
}

TEST_F(IccProfileTest, ReplacesTheOneBefore) {
    Set(ProfileOf(200, 200));
    Set(ProfileOf(60, 60));
    EXPECT_EQ(DataOf(tiff_, 34675), ProfileOf(60, 60));
    EXPECT_EQ(tiff_.tags.size(), 15U);
}

TEST_F(IccProfileTest, TypeStaysAsItWas) {
    CTiff tiff;
    tiff.AddTags(Word(1, 34675), 9, 88, nullptr);
    WriteFile(path_, ProfileOf(60, 60));
    EXPECT_EQ(tiff.SetIccProfile(path_.c_str()), 0);
    EXPECT_EQ(FieldsOf(tiff, 34675), (Fields{34675, 1, 60, 0}));
}

TEST_F(IccProfileTest, SizeIsTheHeadersWithinTheFile) {
    EXPECT_EQ(Set(ProfileOf(50, 80)), 0);
    EXPECT_EQ(DataOf(tiff_, 34675), ProfileOf(50, 50)) << "the rest of the file is no profile";
    for (const std::uint32_t announced : {81U, 0x7fffffffU, 0xffffffffU}) {
        EXPECT_EQ(Set(ProfileOf(announced, 80)), 0);
        EXPECT_EQ(FieldsOf(tiff_, 34675).count, 80U);
        EXPECT_EQ(DataOf(tiff_, 34675), ProfileOf(announced, 80));
    }
}

TEST_F(IccProfileTest, EmptyFileEmptiesTheTag) {
    Set(ProfileOf(60, 60));
    EXPECT_EQ(Set({}), 0);
    EXPECT_EQ(FieldsOf(tiff_, 34675), (Fields{34675, 7, 0, 0}));
    EXPECT_EQ(DataOf(tiff_, 34675), Bytes());
}

TEST_F(IccProfileTest, OfFourBytesIsLostInTheFile) {
    // Small data of this type give up their place in the entry and have none behind it.
    Set(ProfileOf(4, 4));
    EXPECT_EQ(DataOf(tiff_, 34675), (Bytes{0, 0, 0, 4}));
    const Bytes file = Saved(tiff_);
    EXPECT_EQ(EntryOf(file, 34675), (Fields{34675, 7, 4, 216}));
    EXPECT_EQ(EntryOf(file, 273).value, 220U);
    EXPECT_EQ(file.size(), 216U + 12U);
}

TEST_F(IccProfileTest, MissingFileThrows) {
    std::string thrown;
    try {
        tiff_.SetIccProfile(dir_.File("none").c_str());
    } catch (const char* text) {
        thrown = text;
    }
    EXPECT_EQ(thrown, " *** CTiff::SetIccProfile() --> Icc Profile open Fail. *** ");
    EXPECT_EQ(FieldsOf(tiff_, 34675), (Fields{34675, 7, 0, 0})) << "untouched";
}

TEST_F(IccProfileTest, MissingFileThrowsWithoutATagToo) {
    tiff_.RemoveIcc();
    EXPECT_THROW(tiff_.SetIccProfile(dir_.File("none").c_str()), const char*);
}

TEST_F(IccProfileTest, IsNeverAdded) {
    tiff_.RemoveIcc();
    EXPECT_EQ(Set(ProfileOf(60, 60)), 0);
    EXPECT_EQ(tiff_.GetTag(Sig(34675)), nullptr);
    EXPECT_EQ(tiff_.tags.size(), 14U);
}

TEST_F(IccProfileTest, StreamsAreClosedEveryTime) {
    const auto open = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = open();
    Set(ProfileOf(60, 60));
    tiff_.SaveIccProfile(out_.c_str());
    tiff_.RemoveIcc();
    Set(ProfileOf(60, 60));
    tiff_.SaveIccProfile(out_.c_str());
    EXPECT_EQ(open(), before);
}

TEST_F(IccProfileTest, DoesNotTouchTheImage) {
    const unsigned char* image = tiff_.GetImageBuf();
    Set(ProfileOf(60, 60));
    tiff_.RemoveIcc();
    EXPECT_EQ(tiff_.GetImageBuf(), image);
    EXPECT_EQ(tiff_.GetTag(Sig(273))->GetData(), image);
}

TEST_F(IccProfileTest, SavingWithoutTagMakesNoFile) {
    tiff_.RemoveIcc();
    EXPECT_EQ(tiff_.SaveIccProfile(out_.c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(out_));
}

TEST_F(IccProfileTest, SavingWithoutDataMakesAnEmptyFile) {
    WriteFile(out_, CountingBytes(9));
    EXPECT_EQ(tiff_.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), Bytes());
}

TEST_F(IccProfileTest, SavingWritesNoMoreThanThereIs) {
    Set(ProfileOf(60, 60));
    tiff_.GetTag(Sig(34675))->count = 1000;
    EXPECT_EQ(tiff_.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), ProfileOf(60, 60));
    tiff_.GetTag(Sig(34675))->count = 20;
    EXPECT_EQ(tiff_.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), ProfileOf(60, 20)) << "nor more than the count";
}

TEST_F(IccProfileTest, SavingToNowhereReturnsZero) {
    Set(ProfileOf(60, 60));
    EXPECT_EQ(tiff_.SaveIccProfile(dir_.File("no folder/out.icc").c_str()), 0);
}

TEST_F(IccProfileTest, RemovalClosesTheGap) {
    TiffBuilder file;
    file.Long(256, 1).Undefined(34675, CountingBytes(20)).Long(300, 3).Long(200, 2);
    CTiff tiff;
    ReadFrom(tiff, file.Build());
    tiff.RemoveIcc();
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{256, 300, 200}));
    TiffBuilder without;
    EXPECT_EQ(Saved(tiff), without.Long(256, 1).Long(300, 3).Long(200, 2).Build());
}

TEST_F(IccProfileTest, RemovalDestroysTheFirstOnly) {
    int deaths = 0;
    CTiff tiff;
    tiff.tags.push_back(std::make_unique<MortalTag>(34675, deaths));
    tiff.tags.push_back(std::make_unique<MortalTag>(300, deaths));
    tiff.tags.push_back(std::make_unique<MortalTag>(34675, deaths));
    const TiffTag* second = tiff.tags[2].get();
    tiff.RemoveIcc();
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(Signatures(tiff), (std::vector<unsigned>{300, 34675}));
    EXPECT_EQ(tiff.tags[1].get(), second);
}

TEST_F(IccProfileTest, RemovalOfNoneDoesNothing) {
    CTiff tiff;
    tiff.RemoveIcc();
    EXPECT_TRUE(tiff.tags.empty());
    tiff.AddTags(Word(4, 256), 1, 1, nullptr);
    tiff.RemoveIcc();
    EXPECT_EQ(tiff.tags.size(), 1U);
}

TEST_F(IccProfileTest, SavedNewImageHasOneEntryFewerAfterRemoval) {
    const std::vector<Fields> before = EntriesOf(Saved(tiff_));
    tiff_.RemoveIcc();
    const std::vector<Fields> after = EntriesOf(Saved(tiff_));
    ASSERT_EQ(after.size(), 14U);
    for (std::size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i].tag, before[i].tag);
}

}  // namespace
}  // namespace hueweave::test
