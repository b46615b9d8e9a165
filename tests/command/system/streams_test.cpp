// SPDX-License-Identifier: MIT
// Standard streams that are closed, full or not read: the files are the same, and the exit status reports the error.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "command/support/Batch.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

class StreamsTest : public BatchTest {
protected:
    static Outcome Line(const std::string& line, const std::function<void()>& inChild = {}) {
        return RunProgram({.words = {"bash", "-c", line}, .inChild = inChild});
    }
    std::string all_ = Quoted(scans_) + " -o " + Quoted(out_) + " ";
    /// For `Line`: replaces this stream with a pipe that has no reader.
    static std::function<void()> Unread(int stream) {
        return [stream] {
            int ends[2];
            if (pipe(ends) != 0) _exit(126);
            close(ends[0]);
            dup2(ends[1], stream);
        };
    }
    void ExpectConverted(const std::string& path) const { EXPECT_EQ(ReadPictures(path)[0].values, wanted_) << path; }
    std::vector<std::uint16_t> wanted_ = ToSrgb(ReadPictures(a_)[0]).values;
};

TEST_F(StreamsTest, NoFileTakesThePlaceOfAStreamThatIsClosed) {
    const std::string many = folder_ / "many", bytes = FileBytes(a_);
    const auto fill = [&] {
        for (int i = 0; i < 8; ++i) WriteBytes(many + "/" + std::to_string(i) + ".tif", bytes);
    };
    const auto expect = [&](const std::string& folder) {
        for (int i = 0; i < 8; ++i) ExpectConverted(folder + "/" + std::to_string(i) + ".tif");
    };
    // Files are opened in parallel and in varying order. `make faults` tries more cases.
    const Words rounds{"0", "1", "2", "01", "02", "12", "012", "0", "1", "2", "01", "02", "12", "012"};
    for (const std::string& numbers : rounds) {
        SCOPED_TRACE(numbers);
        const int unwritten = numbers.find('1') != std::string::npos ? 5 : 0;  // the exit status with --json
        std::string streams;
        for (const char number : numbers) streams += std::string(" ") + number + ">&-";
        fill();
        EXPECT_EQ(Line(ConvertLine("-j 8 --in-place " + Quoted(many) + streams)).status, 0);
        expect(many);
        fill();
        EXPECT_EQ(Line(ConvertLine("-j 8 --json " + Quoted(many) + " -o " + Quoted(out_) + streams)).status, unwritten);
        expect(out_);
        EXPECT_EQ(Lines(FileBytes(out_ + "/.hueweave.jsonl")).size(), 18U) << "a line and an empty one a file and run";
        fs::remove_all(out_);
    }
}

TEST_F(StreamsTest, AClosedStreamIsAnErrorWhereItIsAskedFor) {
    const auto closed = SaysOnly(5, "standard output: is closed; write to a file");
    EXPECT_THAT(Line(ConvertLine(Quoted(a_) + " -o - >&-")), closed);
    EXPECT_THAT(Line(ConvertLine("- -o " + Quoted(out_ + ".tif") + " <&-")),
                SaysOnly(4, "standard input: is closed; name a file instead of -"));
    EXPECT_FALSE(Exists(out_));
    const std::string command = HUEWEAVE_COMMAND " ";
    for (const std::string words : {"spaces", "spaces --json", "--help", "--version"}) {
        EXPECT_THAT(Line(command + words + " >&-"), closed) << words;
    }
    EXPECT_EQ(Line(command + "spaces >/dev/full").status, 5);
    EXPECT_THAT(Line(ConvertLine(Quoted(a_) + " -o -"), Unread(1)),
                SaysOnly(5, "standard output: cannot be written (Broken pipe); write to a file"));
    EXPECT_THAT(Line(command + "inspect " + Quoted(Input("scanner.icc")) + " >/dev/full"),
                SaysOnly(5, "standard output: cannot be written (No space left on device); write to a file"));
}

TEST_F(StreamsTest, MessagesThatCannotBeWrittenStopNothing) {
    fs::copy_file(a_, scans_ + "/c.tif");
    WriteBytes(scans_ + "/0.tif", "bad");
    const std::pair<std::string, std::function<void()>> rows[] = {
        {"2>/dev/full", {}}, {"2>&-", {}}, {"", Unread(2)}, {">/dev/full 2>/dev/full", {}}};
    for (const auto& [streams, inChild] : rows) {
        // "0.tif" is refused first, and its line is the first that cannot be written.
        EXPECT_EQ(Line(ConvertLine("-j 1 " + all_ + streams), inChild).status, 1);
        EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "c.tif", "deep/a.tif"})) << streams;
        fs::remove_all(out_);
        EXPECT_EQ(Line(ConvertLine(scans_ + "/c.tif -o " + out_ + "/ " + streams), inChild).status, 0);
        ExpectConverted(out_ + "/c.tif");
        fs::remove_all(out_);
    }
}

TEST_F(StreamsTest, MessagesThatCannotBeWrittenChangeNoStatus) {
    const std::string scan = Quoted(a_), notes = Quoted(scans_ + "/notes.txt");
    const std::string profile = Quoted(Input("scanner.icc")), out = " -o " + Quoted(out_);
    const std::map<int, Words> all{
        {0,
         {"--help", "--version", "help convert", "convert --help", "spaces", "inspect " + scan + " " + profile,
          "verify --points 2 " + profile, "bake " + profile + out + " --force",
          "convert --profile " + profile + " " + scan + " -o -"}},
        {1,
         {"inspect " + notes + " " + scan, "inspect --json " + scan + " " + notes,
          "verify --points 2 --limit 0 " + profile}},
        {2, {"", "convert", "convert " + scan + out + " --dry-run"}},
        {3, {"bake " + scan + out, "convert " + scan + " -o -"}}};
    for (const auto& [status, rows] : all) {
        for (const std::string& words : rows) {
            const std::string line = HUEWEAVE_COMMAND " " + words, wanted = Line(line + " 2>/dev/null").out;
            for (const std::string streams : {" 2>/dev/full", " 2>&-", " 2>&- <&-"}) {
                const Outcome run = Line(line + streams);
                EXPECT_EQ(run.status, status) << words << streams;
                EXPECT_EQ(run.out, wanted) << words << streams;
            }
        }
    }
}

TEST_F(StreamsTest, JsonLinesThatCannotBeWrittenChangeOnlyTheStatus) {
    const std::pair<std::string, std::function<void()>> rows[] = {{">/dev/full", {}}, {">&-", {}}, {"", Unread(1)}};
    for (const auto& [streams, inChild] : rows) {
        EXPECT_THAT(Line(ConvertLine("-j 1 --json " + all_ + streams), inChild),
                    Says(5, "3 converted, in ", "hueweave: standard output: "));
        EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"})) << streams;
        fs::remove_all(out_);
    }
}

TEST_F(StreamsTest, ASignalEndsTheWaitingForAStream) {
    Copy("n", 80);
    const std::string pipe = folder_ / "pipe";
    mkfifo(pipe.c_str(), 0600);
    // Both ends of the pipe are open, but it is neither written nor read. It holds 4 KiB and is soon full.
    const int ends = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    fcntl(ends, F_SETPIPE_SZ, 4096);
    std::string inspect = HUEWEAVE_COMMAND " inspect --json";
    for (int i = 0; i < 8; ++i) inspect += " " + Quoted(Input("scanner.icc"));
    const Words rows{ConvertLine("- -o " + Quoted(folder_ / "x.tif") + " <" + Quoted(pipe)),
                     ConvertLine("-j 4 - " + all_ + " <" + Quoted(pipe)),
                     ConvertLine(Quoted(a_) + " -o - >" + Quoted(pipe)),
                     ConvertLine("-j 4 --json " + all_ + " >" + Quoted(pipe)),
                     ConvertLine("-j 4 " + all_ + " 2>" + Quoted(pipe)),
                     inspect + " >" + Quoted(pipe)};
    for (const std::string& row : rows) {
        const Outcome run = RunProgram({.words = {"bash", "-c", "exec " + row}, .meanwhile = TerminateIdle});
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
