// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The rows of a section: comments, spaces, "=" and the lines printed about what is lost.
#include <iostream>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

using ConfigRowsTest = ConfigTest;

struct GoodRow {
    const char* line;
    const char* key;
    const char* value;
};
constexpr GoodRow kGoodRows[] = {
    {"alpha=1", "alpha", "1"},
    {"alpha = some value", "alpha", "somevalue"},
    {"  al pha  =  1  2  ", "alpha", "12"},
    {"a=b=c", "a", "bc"},
    {"a==b==c==", "a", "bc"},
    {"a = b = = c", "a", "bc"},
    {"a=", "a", ""},
    {"a =  ", "a", ""},
    {"=b", "", "b"},
    {" = ", "", ""},
    {"=", "", ""},
    {"====", "", ""},
    {"==b", "", "b"},
    {"a\t=\tb", "a\t", "\tb"},
    {"\ta=b c\t", "\ta", "bc\t"},
    {"a=b\r", "a", "b\r"},
    {"a\v=\fb", "a\v", "\fb"},
    {"\xc2\xa0=\xe4", "\xc2\xa0", "\xe4"},
    {"a=/", "a", "/"},
    {"a/b=c/d", "a/b", "c/d"},
    {"a=#;\"'\\[]", "a", "#;\"'\\[]"},
    {"Sen=d", "Sen", "d"},
    {"Send=1", "Send", "1"},
    {"S=1", "S", "1"},
};

class ConfigGoodRowTest : public ConfigTest, public testing::WithParamInterface<GoodRow> {};

TEST_P(ConfigGoodRowTest, IsSplitAtItsFirstEqualsSign) {
    EXPECT_EQ(RowsOf(std::string(GetParam().line) + "\n"), (Rows{{GetParam().key, GetParam().value}}));
}
INSTANTIATE_TEST_SUITE_P(Every, ConfigGoodRowTest, testing::ValuesIn(kGoodRows));

struct LostRow {
    const char* line;
    const char* stripped;
};
constexpr LostRow kLostRows[] = {
    {"", ""},
    {" ", ""},
    {"      ", ""},
    {"alpha", "alpha"},
    {" al pha ", "alpha"},
    {"a:b c", "a:bc"},
    {"\t", "\t"},
    {"\ta b\t",
     "\ta"
     "b\t"},
    {"\r", "\r"},
    {"a b\r", "ab\r"},
    {"/", "/"},
    {" / / ", "//"},
    {"%s %d", "%s%d"},
};

class ConfigLostRowTest : public ConfigTest, public testing::WithParamInterface<LostRow> {};

TEST_P(ConfigLostRowTest, IsToldInTwoLinesAndDropped) {
    const std::string line = GetParam().line;
    EXPECT_EQ(Printed("S\na=1\n" + line + "\nb=2\nSend\n"),
              "txt error: The row" + std::string(GetParam().stripped) + "  = is lost!\nWe can not process it !\n");
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}, {"b", "2"}}}})) << "and reading goes on";
}
INSTANTIATE_TEST_SUITE_P(Every, ConfigLostRowTest, testing::ValuesIn(kLostRows));

TEST_F(ConfigRowsTest, EveryLostRowIsToldInItsTurn) {
    EXPECT_EQ(Printed("S\none\n\ntwo words\nSend\nT\nthree\nTend\n"),
              Lost("one") + Lost("") + Lost("twowords") + Lost("three"));
    EXPECT_EQ(config_.sections, (Sections{{"S", {}}, {"T", {}}}));
}

TEST_F(ConfigRowsTest, ALineWithTheMarkAnywhereIsSkippedWhole) {
    EXPECT_EQ(RowsOf("a=1\n//\n// b=2\nc=3 // why\nd=4//\n  //  \npath=C://x\ne//=5\n///\n//f\nSend//\ng=7\n"),
              (Rows{{"a", "1"}, {"g", "7"}}));
}

TEST_F(ConfigRowsTest, ACommentLeavesAnEarlierRowOfItsKey) { EXPECT_EQ(RowsOf("a=1\na=2//\n"), (Rows{{"a", "1"}})); }

TEST_F(ConfigRowsTest, TheMarkIsLookedForBeforeSpacesAndEqualsSignsGo) {
    EXPECT_EQ(RowsOf("a=/ /\nb=/=/\n/ /c=1\n"), (Rows{{"a", "//"}, {"b", "//"}, {"//c", "1"}}));
}

TEST_F(ConfigRowsTest, ALaterRowOfAKeyOverwritesTheEarlier) {
    EXPECT_EQ(RowsOf("a=1\nb=2\na=3\n a = 4\n"), (Rows{{"a", "4"}, {"b", "2"}}));
    EXPECT_EQ(RowsOf("a=1\na=\n"), (Rows{{"a", ""}}));
}

TEST_F(ConfigRowsTest, KeysThatDifferInCaseOrTabsAreTwo) {
    EXPECT_EQ(RowsOf("a=1\nA=2\na\t=3\n"), (Rows{{"a", "1"}, {"A", "2"}, {"a\t", "3"}}));
}

TEST_F(ConfigRowsTest, RowsOfOneSectionAreNotThoseOfAnother) {
    EXPECT_EQ(Read("S\na=1\nSend\nT\nb=2\nTend\n"), (Sections{{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}}));
}

TEST_F(ConfigRowsTest, ALongLineIsOneRow) {
    const std::string key(5000, 'k');
    const std::string value(200000, 'v');
    EXPECT_EQ(RowsOf(key + " = " + value + "\n"), (Rows{{key, value}}));
}

TEST_F(ConfigRowsTest, AZeroByteIsAByteLikeAnyOther) {
    using std::string_literals::operator""s;
    EXPECT_EQ(RowsOf("a\0b=c\0d\n"s), (Rows{{"a\0b"s, "c\0d"s}}));
}

TEST_F(ConfigRowsTest, APrintThatFailsDoesNotStopTheReading) {
    PutText(Path(), "S\nlost\na=1\nlost\nSend\nT\nb=2\nTend\n");
    testing::internal::CaptureStdout();
    std::cout.setstate(std::ios::failbit);
    EXPECT_EQ(config_.Initial(Path().c_str()), 0);
    std::cout.clear();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}}));
}

}  // namespace
}  // namespace hueweave::test
