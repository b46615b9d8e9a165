// SPDX-License-Identifier: MIT
// Every system call fails in turn. Whichever it is, the old file stays or the new one is complete.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "command/support/Batch.h"
#include "command/support/FileTest.h"
#include "command/support/Json.h"
#include "command/support/Limits.h"
#include "command/support/Picture.h"
#include "support/Matchers.h"

namespace hueweave::test {
namespace {

struct FaultRow {
    const char* name;
    const char* call;
    int error;
    int status;             ///< 0 where the command has a fallback, -1 where it is killed
    const char* also = "";  ///< a fault that occurs as well, every time
    const char* recipe = "tiffcp -s -c zip -r 120 $in $out";
};
void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }

constexpr const char* kNoUnnamed = "tmpfile:0:95,";  ///< a file system without unnamed files
/// With the least memory allowed, a strip of 4.5 MB is written by rows, first to a temporary file.
constexpr const char* kLargeStrip =
    "convert-im6 $in -depth 16 -scale 1000x750! -compress none $out.tif && tiffcp -s -c lzw -r 750 $out.tif $out && rm "
    "$out.tif";

const FaultRow kFaultRows[] = {
    {"FullDisk", "pwrite", ENOSPC, 5},
    {"FullDiskNamed", "pwrite", ENOSPC, 5, kNoUnnamed},
    {"FullDiskForRows", "pwrite", ENOSPC, 5, "", kLargeStrip},
    {"BadSource", "pread", EIO, 4},
    {"InterruptedRead", "pread", EINTR, 0},
    {"InterruptedWrite", "pwrite", EINTR, 0},
    {"ShortRead", "pread", 0, 0},
    {"ShortWrite", "pwrite", 0, 0},
    {"NoTruncation", "ftruncate", EIO, 5},
    {"NoUnnamedFiles", "tmpfile", EOPNOTSUPP, 0},
    {"NoRights", "tmpfile", EACCES, 5},
    {"NoLink", "linkat", ENOENT, 5},
    {"NoRename", "renameat2", EIO, 5, kNoUnnamed},
    {"NoSeekForHoles", "lseek", EINVAL, 0},
    {"KilledInRead", "pread", -6, -1},
    {"KilledInWrite", "pwrite", -6, -1},
};

class FaultTest : public FileTest, public testing::WithParamInterface<FaultRow> {
protected:
    FaultTest() { Make(GetParam().recipe); }
    /// Runs the command with the n-th call failing.
    Outcome Fail(int n, const Words& more) {
        const std::string fault = std::string(GetParam().also) + GetParam().call + ":" + std::to_string(n) + ":" +
                                  std::to_string(GetParam().error);
        fs::remove(seen_);
        return ConvertScan(Words{in_, "-j", "2", "--max-memory", "32M"} + more, {.setenv = Faults(fault, seen_)});
    }
    bool Struck() const { return !FileBytes(seen_).empty(); }
    Folder other_;
    std::string seen_ = other_ / "seen";
};

TEST_P(FaultTest, LeavesTheOldFileOrTheNewOneWhateverFails) {
    const auto wanted = ToSrgb(ReadPictures(in_)[0]).values;
    const std::string source = FileBytes(in_);
    int struck = 0, failed = 0;
    for (const Words& more : {Words{}, Words{"--force"}}) {
        for (int n = 1; n == 1 || Struck(); ++n) {
            SCOPED_TRACE(n);
            ASSERT_LT(n, 500);
            fs::remove(out_);
            if (!more.empty()) WriteBytes(out_, "precious");
            const auto before = NamesIn(folder_.path());
            const Outcome run = Fail(n, Words{"-o", out_} + more);
            if (run.status == 0) {
                EXPECT_THAT(ReadPictures(out_)[0].values, EqualTo(wanted));
                EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif", "out.tif"}));
            } else {
                ++failed;
                // The first reads are of the profile.
                EXPECT_THAT(run.status, testing::AnyOf(GetParam().status, GetParam().status == 4 ? 3 : 5)) << run.err;
                EXPECT_EQ(Lines(run.err).size(), run.signal == SIGKILL ? 0U : 1U) << run.err;
                EXPECT_EQ(NamesIn(folder_.path()), before);
                EXPECT_TRUE(more.empty() || FileBytes(out_) == "precious");
            }
            EXPECT_EQ(FileBytes(in_), source);
            if (!Struck()) continue;
            ++struck;
            EXPECT_EQ(run.status == 0, GetParam().status == 0) << run.err;
        }
    }
    EXPECT_GT(struck, GetParam().recipe == kLargeStrip ? 40 : 0);
    EXPECT_EQ(failed > 0, GetParam().status != 0);
    // In place too.
    fs::remove(out_);
    const Outcome run = Fail(1, {"--in-place"});
    ASSERT_TRUE(Struck());
    EXPECT_EQ(FileBytes(in_) == source, run.status != 0) << run.err;
    EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
}

INSTANTIATE_TEST_SUITE_P(Every, FaultTest, testing::ValuesIn(kFaultRows), NameOfRow);

class TemporaryFilesTest : public FileTest {};

TEST_F(TemporaryFilesTest, NamesOfAnotherRunAreNotInTheWay) {
    Make("tiffcp -s -c none -r 16 $in $out");
    // With the process number of the next command, and locked, like the files of a run in progress.
    const auto leave = [&] {
        for (int i = 0; i < 3; ++i) {
            const std::string name = ".hueweave-" + std::to_string(getpid()) + "-" + std::to_string(i) + ".tmp";
            flock(open((folder_ / name).c_str(), O_CREAT | O_WRONLY, 0600), LOCK_EX);
        }
    };
    for (const char* fault : {"", "tmpfile:0:95"}) {
        EXPECT_THAT(Convert({"--force", "-q"}, {.setenv = Faults(fault), .inChild = leave}), Succeeds());
        ExpectSrgb(out_, in_);
        EXPECT_EQ(NamesIn(folder_.path()).size(), 5U) << "three that were left, and two";
        Shell("rm " + Quoted(folder_.path()) + "/.hueweave-*");
    }
}

class ResourceExhaustionTest : public BatchTest {
protected:
    ResourceExhaustionTest() { Copy("n", 24); }
    /// Many threads with a scarce resource: at worst a file is not converted, and a later run can convert it.
    void ExpectNothingWorseThanRefusals(__rlimit_resource resource, rlim_t limit) {
        const Words words{scans_, "-o", out_, "-q"};
        const Outcome run = ConvertScan(words + Words{"-j", "64"}, {.limits = {{resource, limit}}});
        EXPECT_EQ(run.signal, 0) << limit;
        for (const std::string& line : Lines(run.err)) {
            EXPECT_THAT(line, testing::AnyOf(HasSubstr("lower -j"), HasSubstr("--resume will not")));
        }
        EXPECT_THAT(ConvertScan(words + Words{"-j", "2", "--resume"}), Succeeds());
        EXPECT_EQ(Outputs().size(), 27U);
        for (const std::string& name : Outputs()) ExpectSrgb(out_ + "/" + name, scans_ + "/" + name);
        fs::remove_all(out_);
    }
};

// Not with sanitizers: they reserve more address space than there is memory, and without a free descriptor they cannot
// examine an object and report it as invalid.
#ifndef __SANITIZE_ADDRESS__
TEST_F(ResourceExhaustionTest, OpenFilesOrMemory) {
    for (const rlim_t limit : {12U, 16U, 24U, 40U}) ExpectNothingWorseThanRefusals(RLIMIT_NOFILE, limit);
    for (const rlim_t megabytes : {60U, 70U, 80U, 120U}) {
        ExpectNothingWorseThanRefusals(RLIMIT_AS, (megabytes << 20) + (rlim_t{kCountsKb} << 10));
    }
}
#endif

/// A failure of one file of many does not affect the others.
class ExceptionsTest : public BatchTest {};

TEST_F(ExceptionsTest, AffectOnlyTheirOwnFile) {
    const std::pair<std::string, std::string> rows[] = {
        {"-3", ": declares sizes that do not fit in memory; get a complete copy of the file"},
        {"-4", ": needs more memory than is available; lower -j"},
        {"-5", ": cannot be processed, for an unexpected reason (odd); please report it, with the file"}};
    for (const auto& [what, reason] : rows) {
        // The profile is read in one call, so the fourth read is of the first file.
        const test::Run fourth{.setenv = Faults("pread:4:" + what)}, third{.setenv = Faults("pread:3:" + what)};
        const Outcome run = ConvertAll({"-j", "1", "--json"}, fourth);
        EXPECT_THAT(run, Says(1, "hueweave: " + a_ + reason + "\n", "2 converted, 1 refused"));
        EXPECT_EQ(Outputs(), (Names{"b.TIFF", "deep/a.tif"}));
        const json refused{{"status", "refused"}, {"reason", a_ + reason}};
        EXPECT_THAT(JsonLines(run.out).at(0), Has(refused));
        fs::remove_all(out_);
        EXPECT_THAT(ConvertScan({a_, "-j", "1", "-o", out_ + ".tif"}, fourth), SaysOnly(4, a_ + reason));
        EXPECT_FALSE(Exists(out_ + ".tif"));
        // The third read of inspect is of the structure of the first file; it goes on with the next one.
        EXPECT_THAT(Hueweave({"inspect", a_, scans_ + "/b.TIFF"}, third),
                    AllOf(SaysOnly(1, a_ + reason), Prints(1, "file: " + scans_ + "/b.TIFF\n")));
    }
}

TEST_F(ExceptionsTest, InspectReportsNothingThatCouldNotBeRead) {
    // However late the failing read is: the pages may be known by then, but not whether they can be converted.
    int refused = 0;
    for (int n = 1; n <= 9; ++n) {
        const Outcome run = Hueweave({"inspect", a_}, {.setenv = Faults("pread:" + std::to_string(n) + ":5")});
        if (run.status == 0) {
            EXPECT_THAT(run.out, HasSubstr("why: " + scans_ + "/a.tif: embeds no profile;")) << n;
            continue;
        }
        ++refused;
        EXPECT_THAT(run, Says(4, "a.tif: cannot be read (Input/output error)"));
        EXPECT_EQ(run.out, "") << n;
    }
    EXPECT_GT(refused, 5);
}

}  // namespace
}  // namespace hueweave::test
