// SPDX-License-Identifier: MIT
// Files that cannot be converted are refused in one line with a remedy, and nothing is written.
#include "command/support/FileTest.h"

namespace hueweave::test {
namespace {

class RefusalTest : public FileTest {
protected:
    /// Expects the photograph to be refused because of its profile.
    void ExpectProfileRefusal(const std::string& reason, const Words& more) const {
        WriteBytes(in_, FileBytes(Input("photo-8.tif")));
        EXPECT_THAT(Hueweave(Words{"convert", in_, "-o", out_} + more), Refuses(3, reason));
        EXPECT_FALSE(Exists(out_));
    }
};

struct BadImage {
    const char* name;
    const char* recipe;  ///< a shell line from $in to $out
    const char* reason;
    const char* photo = "photo-8.tif";
};
void PrintTo(const BadImage& row, std::ostream* out) { *out << row.name; }
class ImageRefusalTest : public RefusalTest, public testing::WithParamInterface<BadImage> {};

TEST_P(ImageRefusalTest, SaysWhy) {
    Make(GetParam().recipe, Input(GetParam().photo));
    ExpectRefusal(GetParam().reason);
}

constexpr const char* kNoPicture = "in.tif: is not a TIFF, PNG or JPEG file";
constexpr const char* kPredictor3 = "has predictor 3, which whole numbers do not have";
constexpr const char* kPredictor42 = "has predictor 42, which whole numbers do not have";
const BadImage kBadImages[] = {
    {"Missing", ":", "cannot be read (No such file or directory)"},
    {"Empty", ": > $out", "in.tif: is empty, not a TIFF, PNG or JPEG file"},
    {"Text", "echo 'a text, which is no image at all' > $out", kNoPicture},
    {"Gif", "convert-im6 $in gif:$out", "in.tif: is a GIF file, not a TIFF, PNG or JPEG file; give one of these\n"},
    {"Bmp", "convert-im6 $in bmp:$out", "in.tif: is a BMP file, not a TIFF, PNG or JPEG file; give one of these\n"},
    {"Grey", "convert-im6 $in -colorspace Gray $out", "holds grey pixels, not RGB"},
    {"Cmyk", "convert-im6 $in -colorspace CMYK $out", "holds CMYK pixels, not RGB"},
    {"Palette", "convert-im6 $in -colors 64 -type Palette $out", "holds palette pixels, not RGB"},
    {"Lab", "convert-im6 $in -colorspace Lab $out", "holds Lab pixels, not RGB"},
    // ImageMagick writes the file and reports an error about a tag that it does not need.
    {"FloatingPoint",
     "convert-im6 -size 20x20 xc:red -depth 32 -type TrueColor -define quantum:format=floating-point -compress none "
     "$out 2>/dev/null || tiffinfo $out | grep -q 'IEEE floating point'",
     "contains floating-point samples"},
    {"32Bits", "convert-im6 $in -depth 32 -compress none $out", "has 32 bits a sample; write it with", "photo-16.tif"},
    {"4Bits", "convert-im6 $in -depth 4 -type TrueColor -define tiff:bits-per-sample=4 $out; tiffset -s 258 4 4 4 $out",
     "has 4 bits a sample; write it with 16 bits, for example with convert in.tif -depth 16 out.tif", "photo-16.tif"},
    {"Grey4Bits", "convert-im6 $in -colorspace Gray -depth 4 $out", "has 4 bits a sample; write it with 16 bits"},
    {"Bilevel", "convert-im6 $in -monochrome -compress Group4 $out",
     "holds bilevel pixels, not RGB; write it as RGB first, for example with tiff2rgba -n in.tif out.tif"},
    {"CmykAlpha", "convert-im6 $in -colorspace CMYK -alpha set $out",
     "has 5 samples a pixel, not 4; leave its extra samples out, for example with convert in.tif -alpha off out.tif"},
    {"LzwPredictor3", "tiffcp -s -c lzw:2 $in $out; tiffset -s 317 3 $out", kPredictor3},
    {"LzwPredictor42", "tiffcp -s -c lzw:2 $in $out; tiffset -s 317 42 $out", kPredictor42},
    {"DeflatePredictor3", "tiffcp -s -c zip:2 $in $out; tiffset -s 317 3 $out", kPredictor3},
    {"DeflatePredictor42", "tiffcp -s -c zip:2 $in $out; tiffset -s 317 42 $out", kPredictor42},
    // The directory is just below 4 GiB, which leaves no room for the profile.
    {"BeyondFourGigabytes", "tiffcp -s -c none -r 238 $in $out; truncate -s 4294967200 $out",
     "would pass the 4 GiB that a classic TIFF file can hold"},
};
INSTANTIATE_TEST_SUITE_P(Every, ImageRefusalTest, testing::ValuesIn(kBadImages), NameOfRow);

TEST_F(RefusalTest, ACutOrDamagedImage) {
    for (const std::string scheme : {"none", "packbits", "lzw", "zip:2", "jpeg"}) {
        SCOPED_TRACE(scheme);
        Make("tiffcp -s -r 238 -c " + scheme + " $in $out");
        const std::string whole = FileBytes(in_);
        const std::size_t size = whole.size();
        for (const std::size_t percent : {5U, 50U, 90U, 99U}) {
            WriteBytes(in_, whole.substr(0, size * percent / 100));
            ExpectRefusal("in.tif: ");
        }
        if (scheme == "none" || scheme == "packbits") continue;  // these have no way to detect damage
        // Zeros from the first tenth of the image data on.
        WriteBytes(in_, std::string(whole).replace(8 + size / 10, size / 2, size / 2, '\0'));
        ExpectRefusal("contains damaged image data");
    }
}

TEST_F(RefusalTest, AProfileThatIsMissingOrNone) {
    constexpr const char* kNone = "is not a readable ICC profile";
    const std::string file = folder_ / "file.icc", scanner = FileBytes(Input("scanner.icc"));
    ExpectProfileRefusal(in_ + ": embeds no profile", {});
    ExpectProfileRefusal("file.icc: cannot be read (No such file or directory); check the file and its permissions",
                         {"--profile", file});
    ExpectProfileRefusal("not a regular file", {"--profile", folder_.path()});
    ExpectProfileRefusal(
        "in.tif: is a TIFF file, not an ICC profile; give an ICC profile, or leave --profile out to use the profile "
        "that each picture embeds",
        {"--profile", in_});
    ExpectProfileRefusal("in.tif: is a TIFF file, not an ICC profile; give an ICC profile\n",
                         {"--profile", Input("scanner.icc"), "--to", in_});
    Shell("head -c 5000 /dev/urandom > " + Quoted(file));
    ExpectProfileRefusal(kNone, {"--profile", file});
    WriteBytes(file, "");
    ExpectProfileRefusal(kNone, {"--profile", file});
    for (const std::size_t size : {100U, 128U, 200U, 2000U}) {
        WriteBytes(file, scanner.substr(0, size));
        ExpectProfileRefusal("file.icc: ", {"--profile", file});
    }
}

TEST_F(RefusalTest, TheProfilesDoNotMatch) {
    Make("convert-im6 $in -profile " + Input("matrix.icc") + " $out");
    ExpectRefusal("embeds another profile (matrix) than", {"--source", "require-match"}, 3);
}

TEST_F(RefusalTest, CurvesThatAreNone) {
    Make("cp $in $out");
    const std::string curve = folder_ / "curve.csv";
    std::string many;
    for (int i = 0; i < 257; ++i) many += "0,0,0\n";
    const std::pair<std::string, const char*> rows[] = {{"", "has 0 rows"},
                                                        {"1,2,3\n", "has 1 rows"},
                                                        {"1,2,256\n", "row 1 does not have three values"},
                                                        {"1,2\n", "row 1 does not have three values"},
                                                        {"1,2,3,4\n", "row 1 has more than three values"},
                                                        {"1,2,3" + std::string(4091, ' ') + "\n", "has 1 rows"},
                                                        {"1,2,3" + std::string(4092, ' ') + "\n", "row 1 does not"},
                                                        {many, "has more than 256 rows"}};
    for (const auto& [text, reason] : rows) {
        WriteBytes(curve, text);
        ExpectRefusal(reason, {"--curve", curve}, 2);
    }
}

struct BadLine {
    const char* name;
    const char* line;  ///< a shell line that follows the name of the command
    const char* reason;
};
void PrintTo(const BadLine& row, std::ostream* out) { *out << row.name; }
class UsageTest : public testing::TestWithParam<BadLine> {};

TEST_P(UsageTest, IsTwoAndSaysWhy) {
    const Words words{"sh", "-c", std::string(HUEWEAVE_COMMAND " ") + GetParam().line};
    EXPECT_THAT(RunProgram({.words = words}), Refuses(2, GetParam().reason));
}

const BadLine kBadLines[] = {
    {"NoCommand", "--", "no command was given; see hueweave --help"},
    {"UnknownCommand", "transmogrify", "'transmogrify' is no command; see hueweave --help"},
    {"MistypedCommand", "covnert x", "'covnert' is no command; did you mean convert?"},
    {"MistypedCommandToHelp", "help spaxes", "'spaxes' is no command; did you mean spaces?"},
    {"MistypedOption", "convert x -o y.tif --forse", "unknown option --forse; did you mean --force?"},
    {"MistypedOptionWithValue", "convert x --ouput=y.tif", "unknown option --ouput; did you mean --output?"},
    {"BeginningOfAnOption", "convert x -o y.tif --prec exact", "unknown option --prec; did you mean --precision?"},
    {"UnknownOption", "convert x -o y.tif --fast", "unknown option --fast; see hueweave convert --help"},
    {"UnknownLetter", "-x", "unknown option -x; see hueweave --help"},
    {"TooManyArguments", "bake x y -o z", "unexpected argument y; see hueweave bake --help"},
    {"NoProfile", "verify", "no PROFILE was given; see hueweave verify --help"},
    {"NoValue", "convert x -o", "--output needs a value; see hueweave convert --help"},
    {"TwoValues", "convert x --to srgb --to rec2020", "--to is given more than once; see hueweave convert --help"},
    {"ValueOfAFlag", "convert x --json=lines", "--json takes no value; see hueweave convert --help"},
    {"NumberOfAFlag", "convert x -o y --force=3", "--force takes no value; see hueweave convert --help"},
    {"TruthOfAFlag", "watch x -o y --no-tag=true", "--no-tag takes no value; see hueweave watch --help"},
    {"ValueOfAFlagOfAll", "--version=3", "--version takes no value; see hueweave --help"},
    {"FormatInPlace", "convert x --in-place --format png", "--in-place and --format exclude each other"},
    {"FormatOfCopies", "convert x -o y --format png --others copy", "--others copy does not go with --format"},
    {"UnknownFormat", "convert x -o y --format gif", "--format: gif is not known, use tiff, png, jpeg"},
    {"QualityOfNoJpeg", "convert x -o y --quality 90 --format png", "--quality is for --format jpeg; leave it out"},
    {"QualityOutOfRange", "convert x -o y --format jpeg --quality 101", "101 is out of range, use 1 to 100"},
    {"ValueOfAShortFlag", "convert x -o y -q=1", "-q takes no value; see hueweave convert --help"},
    {"FractionOfAThread", "convert x -o y.tif -j 1.5",
     "--jobs: 1.5 is not a whole number; see hueweave convert --help"},
    {"EmptyInput", "convert '' -o y", "the name of an input is empty"},
    {"EmptyProfile", "convert x -o y --profile ''", "--profile is empty"},
    {"NoInput", "convert -o x.tif", "no input was given"},
    {"NoOutput", "convert x.tif", "no output was given"},
    {"UnknownSpace", "convert x -o y --to srbg",
     "--to: srbg is not a colour space (did you mean srgb?), hueweave spaces lists them;"},
    {"UnknownSpaceToVerify", "verify x --to ''", "--to:  is not a colour space, hueweave spaces lists them;"},
    {"UnknownIntent", "convert x -o y --intent 0",
     "--intent: 0 is not known, use perceptual, relative, saturation, absolute;"},
    {"UnknownRule", "convert x -o y --source z", "--source: z is not known, use require-match, given, embedded;"},
    {"OutOfRange", "convert x -o y --lightness 100.5", "--lightness: 100.5 is out of range, use -100 to 100;"},
    {"NoNumber", "convert x -o y --hue nan", "--hue: nan is out of range, use -360 to 360;"},
    {"LimitThatIsNoNumber", "verify x --limit nan", "--limit: nan is out of range, use 0 to 100;"},
    {"BothOutputs", "convert x -o y --in-place", "exclude each other"},
    {"BitsWithoutANumber", "verify x --bits ''", "--bits:  is not known, use 8, 16;"},
    {"OnePoint", "verify x --points 1", "--points: 1 is out of range, use 2 to 65;"},
    {"TooManyPoints", "verify x --points 66", "--points"},
    {"ZeroThreads", "convert x -o y -j 0", "--jobs: 0 is out of range, use 1 to 1024;"},
    {"BadShard", "convert x -o y --shard 5/4", "--shard 5/4"},
    {"BadMemory", "convert x -o y --max-memory lots",
     "--max-memory: lots is not a size, use a number of bytes or of K, M or G (KiB, MiB, GiB), 32M or more;"},
    {"DecimalMemory", "convert x -o y --max-memory 64MB", "--max-memory: 64MB is not a size"},
    {"LittleLowerCaseMemory", "convert x -o y --max-memory 1k", "--max-memory: 1k is too little, use 32M or more;"},
    {"NegativeMemory", "convert x -o y --max-memory=-1", "--max-memory: -1 is not a size"},
    {"TooMuchMemory", "convert x -o y --max-memory 8589934593K", "--max-memory: 8589934593K is not a size"},
    {"LittleMemory", "convert x -o y --max-memory 32767K", "--max-memory: 32767K is too little, use 32M or more;"},
    {"NulWithoutList", "convert x -o y -0", "--files-from"},
    {"ListAndImageFromOneInput", "convert - --files-from - -o y", "- and --files-from - both read standard input"},
    {"ResumeOtherwise", "convert x -o y --resume=quick", "--resume=quick is unknown"},
    {"BaseWithoutList", "convert x -o y --base x", "--base is for --files-from"},
    {"LeftOfWhat", "status out --list left", "--list left needs the inputs"},
    {"StatusOfNothing", "status", "no folder was given"},
    {"ResumeWithoutFolder", "convert x -o y.tif --resume", "--resume wants"},
    {"BakeToStandardOutput", "bake x -o -", "does not write to standard output"},
    {"JsonAndImage", "convert x -o - --json", "both write to standard output"},
    {"CurveForATable", "convert x -o y --precision library --to adobe-rgb --curve c", "--curve does not go with"},
    {"CurveForAProfile", "convert x -o y --to x.icc --curve c", "--curve does not go with a profile as --to"},
    {"VersionOfAProfile", "convert x -o y --to x.icc --icc-version 2", "--icc-version does not go with a profile"},
    {"VersionOfTheLibrary", "convert x -o y --precision library --icc-version 2",
     "--icc-version does not go with --precision library"},
    {"BlackByTheLibrary", "convert x -o y --precision library --bpc", "--bpc does not go with --precision library"},
    {"SpaceThatTheLibraryLacks", "convert x -o y --precision library --to display-p3",
     "which the library does not have"},
    {"ProfileForTheLibrary", "convert x -o y --precision library --to x.icc", "which the library does not have"},
    {"SpaceToVerifyTheLibrary", "verify x --to rec2020 --precision library", "which the library does not have"},
    {"ErrorOfTheExact", "convert x -o y --accept-error 3", "--accept-error is for --precision library"},
    {"LimitThatIsAWord", "check --profile x y --limit two", "--limit two is not a limit"},
    {"LimitWithoutASecond", "check --profile x y --limit 2,", "--limit 2, is not a limit"},
    {"LimitThatIsNan", "check --profile x y --limit nan", "--limit nan is not a limit"},
    {"UnknownGuideline", "check --profile x y --guideline fadgi-5", "--guideline: fadgi-5 not in"},
    {"ReportToStandardOutput", "report x -o -", "does not write to standard output"},
    {"ReportOfStandardInput", "report x - -o y", "does not read standard input"},
    {"NoFolderToWatch", "watch -o y", "no folder was given"},
    {"NoFolderToWatchInto", "watch x -o -", "no output folder was given"},
    {"WatchIntoAFolderAround", "watch /usr/bin -o /usr", "contains the folder to watch"},
    {"WatchIntoAFile", "watch /usr -o /dev/null", "is no folder"},
    {"NoTimeToSettle", "watch x -o y --settle 0", "--settle: 0 is out of range"},
};
INSTANTIATE_TEST_SUITE_P(Every, UsageTest, testing::ValuesIn(kBadLines), NameOfRow);

}  // namespace
}  // namespace hueweave::test
