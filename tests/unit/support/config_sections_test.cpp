// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The top level of a settings file: words, comments, sections and their end markers.
#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

using ConfigSectionsTest = ConfigTest;

TEST_F(ConfigSectionsTest, AnEmptyFileLeavesTheMapEmpty) { EXPECT_EQ(Read(""), Sections{}); }

TEST_F(ConfigSectionsTest, BlanksAloneLeaveTheMapEmpty) {
    EXPECT_EQ(Read("\n"), Sections{});
    EXPECT_EQ(Read("  \t \n\r\n\n \v\f "), Sections{});
}

TEST_F(ConfigSectionsTest, ASectionEndsAtItsNameWithEndBehindIt) {
    EXPECT_EQ(Read("Gamma\nalpha=1\nGammaend\nBeta\nalpha=2\nbeta=3\nBetaend\n"),
              (Sections{{"Gamma", {{"alpha", "1"}}}, {"Beta", {{"alpha", "2"}, {"beta", "3"}}}}));
}

TEST_F(ConfigSectionsTest, BlankLinesAndLeadingBlanksAreSkippedBeforeAName) {
    EXPECT_EQ(Read("\n \n\t  \v\f\r\n  S\na=1\nSend\n\n\n   \tT\nb=2\nTend"),
              (Sections{{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}}));
}

TEST_F(ConfigSectionsTest, TheLastMarkerNeedsNoLineEnd) {
    EXPECT_EQ(Read("S\na=1\nSend"), (Sections{{"S", {{"a", "1"}}}}));
}

TEST_F(ConfigSectionsTest, WhatStandsBehindANameOnItsLineIsIgnored) {
    EXPECT_EQ(Read("S T a=1 Send\nb=2\nSend\n"), (Sections{{"S", {{"b", "2"}}}}));
    EXPECT_EQ(Read("S\t= x\nSend\n"), (Sections{{"S", {}}}));
    EXPECT_EQ(Read("S   \nSend\n"), (Sections{{"S", {}}}));
}

TEST_F(ConfigSectionsTest, ACommentBehindANameMakesItNoComment) {
    EXPECT_EQ(Read("S // about S\na=1\nSend\n"), (Sections{{"S", {{"a", "1"}}}}));
}

TEST_F(ConfigSectionsTest, AWordWithTheMarkAnywhereDropsItsLine) {
    for (const std::string word : {"//", "//x", "x//", "x//y", "///", "S//", "http://S"}) {
        EXPECT_EQ(Read(word + " T U\nS\na=1\nSend\n"), (Sections{{"S", {{"a", "1"}}}})) << word;
    }
}

TEST_F(ConfigSectionsTest, ACommentDropsOneLineAndNoMore) {
    EXPECT_EQ(Read("//\nS\nSend\n"), (Sections{{"S", {}}}));
    EXPECT_EQ(Read("// one\n// two\n\n  // three\nS\nSend\n// four"), (Sections{{"S", {}}}));
}

TEST_F(ConfigSectionsTest, ACommentAtTheVeryEndLeavesTheMapEmpty) {
    EXPECT_EQ(Read("//"), Sections{});
    EXPECT_EQ(Read("// S"), Sections{});
    EXPECT_EQ(Read("//\n"), Sections{});
}

TEST_F(ConfigSectionsTest, OneSlashOrTwoApartAreNoComment) {
    EXPECT_EQ(Read("/\na=1\n/end\n"), (Sections{{"/", {{"a", "1"}}}}));
    EXPECT_EQ(Printed("/ /\nSend\n/end\n/x/\n/x/end\n"), Lost("Send"));
    EXPECT_EQ(config_.sections, (Sections{{"/", {}}, {"/x/", {}}}));
}

TEST_F(ConfigSectionsTest, ANameMayHoldAnythingButBlanksAndTheMark) {
    EXPECT_EQ(Read("a=b\n=c=\na=bend\n"), (Sections{{"a=b", {{"", "c"}}}}));
    EXPECT_EQ(Read("[x]\n[x]end\n"), (Sections{{"a=b", {{"", "c"}}}, {"[x]", {}}}));
    EXPECT_EQ(Read("\xc3\xa4\n\xc3\xa4"
                   "end\n")
                  .count("\xc3\xa4"),
              1U);
}

TEST_F(ConfigSectionsTest, TheWordEndAloneIsASectionLikeAnyOther) {
    EXPECT_EQ(Read("end\na=1\nendend\n"), (Sections{{"end", {{"a", "1"}}}}));
}

TEST_F(ConfigSectionsTest, AWordOutsideASectionOpensOneEvenIfItIsAMarker) {
    EXPECT_EQ(Read("Send\na=1\nSendend\n"), (Sections{{"Send", {{"a", "1"}}}}));
}

struct NoMarker {
    const char* line;
    const char* stripped;
};
constexpr NoMarker kNoMarkers[] = {
    {"end", "end"},
    {" Gammaend", "Gammaend"},
    {"Gammaend ", "Gammaend"},
    {"Gamma end", "Gammaend"},
    {"gammaend", "gammaend"},
    {"GammaEnd", "GammaEnd"},
    {"GAMMAEND", "GAMMAEND"},
    {"Gammaen", "Gammaen"},
    {"Gammaends", "Gammaends"},
    {"Gamma", "Gamma"},
    {"xGammaend", "xGammaend"},
    {"Gammaend\t", "Gammaend\t"},
    {"Betaend", "Betaend"},
    {"Gammaend\r", "Gammaend\r"},
};

class ConfigMarkerTest : public ConfigTest, public testing::WithParamInterface<NoMarker> {};

TEST_P(ConfigMarkerTest, OnlyTheVeryLineEndsASection) {
    const std::string line = GetParam().line;
    EXPECT_EQ(Printed("Gamma\na=1\n" + line + "\nb=2\nGammaend\n"), Lost(GetParam().stripped));
    EXPECT_EQ(config_.sections, (Sections{{"Gamma", {{"a", "1"}, {"b", "2"}}}}));
}
INSTANTIATE_TEST_SUITE_P(Every, ConfigMarkerTest, testing::ValuesIn(kNoMarkers));

TEST_F(ConfigSectionsTest, TheMarkerIsLookedForBeforeARow) {
    EXPECT_EQ(Read("a=b\nc=1\na=bend\n"), (Sections{{"a=b", {{"c", "1"}}}})) << "a=bend is no row of key a";
}

TEST_F(ConfigSectionsTest, ASectionsStandApartInsideOneAnother) {
    EXPECT_EQ(Printed("S\na=1\nT\nb=2\nTend\nSend\n"), Lost("T") + Lost("Tend"));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}, {"b", "2"}}}}));
}

TEST_F(ConfigSectionsTest, ASecondSectionOfANameReplacesTheFirst) {
    EXPECT_EQ(Read("S\na=1\nb=2\nSend\nT\nc=3\nTend\nS\nb=4\nSend\n"),
              (Sections{{"S", {{"b", "4"}}}, {"T", {{"c", "3"}}}}));
}

TEST_F(ConfigSectionsTest, EvenAnEmptyOneReplacesTheFirst) {
    EXPECT_EQ(Read("S\na=1\nSend\nS\nSend\n"), (Sections{{"S", {}}}));
}

TEST_F(ConfigSectionsTest, AWordWithoutALineEndAtTheVeryEndIsHandled) {
    EXPECT_EQ(Printed("S\na=1\nSend\nT"), LostFrom(0));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}, {"T", {}}}));
}

TEST_F(ConfigSectionsTest, NamesAndKeysStandInTheOrderOfTheirBytes) {
    const Sections& sections = Read(
        "b\nbend\na\nk=\nkk=\nK=\n\xe4=\n1=\nj=\n=\naend\nab\nabend\nB\nBend\n\xff\n\xff"
        "end\n");
    std::vector<std::string> names;
    for (const auto& [name, rows] : sections) names.push_back(name);
    EXPECT_EQ(names, (std::vector<std::string>{"B", "a", "ab", "b", "\xff"}));
    std::vector<std::string> keys;
    for (const auto& [key, value] : sections.at("a")) keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"", "1", "K", "j", "k", "kk", "\xe4"}));
}

}  // namespace
}  // namespace hueweave::test
