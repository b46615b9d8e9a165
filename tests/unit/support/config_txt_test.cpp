// SPDX-License-Identifier: MIT
// A settings file as an object: which files are read, the effect of a second read, the look-ups and the setters.
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <memory>

#include "support/ByteWriter.h"
#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

namespace fs = std::filesystem;

using ConfigTXTFiles = ConfigTest;
const Sections kOneSection = {{"S", {{"a", "1"}}}};
constexpr const char* kOneSectionText = "S\na=1\nSend\n";

TEST_F(ConfigTXTFiles, WithoutANameReadingFails) {
    EXPECT_EQ(config_.fileName, "");
    EXPECT_TRUE(config_.sections.empty());
    EXPECT_EQ(config_.ReadTxt(), -1);
    EXPECT_EQ(config_.Initial(nullptr), -1);
    EXPECT_TRUE(config_.sections.empty());
}

TEST_F(ConfigTXTFiles, ReadTxtReadsTheNamedFileAnew) {
    Read(kOneSectionText);
    EXPECT_EQ(config_.fileName, Path());
    EXPECT_EQ(config_.sections, kOneSection);
    PutText(Path(), "S\na=2\nSend\n");
    EXPECT_EQ(config_.sections, kOneSection) << "what was read stays";
    EXPECT_EQ(config_.ReadTxt(), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "2"}}}}));
}

TEST_F(ConfigTXTFiles, ASecondFileMergesWholeSections) {
    PutText(Path("one"), "S\na=1\nb=2\nSend\nT\nc=3\nTend\n");
    PutText(Path("two"), "U\nd=4\nUend\nS\nb=5\nSend\n");
    fs::create_symlink(Path("two"), Path("link"));
    PutText(Path("empty"), "");
    for (const char* name : {"one", "link", "empty"}) EXPECT_EQ(Initial(Path(name)), 0);
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"b", "5"}}}, {"T", {{"c", "3"}}}, {"U", {{"d", "4"}}}}));
    EXPECT_EQ(config_.fileName, Path("empty"));
}

TEST_F(ConfigTXTFiles, AFileThatCannotBeOpenedLeavesTheSectionsAndPrintsNothing) {
    Read(kOneSectionText);
    fs::create_symlink(Path("none"), Path("dangling"));
    for (const std::string& path :
         {Path("none"), Path() + "/below", std::string(), std::string(5000, 'x'), Path("dangling")}) {
        EXPECT_EQ(Initial(path), -1) << path;
        EXPECT_EQ(config_.fileName, path);
        EXPECT_EQ(config_.ReadTxt(), -1) << path;
        EXPECT_EQ(config_.sections, kOneSection);
    }
    EXPECT_FALSE(fs::exists(Path("none"))) << "nor is one made";
}

TEST_F(ConfigTXTFiles, NonRegularFilesCountAsEmpty) {
    Read(kOneSectionText);
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    // A folder, an endless word, an empty device, a pipe without a writer, and the memory of this process, a regular
    // file whose first bytes cannot be read.
    for (const std::string& path : {fs::path(Path()).parent_path().string(), std::string("/dev/zero"),
                                    std::string("/dev/null"), Path("pipe"), std::string("/proc/self/mem")}) {
        EXPECT_EQ(Initial(path), 0) << path;
        EXPECT_EQ(config_.fileName, path);
        EXPECT_EQ(config_.sections, kOneSection);
    }
}

constexpr std::size_t kRoom = 128;  // size in bytes of the caller's buffer for a text

class ConfigTXTLookup : public ConfigTest {
protected:
    void SetUp() override { Read(text_); }
    /// A caller's buffer of '#' after a look-up; nothing before and behind it may change.
    std::string Room(const char* section, const char* key, const char* byDefault) {
        std::string all(3 * kRoom, '#');
        EXPECT_EQ(config_.GetString(section, key, byDefault, &all[kRoom]), 0);
        const std::string room = all.substr(kRoom, kRoom);
        EXPECT_EQ(all.erase(kRoom, kRoom), std::string(2 * kRoom, '#'));
        return room;
    }
    std::string Get(const char* section, const char* key, const char* byDefault) {
        return Room(section, key, byDefault).c_str();
    }
    const std::string text_ = "S\na=1\nempty=\nword=some value\n=nameless\nSend\nT\nTend\n";
};

TEST_F(ConfigTXTLookup, GivesTheValueOfAKeyThatIsThere) {
    EXPECT_EQ(Get("S", "a", "default"), "1");
    EXPECT_EQ(Get("S", "word", "default"), "somevalue");
    EXPECT_EQ(Get("S", "empty", "default"), "");
    EXPECT_EQ(Get("S", "", "default"), "nameless");
}

TEST_F(ConfigTXTLookup, GivesTheDefaultForWhatIsNotThere) {
    constexpr const char* kNone = nullptr;
    const char* const absent[][2] = {{"S", "b"}, {"T", "a"},  {"U", "a"},   {"", ""},    {"s", "a"},
                                     {"S", "A"}, {"S", " a"}, {kNone, "a"}, {"S", kNone}};
    for (const auto& [section, key] : absent) {
        EXPECT_EQ(Get(section, key, "default"), "default");
        EXPECT_EQ(Get(section, key, ""), "");
        for (const int byDefault : {0, 1, -1, INT_MAX, INT_MIN}) {
            EXPECT_EQ(config_.GetInt(section, key, byDefault), byDefault);
        }
    }
}

TEST_F(ConfigTXTLookup, ANullDefaultOrTargetIsLeftAlone) {
    EXPECT_EQ(Room("S", "b", nullptr), std::string(kRoom, '#'));
    EXPECT_EQ(Get("S", "a", nullptr), "1");
    EXPECT_EQ(config_.GetString("S", "a", "default", nullptr), 0);
    EXPECT_EQ(config_.GetString("S", "b", "default", nullptr), 0);
}

/// The letters a to z, repeated.
std::string Letters(std::size_t count) {
    std::string text(count, ' ');
    for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

TEST_F(ConfigTXTLookup, CopiesATextOf127WithItsTerminatorAndCutsOneOf128) {
    for (const std::size_t size : {0U, 1U, 63U, 126U, 127U, 128U, 129U, 5000U}) {
        SCOPED_TRACE(size);
        const std::string text = Letters(size);
        const std::string copied = (text + '\0').substr(0, kRoom);
        Read("S\nk=" + text + "\nSend\n");
        // Allocated on the heap to the exact size, so that a sanitizer detects a read past the end of the default. A
        // default of 128 bytes or more needs no terminator.
        const std::size_t held = size < kRoom ? size + 1 : size;
        const auto byDefault = std::make_unique<char[]>(held);
        std::copy(text.begin(), text.end(), byDefault.get());
        for (const char* key : {"k", "none"}) {
            EXPECT_EQ(Room("S", key, byDefault.get()), copied + std::string(kRoom - copied.size(), '#'));
        }
    }
}

TEST_F(ConfigTXTLookup, ANumberIsReadUpToItsLastDigit) {
    const std::pair<int, std::vector<std::string>> rows[] = {
        {0, {"0", "abc", "", "-", "--1", "0x10", "a1", "true", "-99999999999999999999"}},
        {1, {"1e3", "1,5", "4294967297"}},
        {5, {"+5"}},
        {6, {"6\r"}},
        {7, {"007"}},
        {8, {"\t8", "8\t9"}},
        {9, {"9.9"}},
        {12, {"12", "12abc", "1 2", "1 = 2"}},
        {-7, {"-7", "- 7"}},
        {INT_MAX, {"2147483647"}},
        {INT_MIN, {"-2147483648", "2147483648"}},
        // The low bits of a number that is limited to the range of 64 bits.
        {-1, {"-4294967297", "99999999999999999999"}},
    };
    for (const auto& [number, values] : rows) {
        for (const std::string& value : values) {
            Read("S\nk=" + value + "\nSend\n");
            EXPECT_EQ(config_.GetInt("S", "k", 99), number) << value;
        }
    }
}

TEST_F(ConfigTXTLookup, AMissingSectionIsAddedButNeverARow) {
    Sections expected = config_.sections;
    Get("S", "b", "default");
    config_.GetInt("S", "c", 1);
    EXPECT_EQ(config_.sections, expected);
    Get("U", "a", "default");
    config_.GetInt("V", "a", 1);
    Get("", "", "");
    for (const char* name : {"U", "V", ""}) expected[name];
    EXPECT_EQ(config_.sections, expected);
    Read("U\na=5\nUend\n");
    EXPECT_EQ(config_.GetInt("U", "a", 0), 5) << "a reading replaces it";
}

TEST_F(ConfigTXTLookup, SettersStoreAndPrintNothing) {
    const Sections before = config_.sections;
    testing::internal::CaptureStdout();
    for (const char* text : {"S", "New", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(config_.SetInt(text, "a", 5), 0);
        EXPECT_EQ(config_.SetInt("S", text, 6), 0);
        EXPECT_EQ(config_.SetString(text, "a", "five"), 0);
        EXPECT_EQ(config_.SetString("S", text, text), 0);
    }
    EXPECT_EQ(config_.sections, before);
    EXPECT_EQ(config_.fileName, Path());
    EXPECT_EQ(config_.GetInt("S", "a", 0), 1) << "what the file said";
    EXPECT_EQ(ReadFile(Path()), ByteWriter().Text(text_).Done()) << "and still says";
    Get("U", "a", "default");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "nor does a look-up print";
}

}  // namespace
}  // namespace hueweave::test
