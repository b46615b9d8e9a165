// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Many files: folders, lists, shards, broken files among good ones, and what is said about it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "command/support/Batch.h"
#include "command/support/Command.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

TEST_F(BatchTest, AFolderIsConvertedWithItsSubfolders) {
    const Outcome run = Convert({scans_, "-o", out_});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "deep/a.tif"}));
    EXPECT_THAT(run.err, HasSubstr("3 converted, in "));
    EXPECT_EQ(run.out, "");
    const Picture before = ReadPictures(scans_ + "/deep/a.tif")[0];
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 8).values, ReadPictures(out_ + "/deep/a.tif")[0].values);
}

TEST_F(BatchTest, ResultsInsideTheFolderAreNoInputs) {
    const std::string inside = scans_ + "/converted";
    ASSERT_EQ(Convert({scans_, "-o", inside}).status, 0);
    const Outcome again = Convert({scans_, "-o", inside, "--force"});
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.err, HasSubstr("3 converted"));
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
    const Outcome run = RunProgram(
        {{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), scans_, "-o", out_}, "", {}, HeedModes, {}});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "linked/c.tif"})) << run.err;
    EXPECT_THAT(run.err, HasSubstr("scans/dangling.tif: cannot be read (No such file or directory)"));
    EXPECT_THAT(run.err, HasSubstr("scans/shut: cannot be read (Permission denied); check its permissions"));
    EXPECT_THAT(run.err, HasSubstr("3 converted, 2 refused"));
    fs::permissions(scans_ + "/shut", fs::perms::owner_all);
}

TEST_F(BatchTest, BrokenFilesDoNotStopTheOthers) {
    for (int i = 0; i < 12; ++i) fs::copy_file(scans_ + "/a.tif", scans_ + "/good" + std::to_string(i) + ".tif");
    const std::string bytes = FileBytes(scans_ + "/a.tif");
    for (int i = 0; i < 5; ++i) {
        WriteBytes(scans_ + "/bad" + std::to_string(i) + ".tif",
                   bytes.substr(0, bytes.size() / 6 * static_cast<size_t>(i)));
    }
    const Outcome run = Convert({scans_, "-o", out_, "-j", "8"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("15 converted, 5 refused, in "));
    const auto names = Outputs();
    EXPECT_EQ(names.size(), 15U);
    for (const std::string& name : names) EXPECT_THAT(name, Not(HasSubstr("bad")));
    const Picture wanted = ByEngine(ReadPictures(scans_ + "/a.tif")[0], Input("scanner.icc"), 0, 9);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(ReadPictures(out_ + "/good" + std::to_string(i) + ".tif")[0].values, wanted.values);
    }
    for (const std::string& name : NamesIn(out_)) EXPECT_THAT(name, Not(HasSubstr(".tmp")));
}

TEST_F(BatchTest, OneRefusedInputOfOneGivesItsOwnStatus) {
    EXPECT_EQ(Convert({scans_ + "/missing.tif", "-o", out_ + "/"}).status, 4);
    EXPECT_EQ(Convert({scans_ + "/missing.tif", scans_ + "/a.tif", "-o", out_}).status, 1);
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif"}));
}

TEST_F(BatchTest, ListsOfNamesEndInLinesOrZeros) {
    const std::string list = folder_ / "list", odd = scans_ + "/new\nline.tif";
    fs::copy_file(scans_ + "/a.tif", odd);
    WriteBytes(list, scans_ + "/a.tif\n\n" + scans_ + "/b.TIFF\n");
    EXPECT_EQ(Convert({"--files-from", list, "-o", out_}).status, 0);
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF"}));
    // Lines may end as on other systems; a list of nothing is no success.
    WriteBytes(list, scans_ + "/a.tif\r\n");
    EXPECT_EQ(Convert({"--files-from", list, "--force", "-o", out_}).status, 0);
    WriteBytes(list, "\n");
    const Outcome none = Convert({"--files-from", list, "-o", out_});
    EXPECT_EQ(none.status, 4);
    EXPECT_THAT(none.err, HasSubstr("names no files"));
    const std::string line = "find " + Quoted(scans_) +
                             " -maxdepth 1 -iname '*.tif*' -print0 | " HUEWEAVE_COMMAND " convert --profile " +
                             Quoted(Input("scanner.icc")) + " --files-from - -0 --force -o " + Quoted(out_);
    Shell(line);
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "new\nline.tif"}));
    // A name with a line break is shown on one line.
    const Outcome run = Convert({odd, "-o", out_ + "/"});
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
}

TEST_F(BatchTest, TwoInputsForOneOutput) {
    const Outcome run = Convert({scans_ + "/a.tif", scans_ + "/deep/a.tif", "-o", out_});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("rename one of them"));
    EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif"}));
}

TEST_F(BatchTest, ShardsAreTheWholeAndShareNothing) {
    for (int i = 0; i < 20; ++i) fs::copy_file(scans_ + "/b.TIFF", scans_ + "/n" + std::to_string(i) + ".tif");
    std::set<std::string> all;
    std::size_t sum = 0;
    for (const char* shard : {"1/3", "2/3", "3/3"}) {
        ASSERT_EQ(Convert({scans_, "-o", out_, "--shard", shard}).status, 0);
        const auto names = Outputs();
        EXPECT_GE(names.size(), 3U) << "a shard is far too small";
        sum += names.size();
        all.insert(names.begin(), names.end());
        fs::remove_all(out_);
    }
    EXPECT_EQ(sum, 23U);
    EXPECT_EQ(all.size(), 23U);
}

TEST_F(BatchTest, NamesThatAreNoUtf8AreNamesLikeOthers) {
    // The last letter in Latin-1, and its like.
    const std::string one = scans_ + "/caf\xe9.tif", two = scans_ + "/caf\xe8.tif";
    fs::copy_file(scans_ + "/a.tif", one);
    fs::copy_file(scans_ + "/a.tif", two);
    WriteBytes(scans_ + "/bad\xff.tif", "bad");
    const Outcome run = Convert({scans_, "-o", out_, "--json"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Outputs().count("caf\xe9.tif"), 1U);
    const auto hex = [](const std::string& text) {
        std::string digits;
        for (const char c : text) {
            char two_[3];
            std::snprintf(two_, sizeof two_, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            digits += two_;
        }
        return digits;
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
    const Outcome again = Convert({scans_, "-o", out_, "--resume"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_THAT(again.err, HasSubstr("0 converted, 5 done already"));
}

TEST_F(BatchTest, NotesThatManyFilesShareAreSaidOnce) {
    for (const char* name : {"/a.tif", "/b.TIFF", "/deep/a.tif"}) {
        Shell("tiffset -u 318 " + Quoted(scans_ + name) + "; tiffset -u 319 " + Quoted(scans_ + name));
    }
    for (const char* name : {"/a.tif", "/deep/a.tif"}) Shell("tiffset -s 318 0.3 0.3 " + Quoted(scans_ + name));
    const Outcome run = Convert({scans_, "-o", out_});
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<std::string> notes;
    for (const std::string& line : Lines(run.err)) {
        if (line.find("note: ") != std::string::npos) notes.push_back(line);
    }
    EXPECT_EQ(notes, (std::vector<std::string>{"hueweave: note: in 2 files the tag of the old colours (318) stays; the "
                                               "embedded profile takes precedence over it"}));
    EXPECT_THAT(Lines(run.err).back(), HasSubstr("3 converted, in "));
}

TEST_F(BatchTest, JsonTellsOfEveryFile) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = Convert({scans_, "-o", out_, "--json", "--quiet"});
    EXPECT_EQ(run.status, 1);
    std::map<std::string, json> by;
    for (const std::string& line : Lines(run.out)) {
        const json told = json::parse(line);
        by[told["source"]] = told;
    }
    ASSERT_EQ(by.size(), 4U);
    EXPECT_EQ(by[scans_ + "/bad.tif"]["status"], "refused");
    EXPECT_THAT(by[scans_ + "/bad.tif"]["reason"].get<std::string>(), HasSubstr("is not a TIFF file"));
    for (const auto& [name, format] :
         {std::pair{"/a.tif", "rgb:- | sha256sum"}, std::pair{"/b.TIFF", "rgb:- | sha256sum"}}) {
        const json& told = by[scans_ + name];
        EXPECT_EQ(told["status"], "converted");
        EXPECT_EQ(told["output"], out_ + name);
        EXPECT_EQ(told["profile"], Input("scanner.icc"));
        EXPECT_EQ(told["intent"], "perceptual");
        EXPECT_EQ(told["space"], "srgb");
        EXPECT_EQ(told["pixels"], 210 * 238);
        EXPECT_GT(told["seconds"], 0.0);
        const std::string sum = Shell("convert-im6 " + Quoted(out_ + name) + " -endian LSB " + format);
        EXPECT_EQ(told["sha256"], sum.substr(0, 64)) << name;
        // Pixels with a sample at an end, counted by hand.
        const Picture after = ReadPictures(out_ + name)[0];
        const unsigned top = after.bits == 8 ? 255 : 65423;  // 16 bits: the curve of 65280
        std::size_t clipped = 0;
        for (std::size_t i = 0; i < after.values.size(); i += 3) {
            bool any = false;
            for (std::size_t c = 0; c < 3; ++c) any = any || after.values[i + c] == 0 || after.values[i + c] >= top;
            clipped += any;
        }
        EXPECT_DOUBLE_EQ(told["clipped"], static_cast<double>(clipped) / (210 * 238));
    }
}

TEST_F(BatchTest, TheSumOfPixelsDoesNotDependOnLayout) {
    std::set<std::string> sums;
    for (const char* recipe : {"tiffcp -s -c none -r 7", "tiffcp -B -s -c lzw:2 -r 16", "tiffcp -8 -s -c zip -r 238"}) {
        const std::string in = folder_ / "kind.tif", out = folder_ / "out.tif";
        Shell(std::string(recipe) + " " + Quoted(Input("photo-16.tif")) + " " + Quoted(in));
        sums.insert(json::parse(Convert({in, "-o", out, "--force", "--json"}).out)["sha256"].get<std::string>());
    }
    EXPECT_EQ(sums.size(), 1U);
}

TEST_F(BatchTest, DryRunWritesNothingAndTellsWhatWouldHappen) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = Convert({scans_, "-o", out_, "--dry-run"});
    EXPECT_EQ(run.status, 1);
    EXPECT_FALSE(Exists(out_));
    EXPECT_THAT(run.err,
                HasSubstr("would convert " + scans_ + "/a.tif -> " + out_ + "/a.tif (srgb, perceptual, 16 bits, "));
    EXPECT_THAT(run.err, HasSubstr("bad.tif: is not a TIFF file"));
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
        {folder_ / "file/below/",
         "file/below/a.tif: cannot be written (Not a directory); choose another folder with -o"}};
    for (const auto& [output, reason] : rows) {
        std::set<std::string> said;
        for (const bool dry : {false, true}) {
            std::vector<std::string> words{
                HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), in, "-o", output};
            if (dry) words.push_back("--dry-run");
            const Outcome run = RunProgram({words, "", {}, HeedModes, {}});
            EXPECT_EQ(run.status, 5) << run.err;
            EXPECT_THAT(run.err, HasSubstr(reason));
            said.insert(run.err);
        }
        EXPECT_EQ(said.size(), 1U) << "the run and the trial say different things";
    }
    fs::permissions(shut, fs::perms::owner_all);
    EXPECT_EQ(NamesIn(shut), std::vector<std::string>{});
    EXPECT_EQ(Convert({in, "-o", out_ + "/deep/", "--dry-run"}).status, 0);
    EXPECT_FALSE(Exists(out_));
}

TEST_F(BatchTest, AFolderThatWasMadeForNothingIsRemoved) {
    const std::string bad = folder_ / "bad";
    fs::create_directories(bad + "/deep");
    // Damaged in its image data: refused after the folder was made.
    Shell("tiffcp -c zip " + Quoted(scans_ + "/a.tif") + " " + Quoted(bad + "/deep/a.tif"));
    std::string bytes = FileBytes(bad + "/deep/a.tif");
    std::fill(bytes.begin() + static_cast<long>(bytes.size() / 4), bytes.begin() + static_cast<long>(bytes.size() / 2),
              '\0');
    WriteBytes(bad + "/deep/a.tif", bytes);
    EXPECT_EQ(Convert({bad, "-o", out_ + "/new/er"}).status, 1);
    EXPECT_FALSE(Exists(out_));
    // What was there before stays, and what holds something.
    fs::create_directories(out_ + "/new");
    fs::copy_file(scans_ + "/a.tif", bad + "/b.tif");
    EXPECT_EQ(Convert({bad + "/deep", "-o", out_ + "/new/er"}).status, 1);
    EXPECT_EQ(NamesIn(out_), std::vector<std::string>{"new"});
    EXPECT_EQ(Convert({bad, "-o", out_ + "/new/er"}).status, 1);
    EXPECT_EQ(NamesIn(out_ + "/new/er"), (std::vector<std::string>{".hueweave.jsonl", "b.tif"}));
}

TEST_F(BatchTest, QuietSaysNothingButRefusals) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    const Outcome run = Convert({scans_, "-o", out_, "--quiet"});
    EXPECT_EQ(Lines(run.err).size(), 1U) << run.err;
    EXPECT_THAT(run.err, HasSubstr("bad.tif: is not a TIFF file"));
    EXPECT_EQ(run.out, "");
}

TEST_F(BatchTest, AwayFromATerminalLinesArePlain) {
    const Outcome run = Convert({scans_, "-o", out_});
    EXPECT_THAT(run.err, HasSubstr(scans_ + "/a.tif -> " + out_ + "/a.tif\n"));
    EXPECT_THAT(run.err, Not(HasSubstr("\033")));
    EXPECT_THAT(run.err, Not(HasSubstr("\r")));
}

TEST_F(BatchTest, OnATerminalProgressIsShown) {
    WriteBytes(scans_ + "/bad.tif", "bad");
    Shell("convert-im6 " + Quoted(scans_ + "/a.tif") + " -scale 3000x3000! -compress none " +
          Quoted(scans_ + "/large.tif"));
    const std::string command = std::string(HUEWEAVE_COMMAND) + " convert --profile " + Quoted(Input("scanner.icc")) +
                                " -j 1 --force " + Quoted(scans_) + " -o " + Quoted(out_);
    const auto terminal = [&](const std::string& before) {
        const Outcome run =
            RunProgram({{"script", "-qec", before + command, "/dev/null"}, "", {{"TERM", "xterm"}}, {}, {}});
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

TEST_F(BatchTest, InPlaceConvertsAWholeFolder) {
    const Picture before = ReadPictures(scans_ + "/a.tif")[0];
    ASSERT_EQ(Convert({scans_, "--in-place"}).status, 0);
    EXPECT_EQ(ByEngine(before, Input("scanner.icc"), 0, 9).values, ReadPictures(scans_ + "/a.tif")[0].values);
    EXPECT_EQ(NamesIn(scans_), (std::vector<std::string>{"a.tif", "b.TIFF", "deep", "notes.txt"}));
}

TEST_F(BatchTest, InPlaceNothingIsConvertedTwice) {
    const Picture before = ReadPictures(scans_ + "/a.tif")[0];
    ASSERT_EQ(Convert({scans_ + "/a.tif", "--in-place"}).status, 0);
    // As after a run that was stopped: one file is done, two are not.
    const Outcome again = Convert({scans_, "--in-place"});
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.err, HasSubstr("a.tif is in srgb already, by its profile; --force converts it again"));
    EXPECT_THAT(again.err, HasSubstr("2 converted, 1 done already"));
    const Picture once = ByEngine(before, Input("scanner.icc"), 0, 9);
    EXPECT_EQ(once.values, ReadPictures(scans_ + "/a.tif")[0].values);
    // To another space, with a shift, or by force it is a conversion like any other.
    ASSERT_EQ(Convert({scans_ + "/a.tif", "--in-place", "--force"}).status, 0);
    const Picture twice = ByEngine(once, Input("scanner.icc"), 0, 9);
    EXPECT_EQ(twice.values, ReadPictures(scans_ + "/a.tif")[0].values);
    EXPECT_THAT(Convert({scans_ + "/a.tif", "--in-place", "--lightness", "1"}).err, Not(HasSubstr("already")));
    EXPECT_THAT(Convert({scans_ + "/a.tif", "--in-place", "--to", "adobe-rgb"}).err, Not(HasSubstr("already")));
}

TEST_F(BatchTest, AnEmptyShardIsSaid) {
    fs::create_directory(folder_ / "one");
    fs::copy_file(scans_ + "/a.tif", folder_ / "one/a.tif");
    std::multiset<std::string> said;
    for (const char* shard : {"1/2", "2/2"}) {
        const Outcome run = Convert({folder_ / "one", "-o", out_, "--shard", shard});
        EXPECT_EQ(run.status, 0);
        said.insert(Lines(run.err).back().substr(0, 11));
    }
    EXPECT_EQ(said, (std::multiset<std::string>{"0 converted", "1 converted"}));
}

TEST_F(BatchTest, HelpAndVersion) {
    const Outcome help = Hueweave({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("Examples:"));
    EXPECT_THAT(help.out, HasSubstr("Exit status: 0 all done"));
    for (const char* command : {"convert", "inspect", "bake", "verify", "spaces"}) {
        EXPECT_THAT(help.out, HasSubstr(command));
        EXPECT_EQ(Hueweave({command, "--help"}).status, 0);
    }
    const Outcome version = Hueweave({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, testing::MatchesRegex("hueweave [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace hueweave::test
