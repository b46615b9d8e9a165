// SPDX-License-Identifier: MIT
// Files that cannot be converted are refused in one line with a remedy, and nothing is written.
#include "command/support/FileTest.h"

namespace hueweave::test {
namespace {

class RefusalTest : public FileTest {};

struct BadImage {
    const char* recipe;  ///< a shell line from $in to $out
    const char* reason;
    const char* photo = "photo-8.tif";
};
const BadImage kBadImages[] = {
    {":", "cannot be read (No such file or directory)"},
    {": > $out", "in.tif: is empty, not a TIFF, PNG or JPEG file"},
    {"echo 'a text, which is no image at all' > $out", "in.tif: is not a TIFF, PNG or JPEG file"},
    {"convert-im6 $in gif:$out", "in.tif: is a GIF file, not a TIFF, PNG or JPEG file; give one of these\n"},
    {"convert-im6 $in -colorspace Gray $out", "holds grey pixels, not RGB"},
    {"convert-im6 $in -colorspace CMYK $out", "holds CMYK pixels, not RGB"},
    {"convert-im6 $in -colors 64 -type Palette $out", "holds palette pixels, not RGB"},
    {"convert-im6 $in -colorspace Lab $out", "holds Lab pixels, not RGB"},
    // ImageMagick writes the file and reports an error about a tag that it does not need.
    {"convert-im6 -size 20x20 xc:red -depth 32 -type TrueColor -define quantum:format=floating-point -compress none "
     "$out 2>/dev/null || tiffinfo $out | grep -q 'IEEE floating point'",
     "contains floating-point samples"},
    {"convert-im6 $in -depth 32 -compress none $out", "has 32 bits per sample; write it with", "photo-16.tif"},
    {"convert-im6 $in -depth 4 -type TrueColor -define tiff:bits-per-sample=4 $out; tiffset -s 258 4 4 4 $out",
     "has 4 bits per sample; write it with 16 bits, for example with convert in.tif -depth 16 out.tif", "photo-16.tif"},
    {"convert-im6 $in -colorspace Gray -depth 4 $out", "has 4 bits per sample; write it with 16 bits"},
    {"convert-im6 $in -monochrome -compress Group4 $out",
     "holds bilevel pixels, not RGB; write it as RGB first, for example with tiff2rgba -n in.tif out.tif"},
    {"convert-im6 $in -colorspace CMYK -alpha set $out",
     "has 5 samples per pixel, not 4; leave its extra samples out, for example with convert in.tif -alpha off out.tif"},
    {"tiffcp -s -c none $in $out; tiffset -s 259 12345 $out",
     "which is not supported; rewrite it with LZW or Deflate, with the program that made it"},
    {"tiffcp -s -c lzw:2 $in $out; tiffset -s 317 3 $out", "has predictor 3, which whole numbers do"},
    {"tiffcp -s -c zip:2 $in $out; tiffset -s 317 42 $out", "has predictor 42, which whole"},
    // The directory is just below 4 GiB, which leaves no room for the profile.
    {"tiffcp -s -c none -r 238 $in $out; truncate -s 4294967200 $out",
     "would pass the 4 GiB that a classic TIFF file can hold"},
};

TEST_F(RefusalTest, ABadImageWithItsReason) {
    for (const auto& [recipe, reason, photo] : kBadImages) {
        SCOPED_TRACE(recipe);
        Make(recipe, Input(photo));
        ExpectRefusal(reason);
    }
}

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

TEST_F(RefusalTest, AMissingOrInvalidProfile) {
    Make("cp $in $out");
    const std::string file = folder_ / "file.icc", scanner = Input("scanner.icc");
    const auto expect = [&](const Words& more, const std::string& reason) {
        EXPECT_THAT(Hueweave(Words{"convert", in_, "-o", out_} + more), Refuses(3, reason));
        EXPECT_FALSE(Exists(out_));
    };
    expect({}, in_ + ": embeds no profile");
    expect({"--profile", file},
           "file.icc: cannot be read (No such file or directory); check the file and its permissions");
    expect({"--profile", folder_.path()}, "not a regular file");
    expect({"--profile", in_},
           "in.tif: is a TIFF file, not an ICC profile; give an ICC profile, or leave --profile out to use the profile "
           "that each picture embeds");
    expect({"--profile", scanner, "--to", in_}, "in.tif: is a TIFF file, not an ICC profile; give an ICC profile\n");
    for (const std::string& bytes : {std::string(), std::string(5000, 'x')}) {
        WriteBytes(file, bytes);
        expect({"--profile", file}, "is not a readable ICC profile");
    }
    for (const std::size_t size : {100U, 128U, 200U, 2000U}) {
        WriteBytes(file, FileBytes(scanner).substr(0, size));
        expect({"--profile", file}, "file.icc: ");
    }
}

TEST_F(RefusalTest, InvalidCurves) {
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

/// What follows the name of the command in a shell line, and the reason.
constexpr std::pair<const char*, const char*> kBadLines[] = {
    {"--", "no command was given; see hueweave --help"},
    {"transmogrify", "'transmogrify' is not a command; see hueweave --help"},
    {"covnert x", "'covnert' is not a command; did you mean convert?"},
    {"convert x -o y.tif --forse", "unknown option --forse; did you mean --force?"},
    {"convert x --ouput=y.tif", "unknown option --ouput; did you mean --output?"},
    {"convert x -o y.tif --prec exact", "unknown option --prec; did you mean --precision?"},
    {"convert x -o y.tif --fast", "unknown option --fast; see hueweave convert --help"},
    {"-x", "unknown option -x; see hueweave --help"},
    {"bake x y -o z", "unexpected argument y; see hueweave bake --help"},
    {"verify", "no PROFILE was given; see hueweave verify --help"},
    {"convert x -o", "--output needs a value; see hueweave convert --help"},
    {"convert x --to srgb --to rec2020", "--to is given more than once; see hueweave convert --help"},
    {"convert x --json=lines", "--json takes no value; see hueweave convert --help"},
    {"--version=3", "--version takes no value; see hueweave --help"},
    {"convert x --in-place --format png", "--in-place and --format exclude each other"},
    {"convert x -o y --format png --others copy", "--others copy cannot be combined with --format"},
    {"convert x -o y --format gif", "--format: gif is not known, use tiff, png, jpeg"},
    {"convert x -o y --quality 90 --format png", "--quality is for --format jpeg; leave it out"},
    {"convert x -o y --format jpeg --quality 101", "101 is out of range, use 1 to 100"},
    {"convert x -o y -q=1", "-q takes no value; see hueweave convert --help"},
    {"convert x -o y.tif -j 1.5", "--jobs: 1.5 is not a whole number; see hueweave convert --help"},
    {"convert '' -o y", "the name of an input is empty"},
    {"convert x -o y --profile ''", "--profile is empty"},
    {"convert -o x.tif", "no input was given"},
    {"convert x.tif", "no output was given"},
    {"convert x -o y --to srbg", "--to: srbg is not a colour space (did you mean srgb?), hueweave spaces lists them;"},
    {"verify x --to ''", "--to:  is not a colour space, hueweave spaces lists them;"},
    {"convert x -o y --intent 0", "--intent: 0 is not known, use perceptual, relative, saturation, absolute;"},
    {"convert x -o y --source z", "--source: z is not known, use require-match, given, embedded;"},
    {"convert x -o y --lightness 100.5", "--lightness: 100.5 is out of range, use -100 to 100;"},
    {"convert x -o y --hue nan", "--hue: nan is out of range, use -360 to 360;"},
    {"verify x --limit nan", "--limit: nan is out of range, use 0 to 100;"},
    {"convert x -o y --in-place", "exclude each other"},
    {"verify x --bits ''", "--bits:  is not known, use 8, 16;"},
    {"verify x --points 1", "--points: 1 is out of range, use 2 to 65;"},
    {"verify x --points 66", "--points"},
    {"convert x -o y -j 0", "--jobs: 0 is out of range, use 1 to 1024;"},
    {"convert x -o y --shard 5/4", "--shard 5/4"},
    {"convert x -o y --max-memory lots",
     "--max-memory: lots is not a size, use a number of bytes or of K, M or G (KiB, MiB, GiB), 32M or more;"},
    {"convert x -o y --max-memory 64MB", "--max-memory: 64MB is not a size"},
    {"convert x -o y --max-memory 8589934593K", "--max-memory: 8589934593K is not a size"},
    {"convert x -o y --max-memory 32767K", "--max-memory: 32767K is too little, use 32M or more;"},
    {"convert x -o y -0", "--files-from"},
    {"convert - --files-from - -o y", "- and --files-from - both read standard input"},
    {"convert x -o y --resume=quick", "--resume=quick is unknown"},
    {"convert x -o y --base x", "--base is for --files-from"},
    {"status out --list left", "--list left needs the inputs"},
    {"status", "no folder was given"},
    {"convert x -o y.tif --resume", "--resume needs"},
    {"bake x -o -", "does not write to standard output"},
    {"convert x -o - --json", "both write to standard output"},
    {"convert x -o y --precision library --to adobe-rgb --curve c", "--curve cannot be combined with"},
    {"convert x -o y --to x.icc --curve c", "--curve cannot be combined with a profile as --to"},
    {"convert x -o y --to x.icc --icc-version 2", "--icc-version cannot be combined with a profile"},
    {"convert x -o y --precision library --icc-version 2", "--icc-version cannot be combined with --precision library"},
    {"convert x -o y --precision library --bpc", "--bpc cannot be combined with --precision library"},
    {"convert x -o y --precision library --to display-p3", "which the library does not support"},
    {"convert x -o y --precision library --to x.icc", "which the library does not support"},
    {"verify x --to rec2020 --precision library", "which the library does not support"},
    {"convert x -o y --accept-error 3", "--accept-error is for --precision library"},
    {"check --profile x y --limit two", "--limit two is not a limit"},
    {"check --profile x y --limit 2,", "--limit 2, is not a limit"},
    {"check --profile x y --limit nan", "--limit nan is not a limit"},
    {"check --profile x y --guideline fadgi-5", "--guideline: fadgi-5 not in"},
    {"report x -o -", "does not write to standard output"},
    {"report x - -o y", "does not read standard input"},
    {"watch -o y", "no folder was given"},
    {"watch x -o -", "no output folder was given"},
    {"watch /usr/bin -o /usr", "contains the folder to watch"},
    {"watch /usr -o /dev/null", "is not a folder"},
    {"watch x -o y --settle 0", "--settle: 0 is out of range"},
};

TEST(UsageTest, ABadCommandLineGivesStatusTwoAndTheReason) {
    for (const auto& [line, reason] : kBadLines) {
        const Words words{"sh", "-c", std::string(HUEWEAVE_COMMAND " ") + line};
        EXPECT_THAT(RunProgram({.words = words}), Refuses(2, reason)) << line;
    }
}

}  // namespace
}  // namespace hueweave::test
