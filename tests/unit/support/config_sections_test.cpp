// SPDX-License-Identifier: MIT
// The text of a settings file: sections, rows, comments, and the output for a row that is lost.
#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

using ConfigTXTSections = ConfigTest;

TEST_F(ConfigTXTSections, ASectionEndsAtItsNameFollowedByEnd) {
    ExpectRead("Gamma\nalpha=1\nGammaend\nBeta\nalpha=2\nbeta=3\nBetaend\n",
               {{"Gamma", {{"alpha", "1"}}}, {"Beta", {{"alpha", "2"}, {"beta", "3"}}}});
    ExpectRead("S\na=1\nSend", {{"S", {{"a", "1"}}}});  // the last marker needs no line end
}

TEST_F(ConfigTXTSections, BlankLinesAndLeadingBlanksAreSkippedBeforeAName) {
    for (const char* text : {"", "\n", "  \t \n\r\n\n \v\f "}) ExpectRead(text, {});
    ExpectRead("\n \n\t  \v\f\r\n  S\na=1\nSend\n\n\n   \tT\nb=2\nTend", {{"S", {{"a", "1"}}}, {"T", {{"b", "2"}}}});
}

TEST_F(ConfigTXTSections, TextAfterANameOnItsLineIsIgnored) {
    for (const char* behind : {" T a=1 Send", "\t= x", "   ", " // about S"}) {
        ExpectRead("S" + std::string(behind) + "\nb=2\nSend\n", {{"S", {{"b", "2"}}}});
    }
}

TEST_F(ConfigTXTSections, AWordWithTheCommentMarkDropsOnlyItsLine) {
    for (const std::string word : {"//", "//x", "x//", "x//y", "///", "S//", "http://S"}) {
        ExpectRead(word + " T U\nS\na=1\nSend\n", {{"S", {{"a", "1"}}}});
    }
    ExpectRead("//\n// two\n\n  // three\nS\nSend\n// four", {{"S", {}}});
    for (const char* text : {"//", "// S", "//\n"}) ExpectRead(text, {});
}

TEST_F(ConfigTXTSections, ANameMayHoldAnythingButBlanksAndTheCommentMark) {
    ExpectRead("/\na=1\n/end\n/x/\n/x/end\n", {{"/", {{"a", "1"}}}, {"/x/", {}}});
    ExpectRead("/ /\nSend\n/end\n", {{"/", {}}}, Lost("Send"));
    ExpectRead("a=b\n=c=\na=bend\n[\xc3\xa4]\n[\xc3\xa4]end\n", {{"a=b", {{"", "c"}}}, {"[\xc3\xa4]", {}}});
    ExpectRead("Send\na=1\nSendend\n", {{"Send", {{"a", "1"}}}});  // outside a section, a marker is a name
}

/// A row is parsed without its spaces.
std::string Stripped(std::string line) {
    std::erase(line, ' ');
    return line;
}

TEST_F(ConfigTXTSections, OnlyTheExactLineEndsASection) {
    for (const std::string line : {"end", " Gammaend", "Gammaend ", "Gamma end", "gammaend", "GAMMAEND", "Gammaen",
                                   "Gammaends", "Gamma", "xGammaend", "Gammaend\t", "Betaend", "Gammaend\r"}) {
        ExpectRead("Gamma\na=1\n" + line + "\nb=2\nGammaend\n", {{"Gamma", {{"a", "1"}, {"b", "2"}}}},
                   Lost(Stripped(line)));
    }
}

TEST_F(ConfigTXTSections, ASecondSectionOfANameReplacesTheFirstEvenIfEmpty) {
    ExpectRead("S\na=1\nb=2\nSend\nT\nc=3\nTend\nS\nb=4\nSend\n", {{"S", {{"b", "4"}}}, {"T", {{"c", "3"}}}});
    ExpectRead("S\na=1\nSend\nS\nSend\n", {{"S", {}}});
}

using ConfigTXTRows = ConfigTest;

TEST_F(ConfigTXTRows, ARowIsSplitAtItsFirstEqualsSign) {
    const std::pair<Rows, std::vector<std::string>> rows[] = {
        {{{"alpha", "1"}}, {"alpha=1", "  al pha  =  1  "}},
        {{{"a", "bc"}}, {"a=b=c", "a==b==c==", "a = b = = c", "a=b c"}},
        {{{"a", ""}}, {"a=", "a =  "}},
        {{{"", "b"}}, {"=b", "==b"}},
        {{{"", ""}}, {"=", " = ", "===="}},
        {{{"a\t", "\tb"}}, {"a\t=\tb"}},
        {{{"\xc2\xa0", "\xe4"}}, {"\xc2\xa0=\xe4"}},
        {{{"a/b", "c/d"}}, {"a/b=c/d"}},
        {{{"a", "#;\"'\\[]"}}, {"a=#;\"'\\[]"}},
        {{{"Send", "1"}}, {"Send=1"}},
    };
    for (const auto& [row, lines] : rows) {
        for (const std::string& line : lines) ExpectRows(line + "\n", row);
    }
}

TEST_F(ConfigTXTRows, ARowWithoutOneIsPrintedInTwoLinesAndDropped) {
    for (const std::string line :
         {"", " ", "      ", "alpha", " al pha ", "a:b c", "\t", "\ta b\t", "\r", "a b\r", "/", " / / ", "%s %d"}) {
        ExpectRows("a=1\n" + line + "\nb=2\n", {{"a", "1"}, {"b", "2"}},
                   "txt error: The row" + Stripped(line) + "  = is lost!\nWe can not process it !\n");
    }
}

TEST_F(ConfigTXTRows, ALineWithTheCommentMarkAnywhereIsSkippedWhole) {
    ExpectRows("a=1\n//\n// b=2\nc=3 // why\nd=4//\n  //  \npath=C://x\ne//=5\n///\n//f\nSend//\ng=7\n",
               {{"a", "1"}, {"g", "7"}});
    ExpectRows("a=1\na=2//\n", {{"a", "1"}});
}

TEST_F(ConfigTXTRows, TheCommentMarkIsFoundBeforeSpacesAndEqualsSignsAreRemoved) {
    ExpectRows("a=/ /\nb=/=/\n/ /c=1\n", {{"a", "//"}, {"b", "//"}, {"//c", "1"}});
}

TEST_F(ConfigTXTRows, ALaterRowOfAKeyOverwritesTheEarlier) {
    ExpectRows("a=1\nb=2\na=3\n a = 4\n", {{"a", "4"}, {"b", "2"}});
    ExpectRows("a=1\na=\n", {{"a", ""}});
    ExpectRows("a=1\nA=2\na\t=3\n", {{"a", "1"}, {"A", "2"}, {"a\t", "3"}});  // different keys
}

TEST_F(ConfigTXTRows, ARowMayHoldAnyLengthAndAnyByte) {
    using std::string_literals::operator""s;
    const std::string key(5000, 'k'), value(200000, 'v');
    ExpectRows(key + " = " + value + "\n", {{key, value}});
    ExpectRows("a\0b=c\0d\n"s, {{"a\0b"s, "c\0d"s}});
}

using ConfigTXTRowLimit = ConfigTest;

/// Rows k0 = 0, k1 = 1, ... as text, and as they are stored.
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

TEST_F(ConfigTXTRowLimit, ASectionOf999RowsEndsAtItsMarker) {
    ExpectRead("S\n" + NumberedLines(999) + "Send\nT\nTend\n", {{"S", NumberedRows(999)}, {"T", {}}});
    ExpectRead("S\n" + NumberedLines(700) + "Send\nT\n" + NumberedLines(999) + "Tend\n",
               {{"S", NumberedRows(700)}, {"T", NumberedRows(999)}});  // the count restarts in every section
}

TEST_F(ConfigTXTRowLimit, After1000RowsTheMarkerIsASectionOfItsOwn) {
    // The rest of the marker's line is dropped.
    ExpectRead("S\n" + NumberedLines(1000) + "Send T U\na=1\nSendend\n",
               {{"S", NumberedRows(1000)}, {"Send", {{"a", "1"}}}});
    ExpectRead("S\n" + NumberedLines(1000) + "Send\n", {{"S", NumberedRows(1000)}, {"Send", {}}}, LostFrom(0));
}

TEST_F(ConfigTXTRowLimit, AllKindsOfRowsCountAlike) {
    const Sections full = {{"S", {{"b", "2"}}}, {"Send", {}}};
    const std::string end = "b=2\nSend\nSendend\n";  // the last row, and the marker as a name
    ExpectRead("S\n" + Repeated("b=1\n", 999) + end, full);
    ExpectRead("S\n" + Repeated("// a=1\n", 999) + end, full);
    ExpectRead("S\n" + Repeated("lost\n", 600) + Repeated("\n", 399) + end, full,
               Repeated(Lost("lost"), 600) + Repeated(Lost(""), 399));
}

TEST_F(ConfigTXTRowLimit, ANameAloneIsAnEmptySectionWith1000RowsLost) {
    for (const char* text : {"S", "S\n", "S and more", "\n S // note\n"}) ExpectRead(text, {{"S", {}}}, LostFrom(0));
    ExpectRead("S\na=1\nSend\nT", {{"S", {{"a", "1"}}}, {"T", {}}}, LostFrom(0));
}

TEST_F(ConfigTXTRowLimit, AFileWithoutTheMarkerKeepsItsRowsAndLosesTheRest) {
    const Sections two = {{"S", {{"a", "1"}, {"b", "2"}}}};
    ExpectRead("S\na=1\nb=2\n", two, LostFrom(2));
    ExpectRead("S\na=1\nb=2", two, LostFrom(2));  // a last row without a line end is read once
    ExpectRead("S\na=1\nlost", {{"S", {{"a", "1"}}}}, Lost("lost") + LostFrom(2));
    ExpectRead("S\n  ", {{"S", {}}}, Lost("") + LostFrom(1));
    ExpectRead("S\n// note\n", {{"S", {}}}, LostFrom(1));
    ExpectRead("S\n" + NumberedLines(999), {{"S", NumberedRows(999)}}, Lost(""));
}

TEST_F(ConfigTXTRowLimit, WithCarriageReturnsNoMarkerMatchesAndValuesKeepThem) {
    ExpectRead("S\r\na = 1\r\nb=\r\nSend\r\n", {{"S", {{"a", "1\r"}, {"b", "\r"}}}}, Lost("Send\r") + LostFrom(3));
    // A later section is read as rows of the first.
    ExpectRead("S\r\na=1\r\nSend\r\n\r\nT\r\na=2\r\nTend\r\n", {{"S", {{"a", "2\r"}}}},
               Lost("Send\r") + Lost("\r") + Lost("T\r") + Lost("Tend\r") + LostFrom(6));
    ExpectRead("// note\r\nS\r\na=1\r\n// note\r\nSend\nT\r\nTend", {{"S", {{"a", "1\r"}}}, {"T", {}}});
    ExpectRead("S\ra=1\rSend\r", {{"S", {}}}, LostFrom(0));  // a CR alone ends no line
}

}  // namespace
}  // namespace hueweave::test
