// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Runs that go on where others ended, and the record that they go by.
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "command/support/Batch.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class ResumeTest : public BatchTest {};

TEST_F(ResumeTest, SkipsWhatIsDoneTheSameWayAndNothingElse) {
    ASSERT_EQ(Convert({scans_, "-o", out_}).status, 0);
    const auto again = [&](std::vector<std::string> more) {
        std::vector<std::string> words{scans_, "-o", out_, "--resume"};
        words.insert(words.end(), more.begin(), more.end());
        return Convert(words);
    };
    Outcome run = again({});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("0 converted, 3 done already"));
    // Another option, and a file that is there already.
    run = again({"--intent", "relative"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("0 converted, 3 refused"));
    run = again({"--intent", "relative", "--force"});
    EXPECT_THAT(run.err, HasSubstr("3 converted"));
    EXPECT_THAT(again({"--intent", "relative"}).err, HasSubstr("3 done already"));
    // A source of the same size and time with another content.
    std::string bytes = FileBytes(scans_ + "/deep/a.tif");
    const auto time = fs::last_write_time(scans_ + "/deep/a.tif");
    bytes[1000] = static_cast<char>(bytes[1000] + 1);
    WriteBytes(scans_ + "/deep/a.tif", bytes);
    fs::last_write_time(scans_ + "/deep/a.tif", time);
    EXPECT_THAT(again({"--intent", "relative", "--force"}).err, HasSubstr("1 converted, 2 done already"));
    // An output that is gone, or changed.
    fs::remove(out_ + "/a.tif");
    EXPECT_THAT(again({"--intent", "relative"}).err, HasSubstr("1 converted, 2 done already"));
    WriteBytes(out_ + "/a.tif", "spoilt");
    EXPECT_THAT(again({"--intent", "relative", "--force"}).err, HasSubstr("1 converted, 2 done already"));
    // A record that was cut off counts for what is whole.
    std::ofstream(out_ + "/.hueweave.jsonl", std::ios::app) << "{\"output\": \"a.t";
    EXPECT_THAT(again({"--intent", "relative"}).err, HasSubstr("0 converted, 3 done already"));
}

TEST_F(ResumeTest, AfterAKill) {
    for (int i = 0; i < 30; ++i) fs::copy_file(scans_ + "/a.tif", scans_ + "/n" + std::to_string(i) + ".tif");
    const std::vector<std::string> words{HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"),
                                         scans_,           "-o",      out_,        "--resume"};
    for (int round = 0; round < 3; ++round) {
        RunProgram({words, "", {}, {}, [](pid_t child) {
                        std::this_thread::sleep_for(std::chrono::milliseconds(60));
                        kill(child, SIGKILL);
                    }});
    }
    const Outcome last = RunProgram({words, "", {}, {}, {}});
    EXPECT_EQ(last.status, 0) << last.err;
    EXPECT_EQ(Outputs().size(), 33U);
    const Picture wanted = ByEngine(ReadPictures(scans_ + "/a.tif")[0], Input("scanner.icc"), 0, 9);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(ReadPictures(out_ + "/n" + std::to_string(i) + ".tif")[0].values, wanted.values);
}

TEST_F(ResumeTest, AnOutputIsKnownFromTheMomentThatItHasItsName) {
    const std::vector<std::string> words{
        HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc"), "-j", "1", scans_, "-o", out_, "--resume"};
    // Killed in the call that gives the second output its name.
    EXPECT_EQ(RunProgram({words, "", Faults("linkat:2:0"), {}, {}}).signal, SIGKILL);
    EXPECT_EQ(Outputs().size(), 2U);
    const Outcome again = RunProgram({words, "", {}, {}, {}});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_THAT(again.err, HasSubstr("1 converted, 2 done already"));
    // What was recorded but never got its name is converted.
    fs::remove_all(out_);
    EXPECT_EQ(RunProgram({words, "", Faults("linkat:0:28"), {}, {}}).status, 1);
    EXPECT_FALSE(Exists(out_)) << "nothing was written, and something is left";
    EXPECT_THAT(RunProgram({words, "", {}, {}, {}}).err, HasSubstr("3 converted"));
    // An output that stays because its replacement did not come is known too.
    auto force = words;
    force.back() = "--force";
    EXPECT_EQ(RunProgram({force, "", Faults("renameat2:0:5"), {}, {}}).status, 1);
    EXPECT_THAT(RunProgram({words, "", {}, {}, {}}).err, HasSubstr("0 converted, 3 done already"));
}

TEST_F(ResumeTest, ARecordOfNothingIsRemovedButNotThatOfOthers) {
    const std::vector<std::string> words{HUEWEAVE_COMMAND,  "convert", "--profile", Input("scanner.icc"), "-j", "1",
                                         scans_ + "/a.tif", "-o",      out_ + "/"};
    fs::create_directory(out_);
    EXPECT_EQ(RunProgram({words, "", Faults("linkat:0:28"), {}, {}}).status, 5);
    EXPECT_EQ(NamesIn(out_), std::vector<std::string>{});
    // One that was there before, and that of a shard, which others may be writing to.
    WriteBytes(out_ + "/.hueweave.jsonl", "");
    EXPECT_EQ(RunProgram({words, "", Faults("linkat:0:28"), {}, {}}).status, 5);
    EXPECT_EQ(NamesIn(out_), std::vector<std::string>{".hueweave.jsonl"});
    fs::remove(out_ + "/.hueweave.jsonl");
    auto shard = words;
    shard.insert(shard.end(), {"--shard", "1/1"});
    EXPECT_EQ(RunProgram({shard, "", Faults("linkat:0:28"), {}, {}}).status, 5);
    EXPECT_EQ(NamesIn(out_), std::vector<std::string>{".hueweave.jsonl"});
}

}  // namespace
}  // namespace hueweave::test
