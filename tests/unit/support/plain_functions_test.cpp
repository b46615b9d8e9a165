// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The ten functions beside the settings reader.
#include <climits>
#include <functional>
#include <iostream>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

struct Call {
    const char* name;
    std::function<int()> call;
    std::string printed;
};
void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }

std::string NameOfCall(const testing::TestParamInfo<Call>& info) { return info.param.name; }

/// What a call printed; it has to return 0.
std::string PrintedBy(const std::function<int()>& call) {
    testing::internal::CaptureStdout();
    const int result = call();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, 0);
    return printed;
}

class PlainFunctionsTest : public testing::TestWithParam<Call> {};

TEST_P(PlainFunctionsTest, ReturnsNoughtAndPrintsItsLine) {
    EXPECT_EQ(PrintedBy(GetParam().call), GetParam().printed);
    EXPECT_TRUE(std::cout.good());
}

const Call kSilent[] = {
    {"File", [] { return ConfigFile("name"); }, ""},
    {"FileNull", [] { return ConfigFile(nullptr); }, ""},
    {"GetInt", [] { return ConfigGetInt("s", "k"); }, ""},
    {"GetIntNull", [] { return ConfigGetInt(nullptr, nullptr); }, ""},
    {"GetString", [] { return ConfigGetString("s", "k", "d", nullptr); }, ""},
    {"GetStringNull", [] { return ConfigGetString(nullptr, nullptr, nullptr, nullptr); }, ""},
    {"SetInt", [] { return ConfigSetInt("s", "k", 5); }, ""},
    {"SetIntNull", [] { return ConfigSetInt(nullptr, nullptr, INT_MIN); }, ""},
    {"SetString", [] { return ConfigSetString("s", "k", "v"); }, ""},
    {"SetStringNull", [] { return ConfigSetString(nullptr, nullptr, nullptr); }, ""},
};
INSTANTIATE_TEST_SUITE_P(Silent, PlainFunctionsTest, testing::ValuesIn(kSilent), NameOfCall);

const Call kPrinting[] = {
    {"File2", [] { return ConfigFile2("a name"); }, "ConfigFile : a name\n"},
    {"File2Empty", [] { return ConfigFile2(""); }, "ConfigFile : \n"},
    {"GetInt2", [] { return ConfigGetInt2("sec", "key"); }, "Get [ sec : key ] = 0\n"},
    {"GetInt2Empty", [] { return ConfigGetInt2("", ""); }, "Get [  :  ] = 0\n"},
    {"GetString2", [] { return ConfigGetString2("sec", "key", "third", "val"); }, "Get [ sec : key ] = val\n"},
    {"GetString2ThirdNull", [] { return ConfigGetString2("sec", "key", nullptr, "val"); }, "Get [ sec : key ] = val\n"},
    {"GetString2Empty", [] { return ConfigGetString2("", "", "", ""); }, "Get [  :  ] = \n"},
    {"SetInt2", [] { return ConfigSetInt2("sec", "key", 42); }, "Set [ sec : key ] = 0\n"},
    {"SetInt2Negative", [] { return ConfigSetInt2("sec", "key", INT_MIN); }, "Set [ sec : key ] = 0\n"},
    {"SetString2", [] { return ConfigSetString2("sec", "key", "val"); }, "Set [ sec : key ] = val\n"},
    {"SetString2Empty", [] { return ConfigSetString2("", "", ""); }, "Set [  :  ] = \n"},
    {"AsItStands", [] { return ConfigSetString2("%s\t", "a b", "1\n2 // ="); }, "Set [ %s\t : a b ] = 1\n2 // =\n"},
};
INSTANTIATE_TEST_SUITE_P(Printing, PlainFunctionsTest, testing::ValuesIn(kPrinting), NameOfCall);

TEST(PlainTextsTest, TextsOfAnyLengthArePrintedWhole) {
    const std::string text(100000, 'x');
    EXPECT_EQ(PrintedBy([&] { return ConfigSetString2("s", "k", text.c_str()); }), "Set [ s : k ] = " + text + "\n");
}

/// Calls with one null text each, and what stands before it on the line.
const Call kNullTexts[] = {
    {"File2Name", [] { return ConfigFile2(nullptr); }, "ConfigFile : "},
    {"GetInt2Section", [] { return ConfigGetInt2(nullptr, "key"); }, "Get [ "},
    {"GetInt2Key", [] { return ConfigGetInt2("sec", nullptr); }, "Get [ sec : "},
    {"GetString2Section", [] { return ConfigGetString2(nullptr, "key", "third", "val"); }, "Get [ "},
    {"GetString2Key", [] { return ConfigGetString2("sec", nullptr, "third", "val"); }, "Get [ sec : "},
    {"GetString2Value", [] { return ConfigGetString2("sec", "key", "third", nullptr); }, "Get [ sec : key ] = "},
    {"SetInt2Section", [] { return ConfigSetInt2(nullptr, "key", 1); }, "Set [ "},
    {"SetInt2Key", [] { return ConfigSetInt2("sec", nullptr, 1); }, "Set [ sec : "},
    {"SetString2Section", [] { return ConfigSetString2(nullptr, "key", "val"); }, "Set [ "},
    {"SetString2Key", [] { return ConfigSetString2("sec", nullptr, "val"); }, "Set [ sec : "},
    {"SetString2Value", [] { return ConfigSetString2("sec", "key", nullptr); }, "Set [ sec : key ] = "},
};

class PlainNullTextTest : public testing::TestWithParam<Call> {};

TEST_P(PlainNullTextTest, FailsTheOutputWhichTakesNoMoreUntilItIsCleared) {
    bool failed = false;
    const std::string printed = PrintedBy([&] {
        const int result = GetParam().call();
        failed = std::cout.fail();
        ConfigFile2("unseen");
        std::cout.clear();
        ConfigFile2("seen");
        return result;
    });
    EXPECT_TRUE(failed);
    EXPECT_EQ(printed, GetParam().printed + "ConfigFile : seen\n");
}
INSTANTIATE_TEST_SUITE_P(Every, PlainNullTextTest, testing::ValuesIn(kNullTexts), NameOfCall);

class PlainAndConfigTest : public ConfigTest {};

TEST_F(PlainAndConfigTest, TheyNeitherReadNorChangeSettings) {
    Read("s\nk=5\nsend\n");
    EXPECT_EQ(PrintedBy([&] { return ConfigFile2(Path().c_str()); }), "ConfigFile : " + Path() + "\n");
    EXPECT_EQ(PrintedBy([] { return ConfigGetInt2("s", "k"); }), "Get [ s : k ] = 0\n");
    EXPECT_EQ(PrintedBy([] { return ConfigGetString2("s", "k", "d", "v"); }), "Get [ s : k ] = v\n");
    char out[] = "before";
    EXPECT_EQ(PrintedBy([&] { return ConfigGetString("s", "k", "d", out); }), "");
    EXPECT_STREQ(out, "before");
    PrintedBy([] { return ConfigSetInt2("s", "k", 6); });
    PrintedBy([] { return ConfigSetString2("s", "k", "7"); });
    EXPECT_EQ(config_.GetInt("s", "k", 0), 5);
    EXPECT_EQ(FileText(Path()), "s\nk=5\nsend\n");
}

}  // namespace
}  // namespace hueweave::test
