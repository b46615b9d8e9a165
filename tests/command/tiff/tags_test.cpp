// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Tags that are rewritten or that decide where the pixels are have a type and a number of values that they can have,
// or the file is refused; what is odd and clear is converted into what libtiff reads as well.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "command/support/Command.h"
#include "command/support/ExifTool.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using Entry = TiffMaker::Entry;
using Entries = std::vector<Entry>;
using testing::HasSubstr;

/// The entries of a small picture with another one of that tag, or one more.
Entries With(Entries entries, const Entry& changed) {
    std::erase_if(entries, [&](const Entry& entry) { return entry.tag == changed.tag; });
    entries.push_back(changed);
    return entries;
}
Entries And(Entries entries, const Entry& more) {
    entries.push_back(more);
    return entries;
}
Entries Without(Entries entries, unsigned tag) {
    std::erase_if(entries, [&](const Entry& entry) { return entry.tag == tag; });
    return entries;
}

class TagsTest : public testing::Test {
protected:
    Entries Small() { return TiffMaker::Small(pixels_); }
    Outcome Convert(const Entries& entries, const std::vector<std::string>& more = {}) {
        TiffMaker made = tiff_;
        made.Page(entries);
        made.Save(in_);
        std::vector<std::string> words{"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "--force"};
        words.insert(words.end(), more.begin(), more.end());
        return Hueweave(words);
    }
    void ExpectRefusal(const Entries& entries, const std::string& reason, const std::vector<std::string>& more = {}) {
        const Outcome run = Convert(entries, more);
        EXPECT_EQ(run.status, 4) << reason;
        EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
        EXPECT_THAT(run.err, HasSubstr("in.tif: " + reason));
        EXPECT_EQ(NamesIn(folder_.path()), (std::vector<std::string>{"in.tif"})) << reason;
    }
    /// Converted, and read by libtiff with the engine's pixels. In the end all are read by exiftool and converted
    /// again.
    void ExpectConverted(const Entries& entries, const std::string& what) {
        const Outcome run = Convert(entries);
        ASSERT_EQ(run.status, 0) << what << ": " << run.err;
        Picture wanted{4, 4, 3, 8, {}, ""};
        for (const char sample : SmallPixels()) wanted.values.push_back(static_cast<unsigned char>(sample));
        wanted = ByEngine(wanted, Input("scanner.icc"), 0, 8);
        const auto after = ReadPictures(out_);
        ASSERT_EQ(after.size(), 1U) << what;
        EXPECT_EQ(after[0].values, wanted.values) << what;
        EXPECT_FALSE(after[0].icc.empty()) << what;
        const std::string kept = done_ / (std::to_string(count_++) + ".tif");
        std::filesystem::copy_file(out_, kept);
    }
    void TearDown() override {
        if (count_ > 0) {
            const Outcome again = Hueweave({"convert", done_.path(), "-o", folder_ / "again"});
            EXPECT_EQ(again.status, 0) << again.err;
            EXPECT_THAT(again.err, HasSubstr(std::to_string(count_) + " converted, in "));
            EXPECT_EQ(ExifTool({"-q", "-q", "-s3", "-Error", done_.path()}), "");
        }
    }
    Folder folder_, done_;
    int count_ = 0;
    TiffMaker tiff_;
    const std::uint64_t pixels_ = tiff_.Put(SmallPixels());
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(TagsTest, ASoundFileIsConverted) { ExpectConverted(Small(), "as it is"); }

TEST_F(TagsTest, ASubfileTypeOfFourBytesIsTaken) {
    ExpectConverted(With(Small(), {254, 1, 4, 0}), "as the library writes it");
}

TEST_F(TagsTest, TwoOfATagAreRefused) {
    Entries entries = Small();
    entries.push_back(TiffMaker::Short(266, 1));
    entries.push_back(TiffMaker::Short(274, 1));
    entries.push_back(TiffMaker::Short(317, 1));
    entries.push_back(TiffMaker::Short(339, 1));
    entries.push_back({347, 7, 4, 0});
    entries.push_back({34377, 7, 4, 0});
    entries.push_back({34675, 7, 0, 0});
    for (const Entry& entry : Entries(entries)) {
        ExpectRefusal(And(entries, entry), "has tag " + std::to_string(entry.tag) + " twice");
        ExpectRefusal(And(entries, entry), "has tag " + std::to_string(entry.tag) + " twice", {"--no-tag"});
        EXPECT_THAT(Hueweave({"inspect", in_}).out, HasSubstr("convertible: false"));
    }
    ExpectConverted(And(entries, {305, 2, 4, 0x616161}), "two of another tag");
}

TEST_F(TagsTest, TypesThatTheyCannotHaveAreRefused) {
    for (const unsigned tag : {254U, 256U, 257U, 258U, 259U, 262U, 266U, 273U,   274U,   277U,
                               278U, 279U, 280U, 281U, 284U, 317U, 339U, 32996U, 32997U, 32998U}) {
        for (const unsigned type : {0U, 2U, 7U, 11U, 13U, 18U, 19U, 65535U}) {
            ExpectRefusal(With(Small(), {tag, type, 1, 4}),
                          "has tag " + std::to_string(tag) + " in type " + std::to_string(type));
        }
    }
    for (const unsigned type : {0U, 1U, 3U, 11U, 17U}) {
        TiffMaker made = tiff_;
        made.Page(With(Small(), {330, type, 1, 0}));
        made.Save(in_);
        EXPECT_EQ(Hueweave({"convert", "--profile", Input("scanner.icc"), in_, "-o", out_}).status, 4) << type;
    }
    for (const unsigned type : {0U, 3U, 4U, 11U, 19U, 33U}) {
        ExpectRefusal(With(Small(), {34675, type, 1, 0}), "has tag 34675 in type " + std::to_string(type));
        ExpectRefusal(With(Small(), {347, type, 1, 0}), "has tag 347 in type " + std::to_string(type));
    }
    ExpectRefusal(With(Small(), {341, 2, 3, 0x616161}), "has tag 341 in type 2");
}

TEST_F(TagsTest, NumbersOfValuesThatTheyCannotHaveAreRefused) {
    for (const unsigned tag : {256U, 257U, 262U, 266U, 274U, 277U, 278U, 284U, 317U, 32997U, 32998U}) {
        for (const std::uint64_t count : {0U, 2U, 3U}) {
            ExpectRefusal(With(Small(), {tag, 3, count, 0, count == 3 ? Little({4, 4, 4}, 2) : ""}),
                          "has tag " + std::to_string(tag) + " with " + std::to_string(count) + " values");
        }
    }
    for (const unsigned tag : {258U, 259U, 280U, 281U, 339U, 32996U}) {
        for (const std::uint64_t count : {0U, 2U, 4U}) {
            ExpectRefusal(With(Small(), {tag, 3, count, 0, Little(std::vector<std::uint64_t>(count, 8), 2)}),
                          "has tag " + std::to_string(tag) + " with " + std::to_string(count) + " values");
        }
    }
    ExpectRefusal(With(Small(), {338, 3, 4, 0, Little({0, 0, 0, 0}, 2)}), "has tag 338 with 4 values");
    ExpectRefusal(With(Small(), {340, 3, 2, 0}), "has tag 340 with 2 values");
    for (const unsigned tag : {273U, 279U}) ExpectRefusal(With(Small(), {tag, 4, 0, 0}), "lacks some of its strips");
}

TEST_F(TagsTest, ValuesThatContradictAreRefused) {
    ExpectRefusal(With(Small(), {281, 3, 3, 0, Little({255, 254, 255}, 2)}),
                  "has tag 281 with different values for the samples");
    ExpectRefusal(With(Small(), TiffMaker::Short(32997, 2)), "holds a body of several layers");
    for (const unsigned order : {0U, 3U, 9U}) {
        ExpectRefusal(With(Small(), TiffMaker::Short(266, order)), "has bits in no order");
    }
    ExpectRefusal(With(Small(), TiffMaker::Short(32996, 3)), "holds samples that are not plain");
    for (const unsigned tag : {322U, 323U, 324U, 325U}) {
        ExpectRefusal(And(Small(), TiffMaker::Short(tag, 16)), "has strips and tiles at once");
    }
    for (const unsigned tag : {273U, 279U}) {
        TiffMaker::Shape shape;
        shape.offsets = {pixels_};
        shape.counts = {48};
        shape.tileWidth = shape.tileHeight = 16;
        ExpectRefusal(And(TiffMaker::Rgb(shape), TiffMaker::Short(tag, 8)), "has strips and tiles at once");
    }
    Entries alpha = With(With(Small(), TiffMaker::Short(277, 4)), {258, 3, 4, 0, Little({8, 8, 8, 8}, 2)});
    ExpectRefusal(With(With(alpha, TiffMaker::Long(257, 3)), TiffMaker::Short(338, 3)),
                  "has a further sample of an unknown kind (3)");
    // Also of a sample that is not there: libtiff does not open such a file.
    ExpectRefusal(With(Small(), TiffMaker::Short(338, 8)), "has a further sample of an unknown kind (8)");
}

TEST_F(TagsTest, APredictorThatASchemeDoesNotHaveMeansNothing) {
    std::string packed;
    for (int row = 0; row < 4; ++row) packed += '\x0b' + SmallPixels().substr(static_cast<std::size_t>(12 * row), 12);
    TiffMaker::Shape shape;
    shape.offsets = {tiff_.Put(packed)};
    shape.counts = {packed.size()};
    shape.compression = 32773;
    ExpectConverted(And(TiffMaker::Rgb(shape), TiffMaker::Short(317, 2)), "PackBits");
}

TEST_F(TagsTest, EncodedTilesOfOddSidesAreRefusedAsAnInput) {
    TiffMaker::Shape shape;
    shape.offsets = {pixels_};
    shape.counts = {48};
    shape.compression = 8;
    for (const auto& [width, height] : {std::pair{12U, 16U}, std::pair{16U, 17U}}) {
        shape.tileWidth = width;
        shape.tileHeight = height;
        ExpectRefusal(TiffMaker::Rgb(shape), "has encoded tiles whose sides are no multiples of 16");
    }
}

TEST_F(TagsTest, ABigTiffHeaderWhoseConstantIsNot0IsRefused) {
    TiffMaker made(true);
    made.Page(TiffMaker::Small(made.Put(SmallPixels())));
    made.Save(in_);
    ASSERT_EQ(Hueweave({"convert", "--profile", Input("scanner.icc"), in_, "-o", out_}).status, 0);
    made.bytes()[6] = '\1';  // libtiff does not open it then
    made.Save(in_);
    const Outcome run = Hueweave({"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "--force"});
    EXPECT_EQ(run.status, 4);
    EXPECT_THAT(run.err, HasSubstr("in.tif: has a damaged header"));
}

TEST_F(TagsTest, AValueOverADirectoryIsRefused) {
    // The places of the strips are the directory's own first bytes.
    const std::uint64_t directory = tiff_.bytes().size() + 6;  // behind the depths
    ExpectRefusal(With(Small(), {273, 4, 3, directory}), "has the value of tag 273 over a directory");
    ExpectRefusal(With(Small(), {34675, 7, 16, 4}), "has the value of tag 34675 over a directory");
}

TEST_F(TagsTest, WhatIsOddAndClearIsConverted) {
    for (const unsigned type : {1U, 3U, 4U}) {
        for (const unsigned tag : {256U, 257U, 278U, 284U, 262U, 277U, 259U, 266U, 274U, 317U}) {
            const std::uint64_t value = tag == 262 ? 2 : tag == 277 ? 3 : tag < 258 || tag == 278 ? 4 : 1;
            ExpectConverted(With(Small(), {tag, type, 1, value}),
                            "tag " + std::to_string(tag) + " in type " + std::to_string(type));
        }
    }
    ExpectConverted(With(Small(), {256, 16, 1, 0, Little({4}, 8)}), "a width of 8 bytes");
    ExpectConverted(With(Small(), {258, 3, 1, 8}), "one depth for all samples");
    ExpectConverted(With(Small(), {259, 3, 3, 0, Little({1, 1, 1}, 2)}), "a compression for each sample");
    ExpectConverted(With(Small(), {339, 3, 3, 0, Little({1, 1, 1}, 2)}), "a format for each sample");
    ExpectConverted(With(Small(), TiffMaker::Longs(273, {pixels_, 0, 7})), "more places than strips");
    ExpectConverted(With(Small(), {279, 3, 3, 0, Little({48, 0, 9}, 2)}), "more sizes than strips");
    ExpectConverted(Without(Small(), 279), "no sizes");
    ExpectConverted(Without(With(Small(), TiffMaker::Short(278, 2)), 278), "no height of strips");
    ExpectConverted(And(Small(), {340, 12, 3, 0, Little({0, 0, 0}, 8)}), "least samples");
    ExpectConverted(And(Small(), TiffMaker::Short(32996, 2)), "an older tag for whole numbers");
    ExpectConverted(And(Small(), {34675, 7, 0, 0}), "an empty profile");
}

TEST_F(TagsTest, StripsWithoutSizesGetThem) {
    // libtiff does not read several strips without sizes; what comes of them has sizes.
    Entries entries = Without(With(Small(), TiffMaker::Short(278, 2)), 279);
    entries = With(entries, TiffMaker::Longs(273, {pixels_, pixels_ + 24}));
    ExpectConverted(entries, "two strips without sizes");
}

TEST_F(TagsTest, AStripThatMovesHasTheSizeOfItsPixels) {
    // The strip has 12 bytes more than its pixels take, and a text stands within it, so that it goes to the end.
    Entries entries = With(Small(), TiffMaker::Long(257, 3));
    entries = With(entries, TiffMaker::Long(279, 48));
    entries = And(entries, {305, 2, 8, pixels_ + 8});
    const Outcome run = Convert(entries, {"--no-tag"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(Shell("tiffinfo -s " + Quoted(out_)), HasSubstr(",       36]"));
    EXPECT_EQ(ReadPictures(out_)[0].values.size(), 36U);
}

TEST_F(TagsTest, AnOrientationThatThereIsNotBecomesTheUsualOne) {
    for (const unsigned orientation : {0U, 9U, 65535U, 8U}) {
        ExpectConverted(With(Small(), TiffMaker::Short(274, orientation)), "orientation");
        EXPECT_EQ(Shell("tiffinfo " + Quoted(out_) + " 2>&1 | grep -c 'Bad value' || :"), "0\n");
        const std::string wanted = orientation == 8 ? "8\n" : "1\n";
        EXPECT_EQ(ExifTool({"-n", "-s3", "-Orientation", out_}), wanted);
    }
}

TEST_F(TagsTest, SubIfdsInABigTiffOfEveryTypeFollowTheirDirectories) {
    for (const unsigned type : {4U, 13U, 16U, 18U}) {
        TiffMaker made(true);
        const std::uint64_t pixels = made.Put(SmallPixels());
        const std::uint64_t one = made.Directory(TiffMaker::Small(pixels));
        const std::uint64_t two = made.Directory(TiffMaker::Small(pixels));
        made.Page(And(TiffMaker::Small(pixels), {330, type, 2, 0, Little({one, two}, type < 16 ? 4 : 8)}));
        made.Save(in_);
        const Outcome run = Hueweave({"convert", "--profile", Input("scanner.icc"), in_, "-o", out_, "--force"});
        ASSERT_EQ(run.status, 0) << run.err;
        // The directories get a profile each, and another place with it.
        const std::string told = Shell("tiffdump " + Quoted(out_) + " | grep -a '^SubIFD (330)'");
        EXPECT_THAT(told, testing::Not(HasSubstr(" " + std::to_string(one)))) << told;
        const Outcome inspected = Hueweave({"inspect", "--json", out_});
        EXPECT_EQ(inspected.status, 0) << inspected.err;
        std::size_t profiles = 0;
        for (std::size_t at = 0; (at = inspected.out.find("\"profile\":{", at)) != std::string::npos; ++at) ++profiles;
        EXPECT_EQ(profiles, 3U) << type;
    }
}

class FoundTest : public testing::TestWithParam<const char*> {};

TEST_P(FoundTest, IsRefusedAndLeavesNothing) {
    const Folder folder;
    const std::string in = folder / "in.tif", source = std::string(HUEWEAVE_FOUND) + "/" + GetParam() + ".tif";
    WriteBytes(in, FileBytes(source));
    for (const auto& more : {std::vector<std::string>{}, {"--no-tag"}}) {
        std::vector<std::string> words{"convert", "--profile", Input("scanner.icc"), in, "-o", folder / "out.tif"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome run = Hueweave(words);
        EXPECT_EQ(run.status, 4) << run.err;
        EXPECT_THAT(run.err, HasSubstr("; get a whole copy of the file"));
        EXPECT_EQ(NamesIn(folder.path()), (std::vector<std::string>{"in.tif"}));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, FoundTest,
                         testing::Values("both-strip-and-tile-offsets", "output-cut-strip-shared-bytecount",
                                         "output-unreadable-58fecf", "output-unreadable-ca55d4",
                                         "output-unreadable-overlap-1", "output-unreadable-overlap-2",
                                         "predictor-float-count0", "sigfpe-predictor-type0"),
                         [](const auto& row) {
                             std::string name = row.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace hueweave::test
