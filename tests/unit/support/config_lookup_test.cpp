// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <algorithm>
#include <climits>
#include <memory>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

constexpr std::size_t kRoom = 128;  // bytes that a caller has for a text

/// A caller's room of 128 bytes between fences.
class Target {
public:
    Target() : bytes_(kFence + kRoom + kFence, '#') {}
    char* Data() { return bytes_.data() + kFence; }
    std::string Room() const { return {bytes_.data() + kFence, kRoom}; }
    std::string Text() const { return bytes_.data() + kFence; }
    bool FencesStand() const {
        const auto fence = [&](std::size_t from) { return bytes_.substr(from, kFence) == std::string(kFence, '#'); };
        return fence(0) && fence(kFence + kRoom);
    }

private:
    static constexpr std::size_t kFence = 300;
    std::string bytes_;
};

/// Letters a to z over and over.
std::string Letters(std::size_t count) {
    std::string text(count, ' ');
    for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i % 26);
    return text;
}

class ConfigLookupTest : public ConfigTest {
protected:
    void SetUp() override { Read("S\na=1\nempty=\nword=some value\n=nameless\nSend\nT\nTend\n"); }
    std::string Get(const char* section, const char* key, const char* byDefault) {
        Target out;
        EXPECT_EQ(config_.GetString(section, key, byDefault, out.Data()), 0);
        EXPECT_TRUE(out.FencesStand());
        return out.Text();
    }
};

// ---- texts

TEST_F(ConfigLookupTest, GivesTheValueOfAKeyThatIsThere) {
    EXPECT_EQ(Get("S", "a", "default"), "1");
    EXPECT_EQ(Get("S", "word", "default"), "somevalue");
    EXPECT_EQ(Get("S", "empty", "default"), "");
    EXPECT_EQ(Get("S", "", "default"), "nameless");
}

TEST_F(ConfigLookupTest, GivesTheDefaultForWhatIsNotThere) {
    EXPECT_EQ(Get("S", "b", "default"), "default");
    EXPECT_EQ(Get("T", "a", "default"), "default") << "a key of another section";
    EXPECT_EQ(Get("U", "a", "default"), "default");
    EXPECT_EQ(Get("", "", "default"), "default");
    EXPECT_EQ(Get("s", "a", ""), "");
    EXPECT_EQ(Get("S", "A", "default"), "default");
    EXPECT_EQ(Get("S", " a", "default"), "default") << "spaces of the caller's stay";
}

TEST_F(ConfigLookupTest, AnEmptyObjectGivesTheDefault) {
    ConfigTXT config;
    Target out;
    EXPECT_EQ(config.GetString("S", "a", "default", out.Data()), 0);
    EXPECT_EQ(out.Text(), "default");
    EXPECT_EQ(config.GetInt("S", "a", 7), 7);
}

TEST_F(ConfigLookupTest, NamesThatAreNullFindTheDefault) {
    EXPECT_EQ(Get(nullptr, "a", "default"), "default");
    EXPECT_EQ(Get("S", nullptr, "default"), "default");
    EXPECT_EQ(config_.GetInt(nullptr, "a", 7), 7);
    EXPECT_EQ(config_.GetInt("S", nullptr, 7), 7);
}

TEST_F(ConfigLookupTest, ANullDefaultOrTargetIsLeftAlone) {
    Target out;
    EXPECT_EQ(config_.GetString("S", "b", nullptr, out.Data()), 0);
    EXPECT_EQ(out.Room(), std::string(kRoom, '#'));
    EXPECT_EQ(config_.GetString("S", "a", nullptr, out.Data()), 0);
    EXPECT_EQ(out.Text(), "1");
    EXPECT_EQ(config_.GetString("S", "a", "default", nullptr), 0);
    EXPECT_EQ(config_.GetString("S", "b", "default", nullptr), 0);
}

class ConfigTextLengthTest : public ConfigTest, public testing::WithParamInterface<std::size_t> {
protected:
    /// What a target holds as far as it has a meaning.
    static void ExpectCopied(const Target& out, const std::string& text) {
        const std::string whole = text + '\0';
        const std::size_t length = std::min(whole.size(), kRoom);
        EXPECT_EQ(out.Room().substr(0, length), whole.substr(0, length));
        EXPECT_TRUE(out.FencesStand());
    }
};

TEST_P(ConfigTextLengthTest, AValueIsCopiedWithItsEndOrCutAt128) {
    const std::string text = Letters(GetParam());
    Read("S\nk=" + text + "\nSend\n");
    Target out;
    EXPECT_EQ(config_.GetString("S", "k", "default", out.Data()), 0);
    ExpectCopied(out, text);
}

TEST_P(ConfigTextLengthTest, ADefaultIsCopiedWithItsEndOrCutAt128) {
    // On the heap to the byte, so that a sanitizer sees a read behind its end.
    const std::string text = Letters(GetParam());
    const auto exact = std::make_unique<char[]>(text.size() + 1);
    std::copy(text.begin(), text.end(), exact.get());
    Target out;
    EXPECT_EQ(config_.GetString("S", "k", exact.get(), out.Data()), 0);
    ExpectCopied(out, text);
}

TEST_P(ConfigTextLengthTest, TheTargetNeedsNoMoreThan128Bytes) {
    const std::string text = Letters(GetParam());
    Read("S\nk=" + text + "\nSend\n");
    const auto exact = std::make_unique<char[]>(kRoom);
    EXPECT_EQ(config_.GetString("S", "k", "default", exact.get()), 0);
    const std::size_t length = std::min(text.size(), kRoom);
    EXPECT_EQ(std::string(exact.get(), length), text.substr(0, length));
    EXPECT_EQ(config_.GetString("S", "none", text.c_str(), exact.get()), 0);
    EXPECT_EQ(std::string(exact.get(), length), text.substr(0, length));
}

INSTANTIATE_TEST_SUITE_P(Every, ConfigTextLengthTest,
                         testing::Values(0, 1, 2, 63, 126, 127, 128, 129, 130, 255, 256, 257, 5000));

TEST_F(ConfigLookupTest, AValueOf127KeepsItsTerminatorAndOneOf128LosesIt) {
    Read("S\nshort=" + Letters(127) + "\nlong=" + Letters(128) + "\nSend\n");
    Target out;
    config_.GetString("S", "short", "", out.Data());
    EXPECT_EQ(out.Room(), Letters(127) + '\0');
    config_.GetString("S", "long", "", out.Data());
    EXPECT_EQ(out.Room(), Letters(128));
}

TEST_F(ConfigLookupTest, ADefaultOf128BytesNeedsNoTerminator) {
    const std::string text = Letters(kRoom);
    const auto exact = std::make_unique<char[]>(kRoom);
    std::copy(text.begin(), text.end(), exact.get());
    Target out;
    EXPECT_EQ(config_.GetString("S", "none", exact.get(), out.Data()), 0);
    EXPECT_EQ(out.Room(), text);
}

TEST_F(ConfigLookupTest, TheDefaultMayBeTheTarget) {
    Target out;
    const std::string text = "default";
    std::copy(text.begin(), text.end(), out.Data());
    out.Data()[text.size()] = '\0';
    EXPECT_EQ(config_.GetString("S", "none", out.Data(), out.Data()), 0);
    EXPECT_EQ(out.Text(), "default");
    EXPECT_EQ(config_.GetString("S", "a", out.Data(), out.Data()), 0);
    EXPECT_EQ(out.Text(), "1");
}

// ---- numbers

struct Number {
    const char* value;
    int number;
};
constexpr Number kNumbers[] = {
    {"0", 0},
    {"12", 12},
    {"-7", -7},
    {"+5", 5},
    {"007", 7},
    {"12abc", 12},
    {"abc", 0},
    {"", 0},
    {"-", 0},
    {"--1", 0},
    {"0x10", 0},
    {"9.9", 9},
    {"1e3", 1},
    {"4 2", 42},
    {"- 3", -3},
    {"1 = 2", 12},
    {"\t8", 8},
    {"8\t9", 8},
    {"6\r", 6},
    {"a1", 0},
    {"1,5", 1},
    {"true", 0},
    {"2147483647", INT_MAX},
    {"-2147483648", INT_MIN},
};

class ConfigNumberTest : public ConfigTest, public testing::WithParamInterface<Number> {};

TEST_P(ConfigNumberTest, IsReadAsFarAsItsDigitsGo) {
    Read("S\nk=" + std::string(GetParam().value) + "\nSend\n");
    EXPECT_EQ(config_.GetInt("S", "k", 99), GetParam().number) << GetParam().value;
}
INSTANTIATE_TEST_SUITE_P(Every, ConfigNumberTest, testing::ValuesIn(kNumbers));

TEST_F(ConfigLookupTest, ANumberThatIsNotThereIsTheDefault) {
    for (const int byDefault : {0, 1, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(config_.GetInt("S", "b", byDefault), byDefault);
        EXPECT_EQ(config_.GetInt("T", "a", byDefault), byDefault);
        EXPECT_EQ(config_.GetInt("U", "a", byDefault), byDefault);
    }
    EXPECT_EQ(config_.GetInt("S", "word", 7), 0) << "a text that is there is no reason for the default";
    EXPECT_EQ(config_.GetInt("S", "empty", 7), 0);
}

TEST_F(ConfigLookupTest, NumbersAreKeptAsText) {
    Read("S\nk=007\nSend\n");
    EXPECT_EQ(config_.GetInt("S", "k", 0), 7);
    EXPECT_EQ(Get("S", "k", ""), "007");
}

// ---- what a look-up leaves behind

TEST_F(ConfigLookupTest, AnAbsentSectionIsAddedEmpty) {
    Sections expected = config_.sections;
    Get("U", "a", "default");
    expected["U"];
    EXPECT_EQ(config_.sections, expected);
    config_.GetInt("V", "a", 1);
    expected["V"];
    EXPECT_EQ(config_.sections, expected);
    Get("", "", "");
    expected[""];
    EXPECT_EQ(config_.sections, expected);
}

TEST_F(ConfigLookupTest, RowsAreNeverAdded) {
    const Sections before = config_.sections;
    Get("S", "b", "default");
    Get("T", "b", "default");
    config_.GetInt("S", "c", 1);
    config_.GetInt("T", "c", 1);
    Get("S", "a", "default");
    EXPECT_EQ(config_.sections, before);
}

TEST_F(ConfigLookupTest, ASectionAddedByALookupIsReplacedByAReading) {
    Get("U", "a", "default");
    Read("U\na=5\nUend\n");
    EXPECT_EQ(config_.GetInt("U", "a", 0), 5);
}

TEST_F(ConfigLookupTest, LookupsPrintNothing) {
    testing::internal::CaptureStdout();
    Get("U", "a", "default");
    config_.GetInt("S", "none", 1);
    config_.SetInt("S", "a", 1);
    config_.SetString("S", "a", "1");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// ---- setters

TEST_F(ConfigLookupTest, SettersStoreNothing) {
    const Sections before = config_.sections;
    const std::string name = config_.fileName;
    EXPECT_EQ(config_.SetInt("S", "a", 5), 0);
    EXPECT_EQ(config_.SetInt("New", "b", 6), 0);
    EXPECT_EQ(config_.SetString("S", "a", "five"), 0);
    EXPECT_EQ(config_.SetString("New", "b", "six"), 0);
    EXPECT_EQ(config_.sections, before);
    EXPECT_EQ(config_.fileName, name);
    EXPECT_EQ(config_.GetInt("S", "a", 0), 1) << "what the file said";
    EXPECT_EQ(Get("S", "a", ""), "1");
}

TEST_F(ConfigLookupTest, SettersIgnoreTheirArguments) {
    const Sections before = config_.sections;
    EXPECT_EQ(config_.SetInt(nullptr, nullptr, 0), 0);
    EXPECT_EQ(config_.SetString(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(config_.sections, before);
}

}  // namespace
}  // namespace hueweave::test
