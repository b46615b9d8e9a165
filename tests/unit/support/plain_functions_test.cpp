// SPDX-License-Identifier: MIT
// The ten functions beside the settings reader.
#include <functional>
#include <iostream>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

struct Call {
    std::function<int()> call;
    std::string printed;
};

/// The output of a call, which must return 0.
std::string PrintedBy(const std::function<int()>& call) {
    testing::internal::CaptureStdout();
    const int result = call();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(result, 0);
    return printed;
}

const Call kCalls[] = {
    {[] { return ConfigFile(nullptr); }, ""},
    {[] { return ConfigGetInt(nullptr, nullptr); }, ""},
    {[] { return ConfigGetString(nullptr, nullptr, nullptr, nullptr); }, ""},
    {[] { return ConfigSetInt(nullptr, nullptr, 5); }, ""},
    {[] { return ConfigSetString(nullptr, nullptr, nullptr); }, ""},
    {[] { return ConfigFile2("a name"); }, "ConfigFile : a name\n"},
    {[] { return ConfigGetInt2("sec", "key"); }, "Get [ sec : key ] = 0\n"},
    {[] { return ConfigGetString2("sec", "key", "third", "val"); }, "Get [ sec : key ] = val\n"},
    {[] { return ConfigGetString2("sec", "key", nullptr, "val"); }, "Get [ sec : key ] = val\n"},
    {[] { return ConfigSetInt2("sec", "key", 42); }, "Set [ sec : key ] = 0\n"},
    {[] { return ConfigSetString2("%s\t", "a b", "1\n2 // ="); }, "Set [ %s\t : a b ] = 1\n2 // =\n"},
};

TEST(ConfigFunctions, ReturnZeroAndPrintTheirLine) {
    for (const Call& call : kCalls) EXPECT_EQ(PrintedBy(call.call), call.printed);
    EXPECT_TRUE(std::cout.good());
}

/// Calls with one null text each, and the part of the line before it.
const Call kNullTexts[] = {
    {[] { return ConfigFile2(nullptr); }, "ConfigFile : "},
    {[] { return ConfigGetInt2(nullptr, "key"); }, "Get [ "},
    {[] { return ConfigGetInt2("sec", nullptr); }, "Get [ sec : "},
    {[] { return ConfigGetString2(nullptr, "key", "third", "val"); }, "Get [ "},
    {[] { return ConfigGetString2("sec", nullptr, "third", "val"); }, "Get [ sec : "},
    {[] { return ConfigGetString2("sec", "key", "third", nullptr); }, "Get [ sec : key ] = "},
    {[] { return ConfigSetInt2(nullptr, "key", 1); }, "Set [ "},
    {[] { return ConfigSetInt2("sec", nullptr, 1); }, "Set [ sec : "},
    {[] { return ConfigSetString2(nullptr, "key", "val"); }, "Set [ "},
    {[] { return ConfigSetString2("sec", nullptr, "val"); }, "Set [ sec : "},
    {[] { return ConfigSetString2("sec", "key", nullptr); }, "Set [ sec : key ] = "},
};

TEST(ConfigFunctions, SetTheOutputToFailedOnANullTextUntilItIsCleared) {
    for (const Call& call : kNullTexts) {
        bool failed = false;
        const std::string printed = PrintedBy([&] {
            const int result = call.call();
            failed = std::cout.fail();
            ConfigFile2("unseen");
            std::cout.clear();
            ConfigFile2("seen");
            return result;
        });
        EXPECT_TRUE(failed) << call.printed;
        EXPECT_EQ(printed, call.printed + "ConfigFile : seen\n");
    }
}

}  // namespace
}  // namespace hueweave::test
