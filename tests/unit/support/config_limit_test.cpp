// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// A section closes by itself after 1000 rows, and a file that ends inside a section runs into that limit.
#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

using ConfigLimitTest = ConfigTest;

/// Rows k0 = 0, k1 = 1, ... as text, and as they are kept.
std::string NumberedLines(int count) {
    std::string lines;
    for (int i = 0; i < count; ++i) lines += "k" + std::to_string(i) + " = " + std::to_string(i) + "\n";
    return lines;
}
Rows NumberedRows(int count) {
    Rows rows;
    for (int i = 0; i < count; ++i) rows["k" + std::to_string(i)] = std::to_string(i);
    return rows;
}

TEST_F(ConfigLimitTest, ASectionOf999RowsEndsAtItsMarker) {
    EXPECT_EQ(Read("S\n" + NumberedLines(999) + "Send\nT\nTend\n"), (Sections{{"S", NumberedRows(999)}, {"T", {}}}));
}

TEST_F(ConfigLimitTest, After1000RowsTheMarkerIsASectionOfItsOwn) {
    EXPECT_EQ(Read("S\n" + NumberedLines(1000) + "Send T U\na=1\nSendend\n"),
              (Sections{{"S", NumberedRows(1000)}, {"Send", {{"a", "1"}}}}))
        << "the rest of the marker's line is dropped";
}

TEST_F(ConfigLimitTest, After1000RowsAndAMarkerTheFileEndsInsideThatSection) {
    EXPECT_EQ(Printed("S\n" + NumberedLines(1000) + "Send\n"), LostFrom(0));
    EXPECT_EQ(config_.sections, (Sections{{"S", NumberedRows(1000)}, {"Send", {}}}));
}

TEST_F(ConfigLimitTest, Row1001IsASectionsName) {
    EXPECT_EQ(Printed("S\n" + NumberedLines(1001) + "Send\na=1\nk1000end\n"), Lost("Send"));
    EXPECT_EQ(config_.sections, (Sections{{"S", NumberedRows(1000)}, {"k1000", {{"a", "1"}}}}))
        << "named by the row's first word; the rest of its line is dropped";
}

TEST_F(ConfigLimitTest, AnExact1000RowsAndNoMoreLeaveNothingOver) {
    EXPECT_EQ(Read("S\n" + NumberedLines(1000)), (Sections{{"S", NumberedRows(1000)}}));
    EXPECT_EQ(Read("S\n" + NumberedLines(1000) + "\n // done\nT\nTend\n"),
              (Sections{{"S", NumberedRows(1000)}, {"T", {}}}));
}

TEST_F(ConfigLimitTest, CommentsCount) {
    EXPECT_EQ(Read("S\n" + Repeated("// a=1\n", 999) + "b=2\nSend\nSendend\n"),
              (Sections{{"S", {{"b", "2"}}}, {"Send", {}}}));
}

TEST_F(ConfigLimitTest, LostRowsCount) {
    EXPECT_EQ(Printed("S\n" + Repeated("lost\n", 600) + Repeated("\n", 399) + "b=2\nSend\nSendend\n"),
              Repeated(Lost("lost"), 600) + Repeated(Lost(""), 399));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"b", "2"}}}, {"Send", {}}}));
}

TEST_F(ConfigLimitTest, RowsOfOneKeyCountEach) {
    EXPECT_EQ(Read("S\n" + Repeated("a=1\n", 999) + "a=2\nSend\nSendend\n"),
              (Sections{{"S", {{"a", "2"}}}, {"Send", {}}}));
}

TEST_F(ConfigLimitTest, AllKindsOfRowsCountAlike) {
    const std::string three = "a=1\nlost\n// note\n";
    EXPECT_EQ(Printed("S\n" + Repeated(three, 333) + "Send\n"), Repeated(Lost("lost"), 333)) << "999 rows";
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}}));
    EXPECT_EQ(Printed("S\n" + Repeated(three, 333) + "b=2\nSend\nSendend\n"), Repeated(Lost("lost"), 333))
        << "1000 rows";
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}, {"b", "2"}}}, {"Send", {}}}));
}

TEST_F(ConfigLimitTest, EverySectionCountsFromNought) {
    EXPECT_EQ(Read("S\n" + NumberedLines(700) + "Send\nT\n" + NumberedLines(999) + "Tend\n"),
              (Sections{{"S", NumberedRows(700)}, {"T", NumberedRows(999)}}));
}

TEST_F(ConfigLimitTest, ASectionThatRanFullReplacesAnEarlierOne) {
    EXPECT_EQ(Read("S\nold=1\nSend\nS\n" + NumberedLines(1000)), (Sections{{"S", NumberedRows(1000)}}));
}

TEST_F(ConfigLimitTest, A2500RowSectionBreaksIntoSectionsOf1000) {
    EXPECT_EQ(Printed("S\n" + Repeated("a=1\n", 2500)), LostFrom(2500 - 1000 - 1 - 1000 - 1))
        << "rows 1001 and 2002 are names, a=1 both";
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}}}, {"a=1", {{"a", "1"}}}}));
}

// ---- the file ends inside a section

TEST_F(ConfigLimitTest, ANameAloneIsAnEmptySectionWith1000RowsLost) {
    for (const std::string text : {"S", "S\n", "S and more", "\n S // note\n"}) {
        config_.sections.clear();
        EXPECT_EQ(Printed(text), LostFrom(0)) << text;
        EXPECT_EQ(config_.sections, (Sections{{"S", {}}}));
    }
}

TEST_F(ConfigLimitTest, AFileWithoutTheMarkerKeepsItsRowsAndLosesTheRest) {
    EXPECT_EQ(Printed("S\na=1\nb=2\n"), LostFrom(2));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}, {"b", "2"}}}}));
}

TEST_F(ConfigLimitTest, ALastRowWithoutALineEndIsReadOnce) {
    EXPECT_EQ(Printed("S\na=1\nb=2"), LostFrom(2));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1"}, {"b", "2"}}}}));
    EXPECT_EQ(Printed("S\na=1\nlost"), Lost("lost") + LostFrom(2)) << "the rows behind the end are empty";
}

TEST_F(ConfigLimitTest, AFileThatEndsInARowOfSpacesOrACommentCountsIt) {
    EXPECT_EQ(Printed("S\n  "), Lost("") + LostFrom(1));
    EXPECT_EQ(Printed("S\n// note"), LostFrom(1));
    EXPECT_EQ(Printed("S\n// note\n"), LostFrom(1));
}

TEST_F(ConfigLimitTest, AFileOf999RowsWithoutTheMarkerLosesOne) {
    EXPECT_EQ(Printed("S\n" + NumberedLines(999)), Lost(""));
    EXPECT_EQ(config_.sections, (Sections{{"S", NumberedRows(999)}}));
}

// ---- lines that end in CR LF

TEST_F(ConfigLimitTest, WithCarriageReturnsNoMarkerMatchesAndValuesKeepThem) {
    EXPECT_EQ(Printed("S\r\na = 1\r\nb=\r\nSend\r\n"), Lost("Send\r") + LostFrom(3));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "1\r"}, {"b", "\r"}}}})) << "the name is a word and has none";
}

TEST_F(ConfigLimitTest, WithCarriageReturnsALaterSectionIsRowsOfTheFirst) {
    EXPECT_EQ(Printed("S\r\na=1\r\nSend\r\n\r\nT\r\na=2\r\nTend\r\n"),
              Lost("Send\r") + Lost("\r") + Lost("T\r") + Lost("Tend\r") + LostFrom(6));
    EXPECT_EQ(config_.sections, (Sections{{"S", {{"a", "2\r"}}}}));
}

TEST_F(ConfigLimitTest, AMarkerWithoutTheCarriageReturnOfTheOthersEndsItsSection) {
    EXPECT_EQ(Read("// note\r\nS\r\na=1\r\n// note\r\nSend\nT\r\nTend"), (Sections{{"S", {{"a", "1\r"}}}, {"T", {}}}));
}

TEST_F(ConfigLimitTest, CarriageReturnsAloneMakeOneLine) {
    EXPECT_EQ(Printed("S\ra=1\rSend\r"), LostFrom(0)) << "all behind the name stands on its line";
    EXPECT_EQ(config_.sections, (Sections{{"S", {}}}));
}

}  // namespace
}  // namespace hueweave::test
