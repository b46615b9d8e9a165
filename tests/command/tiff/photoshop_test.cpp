// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What Photoshop keeps in tag 34377 beside the image: a second copy of the profile, and a thumbnail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include "command/support/Command.h"
#include "command/support/ExifTool.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A resource: signature, number, name, length and data, each padded to an even length.
std::string Resource(unsigned number, const std::string& name, std::string data) {
    std::string text = "8BIM";
    text += {static_cast<char>(number >> 8), static_cast<char>(number & 255), static_cast<char>(name.size())};
    text += name;
    if (name.size() % 2 == 0) text += '\0';
    for (const unsigned shift : {24U, 16U, 8U, 0U}) text += static_cast<char>(data.size() >> shift & 255);
    if (data.size() % 2 != 0) data += '\0';
    return text + data;
}

class PhotoshopTest : public testing::Test {
protected:
    PhotoshopTest() { Shell("tiffcp -s -c lzw -r 16 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_)); }
    void Put(const std::string& resources) {
        TIFF* file = TIFFOpen(in_.c_str(), "r+");
        TIFFSetField(file, TIFFTAG_PHOTOSHOP, static_cast<std::uint32_t>(resources.size()), resources.data());
        TIFFRewriteDirectory(file);
        TIFFClose(file);
    }
    /// The resources of the output.
    std::string After(std::vector<std::string> more = {}) {
        std::vector<std::string> words{"convert", "--force", "--profile", Input("scanner.icc"), in_, "-o", out_};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome run = Hueweave(words);
        EXPECT_EQ(run.status, 0) << run.err;
        said_ = run.err;
        TIFF* file = TIFFOpen(out_.c_str(), "r");
        std::uint32_t size = 0;
        const char* data = nullptr;
        std::string found;
        if (TIFFGetField(file, TIFFTAG_PHOTOSHOP, &size, &data) != 0) found.assign(data, size);
        TIFFClose(file);
        return found;
    }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif", said_;
    const std::string resolution_ = Resource(1005, "", std::string(16, 'r')), url_ = Resource(1035, "place", "x:y");
};

TEST_F(PhotoshopTest, ItsProfileIsTheNewOne) {
    const std::string old = FileBytes(Input("scanner.icc"));
    Put(resolution_ + Resource(1039, "", old) + url_);
    const std::string after = After();
    const std::string icc = ReadPictures(out_)[0].icc;
    ASSERT_FALSE(icc.empty());
    EXPECT_NE(icc, old);
    EXPECT_EQ(after, resolution_ + Resource(1039, "", icc) + url_);
    // exiftool, which knows these resources by itself, sees one profile in both places.
    const auto told = Lines(ExifTool({"-a", "-s3", "-ICC_Profile:ProfileDescription", out_}));
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0], told[1]);
    EXPECT_EQ(After({"--no-tag"}), resolution_ + url_);
}

TEST_F(PhotoshopTest, OfSeveralProfilesOneIsLeft) {
    Put(Resource(1039, "", "one") + url_ + Resource(1039, "", "another") + resolution_);
    const std::string after = After();
    EXPECT_EQ(after, Resource(1039, "", ReadPictures(out_)[0].icc) + url_ + resolution_);
}

TEST_F(PhotoshopTest, WithoutAProfileNothingIsAdded) {
    Put(resolution_ + url_);
    EXPECT_EQ(After(), resolution_ + url_);
    EXPECT_THAT(said_, Not(HasSubstr("thumbnail")));
    Put(Resource(1039, "", "an old profile"));
    EXPECT_EQ(After({"--no-tag"}), "");
}

TEST_F(PhotoshopTest, AThumbnailOfTheOldColoursIsSaid) {
    for (const unsigned number : {1033U, 1036U}) {
        const std::string resources = Resource(number, "", std::string(300, 't')) + url_;
        Put(resources);
        EXPECT_EQ(After(), resources);
        EXPECT_THAT(said_, HasSubstr("in.tif: its thumbnail of Photoshop (resource 1036 of tag 34377) stays in the old "
                                     "colours"));
    }
}

TEST_F(PhotoshopTest, WhatIsNoResourceStaysAsItIs) {
    const std::string profile = Resource(1039, "a name", "old");
    const std::string odd = Resource(1005, "", "odd");
    for (const std::string& tail :
         {std::string("no resource"), std::string("8BIM"), std::string("8BIM\4\17", 6),
          std::string("8BIM\4\17\0\0\0\0", 10), std::string("8BIM\4\17\0\0\0\0\0", 11),
          std::string("8BIM\4\17\0\0\0\0\0\6short", 17), std::string("8BIM\4\17\0\0\xff\xff\xff\xff data", 17),
          std::string("8BIM\4\17\xff", 7)}) {
        Put(odd + profile + tail);
        const std::string after = After();
        EXPECT_EQ(after, odd + Resource(1039, "a name", ReadPictures(out_)[0].icc) + tail);
    }
    // The padding after the last one may be missing.
    Put((odd + profile).substr(0, (odd + profile).size() - 1));
    EXPECT_EQ(After({"--no-tag"}), odd);
}

}  // namespace
}  // namespace hueweave::test
