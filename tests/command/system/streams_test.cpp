// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Standard streams that are closed, full or not read: they decide over no file, and the exit status tells the truth.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "command/support/Batch.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class StreamsTest : public BatchTest {
protected:
    /// `convert` by a shell, with these words and redirections after it.
    Outcome Line(const std::string& words, const std::string& streams, const std::string& command = "convert",
                 const std::function<void()>& inChild = {}) const {
        std::string line = HUEWEAVE_COMMAND " " + command;
        if (command == "convert") line += " --profile " + Quoted(Input("scanner.icc"));
        return RunProgram({{"bash", "-c", line + " " + words + " " + streams}, "", {}, inChild, {}});
    }
    /// For `Line`: this stream becomes a pipe whose reader is gone.
    static std::function<void()> Unread(int stream) {
        return [stream] {
            int ends[2];
            if (pipe(ends) != 0) _exit(126);
            close(ends[0]);
            dup2(ends[1], stream);
        };
    }
    void ExpectConverted(const std::string& path) const { EXPECT_EQ(ReadPictures(path)[0].values, wanted_) << path; }
    std::vector<std::uint16_t> wanted_ =
        ByEngine(ReadPictures(scans_ + "/a.tif")[0], Input("scanner.icc"), 0, 9).values;
};

class ClosedStreamsTest : public StreamsTest, public testing::WithParamInterface<const char*> {};

TEST_P(ClosedStreamsTest, NoFileTakesThePlaceOfAStream) {
    const std::string streams = GetParam();
    const int unwritten = streams.find('1') != std::string::npos ? 5 : 0;  // the exit status with --json
    const std::string many = folder_ / "many", bytes = FileBytes(scans_ + "/a.tif");
    fs::create_directory(many);
    const auto fill = [&] {
        for (int i = 0; i < 8; ++i) WriteBytes(many + "/" + std::to_string(i) + ".tif", bytes);
    };
    const auto expect = [&](const std::string& folder) {
        for (int i = 0; i < 8; ++i) ExpectConverted(folder + "/" + std::to_string(i) + ".tif");
    };
    // Files are opened side by side, and each time in another order. `make faults` goes on.
    for (int round = 0; round < 2; ++round) {
        fill();
        EXPECT_EQ(Line("-j 8 --in-place " + Quoted(many), streams).status, 0);
        expect(many);
        fill();
        EXPECT_EQ(Line("-j 8 --json " + Quoted(many) + " -o " + Quoted(out_), streams).status, unwritten);
        expect(out_);
        EXPECT_EQ(Lines(FileBytes(out_ + "/.hueweave.jsonl")).size(), 16U) << "a line and an empty one a file";
        fs::remove_all(out_);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ClosedStreamsTest,
                         testing::Values("0<&-", "1>&-", "2>&-", "0<&- 1>&-", "0<&- 2>&-", "1>&- 2>&-",
                                         "0<&- 1>&- 2>&-"),
                         [](const auto& row) {
                             std::string name = "Stream";
                             for (const char c : std::string(row.param))
                                 if (c >= '0' && c <= '2') name += c;
                             return name;
                         });

TEST_F(StreamsTest, AClosedStreamIsAnErrorWhereItIsAskedFor) {
    const std::string in = Quoted(scans_ + "/a.tif"), out = Quoted(folder_ / "out.tif");
    Outcome run = Line(in + " -o -", ">&-");
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(run.err, "hueweave: standard output: is closed; write to a file\n");
    run = Line("- -o " + out, "<&-");
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(run.err, "hueweave: standard input: is closed; name a file instead of -\n");
    EXPECT_FALSE(Exists(folder_ / "out.tif"));
    for (const std::string command : {"spaces", "spaces --json", "--help", "--version"}) {
        run = Line("", ">&-", command);
        EXPECT_EQ(run.status, 5) << command;
        EXPECT_EQ(run.err, "hueweave: standard output: is closed; write to a file\n");
    }
    run = Line(Quoted(Input("scanner.icc")), ">/dev/full", "inspect");
    EXPECT_EQ(run.status, 5);
    EXPECT_EQ(run.err, "hueweave: standard output: cannot be written (No space left on device); write to a file\n");
}

TEST_F(StreamsTest, MessagesThatCannotBeWrittenStopNothing) {
    fs::copy_file(scans_ + "/a.tif", scans_ + "/c.tif");
    WriteBytes(scans_ + "/0.tif", "bad");
    const std::pair<std::string, std::function<void()>> rows[] = {
        {"2>/dev/full", {}}, {"2>&-", {}}, {"", Unread(2)}, {">/dev/full 2>/dev/full", {}}};
    for (const auto& [streams, inChild] : rows) {
        // "0.tif" is refused first, and its line is the first that cannot be written.
        EXPECT_EQ(Line("-j 1 " + Quoted(scans_) + " -o " + Quoted(out_), streams, "convert", inChild).status, 1);
        EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "c.tif", "deep/a.tif"})) << streams;
        fs::remove_all(out_);
        EXPECT_EQ(Line(Quoted(scans_ + "/c.tif") + " -o " + Quoted(out_ + "/"), streams, "convert", inChild).status, 0);
        ExpectConverted(out_ + "/c.tif");
        fs::remove_all(out_);
    }
    EXPECT_EQ(Line(Quoted(Input("scanner.icc")) + " -o " + Quoted(folder_ / "baked.icc"), "2>/dev/full", "bake").status,
              0);
}

TEST_F(StreamsTest, JsonLinesThatCannotBeWrittenDecideOverTheStatusAlone) {
    const std::pair<std::string, std::function<void()>> rows[] = {{">/dev/full", {}}, {">&-", {}}, {"", Unread(1)}};
    for (const auto& [streams, inChild] : rows) {
        const Outcome run = Line("-j 1 --json " + Quoted(scans_) + " -o " + Quoted(out_), streams, "convert", inChild);
        EXPECT_EQ(run.status, 5) << streams;
        EXPECT_THAT(run.err, HasSubstr("3 converted, in "));
        EXPECT_THAT(run.err, HasSubstr("hueweave: standard output: "));
        EXPECT_EQ(Outputs(), (std::set<std::string>{"a.tif", "b.TIFF", "deep/a.tif"})) << streams;
        fs::remove_all(out_);
    }
}

TEST_F(StreamsTest, ASignalEndsTheWaitingForAStream) {
    for (int i = 0; i < 80; ++i) fs::copy_file(scans_ + "/a.tif", scans_ + "/n" + std::to_string(i) + ".tif");
    const std::string pipe = folder_ / "pipe", convert = "convert --profile " + Quoted(Input("scanner.icc")) + " ";
    mkfifo(pipe.c_str(), 0600);
    // Both ends of the pipe are open, and nobody writes to it or reads from it. It holds 4 KiB, which is soon full.
    const int ends = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    fcntl(ends, F_SETPIPE_SZ, 4096);
    std::string profiles;
    for (int i = 0; i < 8; ++i) profiles += " " + Quoted(Input("scanner.icc"));
    const std::vector<std::string> rows{
        convert + "- -o " + Quoted(folder_ / "x.tif") + " <" + Quoted(pipe),
        convert + "-j 4 - " + Quoted(scans_) + " -o " + Quoted(out_) + " <" + Quoted(pipe),
        convert + Quoted(scans_ + "/a.tif") + " -o - >" + Quoted(pipe),
        convert + "-j 4 --json " + Quoted(scans_) + " -o " + Quoted(out_) + " >" + Quoted(pipe),
        convert + "-j 4 " + Quoted(scans_) + " -o " + Quoted(out_) + " 2>" + Quoted(pipe),
        "inspect --json" + profiles + " >" + Quoted(pipe)};
    for (const std::string& row : rows) {
        const Outcome run =
            RunProgram({{"bash", "-c", "exec " HUEWEAVE_COMMAND " " + row}, "", {}, {}, [](pid_t child) {
                            WaitUntilIdle(child);
                            Terminate(child);
                        }});
        EXPECT_EQ(run.signal, SIGTERM) << row << run.err;
        char rest[8192];
        fcntl(ends, F_SETFL, O_NONBLOCK);
        while (read(ends, rest, sizeof rest) > 0) continue;
        fs::remove_all(out_);
    }
    close(ends);
}

}  // namespace
}  // namespace hueweave::test
