// SPDX-License-Identifier: MIT
// Replaced files: files that appear under the same name during a run, owners and modes, kills, and failing folders.
#include <sys/stat.h>
#include <unistd.h>

#include "command/support/FileTest.h"
#include "command/support/Picture.h"
#include "system/Machine.h"

namespace hueweave::test {
namespace {

class ReplaceTest : public FileTest {
protected:
    ReplaceTest() { Make("tiffcp -s -c none -r 16 $in $out"); }
    Outcome Convert(const Words& more, const std::string& faults = "",
                    const std::function<void()>& inChild = {}) const {
        auto environment = Faults(faults);
        environment["HUEWEAVE_FAULT_FROM"] = newcomer_;
        environment["HUEWEAVE_FAULT_TO"] = newcomersPlace_;
        return ConvertScan(Words{in_} + more, {.setenv = environment, .inChild = inChild});
    }
    static void ExpectConverted(const std::string& path) { ExpectSrgb(path, Input("photo-8.tif")); }
    /// Expects the file that appeared as `path` during the run to be there, and the output of the run not to be.
    void ExpectNewer(const Outcome& run, const std::string& path, const std::string& newer = "newer") const {
        EXPECT_THAT(
            run,
            SaysOnly(5, path + ": was replaced or changed by another program meanwhile, and stays as it is; convert it "
                               "again"));
        EXPECT_EQ(FileBytes(path), newer);
    }
    Folder other_;
    std::string newcomer_ = folder_ / "newcomer", newcomersPlace_;
};

TEST_F(ReplaceTest, ANameThatIsTakenIsRefused) {
    WriteBytes(out_, "old");
    for (const Words& more : {Words{}, Words{"--dry-run"}}) {
        EXPECT_THAT(Convert(Words{"-o", out_} + more),
                    SaysOnly(5, out_ + ": exists already; replace it with --force, or choose another name"));
        EXPECT_EQ(FileBytes(out_), "old");
    }
}

TEST_F(ReplaceTest, AFileThatCameUnderTheNameMeanwhileIsNotLost) {
    // While the source is read and there is no output yet, while the new file is synchronized to the disk, and in the
    // call that would name it. In place, it has the size and the time of the old file.
    const std::string source = FileBytes(in_), newer = source.substr(0, source.size() - 1) + "x";
    ASSERT_NE(newer, source);
    for (const std::string moment : {"pread:6:-1", "fsync:1:-1", "linkat:1:-1", "tmpfile:0:95,fsync:1:-1"}) {
        SCOPED_TRACE(moment);
        newcomersPlace_ = in_;
        WriteBytes(newcomer_, newer);
        fs::last_write_time(newcomer_, fs::last_write_time(in_));
        ExpectNewer(Convert({"--in-place"}, moment), in_, newer);
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
        WriteBytes(in_, source);
        if (moment.starts_with("pread")) continue;

        newcomersPlace_ = out_;
        for (const bool replaced : {true, false}) {  // without an old file, nothing is replaced
            WriteBytes(newcomer_, "newer");
            if (replaced) WriteBytes(out_, "old");
            ExpectNewer(Convert({"-o", out_, "--force"}, moment), out_);
            fs::remove(out_);
        }
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
}

TEST_F(ReplaceTest, AReadOnlyFileStays) {
    WriteBytes(out_, "precious");
    chmod(out_.c_str(), 0444);
    chmod(in_.c_str(), 0444);
    const std::string source = FileBytes(in_);
    const std::string reason = ": is read-only; allow writing to it (chmod u+w), or choose another name with -o";
    for (const char* trial : {"-q", "--dry-run"}) {
        EXPECT_THAT(Convert({"-o", out_, "--force", trial}, "", HeedModes), SaysOnly(5, out_ + reason));
        EXPECT_THAT(Convert({"--in-place", trial}, "", HeedModes), SaysOnly(5, in_ + reason));
    }
    EXPECT_EQ(FileBytes(out_), "precious");
    EXPECT_EQ(FileBytes(in_), source);
    EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif", "out.tif"}));
}

TEST_F(ReplaceTest, TheOwnerIsKeptOrTheFileStays) {
    const Words again{"--in-place", "--source", "given"};
    // The superuser keeps any owner and group; any other user already owns the file.
    const std::vector<uid_t> owners = geteuid() == 0 ? std::vector<uid_t>{12345, 0} : std::vector<uid_t>{geteuid()};
    const gid_t group = geteuid() == 0 ? 12345 : getegid();
    const auto told = [&](const std::string& what) { return Shell("stat -c '" + what + "' " + Quoted(in_)); };
    for (const uid_t owner : owners) {
        ASSERT_EQ(chown(in_.c_str(), owner, group), 0);
        chmod(in_.c_str(), 0660);
        const std::string before = told("%u %g %f"), inode = told("%i");
        EXPECT_EQ(Convert(again).status, 0);
        EXPECT_EQ(told("%u %g %f"), before);
        EXPECT_NE(told("%i"), inode);
    }

    const std::string source = FileBytes(in_);
    for (const std::string way : {"", "tmpfile:0:95,"}) {
        EXPECT_THAT(
            Convert(again, way + "owner:0:54321,fchown:0:1"),
            SaysOnly(5, in_ + ": belongs to a user or group that a new file cannot keep (Operation not permitted); "
                              "convert it as that user, or write to another file with -o"));
        EXPECT_EQ(FileBytes(in_), source);
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
    // Determined by a trial: a user other than the superuser keeps only a file of their own.
    const uid_t owner = geteuid() == 0 ? 54321 : geteuid();
    ASSERT_EQ(chown(in_.c_str(), owner, getegid()), 0);
    EXPECT_EQ(Convert(again + Words{"--dry-run"}, "user:0:" + std::to_string(owner)).status, 0);
    EXPECT_THAT(Convert(again + Words{"--dry-run"}, "user:0:" + std::to_string(owner + 1)),
                Says(5, in_ + ": belongs to a user or group that a new file cannot keep"));
    EXPECT_EQ(Convert({"-o", out_, "--dry-run"}, "user:0:" + std::to_string(owner + 1)).status, 0);
}

TEST_F(ReplaceTest, WhatAKilledRunLeftIsRemovedByTheNext) {
    const auto own = [](const std::string& number) {
        return ".hueweave-" + tool::MachineName() + "-1-" + number + ".tmp";
    };
    // Not the names of temporary files.
    Words stay{".hueweave-1-2.tmp.tif", ".hueweave-a-b.tmp", own("2-3"), ".hueweave-notes.tmp"};
    for (const std::string& name : stay) WriteBytes(folder_ / name, "mine");
    WriteBytes(other_ / "victim", "mine");
    fs::create_symlink(other_ / "victim", folder_ / own("3"));
    stay.insert(stay.end(), {own("3"), "in.tif", "out.tif"});
    if (geteuid() == 0) {  // a file of another user, which only the superuser can make
        WriteBytes(folder_ / own("4"), "theirs");
        ASSERT_EQ(chown((folder_ / own("4")).c_str(), 12345, 12345), 0);
        stay.push_back(own("4"));
    }
    for (const std::string moment : {"linkat:1:-7", "tmpfile:0:95,fsync:1:-7"}) {
        WriteBytes(out_, "old");
        EXPECT_EQ(Convert({"-o", out_, "--force"}, moment).signal, SIGKILL);
        EXPECT_EQ(FileBytes(out_), "old");
        EXPECT_EQ(NamesIn(folder_.path()).size(), stay.size() + 1) << "the test is to leave one behind";
        EXPECT_THAT(Convert({"-o", out_, "--force"}),
                    Says(0, "note: " + folder_.path() + ": 1 temporary file of a killed run removed\n"));
        ExpectConverted(out_);
        EXPECT_THAT(NamesIn(folder_.path()), testing::UnorderedElementsAreArray(stay));
    }
    EXPECT_EQ(FileBytes(other_ / "victim"), "mine");
}

TEST_F(ReplaceTest, WhatARunOnAnotherMachineLeftIsRemovedAfterAnHour) {
    // That machine may be writing it, with a lock that is not seen here.
    const std::string theirs = folder_ / ".hueweave-other_machine-1-2.tmp";
    WriteBytes(theirs, "theirs");
    EXPECT_EQ(Convert({"-o", out_}).status, 0);
    EXPECT_TRUE(Exists(theirs));
    const std::string age = "touch -d '61 minutes ago' ";
    Shell(age + Quoted(theirs));
    EXPECT_EQ(Convert({"-o", out_, "--force"}).status, 0);
    EXPECT_FALSE(Exists(theirs));
    // So is any file on a file system without locks.
    const std::string ours = folder_ / (".hueweave-" + tool::MachineName() + "-1-2.tmp");
    WriteBytes(ours, "ours");
    for (const bool old : {false, true}) {
        if (old) Shell(age + Quoted(ours));
        EXPECT_EQ(Convert({"-o", out_, "--force"}, "flock:0:37").status, 0);
        EXPECT_EQ(Exists(ours), !old);
    }
}

TEST_F(ReplaceTest, SharedStorageNeedsNoOptionalSystemCalls) {
    const std::string unnamed = "tmpfile:0:95,", checked = "noreplace:0:22,", source = FileBytes(in_);
    for (const std::string& missing :
         {unnamed + "flock:0:37", unnamed + checked + "flock:0:37", unnamed + checked + "link:0:1",
          unnamed + checked + "link:0:95", unnamed + checked + "link:0:38", std::string("proc:0:2,linkat:0:2")}) {
        SCOPED_TRACE(missing);
        EXPECT_THAT(Convert({"-o", out_, "-q"}, missing), AllOf(Succeeds(), testing::Field(&Outcome::err, "")));
        ExpectConverted(out_);
        EXPECT_THAT(Convert({"-o", out_}, missing), Says(5, "exists already"));
        // A file that appears during the conversion stays as well.
        fs::remove(out_);
        WriteBytes(newcomer_, "newer");
        newcomersPlace_ = out_;
        EXPECT_THAT(Convert({"-o", out_}, missing + ",fsync:1:-1"), Says(5, "exists already"));
        EXPECT_EQ(FileBytes(out_), "newer");
        // Old files are replaced.
        WriteBytes(out_, "old");
        EXPECT_THAT(Convert({"-o", out_, "--force"}, missing), Succeeds());
        ExpectConverted(out_);
        EXPECT_THAT(Convert({"--in-place"}, missing), Succeeds());
        ExpectConverted(in_);
        WriteBytes(in_, source);
        fs::remove(out_);
        EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    }
}

TEST_F(ReplaceTest, WhatDoesNotReachTheDiskIsRefused) {
    // The file itself, in both ways of writing it.
    for (const std::string way : {"", "tmpfile:0:95,"}) {
        WriteBytes(out_, "old");
        EXPECT_THAT(Convert({"-o", out_, "--force"}, way + "fsync:1:5"),
                    Says(5, "out.tif: cannot be written (Input/output error)"));
        EXPECT_EQ(FileBytes(out_), "old");
        fs::remove(out_);
    }
    // Its folder: a new file is removed, and the replacement of an old one is reported.
    EXPECT_THAT(Convert({"-o", out_}, "fsync:2:5"),
                SaysOnly(5, out_ + ": cannot be written (Input/output error); choose another folder with -o"));
    EXPECT_EQ(NamesIn(folder_.path()), (Words{"in.tif"}));
    // A file that appeared under the name is not removed with it.
    newcomersPlace_ = out_;
    WriteBytes(newcomer_, "newer");
    EXPECT_EQ(Convert({"-o", out_}, "fsync:2:-1,fsync:2:5").status, 5);
    EXPECT_EQ(FileBytes(out_), "newer");
    EXPECT_THAT(
        Convert({"-o", out_, "--force"}, "fsync:2:5"),
        SaysOnly(5, out_ + ": is replaced, but may be the old file after a power cut (Input/output error); check the "
                           "disk"));
    ExpectConverted(out_);
    fs::remove(out_);
    // It is not an error if a folder cannot be synchronized by itself or opened.
    EXPECT_EQ(Convert({"-o", out_}, "fsync:2:22").status, 0);
    fs::remove(out_);
    chmod(folder_.path().c_str(), 0333);
    EXPECT_THAT(Convert({"-o", out_}, "", HeedModes), Succeeds());
    chmod(folder_.path().c_str(), 0755);
    ExpectConverted(out_);
}

}  // namespace
}  // namespace hueweave::test
