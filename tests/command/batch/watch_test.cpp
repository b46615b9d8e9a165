// SPDX-License-Identifier: MIT
// "hueweave watch" as a process, observed through its output folder and its messages; and when a file is complete.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <fstream>

#include "batch/watch/FileQueue.h"
#include "batch/watch/WaitingFiles.h"
#include "command/support/Picture.h"

namespace hueweave::test {
namespace {

class WatchTest : public testing::Test {
protected:
    WatchTest() { WriteBytes(in_ + "/a.tif", scan_); }
    /// Runs the command until `meanwhile` has returned and SIGTERM has ended it. `Said` returns its messages so far.
    Outcome Watch(const Words& more, const std::function<void(pid_t)>& meanwhile) const {
        WriteBytes(said_, "");
        const Words words{"watch",    "--precision", "library", "--profile", Input("scanner.icc"),
                          "--settle", "0.1",         in_,       "-o",        out_};
        const test::Run how{.inChild = [this] { HeedModes(), dup2(open(said_.c_str(), O_WRONLY | O_APPEND), 2); },
                            .meanwhile = [&](pid_t child) { meanwhile(child), Terminate(child); }};
        Outcome run = Hueweave(words + more, how);
        run.err = Said();
        return run;
    }
    std::string Said() const { return FileBytes(said_); }
    static void Until(const std::string& what, const std::function<bool()>& holds) {
        for (int tries = 0; tries < 3000 && !holds(); ++tries) usleep(10000);
        EXPECT_TRUE(holds()) << "never happened: " << what;
    }
    void UntilSaid(const std::string& part, std::size_t times = 1) const {
        Until(part, [&] { return CountOf(Said(), part) >= times; });
    }
    void UntilConverted(const std::string& name) const {
        Until(name, [&] { return Exists(out_ + "/" + name); });
    }
    Folder folder_;
    std::string in_ = folder_ / "in", said_ = folder_ / "said", out_ = in_ + "/out",
                scan_ = FileBytes(Input("photo-8.tif"));
};

TEST_F(WatchTest, FilesAreConvertedAsTheyAreFinished) {
    const std::string aside = folder_ / "aside.tif", later = in_ + "/new/deep";
    WriteBytes(aside, scan_);
    fs::create_directory(in_ + "/old");
    const Outcome run = Watch({}, [&](pid_t) {
        UntilConverted("a.tif");
        // A file that is still being written is left alone.
        std::ofstream slow(in_ + "/slow.tif", std::ios::binary);
        slow << scan_.substr(0, scan_.size() / 2) << std::flush;
        fs::create_hard_link(aside, in_ + "/linked.tif");
        UntilConverted("linked.tif");
        fs::rename(aside, in_ + "/old/renamed.tif");
        UntilConverted("old/renamed.tif");
        EXPECT_THAT(Said(), Not(HasSubstr("slow.tif")));
        slow << scan_.substr(scan_.size() / 2);
        slow.close();
        WriteBytes(later + "/b.tif", scan_);
        WriteBytes(later + "/c.tif", scan_);
        WriteBytes(in_ + "/new\nline.tif", scan_);
        for (const char* name : {"slow.tif", "new/deep/b.tif", "new/deep/c.tif", "new\nline.tif"}) UntilConverted(name);
        fs::rename(in_ + "/new", in_ + "/renamed");
        UntilConverted("renamed/deep/b.tif");
        WriteBytes(in_ + "/renamed/deep/d.tif", scan_);
        WriteBytes(in_ + "/.hidden.tif", scan_);
        WriteBytes(in_ + "/notes.txt", scan_);
        UntilConverted("renamed/deep/d.tif");
    });
    EXPECT_THAT(run, Says(0, "/in/new?line.tif -> "));
    ExpectSrgb(out_ + "/a.tif", in_ + "/a.tif");
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(out_)) {
        if (entry.path().extension() != ".tif") continue;
        names.insert(entry.path().lexically_relative(out_));
        EXPECT_EQ(FileBytes(entry.path()), FileBytes(out_ + "/a.tif")) << entry.path();
    }
    EXPECT_THAT(names, testing::ElementsAre("a.tif", "linked.tif", "new\nline.tif", "new/deep/b.tif", "new/deep/c.tif",
                                            "old/renamed.tif", "renamed/deep/b.tif", "renamed/deep/c.tif",
                                            "renamed/deep/d.tif", "slow.tif"));
    EXPECT_THAT(run.err, testing::EndsWith("10 converted, 0 refused\n"));
}

TEST_F(WatchTest, WhatWasConvertedIsNotConvertedAgain) {
    EXPECT_THAT(Watch({}, [&](pid_t) { UntilConverted("a.tif"); }), Succeeds());
    const auto written = fs::last_write_time(out_ + "/a.tif");
    const Outcome run = Watch({"--force", "--json"}, [&](pid_t) {
        WriteBytes(in_ + "/b.tif", scan_);
        UntilConverted("b.tif");
        UntilSaid("/a.tif is done already");
        WriteBytes(in_ + "/b.tif", scan_);
        UntilSaid("/b.tif is done already");
        WriteBytes(in_ + "/b.tif", FileBytes(Input("photo-16.tif")));
        UntilSaid("b.tif -> ", 2);
    });
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(fs::last_write_time(out_ + "/a.tif"), written);
    EXPECT_EQ(CountOf(run.out, "{\"status\":\"skipped\""), 2U) << run.out;
    EXPECT_EQ(CountOf(run.out, "{\"status\":\"converted\""), 2U) << run.out;
    ExpectSrgb(out_ + "/b.tif", Input("photo-16.tif"));
}

TEST_F(WatchTest, ADamagedFileIsReportedOnceAndRetriedWhenItChanges) {
    const std::string part = in_ + "/0.tif";
    const Outcome run = Watch({"-j", "1"}, [&](pid_t) {
        WriteBytes(part, scan_.substr(0, scan_.size() / 3));
        UntilSaid("/0.tif: is truncated");
        WriteBytes(part, scan_.substr(0, scan_.size() / 2));
        WriteBytes(in_ + "/1.tif", scan_);  // taken after the other one
        UntilConverted("1.tif");
        EXPECT_FALSE(Exists(out_ + "/0.tif"));
        WriteBytes(part, scan_);
        UntilConverted("0.tif");
        // Another file with the name of one that was refused is reported.
        WriteBytes(in_ + "/2.tif", "bad");
        UntilSaid("/2.tif: is not a TIFF, PNG or JPEG file");
        WriteBytes(folder_ / "2.tif", "worse");
        fs::rename(folder_ / "2.tif", in_ + "/2.tif");
        UntilSaid("/2.tif: is not a TIFF, PNG or JPEG file", 2);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOf(run.err, "hueweave: "), 3U + 1) << "three refusals and a note at the end: " << run.err;
    EXPECT_EQ(FileBytes(out_ + "/0.tif"), FileBytes(out_ + "/1.tif"));
}

TEST_F(WatchTest, AfterTooManyChangesTheFolderIsListedAgain) {
    std::size_t most = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> most;
    const Outcome run = Watch({}, [&](pid_t child) {
        UntilConverted("a.tif");
        kill(child, SIGSTOP);
        for (std::size_t i = 0; i < most + 10; ++i) {  // equal changes in a row would count as one
            close(open((in_ + (i % 2 == 0 ? "/x" : "/y")).c_str(), O_WRONLY | O_CREAT, 0600));
        }
        WriteBytes(in_ + "/lost/b.tif", scan_);
        kill(child, SIGCONT);
        UntilConverted("lost/b.tif");
        WriteBytes(in_ + "/lost/c.tif", scan_);
        UntilConverted("lost/c.tif");
    });
    EXPECT_THAT(run, Says(0, "too many changes at once"));
    EXPECT_EQ(CountOf(run.err, "/a.tif"), 2U) << "its conversion only: " << run.err;
}

TEST_F(WatchTest, EndsWhenOneOfTheFoldersIsGone) {
    const std::string elsewhere = folder_ / "elsewhere";
    out_ = folder_ / "out";
    for (const auto& [gone, status] : {std::pair{in_, 4}, {out_, 5}}) {
        const auto remove = [&, folder = gone](pid_t) {
            UntilSaid("watching ");
            fs::rename(folder, elsewhere);
            UntilSaid("hueweave: " + folder + ": was removed or renamed, and can no longer be ");
        };
        EXPECT_EQ(Watch({}, remove).status, status);
        fs::rename(elsewhere, gone);
    }
}

TEST_F(WatchTest, OtherSignalsEndItAsTheyEndAConversion) {
    WriteBytes(in_ + "/large.tif", FileBytes(Input("large-16.tif")));
    for (const int signal : {SIGINT, SIGHUP}) {
        fs::remove_all(out_);
        const auto stop = [&](pid_t child) {
            UntilConverted("a.tif");  // the large file is being converted or is waiting
            Terminate(child, signal);
        };
        EXPECT_EQ(Watch({}, stop).signal, signal);
        for (const std::string& name : NamesIn(out_)) EXPECT_THAT(name, Not(testing::EndsWith(".tmp")));
    }
}

TEST_F(WatchTest, LinksAreFollowedOnRequestAndNeverOutOfTheOutputFolder) {
    WriteBytes(folder_ / "elsewhere/b.tif", scan_);
    WriteBytes(in_ + "/deep/c.tif", scan_);
    fs::create_directory_symlink(folder_ / "elsewhere", in_ + "/link");
    fs::create_directory(out_);
    fs::create_directory_symlink("../deep", out_ + "/deep");  // the output would be the source
    for (const bool follow : {false, true}) {
        const Outcome run = Watch(follow ? Words{"--force", "--follow"} : Words{"--force"}, [&](pid_t) {
            UntilSaid("deep/c.tif: would be written outside of " + out_ + ", through a link");
            UntilConverted(follow ? "link/b.tif" : "a.tif");
        });
        EXPECT_EQ(Exists(out_ + "/link"), follow);
        EXPECT_EQ(CountOf(run.err, "1 symbolic link was not followed"), follow ? 0U : 1U) << run.err;
    }
    EXPECT_EQ(FileBytes(in_ + "/deep/c.tif"), scan_);
}

TEST_F(WatchTest, AFolderThatCannotBeReadIsReportedAndTheOthersAreWatched) {
    fs::create_directory(in_ + "/shut");
    fs::permissions(in_ + "/shut", fs::perms::none);
    EXPECT_THAT(Watch({}, [&](pid_t) { UntilConverted("a.tif"); }),
                Says(0, "/shut: cannot be watched (Permission denied), so its files are not converted"));
    fs::permissions(in_, fs::perms::owner_write | fs::perms::owner_exec);
    EXPECT_EQ(Watch({}, [&](pid_t) { UntilSaid("/in: cannot be watched (Permission denied)"); }).status, 4);
    fs::permissions(in_, fs::perms::owner_all);
    EXPECT_THAT(Hueweave({"watch", in_ + "/a.tif", "-o", out_}), Refuses(4, "is not a folder; name a folder to watch"));
}

TEST(FileQueueTest, AFileAloneIsConvertedOnAllThreads) {
    const tool::WakeUp wakeUp;
    std::vector<unsigned> given;
    tool::FileQueue queue(4, wakeUp, [&](const tool::Arrival&, unsigned threads) {
        given.push_back(threads);
        return std::nullopt;
    });
    for (int file = 0; file < 3; ++file) {
        queue.Add({{}});
        pollfd ended{wakeUp.descriptor(), POLLIN, 0};
        ASSERT_EQ(poll(&ended, 1, 10000), 1);
        wakeUp.Clear();
    }
    queue.Stop();
    EXPECT_THAT(given, testing::ElementsAre(4, 4, 4));
}

TEST(WaitingFilesTest, AFileIsTakenOnceItStaysTheSameAndHasNoWriter) {
    const Folder folder;
    const std::string path = folder / "a.tif";
    const auto at = [](int seconds) { return tool::WaitingFiles::Time() + std::chrono::seconds(seconds); };
    tool::WaitingFiles files(std::chrono::seconds(2));
    std::ofstream writer(path);
    files.Notice(path, false, at(0));
    EXPECT_EQ(files.Next(), at(2));
    writer << "more" << std::flush;
    EXPECT_TRUE(files.Take(at(2)).empty()) << "it has changed";
    EXPECT_TRUE(files.Take(at(4)).empty()) << "it is open for writing";
    writer.close();
    const tool::Arrival first = files.Take(at(6)).at(0);
    EXPECT_FALSE(files.Next().has_value());
    files.Finish({first, tool::Exit::Input});
    files.Notice(path, true, at(10));
    EXPECT_TRUE(files.Take(at(12)).empty()) << "it is the same as before";
    WriteBytes(path, "changed");
    files.Notice(path, true, at(20));
    const tool::Arrival second = files.Take(at(22)).at(0);
    EXPECT_EQ(second.told, tool::Exit::Input) << "its refusal was reported";
    files.Notice(path, true, at(22));
    EXPECT_TRUE(files.Take(at(30)).empty()) << "it is in conversion";
    files.Lose(folder.path());
    files.Finish({second, std::nullopt});
    EXPECT_EQ(files.size(), 0U) << "nothing is remembered of files that are gone";
}

}  // namespace
}  // namespace hueweave::test
