// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What cannot be converted is refused on one line with a remedy, and nothing is written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command/support/Command.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;

class RefusalTest : public testing::Test {
protected:
    /// Runs `convert` and checks everything that refusals have in common.
    void ExpectRefusal(int status, const std::string& reason, std::vector<std::string> more = {}) {
        std::vector<std::string> words{"convert", in_, "-o", out_};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome run = Hueweave(words);
        EXPECT_EQ(run.status, status) << run.err;
        const auto lines = Lines(run.err);
        ASSERT_EQ(lines.size(), 1U) << run.err;
        EXPECT_THAT(lines[0], HasSubstr(reason));
        EXPECT_THAT(lines[0], HasSubstr("; ")) << "no remedy";
        EXPECT_THAT(lines[0], testing::StartsWith("hueweave: "));
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(Exists(out_));
        for (const std::string& name : NamesIn(folder_.path())) EXPECT_THAT(name, testing::Not(HasSubstr("hueweave")));
    }
    void Image(const std::string& arguments) { Shell("convert-im6 " + arguments + " " + Quoted(in_)); }
    std::vector<std::string> Profile() { return {"--profile", Input("scanner.icc")}; }
    Folder folder_;
    std::string in_ = folder_ / "in.tif", out_ = folder_ / "out.tif";
};

TEST_F(RefusalTest, NoProfile) {
    Image(Input("photo-8.tif"));
    ExpectRefusal(3, in_ + ": embeds no profile");
}

TEST_F(RefusalTest, AMistypedProfileName) {
    Image(Input("photo-8.tif"));
    ExpectRefusal(3, "scaner.icc: cannot be read (No such file or directory); check the file and its permissions",
                  {"--profile", folder_ / "scaner.icc"});
}

TEST_F(RefusalTest, AFileThatIsNoProfile) {
    Image(Input("photo-8.tif"));
    Shell("head -c 5000 /dev/urandom > " + Quoted(folder_ / "random.icc"));
    ExpectRefusal(3, "is not a readable ICC profile", {"--profile", folder_ / "random.icc"});
    ExpectRefusal(3, "is not a readable ICC profile", {"--profile", in_});
    Shell(": > " + Quoted(folder_ / "empty.icc"));
    ExpectRefusal(3, "is not a readable ICC profile", {"--profile", folder_ / "empty.icc"});
}

TEST_F(RefusalTest, AFolderAsProfile) {
    Image(Input("photo-8.tif"));
    ExpectRefusal(3, "not a regular file", {"--profile", folder_.path()});
}

TEST_F(RefusalTest, AProfileThatIsCut) {
    Image(Input("photo-8.tif"));
    for (const int size : {100, 128, 200, 2000}) {
        WriteBytes(folder_ / "cut.icc", FileBytes(Input("scanner.icc")).substr(0, static_cast<size_t>(size)));
        ExpectRefusal(3, "cut.icc: ", {"--profile", folder_ / "cut.icc"});
    }
}

TEST_F(RefusalTest, GreyPixels) {
    Image(Input("photo-8.tif") + " -colorspace Gray");
    ExpectRefusal(4, "holds grey pixels, not RGB", Profile());
}

TEST_F(RefusalTest, CmykPixels) {
    Image(Input("photo-8.tif") + " -colorspace CMYK");
    ExpectRefusal(4, "holds CMYK pixels, not RGB", Profile());
}

TEST_F(RefusalTest, PalettePixels) {
    Image(Input("photo-8.tif") + " -colors 64 -type Palette");
    ExpectRefusal(4, "holds palette pixels, not RGB", Profile());
}

TEST_F(RefusalTest, LabPixels) {
    Image(Input("photo-8.tif") + " -colorspace Lab");
    ExpectRefusal(4, "holds Lab pixels, not RGB", Profile());
}

TEST_F(RefusalTest, FloatingPoint) {
    // ImageMagick writes the file and complains of a tag that it did not need.
    Shell(
        "convert-im6 -size 20x20 xc:red -depth 32 -type TrueColor -define quantum:format=floating-point -compress "
        "none " +
        Quoted(in_) + " 2>/dev/null || tiffinfo " + Quoted(in_) + " | grep -q 'IEEE floating point'");
    ExpectRefusal(4, "holds floating-point samples", Profile());
}

TEST_F(RefusalTest, OtherDepths) {
    Image(Input("photo-16.tif") + " -depth 32 -compress none");
    ExpectRefusal(4, "has 32 bits a sample", Profile());
    Image(Input("photo-16.tif") + " -depth 4 -type TrueColor -define tiff:bits-per-sample=4");
    Shell("tiffset -s 258 4 4 4 " + Quoted(in_));
    ExpectRefusal(4, "has 4 bits a sample", Profile());
}

TEST_F(RefusalTest, APredictorThatThereIsNot) {
    for (const char* scheme : {"lzw:2", "zip:2"}) {
        for (const char* predictor : {"3", "42"}) {
            Shell(std::string("tiffcp -s -c ") + scheme + " " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
            Shell(std::string("tiffset -s 317 ") + predictor + " " + Quoted(in_));
            ExpectRefusal(4, std::string("has predictor ") + predictor + ", which whole numbers do not have",
                          Profile());
        }
    }
}

TEST_F(RefusalTest, NoTiff) {
    WriteBytes(in_, "");
    ExpectRefusal(4, "is not a TIFF file", Profile());
    WriteBytes(in_, "a text, which is no image at all");
    ExpectRefusal(4, "is not a TIFF file", Profile());
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " png:" + Quoted(in_));
    ExpectRefusal(4, "is not a TIFF file", Profile());
}

TEST_F(RefusalTest, AMissingInput) { ExpectRefusal(4, "cannot be read (No such file or directory)", Profile()); }

TEST_F(RefusalTest, ACutImage) {
    for (const char* recipe : {"none", "lzw", "zip:2", "packbits", "jpeg"}) {
        Shell(std::string("tiffcp -s -r 238 -c ") + recipe + " " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
        const std::string whole = FileBytes(in_);
        for (const std::size_t percent : {5U, 50U, 90U, 99U}) {
            WriteBytes(in_, whole.substr(0, whole.size() * percent / 100));
            ExpectRefusal(4, "in.tif: ", Profile());
        }
    }
}

TEST_F(RefusalTest, DamagedImageData) {
    for (const char* recipe : {"lzw", "zip:2", "jpeg"}) {
        Shell(std::string("tiffcp -s -r 238 -c ") + recipe + " " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
        std::string bytes = FileBytes(in_);
        // From the first tenth of the image data on, nothing but zeros.
        const std::size_t size = bytes.size();
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(8 + size / 10), size / 2, '\0');
        WriteBytes(in_, bytes);
        ExpectRefusal(4, "holds damaged image data", Profile());
    }
}

TEST_F(RefusalTest, OnePageOfSeveral) {
    const std::string grey = folder_ / "grey.tif";
    Shell("convert-im6 " + Quoted(Input("photo-8.tif")) + " -colorspace Gray " + Quoted(grey));
    Shell("tiffcp " + Quoted(Input("photo-8.tif")) + " " + Quoted(grey) + " " + Quoted(in_));
    ExpectRefusal(4, "page 2 holds grey pixels", Profile());
}

TEST_F(RefusalTest, TheProfilesDoNotMatch) {
    Image(Input("photo-8.tif") + " -profile " + Input("matrix.icc"));
    ExpectRefusal(3, "embeds another profile (matrix) than",
                  {"--profile", Input("scanner.icc"), "--source", "require-match"});
}

TEST_F(RefusalTest, ClassicTiffThatWouldPassFourGigabytes) {
    // The directory stands almost at 4 GiB: the profile does not fit behind it.
    Shell("tiffcp -s -c none -r 238 " + Quoted(Input("photo-8.tif")) + " " + Quoted(in_));
    Shell("truncate -s 4294967200 " + Quoted(in_));
    ExpectRefusal(4, "would pass the 4 GiB that a classic TIFF file can hold", Profile());
}

struct BadWords {
    const char* name;
    std::vector<std::string> words;
    const char* reason;
};
void PrintTo(const BadWords& row, std::ostream* out) { *out << row.name; }
class UsageTest : public testing::TestWithParam<BadWords> {};

TEST_P(UsageTest, IsTwoAndSaysWhy) {
    const Outcome run = Hueweave(GetParam().words);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr(GetParam().reason));
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
    EXPECT_EQ(run.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Every, UsageTest,
    testing::Values(
        BadWords{"NoCommand", {}, "subcommand is required"},
        BadWords{"UnknownCommand", {"transmogrify"}, "'transmogrify' is no command"},
        BadWords{"EmptyInput", {"convert", "", "-o", "y"}, "the name of an input is empty"},
        BadWords{"EmptyProfile", {"convert", "x", "-o", "y", "--profile", ""}, "--profile is empty"},
        BadWords{"NoInput", {"convert", "-o", "x.tif"}, "no input was given"},
        BadWords{"NoOutput", {"convert", "x.tif"}, "no output was given"},
        BadWords{"UnknownSpace",
                 {"convert", "x", "-o", "y", "--to", "srbg"},
                 "--to: srbg not in {srgb,srgb-linear,adobe-rgb,adobe-rgb-g18,adobe-rgb-linear,"
                 "apple-rgb-g18,apple-rgb-linear,colormatch-g18,colormatch-linear,kodak-photo,kodak-mix,"
                 "kodak-text};"},
        BadWords{"UnknownSpaceToVerify", {"verify", "x", "--to", ""}, "--to:  not in {srgb,"},
        BadWords{"UnknownIntent",
                 {"convert", "x", "-o", "y", "--intent", "0"},
                 "--intent: 0 not in {perceptual,relative,saturation,absolute};"},
        BadWords{"UnknownRule",
                 {"convert", "x", "-o", "y", "--source", "z"},
                 "--source: z not in {given,embedded,require-match};"},
        BadWords{"OutOfRange",
                 {"convert", "x", "-o", "y", "--lightness", "100.5"},
                 "--lightness: 100.5 is out of range, use -100 to 100;"},
        BadWords{
            "NoNumber", {"convert", "x", "-o", "y", "--hue", "nan"}, "--hue: nan is out of range, use -360 to 360;"},
        BadWords{
            "LimitThatIsNoNumber", {"verify", "x", "--limit", "nan"}, "--limit: nan is out of range, use 0 to 100;"},
        BadWords{"BothOutputs", {"convert", "x", "-o", "y", "--in-place"}, "exclude each other"},
        BadWords{"BitsWithoutANumber", {"verify", "x", "--bits", ""}, "--bits"},
        BadWords{"OnePoint", {"verify", "x", "--points", "1"}, "--points"},
        BadWords{"TooManyPoints", {"verify", "x", "--points", "66"}, "--points"},
        BadWords{"ZeroThreads", {"convert", "x", "-o", "y", "-j", "0"}, "--jobs"},
        BadWords{"BadShard", {"convert", "x", "-o", "y", "--shard", "5/4"}, "--shard 5/4"},
        BadWords{"BadMemory",
                 {"convert", "x", "-o", "y", "--max-memory", "lots"},
                 "--max-memory: lots is not a size, use for example 64M or 1G;"},
        BadWords{
            "LowerCaseMemory", {"convert", "x", "-o", "y", "--max-memory", "64m"}, "--max-memory: 64m is not a size"},
        BadWords{"NegativeMemory", {"convert", "x", "-o", "y", "--max-memory=-1"}, "--max-memory: -1 is not a size"},
        BadWords{"TooMuchMemory",
                 {"convert", "x", "-o", "y", "--max-memory", "8589934593K"},
                 "--max-memory: 8589934593K is not a size"},
        BadWords{"LittleMemory",
                 {"convert", "x", "-o", "y", "--max-memory", "32767K"},
                 "--max-memory: 32767K is too little, use 32M or more;"},
        BadWords{"NulWithoutList", {"convert", "x", "-o", "y", "-0"}, "--files-from"},
        BadWords{"ListAndImageFromOneInput",
                 {"convert", "-", "--files-from", "-", "-o", "y"},
                 "- and --files-from - both read standard input"},
        BadWords{"ResumeWithoutFolder", {"convert", "x", "-o", "y.tif", "--resume"}, "--resume wants"},
        BadWords{"BakeToStandardOutput", {"bake", "x", "-o", "-"}, "does not write to standard output"},
        BadWords{"JsonAndImage", {"convert", "x", "-o", "-", "--json"}, "both write to standard output"},
        BadWords{"CurveForATable",
                 {"convert", "x", "-o", "y", "--to", "adobe-rgb", "--curve", "c"},
                 "--curve does not go with"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RefusalTest, CurvesThatAreNone) {
    Image(Input("photo-8.tif"));
    const std::string curve = folder_ / "curve.csv";
    const auto with = [&](const std::string& text) {
        WriteBytes(curve, text);
        auto words = Profile();
        words.insert(words.end(), {"--curve", curve});
        return words;
    };
    ExpectRefusal(2, "has 0 rows", with(""));
    ExpectRefusal(2, "has 1 rows", with("1,2,3\n"));
    ExpectRefusal(2, "row 1 is no curve row", with("1,2,256\n"));
    ExpectRefusal(2, "row 1 is no curve row", with("1,2\n"));
    ExpectRefusal(2, "row 1 has more than three values", with("1,2,3,4\n"));
    std::string many;
    for (int i = 0; i < 257; ++i) many += "0,0,0\n";
    ExpectRefusal(2, "has more than 256 rows", with(many));
}

}  // namespace
}  // namespace hueweave::test
