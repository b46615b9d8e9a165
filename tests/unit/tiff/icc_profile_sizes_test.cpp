// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The embedded profile at the limits of its size, and profiles that came with a file.
#include "unit/tiff/TiffFixture.h"

namespace hueweave::test {
namespace {

class ProfileSizes : public testing::Test {
protected:
    TempDir dir_;
    std::string path_ = dir_.File("a.icc");
    std::string out_ = dir_.File("out.icc");
};

TEST_F(ProfileSizes, AreFourBigEndianBytes) {
    // Bytes that the file does not have count as zero, and no profile is longer than its file.
    struct Row {
        Bytes file;
        std::size_t taken;
    };
    for (const Row& row : {Row{{0}, 0}, Row{{1}, 1}, Row{{0, 0}, 0}, Row{{0, 0, 1}, 3}, Row{{0, 0, 0}, 0},
                           Row{{0, 0, 0, 0}, 0}, Row{{0, 0, 0, 1}, 1}, Row{{0, 0, 0, 4, 9}, 4},
                           Row{{0, 0, 0, 5, 9, 9}, 5}, Row{{5, 0, 0, 0, 9, 9}, 6}, Row{{0, 0, 0, 6, 9, 9}, 6}}) {
        CTiff tiff;
        tiff.CreateNew(2, 2, 72, 3, 8, 1);
        WriteFile(path_, row.file);
        EXPECT_EQ(tiff.SetIccProfile(path_.c_str()), 0);
        EXPECT_EQ(FieldsOf(tiff, 34675), (Fields{34675, 7, static_cast<std::uint32_t>(row.taken), 0}));
        EXPECT_EQ(DataOf(tiff, 34675), Part(row.file, 0, row.taken));
    }
}

TEST_F(ProfileSizes, OfAFilesOwnProfileAreSaved) {
    CTiff tiff;
    ReadFrom(tiff, TiffBuilder().Undefined(34675, CountingBytes(21)).Build());
    EXPECT_EQ(tiff.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), CountingBytes(21));
}

TEST_F(ProfileSizes, UpToFourBytesStandInTheEntryAndAreNotSaved) {
    WriteFile(out_, CountingBytes(9));
    CTiff tiff;
    ReadFrom(tiff, TiffBuilder().Entry(34675, 7, 4, 0x04030201).Build());
    EXPECT_EQ(tiff.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), Bytes());
}

TEST_F(ProfileSizes, OfTheFirstOfTwoProfilesAreSetAndSaved) {
    CTiff tiff;
    ReadFrom(tiff, TiffBuilder().Undefined(34675, CountingBytes(21)).Undefined(34675, CountingBytes(7)).Build());
    WriteFile(path_, {0, 0, 0, 5, 77});
    EXPECT_EQ(tiff.SetIccProfile(path_.c_str()), 0);
    EXPECT_EQ(DataOf(*tiff.tags[0]), (Bytes{0, 0, 0, 5, 77}));
    EXPECT_EQ(DataOf(*tiff.tags[1]), CountingBytes(7));
    EXPECT_EQ(tiff.SaveIccProfile(out_.c_str()), 0);
    EXPECT_EQ(ReadFile(out_), (Bytes{0, 0, 0, 5, 77}));
}

TEST_F(ProfileSizes, OnADiskThatTakesNothingGiveWhatClosingGave) {
    CTiff tiff;
    ReadFrom(tiff, TiffBuilder().Undefined(34675, CountingBytes(21)).Build());
    EXPECT_EQ(tiff.SaveIccProfile("/dev/full"), EOF);
}

TEST_F(ProfileSizes, CannotBeSavedToAFolder) {
    CTiff tiff;
    tiff.CreateNew(2, 2, 72, 3, 8, 1);
    EXPECT_EQ(tiff.SaveIccProfile(dir_.Path().c_str()), 0);
}

}  // namespace
}  // namespace hueweave::test
