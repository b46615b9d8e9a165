// SPDX-License-Identifier: MIT
// Runs that resume earlier ones; the record that they use, also one prepared by somebody else; the fingerprint of a
// conversion in it; and endless lists of names and curves.
#include <sys/stat.h>

#include "batch/file/Fingerprint.h"
#include "batch/record/RecordFiles.h"
#include "batch/record/Resume.h"
#include "colour/profile/Spaces.h"
#include "command/support/Batch.h"
#include "command/support/Json.h"
#include "command/support/Limits.h"
#include "system/files/LineReader.h"

namespace hueweave::test {
namespace {

using tool::LineReader;
using tool::RecordEntries;

class ResumeTest : public BatchTest {};

TEST_F(ResumeTest, SkipsWhatIsDoneTheSameWayAndNothingElse) {
    ASSERT_EQ(ConvertScan({scans_, "-o", out_}).status, 0);
    const auto again = [&](const Words& more) { return ConvertAll(Words{"--resume"} + more); };
    EXPECT_THAT(again({}), Says(0, "0 converted, 3 done already"));
    // Another option, while the outputs exist.
    EXPECT_THAT(again({"--intent", "relative"}), Says(5, "0 converted, 3 refused"));
    EXPECT_THAT(again({"--intent", "relative", "--force"}).err, HasSubstr("3 converted"));
    EXPECT_THAT(again({"--intent", "relative"}).err, HasSubstr("3 done already"));
    // A source of the same size and time with other contents.
    std::string bytes = FileBytes(scans_ + "/deep/a.tif");
    const auto time = fs::last_write_time(scans_ + "/deep/a.tif");
    bytes[1000] = static_cast<char>(bytes[1000] + 1);
    WriteBytes(scans_ + "/deep/a.tif", bytes);
    fs::last_write_time(scans_ + "/deep/a.tif", time);
    EXPECT_THAT(again({"--intent", "relative", "--force"}).err, HasSubstr("1 converted, 2 done already"));
    // An output that is missing or changed.
    fs::remove(out_ + "/a.tif");
    EXPECT_THAT(again({"--intent", "relative"}).err, HasSubstr("1 converted, 2 done already"));
    WriteBytes(out_ + "/a.tif", "spoilt");
    EXPECT_THAT(again({"--intent", "relative", "--force"}).err, HasSubstr("1 converted, 2 done already"));
}

TEST_F(ResumeTest, AnOutputIsRecordedBeforeItGetsItsName) {
    const Words words{"-j", "1", scans_, "-o", out_, "--resume"};
    // Killed in the call that names the second output.
    EXPECT_EQ(ConvertScan(words, {.setenv = Faults("linkat:2:-7")}).signal, SIGKILL);
    EXPECT_EQ(Outputs().size(), 2U);
    EXPECT_THAT(ConvertScan(words), Says(0, "1 converted, 2 done already"));
    // A file that was recorded but never named is converted.
    fs::remove_all(out_);
    EXPECT_THAT(ConvertScan(words, {.setenv = Faults("linkat:0:28")}),
                Says(5, "cannot be written (No space left on device); free some space"));
    EXPECT_FALSE(Exists(out_)) << "nothing was written, and something is left";
    EXPECT_THAT(ConvertScan(words).err, HasSubstr("3 converted"));
    // An output that stays because its replacement failed is still in the record.
    EXPECT_EQ(ConvertAll({"-j", "1", "--force"}, {.setenv = Faults("renameat2:0:5")}).status, 5);
    EXPECT_THAT(ConvertScan(words).err, HasSubstr("0 converted, 3 done already"));
}

TEST_F(ResumeTest, AnEmptyRecordIsRemovedButNotThatOfAnotherRun) {
    const auto fail = [&](const Words& more) {
        const Words words{"-j", "1", a_, "-o", out_ + "/"};
        EXPECT_EQ(ConvertScan(words + more, {.setenv = Faults("linkat:0:28")}).status, 5);
        return NamesIn(out_);
    };
    fs::create_directory(out_);
    EXPECT_EQ(fail({}), Words{});
    // A record that existed before stays, and so does that of a shard, which other processes may be writing to.
    WriteBytes(out_ + "/.hueweave.jsonl", "");
    EXPECT_EQ(fail({}), Words{".hueweave.jsonl"});
    fs::remove(out_ + "/.hueweave.jsonl");
    EXPECT_EQ(fail({"--shard", "1/1"}), Words{".hueweave.jsonl"});
}

class RecordTest : public BatchTest {
protected:
    RecordTest() { fs::create_directory(out_); }
    static Outcome Timed(const Words& more) {
        return RunProgram(
            {.words = Words{"timeout", "60", HUEWEAVE_COMMAND, "convert", "--profile", Input("scanner.icc")} + more});
    }
    std::string record_ = out_ + "/.hueweave.jsonl", victim_ = folder_ / ".bashrc";
};

TEST_F(RecordTest, AnythingButAPlainFileIsNotUsed) {
    WriteBytes(victim_, "# mine\n");
    const std::pair<const char*, const char*> rows[] = {
        {"ln -s ../.bashrc", "is a symbolic link"}, {"ln -s /dev/zero", "is a symbolic link"},
        {"ln -s ../nothing", "is a symbolic link"}, {"ln ../.bashrc", "has other names (hard links)"},
        {"mkfifo", "is not a regular file"},        {"mkdir", "is not a regular file"}};
    for (const auto& [make, reason] : rows) {
        SCOPED_TRACE(make);
        Shell("cd " + out_ + "; " + make + " .hueweave.jsonl");
        // All files are converted, and the reason is given once; with --resume the run is refused.
        const std::string about = record_ + ": " + reason;
        const Outcome run = Timed({scans_, "-o", out_});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(CountOf(run.err, "note: " + about + " and is not written to; --resume will not recognise this run"),
                  1U);
        EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF", "deep/a.tif"}));
        RemoveOutputs();
        for (const char* dry : {"-q", "--dry-run"}) {
            EXPECT_THAT(Timed({scans_, "-o", out_, "--resume", dry}),
                        SaysOnly(5, about + ", and records no earlier run; remove it, or leave out --resume"));
            EXPECT_EQ(Outputs(), Names{});
        }
        fs::remove(record_);
    }
    EXPECT_FALSE(Exists(folder_ / "nothing"));
    EXPECT_EQ(FileBytes(victim_), "# mine\n");
}

TEST_F(RecordTest, TakesBoundedMemoryWhateverItsSize) {
    WriteBytes(record_, "");
    fs::resize_file(record_, std::uintmax_t{256} << 20);  // one line of zeros, as a file with a hole
    const Words words{scans_, "-o", out_, "--resume"};
    const Outcome run = Timed(words);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_LT(run.peakKb, MemoryKb(160000));
    RemoveOutputs();
    fs::resize_file(record_, (std::uintmax_t{256} << 20) + 1);
    EXPECT_THAT(Timed(words),
                Says(5, ".hueweave.jsonl: is too large to be a record, and records no earlier run; remove"));
}

TEST_F(RecordTest, AFullOneIsFollowedByAnother) {
    const Words names{"a.tif", "b.tif", "c.tif"};
    constexpr std::uint64_t kMost = 400;  // bytes; a line takes more than half of it
    {
        tool::ResumeRecord record(out_, false, kMost);
        for (const std::string& name : names) {
            record.Add(tool::DoneLine{name, std::string(64, 'f'), std::string(64, 'e'), {}, {}});
            record.Flush(name);
            record.NoteNamed();
        }
    }
    EXPECT_EQ(tool::RecordsIn(out_).size(), names.size());
    for (const std::string& path : tool::RecordsIn(out_)) EXPECT_LE(fs::file_size(path), kMost);
    tool::ResumeRecord later(out_, false);
    later.Load();
    for (const std::string& name : names) EXPECT_TRUE(later.Knows(name)) << name;
}

TEST_F(RecordTest, TheRecordOfAnIdleRunIsKeptIfOthersWroteToItOrReplacedIt) {
    const std::string copy = out_ + "/copy";
    const auto after = [&](const std::function<void()>& meanwhile) {
        {
            tool::ResumeRecord record(out_, false);
            record.Add(tool::DoneLine{"a.tif", "fingerprint", "settings", {}, {}});
            meanwhile();
        }
        return Exists(record_);
    };
    EXPECT_FALSE(after([] {}));
    EXPECT_TRUE(after([&] { WriteBytes(record_, FileBytes(record_) + "\n"); }));
    fs::remove(record_);
    EXPECT_TRUE(after([&] {
        fs::copy_file(record_, copy);
        fs::rename(copy, record_);
    }));
}

TEST_F(RecordTest, ALineThatCannotBeSyncedIsReported) {
    EXPECT_THAT(ConvertScan({a_, "-o", out_ + "/"}, {.setenv = Faults("fdatasync:0:5")}),
                Says(0, ".hueweave.jsonl: cannot be written (Input/output error); --resume will not recognise a.tif"));
}

TEST_F(RecordTest, AnEndlessListOfInputsOrCurvesIsRefused) {
    EXPECT_THAT(Timed({"--files-from", "/dev/zero", "-o", out_}),
                SaysOnly(2, "/dev/zero: contains a name that is too long for a file; give one name a line"));
    EXPECT_THAT(Timed({scans_, "--curve", "/dev/zero", "-o", out_}),
                Says(2, "hueweave: /dev/zero: row 1 does not have three values; "));
}

TEST_F(RecordTest, ASignalEndsTheWaitingForAListThatNobodyWrites) {
    const std::string pipe = folder_ / "pipe";
    mkfifo(pipe.c_str(), 0600);
    for (const char* option : {"--files-from", "--curve"}) {
        const Outcome run = Hueweave({"convert", scans_, option, pipe, "-o", out_}, {.meanwhile = TerminateIdle});
        EXPECT_EQ(run.signal, SIGTERM) << run.err;
    }
    // A list that is written late, or by a process, is read.
    const std::string to = " -o " + Quoted(out_);
    Shell("(sleep 0.3; echo " + Quoted(a_) + ") > " + pipe + " & " + ConvertLine("--files-from " + pipe + to));
    WriteBytes(folder_ / "line", ConvertLine("--files-from <(echo " + Quoted(scans_ + "/b.TIFF") + ")" + to));
    Shell("bash " + (folder_ / "line"));
    EXPECT_EQ(Outputs(), (Names{"a.tif", "b.TIFF"}));
}

TEST(RecordEntriesTest, ForeignLinesAreIgnored) {
    RecordEntries entries;
    const std::string f(64, 'f'), g(64, 'e');
    for (const std::string& line : Words{"", "{", "[]", "null", "{\"output\":1}",
                                         R"({"output":"a","fingerprint":")" + f + R"(","size":1e300,"modified":2})",
                                         R"({"output":"a","fingerprint":")" + f + R"(","size":1.0,"modified":2})",
                                         R"({"output":"a","fingerprint":[")" + f + R"("],"size":1,"modified":2})",
                                         R"({"output":"a","fingerprint":"f","size":1,"modified":2})",
                                         R"({"fingerprint":")" + f + R"(","size":1,"modified":2})",
                                         std::string(30000, '[') + std::string(30000, ']')}) {
        entries.Take(tool::ParseRecordLine(line));
    }
    EXPECT_FALSE(entries.Has("a"));
    for (const std::string numbers : {R"("size":1,"modified":2})", R"("size":3,"modified":4})"}) {
        entries.Take(tool::ParseRecordLine(R"({"output":"a","fingerprint":")" + f + R"(",)" + numbers));
    }
    EXPECT_TRUE(entries.Has("a", f, {1, 2}));
    EXPECT_TRUE(entries.Has("a", f, {3, 4}));
    EXPECT_FALSE(entries.Has("a", f, {1, 4}));
    EXPECT_FALSE(entries.Has("a", g, {1, 2}));
    EXPECT_FALSE(entries.Has("b", f, {1, 2}));
}

TEST(LineReaderTest, LongLinesAreTruncatedAndTheRestIsSkipped) {
    const Folder folder;
    const std::string path = folder / "lines", large(200000, 'x');
    const auto read = [&](const std::string& bytes, std::size_t longest = 5) {
        WriteBytes(path, bytes);
        const tool::FileAccess file = LineReader::Open(path);
        LineReader lines(file.descriptor(), '\n', longest);
        Words all;
        for (std::string line; lines.Next(line);) all.push_back(line);
        EXPECT_EQ(lines.error(), 0);
        return all;
    };
    EXPECT_EQ(read(""), Words{});
    EXPECT_EQ(read("a\n\nbc"), (Words{"a", "", "bc"}));
    EXPECT_EQ(read("12345\n123456\n1234567\na\n"), (Words{"12345", "123456", "123456", "a"}));
    EXPECT_EQ(read(large + "\nb\n"), (Words{"xxxxxx", "b"}));
    EXPECT_EQ(read("a\n" + large), (Words{"a", "xxxxxx"}));
    EXPECT_EQ(read(large + "\n" + large, 200000), (Words{large, large}));
    // The first block of 64 KiB ends inside a line of the greatest length.
    EXPECT_EQ(read(std::string((std::size_t{64} << 10) - 5, '\n') + "123456\n").back(), "123456");
    LineReader none(-1, '\n', 5);
    std::string line;
    EXPECT_FALSE(none.Next(line));
    EXPECT_EQ(none.error(), EBADF);
}

/// By sha256sum, over the options followed by the file.
std::string SumOf(const std::string& options, const std::string& path) {
    return Shell("{ echo " + Quoted(options) + "; cat " + Quoted(path) + "; } | sha256sum").substr(0, 64);
}

TEST(FingerprintTest, IsTheHashOfTheOptionsAndTheSource) {
    constexpr std::size_t kMega = std::size_t{1} << 20, kSize = 3 * kMega + 5;
    const auto text = [](char first) {
        std::string all(kSize, first);
        for (std::size_t i = 0; i < kSize; i += 7) all[i] = static_cast<char>(i / 7);
        return all;
    };
    const Folder folder;
    const std::string path = folder / "source", inFile = text('f'), taken = text('t');
    WriteBytes(path, inFile);
    tool::ConvertOptions options;
    options.rendering.space = colour::FindSpace("srgb");
    tool::Report report(true, false);
    const tool::Target target{"srgb", {}, {}, "of-the-target", {}};
    tool::ProfileCache cache(options, target);
    tool::MadeFolders folders(false);
    tool::SweptFolders swept;
    const tool::InputList list;
    const tool::Session session{options, list, report, target, cache, folders, swept, nullptr, {}};
    // Records ranges as read, with other bytes than those in the file, and expects those of `counted` to be in the sum.
    const auto expectSum = [&](const std::vector<tool::Extent>& ranges, const std::vector<tool::Extent>& counted) {
        const tool::SourceFile source = tool::OpenSource({path, "", "", ""});
        tool::Fingerprint fingerprint(session, source);
        for (const auto& [offset, size] : ranges) {
            const std::string part = taken.substr(offset, size);
            fingerprint.Take(offset, tool::Bytes(part.begin(), part.end()));
        }
        std::string wanted = inFile;
        for (const auto& [offset, size] : counted) wanted.replace(offset, size, taken, offset, size);
        WriteBytes(folder / "wanted", wanted);
        const std::string words = HUEWEAVE_VERSION " exact srgb of-the-target perceptual false 0 0 0 2 false embedded";
        EXPECT_EQ(fingerprint.Finish(), SumOf(words, folder / "wanted"));
    };
    expectSum({}, {});
    // What was taken in order is not read again.
    expectSum({{0, kSize}}, {{0, kSize}});
    expectSum({{0, 10}, {10, 1}, {11, 500}}, {{0, 511}});
    // Ranges after the header and a directory, and after a gap of the greatest size.
    const std::vector<tool::Extent> apart{{8, 100}, {200, 100}, {300 + kMega, 7}};
    expectSum(apart, apart);
    // What came out of order is read.
    expectSum({{8, 100}, {109 + kMega, 7}, {108, 2}}, {{8, 102}});
    // Bytes of overlapping ranges count once, as they were first read.
    expectSum({{50, 50}, {0, 60}, {40, 60}, {90, 20}}, {{50, 60}});
}

class RecordedFingerprintTest : public BatchTest {
protected:
    /// The fingerprints, by the name of the output.
    std::map<std::string, std::string> Recorded() const {
        std::map<std::string, std::string> all;
        std::string lines;
        for (const std::string& record : tool::RecordsIn(out_)) lines += FileBytes(record);
        for (const json& entry : JsonLines(lines)) {
            if (entry.contains("fingerprint")) all[entry["output"]] = entry["fingerprint"];
        }
        return all;
    }
};

TEST_F(RecordedFingerprintTest, IsTheSameInWhateverOrderASourceIsRead) {
    const std::string photo = Quoted(Input("photo-8.tif"));
    Shell("tiffcp -c none -p separate " + photo + " " + Quoted(scans_ + "/planes.tif"));
    Shell("tiffcp -c none -t -w 64 -l 32 " + photo + " " + photo + " " + Quoted(scans_ + "/tiles.tif"));
    Shell("tiffcp -c none -B " + Quoted(Input("photo-16.tif")) + " " + Quoted(scans_ + "/big-endian.tif"));
    fs::copy_file(Input("large-16.tif"), scans_ + "/large.tif");
    // One file with four threads, then several files in parallel.
    ASSERT_EQ(ConvertScan({scans_ + "/large.tif", "-o", out_ + "/", "-j", "4"}).status, 0);
    EXPECT_THAT(ConvertAll({"-j", "4", "--resume"}).err, HasSubstr("6 converted, 1 done already"));
    const std::string profile = Shell("sha256sum " + Quoted(Input("scanner.icc"))).substr(0, 64);
    const std::string none = Shell("sha256sum /dev/null").substr(0, 64);  // the library builds its profile later
    const auto recorded = Recorded();
    EXPECT_EQ(recorded.size(), 7U);
    for (const auto& [name, fingerprint] : recorded) {
        const std::string options =
            HUEWEAVE_VERSION " library srgb " + none + " perceptual false 0 0 0 2 false " + profile;
        EXPECT_EQ(fingerprint, SumOf(options, scans_ + "/" + name)) << name;
    }
    // To be compared with an earlier run, the source is hashed before it is converted.
    fs::remove(scans_ + "/large.tif");
    RemoveOutputs();
    ASSERT_EQ(ConvertAll({"--resume"}).status, 0);
    EXPECT_EQ(Recorded(), recorded);
}

TEST_F(RecordedFingerprintTest, ASourceIsReadOnce) {
    const auto readBytes = [](const std::string& words) {
        // The counts of a shell include those of the commands that it waited for.
        const std::string all = Shell("sh -c " + Quoted(words + "; cat /proc/$$/io"));
        return std::stoull(all.substr(all.find("rchar: ") + 7));
    };
    const std::string convert = ConvertLine("-q --resume "), photo = Quoted(Input("photo-16.tif"));
    const auto nothing = readBytes(HUEWEAVE_COMMAND " spaces");
    for (const std::string scheme : {"none", "lzw", "zip"}) {
        SCOPED_TRACE(scheme);
        const std::string page = folder_ / "page.tif", pages = folder_ / "pages.tif", out = out_ + "/" + scheme;
        Shell("tiffcp -c " + scheme + " " + photo + " " + Quoted(page));
        Shell("tiffcp -c " + scheme + " " + photo + " " + photo + " " + photo + " " + photo + " " + Quoted(pages));
        const auto size = fs::file_size(pages);
        const auto small = readBytes(convert + Quoted(page) + " -o " + Quoted(out + "/small/"));
        const auto large = readBytes(convert + Quoted(pages) + " -o " + Quoted(out + "/large/"));
        EXPECT_EQ(NamesIn(out + "/large"), (Words{".hueweave.jsonl", "pages.tif"}));
        // Three pages more, and some bytes for their directories; then all four pages, without what any run reads.
        EXPECT_LT(large - small, size * 8 / 10);
        EXPECT_LT(large - nothing, size * 5 / 4);
    }
}

}  // namespace
}  // namespace hueweave::test
