// SPDX-License-Identifier: MIT
// Batches of files: folders, lists, shards, damaged files among valid ones, and the messages about them.
#include <algorithm>
#include <filesystem>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "batch/inputs/InputList.h"
#include "batch/session/Report.h"
#include "command/support/Batch.h"
#include "command/support/Command.h"
#include "command/support/Picture.h"
#include "support/Matchers.h"
#include "system/StableHash.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

TEST_F(BatchTest, AFolderIsConvertedWithItsSubfoldersAndSaidInPlainLines) {
    const Outcome run = ConvertAll();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
    ExpectSrgb(out_ + "/deep/a.tif", scans_ + "/deep/a.tif");
    EXPECT_THAT(run.err, HasSubstr(scans_ + "/a.tif -> " + out_ + "/a.tif\n"));
    EXPECT_THAT(run.err, HasSubstr("3 converted, in "));
    EXPECT_THAT(run.err, Not(testing::ContainsRegex("[\033\r]")));
    EXPECT_EQ(run.out, "");
}

TEST_F(BatchTest, ResultsInsideTheFolderAreNoInputs) {
    const std::string inside = scans_ + "/converted";
    ASSERT_EQ(ConvertScan({scans_, "-o", inside}).status, 0);
    EXPECT_THAT(ConvertScan({scans_, "-o", inside, "--force"}), Says(0, "3 converted"));
}

TEST_F(BatchTest, LinksInAFolderAreFollowedOnlyWithFollow) {
    const std::string elsewhere = folder_ / "elsewhere";
    fs::create_directory(elsewhere);
    fs::copy_file(scans_ + "/a.tif", elsewhere + "/master.tif");
    fs::create_directory_symlink("..", scans_ + "/deep/up");
    fs::create_directory_symlink(elsewhere, scans_ + "/linked");
    fs::create_symlink(elsewhere + "/master.tif", scans_ + "/m.tif");
    fs::create_symlink("../notes.txt", scans_ + "/deep/notes");
    const Outcome run = ConvertAll();
    EXPECT_THAT(run, Says(0, "hueweave: note: 3 symbolic links were not followed; --follow follows them\n"));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
    EXPECT_EQ(ConvertAll({"--follow", "--force"}).status, 0);
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif", "linked/master.tif", "m.tif"}));
    // In place, nothing outside the folder is written.
    const std::string before = FileBytes(elsewhere + "/master.tif");
    EXPECT_EQ(ConvertScan({scans_, "--in-place"}).status, 0);
    const Outcome followed = ConvertScan({scans_, "--in-place", "--follow", "--force"});
    EXPECT_THAT(followed, Says(1, "/linked/master.tif: is outside of " + scans_ + ", reached through a link"));
    EXPECT_EQ(FileBytes(elsewhere + "/master.tif"), before);
    // Files that are reached only through links.
    EXPECT_THAT(ConvertScan({elsewhere, "-o", out_}), Succeeds());
    fs::remove(elsewhere + "/master.tif");
    fs::create_symlink(scans_ + "/a.tif", elsewhere + "/a.tif");
    EXPECT_THAT(ConvertScan({elsewhere, "-o", out_}), Refuses(4, "follow its symbolic links with --follow"));
}

TEST_F(BatchTest, HiddenFilesAreConvertedOnlyIfNamed) {
    fs::copy_file(scans_ + "/a.tif", scans_ + "/._a.tif");
    fs::create_directory(scans_ + "/.trash");
    fs::copy_file(scans_ + "/a.tif", scans_ + "/.trash/b.tif");
    EXPECT_EQ(ConvertAll().status, 0);
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
    EXPECT_THAT(ConvertScan({scans_ + "/._a.tif", "-o", out_}), Succeeds());
    EXPECT_TRUE(Exists(out_ + "/._a.tif"));
}

TEST_F(BatchTest, NothingInAFolderIsLeftOutUnsaid) {
    const std::string elsewhere = folder_ / "elsewhere";
    fs::create_directory(elsewhere);
    fs::rename(scans_ + "/deep/a.tif", elsewhere + "/c.tif");
    fs::create_directory_symlink(elsewhere, scans_ + "/linked");
    fs::create_directory_symlink(scans_, scans_ + "/deep/round");
    fs::create_symlink("nowhere.tif", scans_ + "/dangling.tif");
    fs::create_directory(scans_ + "/shut");
    fs::permissions(scans_ + "/shut", fs::perms::none);
    const Outcome run = ConvertAll({"--follow"}, {.inChild = HeedModes});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "linked/c.tif"})) << run.err;
    EXPECT_THAT(run.err, HasSubstr("scans/dangling.tif: cannot be read (No such file or directory)"));
    EXPECT_THAT(run.err, HasSubstr("scans/shut: cannot be read (Permission denied); check its permissions"));
    EXPECT_THAT(run.err, HasSubstr("3 converted, 2 refused"));
    fs::permissions(scans_ + "/shut", fs::perms::owner_all);
}

TEST_F(BatchTest, BrokenFilesDoNotStopTheOthers) {
    Copy("good", 12);
    const std::string bytes = FileBytes(scans_ + "/a.tif");
    for (std::size_t i = 0; i < 5; ++i) {
        WriteBytes(scans_ + "/bad" + std::to_string(i) + ".tif", bytes.substr(0, bytes.size() / 6 * i));
    }
    EXPECT_THAT(ConvertAll({"-j", "8"}), Says(1, "15 converted, 5 refused, in "));
    EXPECT_EQ(Outputs().size(), 15U);
    for (int i = 0; i < 12; ++i) ExpectSrgb(out_ + "/good" + std::to_string(i) + ".tif", scans_ + "/a.tif");
    for (const std::string& name : NamesIn(out_)) EXPECT_THAT(name, Not(testing::ContainsRegex("bad|[.]tmp")));
}

TEST_F(BatchTest, OneRefusedInputOfOneGivesItsOwnStatus) {
    EXPECT_EQ(ConvertScan({scans_ + "/missing.tif", "-o", out_ + "/"}).status, 4);
    EXPECT_EQ(ConvertScan({scans_ + "/missing.tif", scans_ + "/a.tif", "-o", out_}).status, 1);
    EXPECT_EQ(Outputs(), Names{"a.tif"});
}

TEST_F(BatchTest, ListsOfNamesEndInLinesOrZeros) {
    const std::string list = folder_ / "list", odd = scans_ + "/new\nline.tif";
    fs::copy_file(scans_ + "/a.tif", odd);
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
    const Outcome run = ConvertScan({odd, "-o", out_ + "/"});
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
}

TEST_F(BatchTest, TwoInputsForOneOutput) {
    EXPECT_THAT(ConvertScan({scans_ + "/a.tif", scans_ + "/deep/a.tif", "-o", out_}), Says(1, "rename one of them"));
    EXPECT_EQ(Outputs(), (Names{"a.tif"}));
}

TEST_F(BatchTest, ShardsAreTheWholeAndShareNothing) {
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
    // An empty shard is reported.
    std::multiset<std::string> said;
    for (const char* shard : {"1/2", "2/2"}) {
        const Outcome run = ConvertScan({scans_ + "/deep", "-o", out_, "--shard", shard});
        EXPECT_EQ(run.status, 0);
        said.insert(Lines(run.err).back().substr(0, 11));
    }
    EXPECT_EQ(said, (std::multiset<std::string>{"0 converted", "1 converted"}));
}

TEST_F(BatchTest, NamesThatAreNoUtf8AreNamesLikeOthers) {
    // File names that end in a Latin-1 letter.
    const std::string one = scans_ + "/caf\xe9.tif", two = scans_ + "/caf\xe8.tif";
    fs::copy_file(scans_ + "/a.tif", one);
    fs::copy_file(scans_ + "/a.tif", two);
    WriteBytes(scans_ + "/bad\xff.tif", "bad");
    const Outcome run = ConvertAll({"--json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Outputs().count("caf\xe9.tif"), 1U);
    const auto hex = [](const std::string& text) {
        std::ostringstream digits;
        for (const char byte : text) digits << std::hex << std::setw(2) << std::setfill('0') << (byte & 0xff);
        return digits.str();
    };
    std::map<std::string, json> by;
    for (const std::string& line : Lines(run.out)) {
        const json told = json::parse(line);
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

TEST_F(BatchTest, NotesThatManyFilesShareAreSaidOnce) {
    for (const char* name : {"/a.tif", "/b.TIFF", "/deep/a.tif"}) {
        Shell("tiffset -u 318 " + Quoted(scans_ + name) + "; tiffset -u 319 " + Quoted(scans_ + name));
    }
    for (const char* name : {"/a.tif", "/deep/a.tif"}) Shell("tiffset -s 318 0.3 0.3 " + Quoted(scans_ + name));
    const Outcome run = ConvertAll();
    EXPECT_EQ(run.status, 0) << run.err;
    Words notes;
    for (const std::string& line : Lines(run.err)) {
        if (line.find("note: ") != std::string::npos) notes.push_back(line);
    }
    EXPECT_EQ(notes, (Words{"hueweave: note: in 2 files the tag of the old colours (318) stays; the "
                            "embedded profile takes precedence over it"}));
    EXPECT_THAT(Lines(run.err).back(), HasSubstr("3 converted, in "));
}

TEST_F(BatchTest, JsonTellsOfEveryFile) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = ConvertAll({"--json", "--quiet"});
    EXPECT_EQ(run.status, 1);
    std::map<std::string, json> by;
    for (const std::string& line : Lines(run.out)) {
        const json told = json::parse(line);
        by[told["source"]] = told;
    }
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
        const json wanted{{"source", scans_ + name}, {"status", "converted"},
                          {"output", out_ + name},   {"profile", Input("scanner.icc")},
                          {"intent", "perceptual"},  {"space", "srgb"},
                          {"pixels", 210 * 238},     {"sha256", sum.substr(0, 64)}};
        for (const auto& [key, value] : wanted.items()) EXPECT_EQ(told[key], value) << name << key;
    }
}

TEST_F(BatchTest, DryRunWritesNothingAndTellsWhatWouldHappen) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = ConvertAll({"--dry-run"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(Exists(out_));
    EXPECT_THAT(run.err,
                HasSubstr("would convert " + scans_ + "/a.tif -> " + out_ + "/a.tif (srgb, perceptual, 16 bits, "));
    EXPECT_THAT(run.err, HasSubstr("bad.tif: is not a TIFF, PNG or JPEG file"));
    EXPECT_THAT(run.err, HasSubstr("3 would be converted, 1 refused"));
}

TEST_F(BatchTest, DryRunRefusesAFolderThatARunWouldRefuse) {
    const std::string shut = folder_ / "shut", in = scans_ + "/a.tif";
    fs::create_directory(shut);
    fs::permissions(shut, fs::perms::owner_read | fs::perms::owner_exec);
    WriteBytes(folder_ / "file", "no folder");
    const std::vector<std::pair<std::string, std::string>> rows{
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
            const Outcome run = ConvertScan(Words{in, "-o", output} + trial, {.inChild = HeedModes});
            EXPECT_THAT(run, Says(5, reason));
            said.insert(run.err);
        }
        EXPECT_EQ(said.size(), 1U) << "the run and the trial say different things";
    }
    fs::permissions(shut, fs::perms::owner_all);
    EXPECT_EQ(NamesIn(shut), Words{});
    EXPECT_EQ(ConvertScan({in, "-o", out_ + "/deep/", "--dry-run"}).status, 0);
    EXPECT_FALSE(Exists(out_));
}

TEST_F(BatchTest, AFolderThatWasMadeForNothingIsRemoved) {
    const std::string bad = folder_ / "bad";
    fs::create_directories(bad + "/deep");
    // Its image data are damaged: it is refused after its folder is created.
    Shell("tiffcp -c zip " + Quoted(scans_ + "/a.tif") + " " + Quoted(bad + "/deep/a.tif"));
    std::string bytes = FileBytes(bad + "/deep/a.tif");
    std::fill(bytes.begin() + static_cast<long>(bytes.size() / 4), bytes.begin() + static_cast<long>(bytes.size() / 2),
              '\0');
    WriteBytes(bad + "/deep/a.tif", bytes);
    EXPECT_EQ(ConvertScan({bad, "-o", out_ + "/new/er"}).status, 4);
    EXPECT_FALSE(Exists(out_));
    // Folders that existed before stay, and so do folders that are not empty.
    fs::create_directories(out_ + "/new");
    fs::copy_file(scans_ + "/a.tif", bad + "/b.tif");
    EXPECT_EQ(ConvertScan({bad + "/deep", "-o", out_ + "/new/er"}).status, 4);
    EXPECT_EQ(NamesIn(out_), Words{"new"});
    EXPECT_EQ(ConvertScan({bad, "-o", out_ + "/new/er"}).status, 1);
    EXPECT_EQ(NamesIn(out_ + "/new/er"), (Words{".hueweave.jsonl", "b.tif"}));
}

TEST_F(BatchTest, QuietSaysNothingButRefusals) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = ConvertAll({"--quiet"});
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
    EXPECT_THAT(run.err, HasSubstr("bad.tif: is not a TIFF, PNG or JPEG file"));
    EXPECT_EQ(run.out, "");
}

TEST_F(BatchTest, OnATerminalProgressIsShown) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    Shell("convert-im6 " + Quoted(scans_ + "/a.tif") + " -scale 3000x3000! -compress none " +
          Quoted(scans_ + "/large.tif"));
    const std::string command = ConvertLine("-j 1 --force " + Quoted(scans_) + " -o " + Quoted(out_));
    const auto terminal = [&](const std::string& before) {
        const Outcome run =
            RunProgram({.words = {"script", "-qec", before + command, "/dev/null"}, .setenv = {{"TERM", "xterm"}}});
        EXPECT_EQ(run.status, 1);
        return run.out;
    };
    const std::string coloured = terminal("");
    EXPECT_THAT(coloured, HasSubstr("\r\033[K"));
    EXPECT_THAT(coloured, testing::ContainsRegex("\\[[1-5]/5\\] .*%  total +[0-9]+%"));
    EXPECT_THAT(coloured, HasSubstr("100%"));
    EXPECT_THAT(coloured, HasSubstr("\033[31m"));
    EXPECT_THAT(coloured, HasSubstr("4 converted, 1 refused"));
    EXPECT_THAT(terminal("NO_COLOR=1 "), Not(HasSubstr("\033[31m")));
    EXPECT_THAT(terminal("TERM=dumb "), Not(HasSubstr("\033")));
}

TEST_F(BatchTest, InPlaceAFolderIsConvertedAndNothingTwice) {
    const Picture before = ReadPictures(scans_ + "/a.tif")[0];
    ASSERT_EQ(ConvertScan({scans_ + "/a.tif", "--in-place"}).status, 0);
    // The state after an interrupted run: one file is done, two are not.
    const Outcome again = ConvertScan({scans_, "--in-place"});
    EXPECT_THAT(again, Says(0, "a.tif is in srgb already; --source given converts it again"));
    EXPECT_THAT(again.err, HasSubstr("2 converted, 1 done already"));
    EXPECT_EQ(NamesIn(scans_), (Words{"a.tif", "b.TIFF", "deep", "notes.txt"}));
    ExpectSrgb(scans_ + "/deep/a.tif", Input("photo-8.tif"));
    const Picture once = ToSrgb(before);
    EXPECT_THAT(ReadPictures(scans_ + "/a.tif")[0].values, EqualTo(once.values));
    ASSERT_EQ(ConvertScan({scans_ + "/a.tif", "--in-place", "--source", "given"}).status, 0);
    EXPECT_THAT(ReadPictures(scans_ + "/a.tif")[0].values, EqualTo(ToSrgb(once).values));
    // Without a profile, its own counts: it is converted by --force, with an offset, or to another space.
    const Words own{"convert", "--precision", "library", "--in-place", scans_ + "/a.tif"};
    EXPECT_THAT(Hueweave(own), Says(0, "a.tif is in srgb already, by its profile; --force converts it again"));
    for (const Words& more : {Words{"--force"}, Words{"--lightness", "1"}, Words{"--to", "adobe-rgb"}}) {
        EXPECT_THAT(Hueweave(own + more).err, Not(HasSubstr("already")));
    }
}

TEST(StableHashTest, IsTheSameOnEveryMachine) {
    // FNV-1a of "" and of "a" are published: cbf29ce484222325 and af63dc4c8601ec8c.
    EXPECT_EQ(tool::StableHash(""), 0xcbf29ce484222325U ^ 0xcbf29ce4U);
    EXPECT_EQ(tool::StableHash("a"), 0xaf63dc4c8601ec8cU ^ 0xaf63dc4cU);
}

/// The messages of a report with these notes.
std::string Noted(const std::vector<std::string>& notes) {
    testing::internal::CaptureStderr();
    {
        tool::Report report(false, false);
        for (const std::string& note : notes) report.Note(note);
    }
    return testing::internal::GetCapturedStderr();
}

TEST(ReportTest, RemembersABoundedNumberOfNotes) {
    std::vector<std::string> notes{"first"};
    for (int n = 1; n < 4095; ++n) notes.push_back(std::to_string(n));
    notes.emplace_back("first");
    EXPECT_EQ(Lines(Noted(notes)).size(), 4095U) << "a note is not repeated";
    notes.emplace_back("the last one that is remembered");
    notes.emplace_back("first");
    const std::vector<std::string> lines = Lines(Noted(notes));
    EXPECT_EQ(lines.size(), 4097U);
    EXPECT_EQ(lines.back(), "hueweave: note: first");
}

TEST(ProgressLineTest, FitsTheTerminal) {
    EXPECT_EQ(tool::ProgressLine("scan.tif", 3, 40, 0.456, 0.12, 130, 80),
              "[3/40] scan.tif  46%  total  12%  2:10 left");
    EXPECT_EQ(tool::ProgressLine("scan.tif", 1, 1, 0.5, 0.5, -1, 80), "scan.tif  50%");
    for (std::size_t columns = 0; columns < 60; ++columns) {
        EXPECT_LE(tool::ProgressLine("a/very/long/path/to/scan.tif", 1, 9, 0.5, 0.5, 9, columns).size(), columns);
    }
    EXPECT_EQ(tool::ProgressLine("a/very/long/path/to/scan.tif", 1, 1, 0.5, 0.5, -1, 20), "...to/scan.tif  50%");
    // A name is never cut inside a character.
    EXPECT_EQ(tool::ProgressLine("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9", 1, 1, 0.5, 0.5, -1, 15),
              "...\u00e9\u00e9\u00e9  50%");
    EXPECT_EQ(tool::Duration(59.4), "0:59");
    EXPECT_EQ(tool::Duration(3725), "1:02:05");
}

}  // namespace
}  // namespace hueweave::test
