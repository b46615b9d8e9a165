// SPDX-License-Identifier: MIT
// Runs over parts of the same files: `hueweave status` over their records, names with subfolders in a list, and what
// is recognised by its size and time.
#include <fmt/format.h>

#include <fstream>

#include "batch/record/RecordFiles.h"
#include "command/support/Batch.h"
#include "command/support/Json.h"

namespace hueweave::test {
namespace {

using testing::StartsWith;

class StatusTest : public BatchTest {
protected:
    json StatusOf(const Words& more = {}) const { return Told(Words{"status", out_} + more); }
    Words List(const std::string& which) const {
        const std::string names = Hueweave({"status", out_, scans_, "--list", which, "-0"}).out;
        Words list;
        for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) list.emplace_back(&names[at]);
        return list;
    }
};

TEST_F(StatusTest, CountsTheFilesOfAllPartsWithTheirReasons) {
    // Six files, of which one is cut off.
    Copy("n", 2);
    const std::string whole = FileBytes(a_);
    WriteBytes(scans_ + "/cut.tif", whole.substr(0, whole.size() / 2));
    EXPECT_THAT(Hueweave({"status", out_}),
                SaysOnly(5, out_ + ": is not a folder; name the output folder of the runs"));
    EXPECT_NE(ConvertAll({"--shard", "1/2", "-q"}).status, 2);
    EXPECT_THAT(Hueweave({"status", out_, scans_ + "s"}),
                SaysOnly(4, scans_ + "s: does not exist; name the inputs of the runs"));
    const json status = StatusOf({scans_});
    EXPECT_EQ(status["total"], 6);
    EXPECT_GT(status["left"], 0);
    EXPECT_EQ(status["done"].get<int>() + status["failed"].get<int>() + status["left"].get<int>(), 6);
    EXPECT_EQ(List("left").size(), status["left"].get<std::size_t>());
    // Without the inputs, the total is that of the part, twice.
    EXPECT_TRUE(StatusOf()["estimated"]);
    EXPECT_NE(ConvertAll({"--shard", "2/2", "-q"}).status, 2);
    std::uintmax_t bytes = 0;
    for (const std::string& name : Outputs()) bytes += fs::file_size(out_ + "/" + name);
    const json all = StatusOf();
    const json counts{{"done", 5}, {"failed", 1}, {"left", 0}, {"estimated", false}, {"pixels", 5 * 210 * 238}};
    EXPECT_THAT(all, AllOf(Has(counts), Has({{"bytes", bytes}})));
    ASSERT_EQ(all["reasons"].size(), 1U);
    EXPECT_THAT(all["reasons"][0], Has({{"files", 1}, {"first", scans_ + "/cut.tif"}}));
    EXPECT_EQ(List("failed"), Words{scans_ + "/cut.tif"});
    EXPECT_EQ(List("left"), Words{});
    EXPECT_THAT(Hueweave({"status", out_}).out, StartsWith("5 done, 1 failed, 0 left of 6\n"));
    // With another format, the outputs have other names.
    fs::create_directory(folder_ / "png");
    ASSERT_EQ(ConvertScan({a_, "--format", "png", "-o", folder_ / "png"}).status, 0);
    EXPECT_THAT(Hueweave({"status", folder_ / "png", a_, "--format", "png"}).out,
                StartsWith("1 done, 0 failed, 0 left of 1\n"));
    // When the file is whole, it is done by the next run, and an output that was removed is left.
    fs::copy_file(a_, scans_ + "/cut.tif", fs::copy_options::overwrite_existing);
    EXPECT_THAT(ConvertAll({"--resume=fast"}), Says(0, "1 converted, 5 done already"));
    fs::remove(out_ + "/n1.tif");
    EXPECT_THAT(StatusOf({scans_}), Has({{"done", 5}, {"failed", 0}}));
    EXPECT_EQ(List("left"), Words{scans_ + "/n1.tif"});
}

TEST_F(StatusTest, AFailureBeforeTheFirstOutputCounts) {
    WriteBytes(scans_ + "/0.tif", "no picture");
    for (const char* option : {"--verbose", "--no-sandbox"}) {
        EXPECT_EQ(ConvertAll({"-j", "1", option}).status, 1);
        EXPECT_EQ(StatusOf({scans_})["failed"], 1);
        EXPECT_EQ(List("failed"), Words{scans_ + "/0.tif"});
        fs::remove_all(out_);
    }
}

TEST_F(StatusTest, AShardWithoutFilesCountsAsRun) {
    Words said;
    const auto runAll = [&] {
        for (const char* part : {"1/3", "2/3", "3/3"}) {
            const Outcome run = ConvertScan({scans_ + "/deep", "-o", out_, "--shard", part, "--resume=fast"});
            EXPECT_EQ(run.status, 0);
            said.push_back(Lines(run.err).back().substr(0, 11));
        }
        return tool::RecordsIn(out_).size();
    };
    EXPECT_EQ(runAll(), 3U);
    EXPECT_THAT(said, testing::UnorderedElementsAre("0 converted", "0 converted", "1 converted"));
    EXPECT_THAT(Hueweave({"status", out_}).out, StartsWith("1 done, 0 failed, 0 left of 1\n"));
    EXPECT_EQ(runAll(), 3U) << "what is known is not recorded again";
}

std::string RunOf(const std::string& inputs, long long files, long long part, long long parts, long long at) {
    return fmt::format(R"({{"inputs":{},"files":{},"part":{},"parts":{},"at":{}}})", inputs, files, part, parts, at) +
           "\n";
}

TEST_F(StatusTest, TheTotalIsWhatTheRunsAnnounced) {
    const std::string a = R"("a")", list = R"("list","base":"a")", other = R"("other","base":"a")";
    // What is announced, the record, the total (null for none), whether it is estimated, and the damaged lines.
    const std::tuple<const char*, std::string, json, bool, int> rows[] = {
        {"both parts", RunOf(a, 3, 1, 2, 1) + RunOf(a, 4, 2, 2, 2), 7, false, 0},
        {"the last run of a part", RunOf(a, 4, 1, 1, 2) + RunOf(a, 3, 1, 1, 1), 4, false, 0},
        {"one part of two", RunOf(a, 3, 1, 2, 1), 6, true, 0},
        {"divided again", RunOf(a, 3, 1, 2, 1) + RunOf(a, 4, 2, 2, 2) + RunOf(a, 2, 4, 4, 3), 8, true, 0},
        {"other inputs", RunOf(a, 3, 1, 1, 1) + RunOf(R"("b")", 4, 1, 1, 2), 7, false, 0},
        {"a list of what was left", RunOf(a, 9, 1, 1, 1) + RunOf(list, 4, 1, 1, 2), 9, false, 0},
        {"lists alone", RunOf(list, 4, 1, 1, 1) + RunOf(other, 5, 1, 1, 2), 9, false, 0},
        {"far too many", RunOf(a, 1000000000000, 1, 4294967295, 1), 1000000000000000, true, 0},
        {"no numbers of files", RunOf(a, -1, 1, 1, 1) + RunOf(a, 1000000000001, 1, 1, 1), nullptr, false, 2},
        {"no parts", RunOf(a, 1, 0, 0, 1) + RunOf(a, 1, 3, 2, 1) + RunOf(a, 1, -1, 2, 1), nullptr, false, 3},
        {"no path", R"({"output":"\u0000","source":"s","refused":"r","at":1})", nullptr, false, 1},
        {"nothing readable", "torn\n\n" + std::string(100000, '[') + "\n" + std::string(9, '\0'), nullptr, false, 3},
    };
    for (const auto& [name, record, total, estimated, damaged] : rows) {
        SCOPED_TRACE(name);
        WriteBytes(out_ + "/.hueweave.jsonl", record);
        const json status = StatusOf();
        EXPECT_EQ(status.value("total", json()), total);
        EXPECT_EQ(status.value("estimated", false), estimated);
        EXPECT_EQ(status["damaged_lines"], damaged);
    }
    EXPECT_THAT(Hueweave({"status", out_}).out, HasSubstr("\n3 lines of the records cannot be read and are ignored\n"));
}

TEST_F(StatusTest, AListBelowAFolderAddsNothingToItsTotal) {
    ASSERT_EQ(ConvertAll().status, 0);
    fs::remove(out_ + "/a.tif");
    WriteBytes(folder_ / "left", scans_ + "/a.tif\n");
    const std::string base = folder_ / "./scans//";  // another spelling of the folder
    ASSERT_EQ(ConvertScan({"--files-from", folder_ / "left", "--base", scans_, "-o", out_}).status, 0);
    ASSERT_EQ(ConvertScan({base, "-o", out_, "--force"}).status, 0);
    EXPECT_EQ(StatusOf()["total"], 3);
}

TEST_F(StatusTest, TheTimeBetweenTwoRunsIsNotCounted) {
    // One output an hour before the others; then one a second from the start of the second run on.
    constexpr long long kFirst = 1'700'000'000, kSecond = kFirst + 3600, kSecondInNs = 1'000'000'000;
    std::string record;
    for (const long long run : {kFirst, kSecond}) record += RunOf(R"("a")", 6, 1, 1, run * kSecondInNs);
    for (const long long time : {kFirst + 1, kSecond + 1, kSecond + 2, kSecond + 3, kSecond + 4}) {
        const std::string name = std::to_string(time), path = out_ + "/" + name;
        WriteBytes(path, "output");
        Shell("touch -d @" + name + " " + Quoted(path));
        const std::string ns = std::to_string(time * kSecondInNs);
        record += R"({"output":")" + name + R"(","fingerprint":"f","size":6,"modified":)" + ns + "}\n";
    }
    WriteBytes(out_ + "/.hueweave.jsonl", record);
    EXPECT_THAT(StatusOf(), Has({{"files_per_second", 1.0}, {"seconds_left", 1.0}}));
}

TEST_F(StatusTest, NamesOnATerminalAreHarmless) {
    WriteBytes(out_ + "/.hueweave.jsonl",
               R"({"output":"a","source":"/x/\u001b[31m\n","refused":"\u001b]0;it\u0007","at":5})"
               "\n");
    const std::string status = HUEWEAVE_COMMAND " status " + Quoted(out_);
    EXPECT_EQ(Hueweave({"status", out_, "--list", "failed"}).out, "/x/\x1b[31m\n\n");
    for (const std::string option : {"", " --json", " --list failed"}) {
        const std::string shown = Shell("script -qec " + Quoted(status + option) + " /dev/null");
        EXPECT_THAT(shown, HasSubstr("[31m"));
        EXPECT_EQ(shown.find_first_of("\x1b\a"), std::string::npos) << option;
    }
}

TEST_F(StatusTest, FilesThatAreLeftOutAreNeitherFailedNorRemaining) {
    fs::create_directory(out_);
    Shell("convert-im6 -size 8x8 xc:gray50 -colorspace Gray -depth 1 -monochrome " + Quoted(scans_ + "/page.tif"));
    ASSERT_EQ(ConvertAll({"--others", "skip", "--dry-run", "--resume", "--shard", "1/1", "--no-sandbox"}).status, 0);
    EXPECT_EQ(NamesIn(out_), Words{}) << "a dry run has written something";
    ASSERT_EQ(ConvertAll({"--others", "skip"}).status, 0);
    EXPECT_THAT(StatusOf({scans_}), Has({{"left_out", 1}, {"failed", 0}, {"left", 0}}));
}

TEST_F(StatusTest, EachRunWritesARecordOfItsOwn) {
    ASSERT_EQ(ConvertScan({a_, "-o", out_ + "/"}).status, 0);
    const std::string first = FileBytes(out_ + "/.hueweave.jsonl");
    ASSERT_EQ(ConvertAll({"--resume"}).status, 0);
    EXPECT_EQ(FileBytes(out_ + "/.hueweave.jsonl"), first);
    const std::vector<std::string> records = tool::RecordsIn(out_);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_THAT(ConvertAll({"--resume"}), Says(0, "0 converted, 3 done already"));
    EXPECT_EQ(tool::RecordsIn(out_), records) << "a run that writes nothing leaves no record";
    // A line that is being written counts when it is complete; so do the records of others.
    std::ofstream(records[0], std::ios::app) << R"({"output":"b.TIFF","fing)";
    EXPECT_THAT(StatusOf(), Has({{"done", 3}, {"damaged_lines", 1}}));
    EXPECT_THAT(ConvertAll({"--resume"}), Says(0, "0 converted, 3 done already"));
}

TEST_F(StatusTest, AListOfNamesKeepsTheirSubfoldersBelowTheBase) {
    const std::string list = folder_ / "list";
    WriteBytes(list, scans_ + "/a.tif\n" + scans_ + "/deep/a.tif\n" + scans_ + "/deep/../c.tif\n" + list + ".tif\n");
    EXPECT_THAT(ConvertScan({"--files-from", list, "--base", scans_, "-o", out_}),
                Says(1, "/deep/../c.tif: is not below " + scans_ + ", which --base names",
                     list + ".tif: is not below " + scans_));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "deep/a.tif"}));
    EXPECT_EQ(List("left"), Words{scans_ + "/b.TIFF"});
    // Without it, two of the outputs have the same name.
    fs::remove_all(out_);
    EXPECT_THAT(
        ConvertScan({"--files-from", list, "-o", out_}),
        Says(1, "deep/a.tif: would be written to " + out_ + "/a.tif, as " + scans_ + "/a.tif; rename one of them"));
    EXPECT_EQ(Outputs(), Names{"a.tif"});
    WriteBytes(list, scans_ + "/b.TIFF\n" + scans_ + "/b.TIFF\n");
    EXPECT_THAT(ConvertScan({"--files-from", list, "-o", out_}), Says(1, "/b.TIFF: is named twice; name it once\n"));
}

TEST_F(StatusTest, ABaseMayBeWrittenInAnyWay) {
    const std::string list = folder_ / "list";
    // The base, a name, and the output below the output folder; none if the name is not below the base.
    const Words rows[] = {{"scans", "./scans//deep/./a.tif", "deep/a.tif"},
                          {"./scans//", "scans/deep/a.tif", "deep/a.tif"},
                          {".", "scans/deep/a.tif", "scans/deep/a.tif"},
                          {"./", "./scans/deep/a.tif", "scans/deep/a.tif"},
                          {".", scans_ + "/deep/a.tif", ""},
                          {".", "../converted/a.tif", ""},
                          {"scan", "scans/a.tif", ""}};
    for (const Words& row : rows) {
        SCOPED_TRACE(row[0] + " and " + row[1]);
        WriteBytes(list, row[1] + "\n");
        const Outcome run = ConvertScan({"--files-from", list, "--base", row[0], "-o", out_, "--json"},
                                        {.inChild = [&] { fs::current_path(folder_.path()); }});
        EXPECT_EQ(run.status, row[2].empty() ? 5 : 0) << run.err;
        EXPECT_EQ(Outputs(), row[2].empty() ? Names{} : Names{row[2]});
        fs::remove_all(out_);
    }
}

TEST_F(StatusTest, FastResumeComparesSizesAndTimesOfSourceAndOutput) {
    ASSERT_EQ(ConvertAll().status, 0);
    const auto again = [&](const std::string& option) { return ConvertAll({option, "-j", "1"}).err; };
    const std::string source = scans_ + "/deep/a.tif";
    const auto time = fs::last_write_time(source);
    std::string bytes = FileBytes(source);
    bytes[1000] = static_cast<char>(bytes[1000] + 1);
    WriteBytes(source, bytes);
    // Another time, another content: not done. The same time: fast takes it for the same.
    EXPECT_THAT(again("--resume=fast"), HasSubstr("0 converted, 2 done already, 1 refused"));
    fs::last_write_time(source, time);
    EXPECT_THAT(again("--resume=fast"), HasSubstr("0 converted, 3 done already"));
    EXPECT_THAT(again("--resume"), HasSubstr("0 converted, 2 done already, 1 refused"));
    // Another time, the same content: the hash decides.
    fs::last_write_time(a_, time);
    EXPECT_THAT(again("--resume=fast"), HasSubstr("0 converted, 3 done already"));
    // Other options, and an output that changed.
    EXPECT_THAT(ConvertAll({"--resume=fast", "--intent", "relative"}).err, HasSubstr("3 refused"));
    WriteBytes(out_ + "/b.TIFF", "spoilt");
    EXPECT_THAT(again("--resume=fast"), HasSubstr("2 done already, 1 refused"));
}

}  // namespace
}  // namespace hueweave::test
