// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Settings files as files: which are read, what a second reading does, and that none is written.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <type_traits>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

namespace fs = std::filesystem;

class ConfigFilesTest : public ConfigTest {
protected:
    /// Reads `path`; the result, with nothing printed.
    int Initial(const std::string& path) {
        testing::internal::CaptureStdout();
        const int result = config_.Initial(path.c_str());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << path;
        return result;
    }
};

TEST_F(ConfigFilesTest, ANewObjectIsEmpty) {
    EXPECT_EQ(config_.fileName, "");
    EXPECT_TRUE(config_.sections.empty());
    EXPECT_FALSE(std::is_polymorphic_v<ConfigTXT>);
    EXPECT_EQ(static_cast<const void*>(&config_), &config_.fileName);
    EXPECT_EQ(static_cast<const void*>(&config_.sections), &config_.fileName + 1);
    EXPECT_EQ(sizeof(ConfigTXT), sizeof(std::string) + sizeof(Sections));
}

TEST_F(ConfigFilesTest, InitialStoresTheNameAndReads) {
    PutText(Path(), "S\na=1\nSend\n");
    std::string name = Path();
    EXPECT_EQ(Initial(name), 0);
    name.assign(name.size(), 'x');
    EXPECT_EQ(config_.fileName, Path()) << "a copy";
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
}

TEST_F(ConfigFilesTest, ReadTxtReadsTheFileThatTheNameTells) {
    PutText(Path("one"), "S\na=1\nSend\n");
    PutText(Path("two"), "T\nb=2\nTend\n");
    config_.fileName = Path("one");
    EXPECT_EQ(config_.ReadTxt(), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
    config_.fileName = Path("two");
    EXPECT_EQ(config_.ReadTxt(), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}}));
    EXPECT_EQ(config_.fileName, Path("two"));
}

TEST_F(ConfigFilesTest, ReadTxtReadsAnew) {
    PutText(Path(), "S\na=1\nSend\n");
    EXPECT_EQ(Initial(Path()), 0);
    PutText(Path(), "S\na=2\nSend\n");
    EXPECT_EQ(config_.GetInt("S", "a", 0), 1) << "what was read stays";
    EXPECT_EQ(config_.ReadTxt(), 0);
    EXPECT_EQ(config_.GetInt("S", "a", 0), 2);
}

TEST_F(ConfigFilesTest, ASecondFileMergesWholeSections) {
    PutText(Path("one"), "S\na=1\nb=2\nSend\nT\nc=3\nTend\n");
    PutText(Path("two"), "U\nd=4\nUend\nS\nb=5\nSend\n");
    EXPECT_EQ(Initial(Path("one")), 0);
    EXPECT_EQ(Initial(Path("two")), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"b", "5"}}}, {"T", {{"c", "3"}}}, {"U", {{"d", "4"}}}}));
    EXPECT_EQ(config_.fileName, Path("two"));
}

TEST_F(ConfigFilesTest, AnEmptyFileAfterAFullOneChangesNothing) {
    PutText(Path("one"), "S\na=1\nSend\n");
    PutText(Path("two"), "");
    EXPECT_EQ(Initial(Path("one")), 0);
    EXPECT_EQ(Initial(Path("two")), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
}

TEST_F(ConfigFilesTest, AFileThatCannotBeOpenedLeavesTheMapAndPrintsNothing) {
    PutText(Path(), "S\na=1\nSend\n");
    ASSERT_EQ(Initial(Path()), 0);
    for (const std::string& path : {Path("none"), Path() + "/below", std::string(), std::string(5000, 'x')}) {
        EXPECT_EQ(Initial(path), -1) << path;
        EXPECT_EQ(config_.fileName, path);
        EXPECT_EQ(config_.ReadTxt(), -1) << path;
        EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
    }
    EXPECT_FALSE(fs::exists(Path("none"))) << "nor is one made";
}

TEST_F(ConfigFilesTest, WithoutANameThereIsNoFile) {
    EXPECT_EQ(config_.ReadTxt(), -1);
    EXPECT_EQ(config_.Initial(nullptr), -1);
    EXPECT_TRUE(config_.sections.empty());
}

TEST_F(ConfigFilesTest, FoldersDevicesAndPipesCountAsEmptyFiles) {
    EXPECT_EQ(Initial(fs::path(Path()).parent_path().string()), 0);
    EXPECT_EQ(Initial("/dev/zero"), 0) << "a word without an end";
    EXPECT_EQ(Initial("/dev/null"), 0);
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(Initial(Path("pipe")), 0) << "which nobody writes to";
    EXPECT_TRUE(config_.sections.empty());
}

TEST_F(ConfigFilesTest, ALinkToAFileIsAFile) {
    PutText(Path("one"), "S\na=1\nSend\n");
    fs::create_symlink(Path("one"), Path("link"));
    EXPECT_EQ(Initial(Path("link")), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
    fs::create_symlink(Path("none"), Path("dangling"));
    EXPECT_EQ(Initial(Path("dangling")), -1);
}

TEST_F(ConfigFilesTest, TheFileIsNeverWritten) {
    const std::string text = "S\na=1\nlost\nSend\n";
    PutText(Path(), text);
    fs::permissions(Path(), fs::perms::owner_read);
    const auto written = fs::last_write_time(Path());
    {
        ConfigTXT config;
        testing::internal::CaptureStdout();
        EXPECT_EQ(config.Initial(Path().c_str()), 0) << "reading needs no more than the right to read";
        testing::internal::GetCapturedStdout();
        config.SetInt("S", "a", 2);
        config.SetString("T", "b", "3");
        char out[128];
        config.GetString("U", "c", "default", out);
    }
    EXPECT_EQ(FileText(Path()), text);
    EXPECT_EQ(fs::last_write_time(Path()), written);
}

TEST_F(ConfigFilesTest, TheFileIsClosedAfterTheReading) {
    PutText(Path(), "S\na=1\nSend\n");
    const int before = open("/dev/null", O_RDONLY);
    close(before);
    EXPECT_EQ(Initial(Path()), 0);
    const int after = open("/dev/null", O_RDONLY);
    close(after);
    EXPECT_EQ(after, before) << "the lowest free number";
}

TEST_F(ConfigFilesTest, AFullDeviceAsOutputDoesNotStopTheReading) {
    PutText(Path(), "S\nlost\na=1\nSend\nT\nlost\nb=2\nTend\n");
    std::fflush(stdout);
    const int kept = dup(STDOUT_FILENO);
    const int full = open("/dev/full", O_WRONLY);
    ASSERT_NE(full, -1);
    dup2(full, STDOUT_FILENO);
    const int result = config_.Initial(Path().c_str());
    std::cout.flush();
    std::fflush(stdout);
    dup2(kept, STDOUT_FILENO);
    close(full);
    close(kept);
    std::cout.clear();
    std::clearerr(stdout);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}}));
}

}  // namespace
}  // namespace hueweave::test
