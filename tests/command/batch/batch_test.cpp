// SPDX-License-Identifier: MIT
// Batches of files: folders, lists, shards, damaged files among valid ones, the messages about them, and their targets.
#include <algorithm>

#include "command/support/Batch.h"
#include "command/support/Json.h"
#include "command/support/Picture.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using testing::ContainsRegex;

TEST_F(BatchTest, AFolderIsConvertedWithItsSubfoldersButNotWhatIsHidden) {
    fs::copy_file(a_, scans_ + "/._a.tif");
    WriteBytes(scans_ + "/.trash/b.tif", "no image");
    const Outcome run = ConvertAll();
    EXPECT_THAT(run, Says(0, scans_ + "/a.tif -> " + out_ + "/a.tif\n", "3 converted, in "));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
    ExpectSrgb(out_ + "/deep/a.tif", scans_ + "/deep/a.tif");
    EXPECT_THAT(run.err, Not(ContainsRegex("[\033\r]"))) << "lines are plain";
    EXPECT_EQ(run.out, "");
    // A file that is named is converted. Results inside the folder are no inputs.
    EXPECT_THAT(ConvertScan({scans_ + "/._a.tif", "-o", out_}), Succeeds());
    EXPECT_TRUE(Exists(out_ + "/._a.tif"));
    for (int times = 0; times < 2; ++times) {
        EXPECT_THAT(ConvertScan({scans_, "-o", scans_ + "/converted", "--force"}), Says(0, "3 converted"));
    }
}

TEST_F(BatchTest, LinksInAFolderAreFollowedOnlyWithFollow) {
    const std::string elsewhere = folder_ / "elsewhere";
    WriteBytes(elsewhere + "/master.tif", FileBytes(a_));
    fs::create_directory_symlink("..", scans_ + "/deep/up");
    fs::create_directory_symlink(elsewhere, scans_ + "/linked");
    fs::create_symlink(elsewhere + "/master.tif", scans_ + "/m.tif");
    fs::create_symlink("../notes.txt", scans_ + "/deep/notes");
    EXPECT_THAT(ConvertAll(), Says(0, "hueweave: note: 3 symbolic links were not followed; --follow follows them\n"));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
    EXPECT_EQ(ConvertAll({"--follow", "--force"}).status, 0);
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif", "linked/master.tif", "m.tif"}));
    // In place, nothing outside the folder is written.
    const std::string before = FileBytes(elsewhere + "/master.tif");
    EXPECT_EQ(ConvertScan({scans_, "--in-place"}).status, 0);
    EXPECT_THAT(ConvertScan({scans_, "--in-place", "--follow", "--force"}),
                Says(1, "/linked/master.tif: is outside of " + scans_ + ", reached through a link"));
    EXPECT_EQ(FileBytes(elsewhere + "/master.tif"), before);
    // Files that are reached only through links.
    EXPECT_THAT(ConvertScan({elsewhere, "-o", out_}), Succeeds());
    fs::remove(elsewhere + "/master.tif");
    fs::create_symlink(a_, elsewhere + "/a.tif");
    EXPECT_THAT(ConvertScan({elsewhere, "-o", out_}), Refuses(4, "follow its symbolic links with --follow"));
}

TEST_F(BatchTest, SkippedEntriesOfAFolderAreReported) {
    fs::create_symlink("nowhere.tif", scans_ + "/dangling.tif");
    fs::create_directory(scans_ + "/shut");
    fs::permissions(scans_ + "/shut", fs::perms::none);
    EXPECT_THAT(
        ConvertAll({"--follow"}, {.inChild = HeedModes}),
        Says(1, "scans/dangling.tif: cannot be read (No such file or directory)",
             "scans/shut: cannot be read (Permission denied); check its permissions", "3 converted, 2 refused"));
    fs::permissions(scans_ + "/shut", fs::perms::owner_all);
}

TEST_F(BatchTest, BrokenFilesDoNotStopTheOthers) {
    Copy("good", 12);
    const std::string bytes = FileBytes(a_);
    for (std::size_t i = 0; i < 5; ++i) {
        WriteBytes(scans_ + "/bad" + std::to_string(i) + ".tif", bytes.substr(0, bytes.size() / 6 * i));
    }
    EXPECT_THAT(ConvertAll({"-j", "8"}), Says(1, "15 converted, 5 refused, in "));
    EXPECT_EQ(Outputs().size(), 15U);
    for (int i = 0; i < 12; ++i) ExpectSrgb(out_ + "/good" + std::to_string(i) + ".tif", a_);
}

TEST_F(BatchTest, ListsOfNamesEndInLinesOrZeros) {
    const std::string list = folder_ / "list", odd = scans_ + "/new\nline.tif";
    fs::copy_file(a_, odd);
    WriteBytes(list, scans_ + "/a.tif\n\n" + scans_ + "/b.TIFF\n");
    EXPECT_EQ(ConvertScan({"--files-from", list, "-o", out_}).status, 0);
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF"}));
    // Lists may have CRLF line ends; an empty list is an error.
    WriteBytes(list, scans_ + "/a.tif\r\n");
    EXPECT_EQ(ConvertScan({"--files-from", list, "--force", "-o", out_}).status, 0);
    WriteBytes(list, "\n");
    EXPECT_THAT(ConvertScan({"--files-from", list, "-o", out_}), Says(4, "names no files"));
    Shell("find " + Quoted(scans_) + " -maxdepth 1 -iname '*.tif*' -print0 | " +
          ConvertLine("--files-from - -0 --force -o " + Quoted(out_)));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "new\nline.tif"}));
    // A name with a line break is shown on one line.
    EXPECT_THAT(ConvertScan({odd, "-o", out_ + "/"}), Refuses(5, "new?line.tif: exists already"));
}

TEST_F(BatchTest, ShardsCoverAllFilesWithoutOverlap) {
    Copy("n", 20);
    Names all;
    std::size_t sum = 0;
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        ASSERT_EQ(ConvertAll({"--shard", shard}).status, 0);
        const Names names = Outputs();
        EXPECT_GE(names.size(), 3U) << "a shard is far too small";
        sum += names.size();
        all.insert(names.begin(), names.end());
        fs::remove_all(out_);
    }
    EXPECT_EQ(sum, 23U);
    EXPECT_EQ(all.size(), 23U);
}

TEST_F(BatchTest, NamesThatAreNotUtf8AreAccepted) {
    // File names that end in a Latin-1 letter.
    const std::string one = scans_ + "/caf\xe9.tif", two = scans_ + "/caf\xe8.tif";
    fs::copy_file(a_, one);
    fs::copy_file(a_, two);
    WriteBytes(scans_ + "/bad\xff.tif", "bad");
    const Outcome run = ConvertAll({"--json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(Outputs(), testing::Contains("caf\xe9.tif"));
    const auto hex = [](const std::string& text) {
        return Shell("printf %s " + Quoted(text) + " | od -An -v -tx1 | tr -d ' \\n'");
    };
    std::map<std::string, json> by;
    for (const json& told : JsonLines(run.out)) {
        EXPECT_EQ(told.contains("source_hex"), told.contains("output_hex"));
        if (told.contains("source_hex")) by[told["source_hex"]] = told;
    }
    ASSERT_EQ(by.size(), 3U) << run.out;
    EXPECT_EQ(by[hex(one)]["output_hex"], hex(out_ + "/caf\xe9.tif"));
    EXPECT_EQ(by[hex(two)]["output_hex"], hex(out_ + "/caf\xe8.tif"));
    EXPECT_EQ(by[hex(two)]["source"], scans_ + "/caf\xef\xbf\xbd.tif");
    EXPECT_EQ(by[hex(scans_ + "/bad\xff.tif")]["status"], "refused");
    fs::remove(scans_ + "/bad\xff.tif");
    EXPECT_THAT(ConvertAll({"--resume"}), Says(0, "0 converted, 5 done already"));
}

TEST_F(BatchTest, NotesThatManyFilesShareAreReportedOnce) {
    for (const char* name : {"/a.tif", "/b.TIFF", "/deep/a.tif"}) {
        Shell("tiffset -u 318 " + Quoted(scans_ + name) + "; tiffset -u 319 " + Quoted(scans_ + name));
    }
    for (const char* name : {"/a.tif", "/deep/a.tif"}) Shell("tiffset -s 318 0.3 0.3 " + Quoted(scans_ + name));
    const Outcome run = ConvertAll();
    EXPECT_THAT(run, Says(0,
                          "hueweave: note: in 2 files the tag of the old colours (318) stays; the embedded profile "
                          "takes precedence over it\n"));
    EXPECT_EQ(CountOf(run.err, "note: "), 1U);
    EXPECT_THAT(Lines(run.err).back(), HasSubstr("3 converted, in "));
}

TEST_F(BatchTest, QuietPrintsOnlyRefusalsAndJsonReportsEveryFile) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = ConvertAll({"--json", "--quiet"});
    EXPECT_THAT(run, Says(1, "bad.tif: is not a TIFF, PNG or JPEG file"));
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
    std::map<std::string, json> by;
    for (const json& told : JsonLines(run.out)) by[told["source"]] = told;
    ASSERT_EQ(by.size(), 4U);
    EXPECT_EQ(by[scans_ + "/bad.tif"]["status"], "refused");
    EXPECT_THAT(by[scans_ + "/bad.tif"]["reason"].get<std::string>(), HasSubstr("is not a TIFF, PNG or JPEG file"));
    for (const std::string name : {"/a.tif", "/b.TIFF"}) {
        const json& told = by[scans_ + name];
        EXPECT_GT(told["seconds"], 0.0);
        const std::string sum = Shell("convert-im6 " + Quoted(out_ + name) + " -endian LSB rgb:- | sha256sum");
        // Pixels with a sample at either end of the range, counted here.
        const Picture after = ReadPictures(out_ + name)[0];
        const unsigned top = after.bits == 8 ? 255 : 65423;  // 16 bits: the curve of 65280
        int clipped = 0;
        for (std::size_t i = 0; i < after.values.size(); i += 3) {
            clipped += std::any_of(&after.values[i], &after.values[i] + 3, [&](auto v) { return v == 0 || v >= top; });
        }
        EXPECT_DOUBLE_EQ(told["clipped"], clipped / (210.0 * 238.0));
        EXPECT_THAT(told, Has({{"status", "converted"},
                               {"output", out_ + name},
                               {"profile", Input("scanner.icc")},
                               {"intent", "perceptual"},
                               {"space", "srgb"},
                               {"pixels", 210 * 238},
                               {"sha256", sum.substr(0, 64)}}));
    }
}

TEST_F(BatchTest, DryRunWritesNothingAndReportsWhatWouldHappen) {
    const std::string shut = folder_ / "shut";
    fs::create_directory(shut);
    fs::permissions(shut, fs::perms::owner_read | fs::perms::owner_exec);
    WriteBytes(folder_ / "file", "no folder");
    const std::pair<std::string, std::string> rows[] = {
        {folder_ / "missing/out.tif", "missing/out.tif: cannot be written (No such file or directory)"},
        {folder_ / "file/out.tif", "file/out.tif: cannot be written (Not a directory)"},
        {shut + "/out.tif", "shut/out.tif: cannot be written (Permission denied)"},
        {shut + "/", "shut/a.tif: cannot be written (Permission denied)"},
        {shut + "/deep/below/", "shut/deep/below: cannot be made (Permission denied); choose another folder with -o"},
        {folder_ / (std::string(300, 'x') + "/"),
         "x/a.tif: cannot be written (File name too long); choose another folder with -o"},
        {folder_ / "file/below/",
         "file/below/a.tif: cannot be written (Not a directory); choose another folder with -o"}};
    for (const auto& [output, reason] : rows) {
        Names said;
        for (const Words& trial : {Words{}, Words{"--dry-run"}}) {
            const Outcome run = ConvertScan(Words{a_, "-o", output} + trial, {.inChild = HeedModes});
            EXPECT_THAT(run, Says(5, reason));
            said.insert(run.err);
        }
        EXPECT_EQ(said.size(), 1U) << "the run and the trial say different things";
    }
    fs::permissions(shut, fs::perms::owner_all);
    EXPECT_EQ(NamesIn(shut), Words{});
    EXPECT_EQ(ConvertScan({a_, "-o", out_ + "/deep/", "--dry-run"}).status, 0);
    WriteBytes(scans_ + "/bad.tif", "bad");
    EXPECT_THAT(ConvertAll({"--dry-run"}),
                Says(1, "would convert " + a_ + " -> " + out_ + "/a.tif (srgb, perceptual, 16 bits, ",
                     "bad.tif: is not a TIFF, PNG or JPEG file", "3 would be converted, 1 refused"));
    EXPECT_FALSE(Exists(out_));
}

TEST_F(BatchTest, AnUnusedNewFolderIsRemoved) {
    const std::string bad = folder_ / "bad", whole = FileBytes(a_);
    const std::size_t part = whole.size() / 4;
    // Its image data are damaged: it is refused after its folder is created.
    WriteBytes(bad + "/deep/a.tif", std::string(whole).replace(part, part, part, '\0'));
    EXPECT_EQ(ConvertScan({bad, "-o", out_ + "/new/er"}).status, 4);
    EXPECT_FALSE(Exists(out_));
    // Folders that existed before stay, and so do folders that are not empty.
    fs::create_directories(out_ + "/new");
    fs::copy_file(a_, bad + "/b.tif");
    EXPECT_EQ(ConvertScan({bad + "/deep", "-o", out_ + "/new/er"}).status, 4);
    EXPECT_EQ(NamesIn(out_), Words{"new"});
    EXPECT_EQ(ConvertScan({bad, "-o", out_ + "/new/er"}).status, 1);
    EXPECT_EQ(NamesIn(out_ + "/new/er"), (Words{".hueweave.jsonl", "b.tif"}));
}

TEST_F(BatchTest, OnATerminalProgressIsShown) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    Shell("convert-im6 " + Quoted(a_) + " -scale 3000x3000! -compress none " + Quoted(scans_ + "/large.tif"));
    const std::string command = ConvertLine("-j 1 --force " + Quoted(scans_) + " -o " + Quoted(out_));
    const auto terminal = [&](const std::string& before) {
        const Outcome run =
            RunProgram({.words = {"script", "-qec", before + command, "/dev/null"}, .setenv = {{"TERM", "xterm"}}});
        EXPECT_EQ(run.status, 1);
        return run.out;
    };
    EXPECT_THAT(terminal(""), AllOf(HasSubstr("\r\033[K"), ContainsRegex("\\[[1-5]/5\\] .*%  total +[0-9]+%"),
                                    HasSubstr("100%"), HasSubstr("\033[31m"), HasSubstr("4 converted, 1 refused")));
    EXPECT_THAT(terminal("NO_COLOR=1 "), Not(HasSubstr("\033[31m")));
    EXPECT_THAT(terminal("TERM=dumb "), Not(HasSubstr("\033")));
}

TEST_F(BatchTest, InPlaceAFolderIsConvertedAndNothingTwice) {
    const Picture before = ReadPictures(a_)[0];
    ASSERT_EQ(ConvertScan({a_, "--in-place"}).status, 0);
    // The state after an interrupted run: one file is done, two are not.
    EXPECT_THAT(ConvertScan({scans_, "--in-place"}),
                Says(0, "a.tif is in srgb already; --source given converts it again", "2 converted, 1 done already"));
    EXPECT_EQ(NamesIn(scans_), (Words{"a.tif", "b.TIFF", "deep", "notes.txt"}));
    ExpectSrgb(scans_ + "/deep/a.tif", Input("photo-8.tif"));
    const Picture once = ToSrgb(before);
    EXPECT_THAT(ReadPictures(a_)[0].values, EqualTo(once.values));
    ASSERT_EQ(ConvertScan({a_, "--in-place", "--source", "given"}).status, 0);
    EXPECT_THAT(ReadPictures(a_)[0].values, EqualTo(ToSrgb(once).values));
    // Without a profile, its own counts: it is converted by --force, with an offset, or to another space.
    const Words own{"convert", "--precision", "library", "--in-place", a_};
    EXPECT_THAT(Hueweave(own), Says(0, "a.tif is in srgb already, by its profile; --force converts it again"));
    for (const Words& more : {Words{"--force"}, Words{"--lightness", "1"}, Words{"--to", "adobe-rgb"}}) {
        EXPECT_THAT(Hueweave(own + more).err, Not(HasSubstr("already")));
    }
}

/// Whether a target is a file or a folder: by what is there, by "/", and by the name of a picture.
struct TargetRow {
    const char* name;
    const char* words;  ///< in the folder of "scans"; "list" names two files of it
    Names outputs;      ///< in this folder; none if it is refused
    std::string refusal{};
};
void PrintTo(const TargetRow& row, std::ostream* out) { *out << row.name; }
class TargetTest : public BatchTest, public testing::WithParamInterface<TargetRow> {};

TEST_P(TargetTest, IsAFileOrAFolder) {
    fs::create_directories(folder_ / "there.tif");
    WriteBytes(folder_ / "file", "old");
    WriteBytes(folder_ / "list", "scans/a.tif\nscans/b.TIFF\n");
    const auto before = NamesIn(folder_.path());
    const std::string line = "cd " + Quoted(folder_.path()) + "; " + ConvertLine(GetParam().words);
    const Outcome run = RunProgram({.words = {"sh", "-c", line}});
    for (const std::string& name : GetParam().outputs) EXPECT_TRUE(fs::is_regular_file(folder_ / name)) << name;
    if (!GetParam().outputs.empty()) {
        EXPECT_THAT(run, Succeeds());
    } else {
        EXPECT_THAT(run, SaysOnly(2, GetParam().refusal));
        EXPECT_EQ(NamesIn(folder_.path()), before);
    }
}

const std::string kNeither = ": is neither a folder nor the name of a picture; name a file such as ";
const std::string kOrEnd = ", or end it in / for a folder";
const std::string kPicture =
    "c.tif: is the name of a picture, but several outputs need a folder; end it in / if it is to be a folder";
const TargetRow kTargets[] = {
    {"OneToAFile", "scans/a.tif -o c.TIFF", {"c.TIFF"}},
    {"OneToAFolderThatIsThere", "scans/a.tif -o there.tif", {"there.tif/a.tif"}},
    {"OneToANewFolder", "scans/a.tif -o new/", {"new/a.tif"}},
    {"OneToANewFolderCalledLikeAPicture", "scans/a.tif -o c.tif/", {"c.tif/a.tif"}},
    {"OneToNeither", "scans/a.tif -o converted", {}, "converted" + kNeither + "converted.tif" + kOrEnd},
    {"OneToAnotherExtension", "scans/a.tif -o c.txt", {}, "c.txt" + kNeither + "c.tif" + kOrEnd},
    {"OneToAFileWithoutExtension", "scans/a.tif -o file --force", {}, "file" + kNeither + "file.tif" + kOrEnd},
    {"TwoToANewFolder", "scans/a.tif scans/b.TIFF -o new", {"new/a.tif", "new/b.TIFF"}},
    {"TwoToAFolderCalledLikeAPicture", "scans/a.tif scans/b.TIFF -o there.tif", {"there.tif/b.TIFF"}},
    {"TwoToAPicture", "scans/a.tif scans/b.TIFF -o c.tif", {}, kPicture},
    {"TwoToAFile", "scans/a.tif scans/b.TIFF -o file", {}, "file: is not a folder; name a folder for several outputs"},
    {"FolderToANewFolder", "scans -o new.d", {"new.d/deep/a.tif"}},
    {"FolderToAPicture", "scans -o c.tif", {}, kPicture},
    {"ListToANewFolder", "--files-from list -o new", {"new/b.TIFF"}},
    {"ListToAPicture", "--files-from list -o c.tif", {}, kPicture},
};
INSTANTIATE_TEST_SUITE_P(Every, TargetTest, testing::ValuesIn(kTargets), NameOfRow);

}  // namespace
}  // namespace hueweave::test
