// SPDX-License-Identifier: MIT
// Rewritten tags, and tags that determine where the pixels are, must have a valid type and count, or the file is
// refused; an unusual but unambiguous file is converted into one that libtiff reads as well.

#include "command/support/ExifTool.h"
#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "command/support/TiffMaker.h"

namespace hueweave::test {
namespace {

using Entry = TiffMaker::Entry;

class TagsTest : public FileTest {
protected:
    Entries Small() { return TiffMaker::Small(pixels_); }
    void Save(const Entries& entries) {
        TiffMaker made = tiff_;
        made.Page(entries);
        made.Save(in_);
    }
    void ExpectRefusal(const Entries& entries, const std::string& reason, const Words& more = {}) {
        Save(entries);
        FileTest::ExpectRefusal("in.tif: " + reason, more);
    }
    /// Converts a file and expects libtiff to read the engine's pixels. At the end exiftool reads all outputs, and all
    /// are converted again.
    void ExpectConverted(const Entries& entries, const std::string& what) {
        SCOPED_TRACE(what);
        Save(entries);
        ASSERT_THAT(Convert({"--force"}), Succeeds());
        const auto after = ReadPictures(out_);
        ASSERT_EQ(after.size(), 1U);
        EXPECT_EQ(after[0].values, ToSrgb(SmallPicture()).values);
        EXPECT_FALSE(after[0].icc.empty());
        fs::copy_file(out_, done_ / (std::to_string(count_++) + ".tif"));
    }
    void TearDown() override {
        if (count_ == 0) return;
        EXPECT_THAT(Hueweave({"convert", done_.path(), "-o", folder_ / "again"}),
                    Says(0, std::to_string(count_) + " converted, in "));
        EXPECT_EQ(ExifTool({"-q", "-q", "-s3", "-Error", done_.path()}), "");
    }
    Folder done_;
    int count_ = 0;
    TiffMaker tiff_;
    const std::uint64_t pixels_ = tiff_.Put(SmallPixels());
};

TEST_F(TagsTest, RepeatedTagsAreRefused) {
    Entries entries = Small();
    for (const unsigned tag : {266U, 274U, 317U, 339U}) entries.push_back(TiffMaker::Short(tag, 1));
    for (const unsigned tag : {347U, 34377U}) entries.push_back({tag, 7, 4, 0});
    entries.push_back({34675, 7, 0, 0});
    for (const Entry& entry : Entries(entries)) {
        ExpectRefusal(And(entries, entry), "has tag " + std::to_string(entry.tag) + " twice");
        ExpectRefusal(And(entries, entry), "has tag " + std::to_string(entry.tag) + " twice", {"--no-tag"});
        EXPECT_THAT(Hueweave({"inspect", in_}).out, HasSubstr("convertible: false"));
    }
    ExpectConverted(And(entries, {305, 2, 4, 0x616161}), "two of another tag");
}

TEST_F(TagsTest, InvalidTypesAreRefused) {
    const auto refused = [&](unsigned tag, unsigned type, std::uint64_t value) {
        ExpectRefusal(With(Small(), {tag, type, 1, value}),
                      "has tag " + std::to_string(tag) + " in type " + std::to_string(type));
    };
    for (const unsigned tag : {254U, 256U, 257U, 258U, 259U, 262U, 266U, 273U,   274U,   277U,
                               278U, 279U, 280U, 281U, 284U, 317U, 339U, 32996U, 32997U, 32998U}) {
        for (const unsigned type : {0U, 2U, 7U, 11U, 13U, 18U, 19U, 65535U}) refused(tag, type, 4);
    }
    for (const unsigned type : {0U, 3U, 4U, 11U, 19U, 33U}) {
        refused(34675, type, 0);
        refused(347, type, 0);
    }
    for (const unsigned type : {0U, 1U, 3U, 11U, 17U}) ExpectRefusal(With(Small(), {330, type, 1, 0}), "");
    ExpectRefusal(With(Small(), {341, 2, 3, 0x616161}), "has tag 341 in type 2");
}

TEST_F(TagsTest, InvalidNumbersOfValuesAreRefused) {
    const auto refused = [&](unsigned tag, const std::vector<std::uint64_t>& values) {
        ExpectRefusal(With(Small(), {tag, 3, values.size(), 0, Little(values, 2)}),
                      "has tag " + std::to_string(tag) + " with " + std::to_string(values.size()) + " values");
    };
    for (const unsigned tag : {256U, 257U, 262U, 266U, 274U, 277U, 278U, 284U, 317U, 32997U, 32998U}) {
        for (const std::size_t count : {0U, 2U, 3U}) refused(tag, std::vector<std::uint64_t>(count, 4));
    }
    for (const unsigned tag : {258U, 259U, 280U, 281U, 339U, 32996U}) {
        for (const std::size_t count : {0U, 2U, 4U}) refused(tag, std::vector<std::uint64_t>(count, 8));
    }
    refused(338, {0, 0, 0, 0});
    refused(340, {0, 0});
    for (const unsigned tag : {273U, 279U}) ExpectRefusal(With(Small(), {tag, 4, 0, 0}), "lacks some of its strips");
}

TEST_F(TagsTest, TileOffsetsInTheTagsOfStripsAreAccepted) {
    // As libtiff reads them: TileWidth and TileLength say that there are tiles.
    for (const std::string scheme : {"none", "lzw", "jpeg"}) {
        Make("tiffcp -t -w 64 -l 64 -c " + scheme + " $in $out");
        ASSERT_THAT(Convert({"--force"}), Succeeds());
        const auto wanted = ReadPictures(out_);
        std::string bytes = FileBytes(in_);
        for (const char* type : {"\x03", "\x04"}) {
            for (const auto& [from, to] : {std::pair{"\x44\x01", "\x11\x01"}, {"\x45\x01", "\x17\x01"}}) {
                const std::size_t at = bytes.rfind(std::string(from) + type + '\0');  // tags 324 and 325
                if (at != std::string::npos) bytes.replace(at, 2, to);
            }
        }
        WriteBytes(in_, bytes);
        ASSERT_THAT(Convert({"--force"}), Succeeds()) << scheme;
        EXPECT_EQ(ReadPictures(out_)[0].values, wanted[0].values) << scheme;
        const std::string tags = ExifTool({"-s", "-StripOffsets", "-TileOffsets", "-TileWidth", out_});
        EXPECT_THAT(tags, AllOf(HasSubstr("StripOffsets"), Not(HasSubstr("TileOffsets"))));
    }
}

TEST_F(TagsTest, ValuesThatContradictAreRefused) {
    ExpectRefusal(With(Small(), {281, 3, 3, 0, Little({255, 254, 255}, 2)}),
                  "has tag 281 with different values for the samples");
    ExpectRefusal(With(Small(), TiffMaker::Short(32997, 2)), "contains an image with several depth layers");
    for (const unsigned order : {0U, 3U, 9U}) {
        ExpectRefusal(With(Small(), TiffMaker::Short(266, order)), "has an unknown bit order");
    }
    ExpectRefusal(With(Small(), TiffMaker::Short(32996, 3)), "contains samples that are not unsigned integers");
    for (const unsigned tag : {322U, 323U, 324U, 325U}) {
        ExpectRefusal(And(Small(), TiffMaker::Short(tag, 16)), "has both strips and tiles");
    }
    for (const unsigned tag : {273U, 279U}) {
        const Entries tiled = TiffMaker::Rgb({.offsets = {pixels_}, .counts = {48}, .tileWidth = 16, .tileHeight = 16});
        ExpectRefusal(And(tiled, TiffMaker::Short(tag, 8)), "has both strips and tiles");
    }
    Entries alpha = With(With(Small(), TiffMaker::Short(277, 4)), {258, 3, 4, 0, Little({8, 8, 8, 8}, 2)});
    ExpectRefusal(With(With(alpha, TiffMaker::Long(257, 3)), TiffMaker::Short(338, 3)),
                  "has an extra sample of an unknown kind (3)");
    // Also of a sample that does not exist: libtiff does not open such a file.
    ExpectRefusal(With(Small(), TiffMaker::Short(338, 8)), "has an extra sample of an unknown kind (8)");
}

TEST_F(TagsTest, EncodedTilesOfOddSidesAreRefused) {
    for (const auto& [width, height] : {std::pair{12U, 16U}, std::pair{16U, 17U}}) {
        const TiffMaker::Shape shape{
            .offsets = {pixels_}, .counts = {48}, .compression = 8, .tileWidth = width, .tileHeight = height};
        ExpectRefusal(TiffMaker::Rgb(shape), "has encoded tiles whose sides are not multiples of 16");
    }
}

TEST_F(TagsTest, ABigTiffHeaderWhoseConstantIsNot0IsRefused) {
    TiffMaker made(true);
    made.Page(TiffMaker::Small(made.Put(SmallPixels())));
    made.Save(in_);
    ASSERT_EQ(Convert().status, 0);
    fs::remove(out_);
    made.bytes()[6] = '\1';  // libtiff then does not open the file
    made.Save(in_);
    FileTest::ExpectRefusal("in.tif: has a damaged header");
}

TEST_F(TagsTest, AValueOverADirectoryIsRefused) {
    // The strip offsets are the first bytes of the directory itself.
    const std::uint64_t directory = tiff_.bytes().size() + 6;  // after the bit depths
    ExpectRefusal(With(Small(), {273, 4, 3, directory}), "has the value of tag 273 over a directory");
    ExpectRefusal(With(Small(), {34675, 7, 16, 4}), "has the value of tag 34675 over a directory");
}

TEST_F(TagsTest, UnusualButUnambiguousFilesAreConverted) {
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
    ExpectConverted(Without(Small(), 278), "no height of strips");
    ExpectConverted(And(Small(), {340, 12, 3, 0, Little({0, 0, 0}, 8)}), "least samples");
    ExpectConverted(And(Small(), TiffMaker::Short(32996, 2)), "an older tag for whole numbers");
    ExpectConverted(And(Small(), {34675, 7, 0, 0}), "an empty profile");
    ExpectConverted(Small(), "a sound file");
    ExpectConverted(With(Small(), {254, 1, 4, 0}), "a subfile type as the library writes it");
    // libtiff does not read several strips without byte counts; the output has byte counts.
    Entries two = Without(With(Small(), TiffMaker::Short(278, 2)), 279);
    ExpectConverted(With(two, TiffMaker::Longs(273, {pixels_, pixels_ + 24})), "two strips without sizes");
    std::string packed;
    for (std::size_t row = 0; row < 4; ++row) packed += '\x0b' + SmallPixels().substr(12 * row, 12);
    const TiffMaker::Shape shape{.offsets = {tiff_.Put(packed)}, .counts = {packed.size()}, .compression = 32773};
    ExpectConverted(And(TiffMaker::Rgb(shape), TiffMaker::Short(317, 2)), "a predictor that PackBits does not have");
}

TEST_F(TagsTest, AStripThatMovesHasTheSizeOfItsPixels) {
    // The strip is 12 bytes longer than its pixels and contains a text, so it moves to the end of the file.
    Save(And(With(Small(), TiffMaker::Long(257, 3)), {305, 2, 8, pixels_ + 8}));
    ASSERT_THAT(Convert({"--no-tag"}), Succeeds());
    EXPECT_THAT(Shell("tiffinfo -s " + Quoted(out_)), HasSubstr(",       36]"));
    EXPECT_EQ(ReadPictures(out_)[0].values.size(), 36U);
}

TEST_F(TagsTest, AnInvalidOrientationBecomesTheDefault) {
    for (const unsigned orientation : {0U, 9U, 65535U, 8U}) {
        ExpectConverted(With(Small(), TiffMaker::Short(274, orientation)), "orientation");
        EXPECT_EQ(Shell("tiffinfo " + Quoted(out_) + " 2>&1 | grep -c 'Bad value' || :"), "0\n");
        const std::string wanted = orientation == 8 ? "8\n" : "1\n";
        EXPECT_EQ(ExifTool({"-n", "-s3", "-Orientation", out_}), wanted);
    }
}

TEST_F(TagsTest, FilesFoundByFuzzingAreRefused) {
    int found = 0;
    for (const auto& entry : fs::directory_iterator(HUEWEAVE_FOUND)) {
        if (entry.path().extension() != ".tif") continue;
        SCOPED_TRACE(entry.path());
        WriteBytes(in_, FileBytes(entry.path()));
        for (const Words& more : {Words{}, Words{"--no-tag"}}) {
            FileTest::ExpectRefusal("; get a complete copy of the file", more);
        }
        ++found;
    }
    EXPECT_EQ(found, 8);
}

}  // namespace
}  // namespace hueweave::test
